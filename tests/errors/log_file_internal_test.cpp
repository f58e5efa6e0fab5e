// Lets a disk run full in the middle of a line, which only the library's own objects allow.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/errors/log_lines.h"
#include "tests/support/temp_dir.h"
#include "zqcore27/errors/log_listeners.h"
#include "zqcore27/platform/posix/system_calls.h"

namespace {

using posix::gSystemCalls;

std::size_t sRoom;  // bytes that the disk still takes

TEST(FileLogListenerTest, ATornLineDoesNotSpoilTheNext) {
  const TempDir dir;
  FileLogListener listener((dir / "log").c_str());
  gSystemCalls.write = [](int descriptor, const void* from, size_t n) -> ssize_t {
    n = std::min(n, sRoom);
    if (n == 0) return errno = ENOSPC, -1;
    sRoom -= n;
    return ::write(descriptor, from, n);
  };
  const auto log = [&](const char* text, std::size_t room) {
    sRoom = room;
    listener.log(String(text), VERBOSITY_ALWAYS);
  };
  log("whole", 1000);
  log("torn by a disk that is full", 30);
  log("lost", 0);
  EXPECT_EQ(listener.lost(), 2u);
  log("written", 1000);
  log("at the end", 1000);
  gSystemCalls = posix::SystemCalls();
  EXPECT_EQ(listener.lost(), 2u);
  EXPECT_EQ(linesOf(dir.read("log")), (Lines{"0 whole", "0 tor", "0 messages lost: 2", "0 written", "0 at the end"}));
}

}  // namespace
