// Replaces single system calls, which only the library's own objects allow.

#include "tests/catalogue/catalogue_fixture.h"
#include "zqcore27/platform/posix/system_calls.h"

namespace {

using CatalogueFaultTest = CatalogueTest;
using posix::gSystemCalls;

TEST_F(CatalogueFaultTest, AHeaderThatCannotBeReachedOrRead) {
  write("a.cst", {{1, u"text"}});
  const auto open = [] { CStrFile(nullptr, named("a.cst")); };
  gSystemCalls.lseek = [](int fd, off_t offset, int origin) -> off_t {
    return origin == SEEK_SET ? -1 : ::lseek(fd, offset, origin);
  };
  EXPECT_EQ(failureOf(open), "13: Seek in the constant string file failed: Cstr::load_header_block");
  gSystemCalls = posix::SystemCalls();
  gSystemCalls.read = [](int, void*, size_t) -> ssize_t { return errno = EIO, -1; };
  EXPECT_EQ(failureOf(open), "14: Read to the constant string file failed: Cstr::load_header_block");
  gSystemCalls = posix::SystemCalls();
}

}  // namespace
