#include "zqcore27/files/file_bin_header.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

const unsigned char* bytes(const char* s) { return reinterpret_cast<const unsigned char*>(s); }

std::string image(const FileBinHeader& header) { return {reinterpret_cast<const char*>(&header), sizeof header}; }

const std::string SIGNATURE("\x9E\x85\x0D\x0A\x54\x61\xFE\x56\x69\x07\x4F\x00", 12);

TEST(FileBinHeaderTest, SetPadsAndCutsItsFields) {
  FileBinHeader header;
  std::memset(static_cast<void*>(&header), 0xAA, sizeof header);
  header.set(bytes("CONSTR"), bytes("2.7.A"), bytes("WIN"));
  EXPECT_EQ(image(header), SIGNATURE + std::string("CONSTR\0\0"
                                                   "2.7.A\0"
                                                   "WIN\0\0\0",
                                                   20));
  header.set(bytes("CATALOGUES"), nullptr, bytes("windows"));
  EXPECT_EQ(image(header), SIGNATURE + std::string("CATALOGU"
                                                   "\0\0\0\0\0\0"
                                                   "window",
                                                   20));
  EXPECT_EQ(header.getVersionSize(), 6);
}

// What each byte of a header counts for, the tests of catalogue files try.
TEST(FileBinHeaderTest, CheckComparesWholeFieldsThatMatter) {
  FileBinHeader header;
  header.set(bytes("CONSTR"), bytes("2.7.A"), bytes("WIN"));
  EXPECT_TRUE(header.check(bytes("CONSTR"), bytes("2.7.A"), bytes("WIN")));
  EXPECT_TRUE(header.check(nullptr, nullptr, nullptr));
  EXPECT_FALSE(header.check(bytes("CONST"), nullptr, nullptr)) << "what stands in front isn't enough";
}

}  // namespace
