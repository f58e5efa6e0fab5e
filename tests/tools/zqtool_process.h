#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tests/tools/scratch.h"

/// What a program left behind.
struct Outcome {
  int status;
  std::string out, err;
};

/// Runs a program in the directory of `scratch`, in a locale of UTF-8 in English unless `environment` says otherwise.
inline Outcome runProgram(const Scratch& scratch, const std::string& program, const std::vector<std::string>& arguments,
                          const std::string& input = {}, const std::string& environment = {}) {
  scratch.write(".in", input);
  std::string command = "cd '" + scratch.path("") + "' && LC_ALL=C.UTF-8 " + environment + " '" + program + "'";
  for (const std::string& argument : arguments) command += " '" + argument + "'";
  const int result = std::system((command + " <.in >.out 2>.err").c_str());
  Outcome outcome{WIFEXITED(result) ? WEXITSTATUS(result) : -1, scratch.read(".out"), scratch.read(".err")};
  for (const char* name : {".in", ".out", ".err"}) std::filesystem::remove(scratch.path(name));
  return outcome;
}

inline Outcome runZqtool(const Scratch& scratch, const std::vector<std::string>& arguments,
                         const std::string& input = {}, const std::string& environment = {}) {
  return runProgram(scratch, ZQTOOL, arguments, input, environment);
}

inline std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    lines.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return lines;
}
