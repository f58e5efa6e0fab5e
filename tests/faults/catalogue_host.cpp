// A catalogue look-up: files are searched, opened and checked, pages are read, values are put in.

#include <cstdlib>
#include <string>

#include "tests/faults/fault_loop.h"
#include "tests/support/catalogue_builder.h"
#include "tests/support/temp_dir.h"
#include "zqcore27/catalogue/cstr_enterprise.h"
#include "zqcore27/catalogue/cstr_error.h"
#include "zqcore27/errors/string_error.h"

namespace {

constexpr std::uint32_t FIRST = 0xC2010100, WORDS = 60, LAST = FIRST + WORDS - 1;  // four pages
constexpr std::uint32_t WITH_VALUES = FIRST + WORDS;                               // "1 und 2 und 1"
constexpr std::uint32_t ENGLISH_ONLY = 0xC2020001;                                 // found at the last try
constexpr std::uint32_t NOWHERE = 0xC2030001;
constexpr std::uint32_t UNREAD = FAULT_READ | FAULT_SEEK;

/// No exception leaves a description.
void requireWords(const FaultRun& run, const CStrError& e) noexcept {
  const std::uint16_t* const words = e.description(nullptr);
  if (run.failed(FAULT_HEAP) && sameText(words, "Error in obtaining description of previous error.")) return;
  requireText(words, "Failed to open the constant string file - it probably isn't there: ");
}

/// A text, or why there is none.
enum class Got { TEXT, NULL_TEXT, NO_FILE, NO_MEMORY };

template <class Ask>
Got ask(const FaultRun& run, Ask ask) {
  Got got = Got::NO_MEMORY;
  hadMemory(run, [&] {
    try {
      got = ask() ? Got::TEXT : Got::NULL_TEXT;
    } catch (const CStrError& e) {
      require(e.code() == CStrError::CSTR_ERR_NO_FILE && !e.fatal(), "the error of a catalogue that can't be had");
      requireWords(run, e);
      got = Got::NO_FILE;
    }
  });
  return got;
}

/// The same for what is there.
template <class Ask>
Got askForText(const FaultRun& run, Ask question, int line = __builtin_LINE()) {
  const Got got = ask(run, question);
  require(got == Got::TEXT || run.failed(~FAULT_CLOSE), "something failed", line);
  require(got != Got::NULL_TEXT || run.failed(UNREAD), "a page couldn't be read", line);
  return got;
}

/// Whether there is a text, which is the one then.
bool isText(const std::uint16_t* text, const char* expected) {
  if (text != nullptr) requireText(text, expected);
  return text != nullptr;
}

std::string numbered(std::uint32_t number) {
  const FaultPause pause;
  return "Text " + std::to_string(100 + number).substr(1);
}

/// An error takes over the whole of another or nothing.
void assign(const FaultRun& run) {
  StringError from(2, false), to(1, false);
  from.addInsert(String("two"));
  to.addInsert(String("one"));
  from.description(nullptr);  // words, which are copied behind the insert
  const bool done = hadMemory(run, [&] { to = from; });
  require(to.code() == (done ? 2 : 1) && to.numInserts() == 1, "its facts");
  requireText(to.getInsert(0)->get(nullptr), done ? "two" : "one");
}

/// All that is asked, each time anew. Whatever fails, the next question may be answered.
void lookUp(const FaultRun& run) {
  run.start();
  const auto with = [&](const char* language, auto use) {
    askForText(run, [&] {
      CStrEnterprise cstr(nullptr, String(), String(language).begin());
      return use(cstr);
    });
  };
  with("de", [&](CStr& cstr) {
    for (const std::uint32_t i : {0u, WORDS - 1, 20u, 0u, 40u}) {
      askForText(run, [&] { return isText(cstr.get(FIRST + i), numbered(i).c_str()); });
    }
    return true;
  });
  with("de", [&](CStr& cstr) {
    String out("as before");
    const String one("eins"), two("zwei");
    const Got got = askForText(run, [&] {
      cstr.build(out, WITH_VALUES, one.begin(), two.begin());
      if (run.failed(UNREAD) && out.size() == 0) return false;  // the text's page couldn't be read
      return isText(out.begin(), "eins und zwei und eins");
    });
    if (got == Got::NO_MEMORY || got == Got::NO_FILE) requireText(out.begin(), "as before");
    return true;
  });
  with("de", [&](CStr& cstr) {
    const std::uint32_t found = cstr.findKeyword(FIRST, LAST, "TEXT 33");
    require(found == FIRST + 33 || (found == 0 && run.failed(UNREAD)), "the keyword's handle");
    return true;
  });
  with("deu", [&](CStr& cstr) { return isText(cstr.get(ENGLISH_ONLY), "in English alone"); });
  const Got nowhere = ask(run, [&] { return CStrEnterprise(nullptr, String(), nullptr).get(NOWHERE) != nullptr; });
  require(nowhere == Got::NO_FILE || nowhere == Got::NO_MEMORY, "there is no such file");
  hadMemory(run, [&] { assign(run); });
  run.stop();
}

}  // namespace

int main(int argc, char** argv) {
  const TempDir directory;
  CatalogueBuilder german, other;
  for (std::uint32_t i = 0; i < WORDS; ++i) german.texts[FIRST + i] = u"Text " + twoDigits(i);
  german.texts[WITH_VALUES] = withValues(u"$1 und $2 und $1");
  other.texts[ENGLISH_ONLY] = u"in English alone";
  directory.write("strings_201__de.cst", german.bytes());
  directory.write("strings_202__en.cst", other.bytes());
  setenv("tavio_language", directory.path().c_str(), 1);
  // What stays: the name of the language of the user, for the life of the process.
  return faultLoop(argc, argv, {"catalogue", lookUp, giveUpCore, 2});
}
