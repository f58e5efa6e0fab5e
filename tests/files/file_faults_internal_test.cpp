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
  for (const int left : {0, 1, 2}) {
    sLeft = left;
    std::vector<String> names;
    EXPECT_EQ(FileLocator(locator("x.")).listFiles(names), left > 0) << left;
    EXPECT_EQ(names.size(), static_cast<std::size_t>(left));
  }
  sLeft = 1;
  std::vector<String> names;
  EXPECT_FALSE(locator("x.none").listFiles(names)) << "an entry that doesn't match is no match";
}

TEST_F(FileFaultTest, AnOpenThatRaisesLeavesAFailedAccess) {
  dir.write("there", "");
  const auto refuse = [](auto& file) {
    using AnyFile = std::remove_reference_t<decltype(file)>;
    gSystemCalls.open = [](const char*, int, mode_t) -> int { throw MemError(MemError::HEAP_EXHAUSTED, false); };
    EXPECT_THROW(file.open(FileLocator(String("x")), AnyFile::MODE_READ), MemError);
    EXPECT_EQ(file.getError(), 1);
    EXPECT_EQ(file.size(), AnyFile().size()) << "it is closed";
  };
  File file;
  EXPECT_TRUE(file.open(locator("there"), File::MODE_READ));
  refuse(file);
  gSystemCalls = posix::SystemCalls();
  BasicFile basic;
  EXPECT_GT(basic.open(locator("there"), BasicFile::MODE_READ), 0);
  refuse(basic);
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

TEST_F(FileFaultTest, WriteLineNeedsItsTextAndItsEnd) {
  File file;
  ASSERT_TRUE(file.open(locator("out"), File::MODE_WRITE));
  gSystemCalls.write = [](int fd, const void* from, size_t n) -> ssize_t {
    if (sLeft++ > 0) return ::write(fd, from, n);
    errno = ENOSPC;  // the first one fails
    return -1;
  };
  String large;
  large.fill(100000, 'x');
  EXPECT_FALSE(file.writeLine(large)) << "though there is room for the line feed";
  EXPECT_EQ(file.getError(), 0);
}

}  // namespace
