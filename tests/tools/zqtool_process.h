#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/temp_dir.h"

/// What a program left behind.
struct Outcome {
  int status;
  std::string out, err;
  bool operator==(const Outcome&) const = default;
};

inline void PrintTo(const Outcome& o, std::ostream* to) { *to << o.status << "\n" << o.out << "\n" << o.err; }

/// Runs programs in a directory of the test's own.
class ZqtoolTest : public testing::Test {
 protected:
  /// A command of the shell, in a locale of UTF-8 in English unless `environment` says otherwise.
  Outcome run(const std::string& command, const std::string& input = {}, const std::string& environment = {}) const {
    dir.write(".in", input);
    const std::string line = "cd '" + (dir / "") + "' && LC_ALL=C.UTF-8 " + environment + " " + command;
    const int result = std::system((line + " <.in >.out 2>.err").c_str());
    Outcome outcome{WIFEXITED(result) ? WEXITSTATUS(result) : -1, dir.read(".out"), dir.read(".err")};
    for (const char* name : {".in", ".out", ".err"}) std::filesystem::remove(dir / name);
    return outcome;
  }
  Outcome zqtool(const std::string& words, const std::string& input = {}, const std::string& environment = {}) const {
    return run("'" ZQTOOL "' " + words, input, environment);
  }
  std::ptrdiff_t fileCount() const { return std::distance(std::filesystem::directory_iterator(dir.path()), {}); }

  const TempDir dir;
};

inline std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    lines.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return lines;
}
