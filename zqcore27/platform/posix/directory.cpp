#include "zqcore27/platform/directory.h"

#include "zqcore27/platform/posix/system_calls.h"

inline namespace zqcore27 {
namespace platform {

using posix::gSystemCalls;

namespace {

/// Whether `pattern` with its stars covers all of `name`. On a mismatch only the last star met takes one byte more:
/// the time is at most the product of the lengths.
bool matches(const char* name, const char* pattern) {
  const char* behindStar = nullptr;
  const char* retry = nullptr;
  while (*name != '\0') {
    if (*pattern == '*') {
      behindStar = ++pattern;
      retry = name;
    } else if (*pattern == *name) {
      ++pattern;
      ++name;
    } else if (behindStar != nullptr) {
      pattern = behindStar;
      name = ++retry;
    } else {
      return false;
    }
  }
  while (*pattern == '*') ++pattern;
  return *pattern == '\0';
}

DIR* openDirectory(const char* path) {
  DIR* directory = gSystemCalls.opendir(path);
  while (directory == nullptr && errno == EINTR) directory = gSystemCalls.opendir(path);
  return directory;
}

}  // namespace

DirectoryListing::DirectoryListing(const char* directory, const char* pattern)
    : fDirectory(openDirectory(directory)), fPattern(pattern), fFailed(fDirectory == nullptr) {}

DirectoryListing::~DirectoryListing() {
  if (fDirectory != nullptr) gSystemCalls.closedir(static_cast<DIR*>(fDirectory));
}

const char* DirectoryListing::next() {
  while (!fFailed) {
    errno = 0;
    const dirent* const entry = gSystemCalls.readdir(static_cast<DIR*>(fDirectory));
    if (entry == nullptr && errno == EINTR) continue;
    if (entry == nullptr) {
      fFailed = errno != 0;
      return nullptr;
    }
    if (matches(entry->d_name, fPattern)) return entry->d_name;
  }
  return nullptr;
}

}  // namespace platform
}  // namespace zqcore27
