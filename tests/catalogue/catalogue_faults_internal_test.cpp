// Replaces single system calls, which only the library's own objects allow.

#include "tests/catalogue/catalogue_fixture.h"
#include "tests/threads/host_thread.h"
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

TEST_F(CatalogueFaultTest, APageThatThreadsWaitForIsReadOnce) {
  static Gate begun, go;
  static std::atomic<int> reads{0};
  write("a.cst", {{1, u"text"}});
  CStrFile file(nullptr, named("a.cst"));
  gSystemCalls.read = [](int descriptor, void* to, size_t n) -> ssize_t {
    ++reads;
    begun.open();
    go.pass();
    return ::read(descriptor, to, n);
  };
  {
    HostThread first([&] { EXPECT_NE(file.get(1), nullptr); });
    begun.pass();
    HostThread second([&] { EXPECT_NE(file.get(1), nullptr); });
    EXPECT_TRUE(second.isHeldUp());
    go.open();
  }
  EXPECT_EQ(reads, 1);
  gSystemCalls = posix::SystemCalls();
}

}  // namespace
