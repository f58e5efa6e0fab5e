// zqtool scramble and unscramble.

#include <iostream>
#include <memory>

#include "tools/armour_text.h"
#include "tools/commands.h"
#include "tools/files.h"

namespace zqtool {
namespace {

struct Options {
  std::string file, out;
};

int fail(const std::string& path, const std::string& words) {
  std::cerr << path << ": " << words << '\n';
  return EXIT_ERRORS;
}

int convert(const Options& o, bool scramble) {
  const FileBytes file = readFile(o.file);
  if (!file.fault.empty()) return fail(o.file, file.fault);
  const std::string_view text(reinterpret_cast<const char*>(file.bytes.data()), file.bytes.size());
  std::string out;
  if (!scramble) {
    out = unscrambleText(text);
  } else if (const std::size_t line = scrambleText(text, out)) {
    return fail(o.file + ":" + std::to_string(line), "the line is too long: 16777215 bytes are the most");
  }
  const std::string fault = writeFile(o.out, out);
  return fault.empty() ? EXIT_GOOD : fail(o.out, fault);
}

void add(CLI::App& app, int& status, bool scramble) {
  const auto o = std::make_shared<Options>();
  auto* c = scramble ? app.add_subcommand("scramble", "Scramble a configuration text line by line")
                     : app.add_subcommand("unscramble", "Make a scrambled text readable again");
  c->add_option("FILE", o->file, "The text; - is standard input")->required();
  c->add_option("-o,--output", o->out, "The result; - is standard output, the default")->default_val("-");
  c->footer(
      scramble
          ? "Scrambling keeps a text from being read by chance; it is no encryption. A first line that begins with #\n"
            "stays readable, since it chooses the syntax of the whole file. Empty lines stay empty.\n\n"
            "Example: zqtool scramble server.conf -o server.scr"
          : "Lines that aren't scrambled pass unchanged.");
  c->callback([o, scramble, &status] { status = convert(*o, scramble); });
}

}  // namespace

void addScrambleCommands(CLI::App& app, int& status) {
  add(app, status, true);
  add(app, status, false);
}

}  // namespace zqtool
