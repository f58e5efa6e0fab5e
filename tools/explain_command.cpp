// zqtool explain: the words of an error's code; and zqtool version.

#include <iostream>
#include <memory>

#include "tools/catalogue_text.h"
#include "tools/commands.h"
#include "tools/words.h"
#include "zqcore27/catalogue/cstr_error.h"
#include "zqcore27/core/core.h"

namespace zqtool {
namespace {

/// The catalogue of the library's own texts.
constexpr std::uint32_t FIRST_OWN_HANDLE = 0xC2000000;
constexpr std::uint32_t LAST_OWN_HANDLE = 0xC200FFFF;

/// An error with any code.
class ExplainedError : public Error {
 public:
  explicit ExplainedError(std::uint32_t code) : Error(code, false) {}
  const char* module() const override { return "zqtool"; }
};

/// A text without values: its marks are shown as {1} to {8}.
std::string shown(const std::uint16_t* text) {
  String out;
  for (; *text != 0; ++text) {
    if (*text == MARK && text[1] != 0) {
      out += u'{';
      out += *++text;
      out += u'}';
    } else {
      out += *text;
    }
  }
  return nativeText(out);
}

/// What a catalogue answers.
struct Answer {
  const std::uint16_t* text;  // null where it has none
  bool outside;               // the handle lies below its first or above its last
};

/// What else is wrong with the catalogue is raised.
Answer ask(Words& words, std::uint32_t handle) {
  try {
    const std::uint16_t* text = words.catalogue().get(handle);
    return {text != nullptr && *text != 0 ? text : nullptr, false};
  } catch (const CStrError& e) {
    if (e.code() == CStrError::CSTR_ERR_NO_FILE) throw;
    return {nullptr, e.code() == CStrError::CSTR_ERR_OUT_OF_RANGE};
  }
}

int explain(std::uint32_t code, const std::vector<std::string>& inserts, const std::string& language) {
  Words words(language);
  const std::uint16_t* text = ask(words, code).text;
  if (text == nullptr) {
    std::cerr << "zqtool: there is no text for " << handleName(code) << '\n';
    return EXIT_ERRORS;
  }
  ExplainedError error(code);
  for (const std::string& insert : inserts) error.addInsert(String(insert.c_str()));
  std::cout << (inserts.empty() ? shown(text) : words.of(error)) << '\n';
  return EXIT_GOOD;
}

int list(const std::string& language) {
  Words words(language);
  bool found = false;
  for (std::uint32_t handle = FIRST_OWN_HANDLE; handle <= LAST_OWN_HANDLE; ++handle) {
    const Answer answer = ask(words, handle);
    if (answer.text != nullptr) std::cout << handleName(handle) << ' ' << shown(answer.text) << '\n';
    found = found || answer.text != nullptr;
    if (found && answer.outside) break;  // that was the last one
  }
  return EXIT_GOOD;
}

struct Options {
  std::string code, language;
  std::vector<std::string> inserts;
  bool list = false;
};

}  // namespace

void addExplainCommand(CLI::App& app, int& status) {
  const auto o = std::make_shared<Options>();
  auto* c = app.add_subcommand("explain", "Print the words of an error's code");
  c->add_option("CODE", o->code, "The code in hexadecimal, such as 0xC2000106");
  c->add_option("INSERT", o->inserts, "The values for the places {1} to {8} of the text")->expected(0, 8);
  c->add_option("--language", o->language, "The language, such as de; the user's own by default");
  c->add_flag("--list", o->list, "Print every code of the library with its words");
  c->footer(
      "Without INSERT the places of the values are shown as {1} to {8}. The exit status is 1 if there is no text.\n\n"
      "Example: zqtool explain 0xC2000106 /etc/server.conf --language fr");
  c->callback([o, &status] {
    if (o->list != o->code.empty()) throw CLI::ValidationError("explain", "give either a CODE or --list");
    if (o->list) {
      status = list(o->language);
      return;
    }
    const auto code = parseHandle(o->code);
    if (!code) throw CLI::ValidationError("CODE", o->code + " is no code of up to eight hexadecimal digits");
    status = explain(*code, o->inserts, o->language);
  });
}

void addVersionCommand(CLI::App& app, int& status) {
  app.add_subcommand("version", "Print the version of the library")->callback([&status] {
    String version;
    gCore->fVersion->get(version);
    std::cout << nativeText(version) << '\n';
    status = EXIT_GOOD;
  });
}

}  // namespace zqtool
