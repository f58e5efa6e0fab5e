// Lets a disk run full in the middle of a line, which only the library's own objects allow.

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <string>

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
  const std::string lines = std::regex_replace(dir.read("log"), std::regex("[-0-9T:.]{23}Z"), "TIME");
  EXPECT_EQ(lines, "TIME 0 whole\nTIME 0 tor\nTIME 0 messages lost: 2\nTIME 0 written\nTIME 0 at the end\n");
}

}  // namespace
