#pragma once

#include <CLI/CLI.hpp>

namespace zqtool {

// What zqtool's exit status says.
constexpr int EXIT_GOOD = 0;
constexpr int EXIT_ERRORS = 1;  // something in the input, or the work itself, is wrong
constexpr int EXIT_USAGE = 2;

// Each adds a group of commands. A command that runs puts its exit status into `status`, which outlives `app`.
void addConfigCommands(CLI::App& app, int& status);
void addExplainCommand(CLI::App& app, int& status);
void addCatalogueCommands(CLI::App& app, int& status);
void addScrambleCommands(CLI::App& app, int& status);
void addFloatCommand(CLI::App& app, int& status);
void addTreeCommand(CLI::App& app, int& status);
void addVersionCommand(CLI::App& app, int& status);

}  // namespace zqtool
