#include <algorithm>
#include <exception>
#include <iostream>

#include "tools/commands.h"
#include "tools/words.h"

namespace {

int usageError(const CLI::Error& e) {
  std::string words = e.what();
  std::replace(words.begin(), words.end(), '\n', ' ');
  std::cerr << "zqtool: " << words << " (zqtool --help tells more)\n";
  return zqtool::EXIT_USAGE;
}

int run(int argc, char** argv) {
  int status = zqtool::EXIT_GOOD;
  CLI::App app{
      "For people who run servers built on zqcore27: check configuration files, explain errors, make catalogues.",
      "zqtool"};
  app.require_subcommand(1);
  app.footer(
      "zqtool COMMAND --help tells more. Exit status: 0 all is well, 1 errors were found, 2 wrong usage.\n\n"
      "Environment: LC_ALL, LC_MESSAGES, LANG choose the language and encoding; tavio_language names a directory\n"
      "in which to look for catalogue files first.");
  zqtool::addConfigCommands(app, status);
  zqtool::addExplainCommand(app, status);
  zqtool::addCatalogueCommands(app, status);
  zqtool::addScrambleCommands(app, status);
  zqtool::addFloatCommand(app, status);
  zqtool::addTreeCommand(app, status);
  zqtool::addVersionCommand(app, status);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    if (e.get_exit_code() != 0) return usageError(e);
    status = app.exit(e);  // help was asked for
  }
  std::cout.flush();
  if (!std::cout) {
    std::cerr << "zqtool: standard output can't be written\n";
    return zqtool::EXIT_ERRORS;
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const Error& e) {
    std::cerr << "zqtool: " << zqtool::Words({}).of(e) << '\n';
  } catch (const std::exception& e) {
    std::cerr << "zqtool: " << e.what() << '\n';
  }
  return zqtool::EXIT_ERRORS;
}
