// Replaces single system calls, which only the library's own objects allow.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/temp_dir.h"
#include "zqcore27/errors/mem_error.h"
#include "zqcore27/files/basic_file.h"
#include "zqcore27/files/file.h"
#include "zqcore27/platform/posix/system_calls.h"

namespace {

using posix::gSystemCalls;

/// Puts the system's calls back behind each test.
class FileFaultTest : public testing::Test {
 protected:
  FileFaultTest() { sLeft = 0; }
  ~FileFaultTest() override { gSystemCalls = posix::SystemCalls(); }
  FileLocator locator(const char* name) const { return FileLocator(String((dir / name).c_str())); }

  static inline int sLeft;  // calls that work until one fails
  TempDir dir;
};

TEST_F(FileFaultTest, AListingThatBreaksIsGoodBehindItsFirstMatch) {
  gSystemCalls.readdir = [](DIR* directory) -> dirent* {
    if (sLeft-- > 0) return ::readdir(directory);
    errno = EIO;
    return nullptr;
  };
  for (const int left : {0, 1}) {
    sLeft = left;
    std::vector<String> names;
    EXPECT_EQ(FileLocator(locator("x.")).listFiles(names), left > 0) << left;
    EXPECT_EQ(names.size(), static_cast<std::size_t>(left));
  }
}

TEST_F(FileFaultTest, AnOpenThatRaisesLeavesAFailedAccess) {
  dir.write("there", "");
  const auto refuse = [this](auto&& file) {
    gSystemCalls = posix::SystemCalls();
    EXPECT_GT(static_cast<int>(file.open(locator("there"), file.MODE_READ)), 0);
    gSystemCalls.open = [](const char*, int, mode_t) -> int { throw MemError(MemError::HEAP_EXHAUSTED, false); };
    EXPECT_THROW(file.open(locator("there"), file.MODE_READ), MemError);
    EXPECT_EQ(file.getError(), 1);
    EXPECT_FALSE(file.seek(0, file.SEEK_FROM_START)) << "it is closed";
  };
  refuse(File());
  refuse(BasicFile());
}

TEST_F(FileFaultTest, SizeTellsThatThePositionIsLost) {
  dir.write("abc", "abc");
  File file;
  ASSERT_TRUE(file.open(locator("abc"), File::MODE_READ));
  gSystemCalls.lseek = [](int fd, off_t offset, int origin) -> off_t {
    return origin == SEEK_SET ? -1 : ::lseek(fd, offset, origin);
  };
  EXPECT_EQ(file.size(), 3u);
  EXPECT_EQ(file.getError(), 3);
}

}  // namespace
