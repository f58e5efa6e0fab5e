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

TEST(FileBinHeaderTest, CheckComparesWholeFieldsThatMatter) {
  FileBinHeader header;
  header.set(bytes("CONSTR"), bytes("2.7.A"), bytes("WIN"));
  const auto check = [&](const char* type, const char* version, const char* platform) {
    return header.check(bytes(type), bytes(version), bytes(platform));
  };
  EXPECT_TRUE(check("CONSTR", "2.7.A", "WIN"));
  EXPECT_FALSE(check("CONST", nullptr, nullptr)) << "what stands in front isn't enough";
  // Every byte of the image counts for its own field, and for none else.
  for (std::size_t i = 0; i < sizeof header; ++i) {
    SCOPED_TRACE(testing::Message() << "byte " << i);
    auto* const byte = reinterpret_cast<unsigned char*>(&header) + i;
    *byte ^= 0x20;
    EXPECT_EQ(check(nullptr, nullptr, nullptr), i >= 12);
    EXPECT_EQ(check("CONSTR", nullptr, nullptr), i >= 20);
    EXPECT_EQ(check(nullptr, "2.7.A", nullptr), i >= 12 && (i < 20 || i >= 26));
    EXPECT_EQ(check(nullptr, nullptr, "WIN"), i >= 12 && i < 26);
    *byte ^= 0x20;
  }
}

}  // namespace
