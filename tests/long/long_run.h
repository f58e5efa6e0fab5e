#pragma once

// What the hosts of long runs share: how long they run, the files that they read, and what it costs the process.

#include <malloc.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string>

#include "tests/support/catalogue_builder.h"
#include "tests/support/temp_dir.h"

/// `shortRun`, or in a long run what ZQCORE27_LONG says: a count, or 1 for `longRun`.
inline std::uint32_t rounds(std::uint32_t shortRun, std::uint32_t longRun) {
  const char* const wanted = std::getenv("ZQCORE27_LONG");
  if (wanted == nullptr) return shortRun;
  const auto count = static_cast<std::uint32_t>(std::strtoul(wanted, nullptr, 10));
  return count > 1 ? count : longRun;
}

/// Bytes that the process has taken from the heap and not given back; 0 where a sanitizer has the heap.
inline std::size_t bytesInUse() {
  const struct mallinfo2 heap = mallinfo2();
  return heap.uordblks + heap.hblkhd;
}

/// Ends the process, at any time of its life.
inline void require(bool holds, const char* what, int line = __builtin_LINE(), const char* file = __builtin_FILE()) {
  if (holds) return;
  std::fprintf(stderr, "%s:%d: doesn't hold: %s\n", file, line, what);
  std::_Exit(1);
}

/// Returns when the calling thread is the only one. The kernel lists a thread for a moment after it was joined.
inline void awaitEndOfThreads() {
  const auto alone = [] {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return std::distance(begin(tasks), end(tasks)) == 1;
  };
  for (int tries = 0; !alone(); ++tries) {
    require(tries < 100'000, "all threads have gone");  // of 10 seconds and more
    usleep(100);
  }
}

/// Files that the hosts read.
class LongRunFiles {
 public:
  static constexpr std::int32_t STATEMENTS = 800;  // two blocks of the reader
  static constexpr std::uint32_t FIRST_WORD = 0xC2010100, WORDS = 60;

  LongRunFiles() {
    std::string text;
    for (int i = 0; i < STATEMENTS; ++i) text += "name = " + std::to_string(i) + ", \"a text of some size\"\n";
    fDirectory.write("long.conf", text);
    fDirectory.write("short.conf", "name = 0, \"not closed\n");
    CatalogueBuilder error, words;
    error.texts[0xC2000109] = u"not closed in words";
    fDirectory.write("strings_200__en.cst", error.bytes());
    for (std::uint32_t i = 0; i < WORDS; ++i) {
      words.texts[FIRST_WORD + i] = withValues(u"$1 before word " + twoDigits(i));
    }
    fDirectory.write("strings_201__en.cst", words.bytes());
    setenv("tavio_language", fDirectory.path().c_str(), 1);
  }
  std::string directory() const { return fDirectory.path().string(); }

 private:
  TempDir fDirectory;
};
