// Replaces single system calls, which only the library's own objects allow.

#include <cstring>

#include "tests/catalogue/catalogue_fixture.h"
#include "zqcore27/catalogue/ent_cstr_file.h"
#include "zqcore27/errors/mem_error.h"
#include "zqcore27/platform/posix/system_calls.h"

namespace {

using posix::gSystemCalls;

class CatalogueFaultTest : public CatalogueTest {
 protected:
  ~CatalogueFaultTest() override { gSystemCalls = posix::SystemCalls(); }
};

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
}

TEST_F(CatalogueFaultTest, WhateverAFileRaisesTheNextIsTried) {
  for (const char* name : {"P__deu.cst", "P__de.cst", "strings_600_.cst"}) write(name, {{1, u"text"}});
  gSystemCalls.open = [](const char* path, int flags, mode_t mode) {
    if (std::strstr(path, "P__deu") != nullptr || std::strstr(path, "strings_600_") != nullptr) {
      throw MemError(MemError::HEAP_EXHAUSTED, false);
    }
    return ::open(path, flags, mode);
  };
  EntCStrFile file(nullptr, 7, String("deu"), String("P_"), String());
  EXPECT_TRUE(file.isLocale(String("de")));
  EXPECT_EQ(gCore->getCStr(0x600, nullptr, String("deu")), nullptr);
}

}  // namespace
