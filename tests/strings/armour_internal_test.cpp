// The two layers by themselves aren't exported: the armour is only seen scrambled, and the walk through the table only
// armoured.

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "zqcore27/strings/armour.h"
#include "zqcore27/strings/armour_codec.h"
#include "zqcore27/strings/scramble_table.h"

namespace {

const unsigned char* bytes(const char* s) { return reinterpret_cast<const unsigned char*>(s); }

}  // namespace

TEST(ArmourCodecTest, Groups) {
  static constexpr struct {
    int line;
    const char* plain;
    std::uint32_t size;
    const char* text;
  } ROWS[] = {{__LINE__, "", 0, "0000"},
              {__LINE__, "abc", 3, "0003QBFS"},
              {__LINE__, "a", 1, "0001Q@00"},  // padded with zero bytes
              {__LINE__, "\xFF\xFF\xFF", 3, "0003oooo"},
              {__LINE__, "\xC0\x0F\xC0", 3, "00030o`0"}};
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    unsigned char out[16] = {};
    std::uint32_t length = LengthInAscii(row.size) - 1;
    EXPECT_FALSE(armourEncode(bytes(row.plain), row.size, out, &length));
    EXPECT_EQ(length, LengthInAscii(row.size));
    EXPECT_TRUE(armourEncode(bytes(row.plain), row.size, out, &length));
    EXPECT_EQ(std::string(reinterpret_cast<char*>(out), length), row.text);
    std::uint32_t room = row.size + 3;
    unsigned char back[8];
    EXPECT_TRUE(armourDecode(out, length, back, &room));
    EXPECT_EQ(std::string(reinterpret_cast<char*>(back), room), std::string(row.plain, row.size));
  }
}

TEST(ArmourCodecTest, WalkThroughTheTable) {
  static constexpr struct {
    int line;
    std::uint32_t position, legacy, current;
  } ROWS[] = {{__LINE__, 0, 11, 43},  {__LINE__, 41, 52, 84}, {__LINE__, 42, 10, 42},   {__LINE__, 43, 30, 62},
              {__LINE__, 85, 29, 61}, {__LINE__, 86, 49, 81}, {__LINE__, 215, 106, 10}, {__LINE__, 299, 38, 70}};
  std::array<unsigned char, 300> zeros{}, out{};
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    scrambleBytes(zeros.data(), out.data(), out.size(), ARMOUR_LEGACY);
    EXPECT_EQ(out[row.position], SCRAMBLE_TABLE[row.legacy]);
    scrambleBytes(zeros.data(), out.data(), out.size(), ARMOUR_CURRENT);
    EXPECT_EQ(out[row.position], SCRAMBLE_TABLE[row.current]);
    scrambleBytes(out.data(), out.data(), out.size(), 601);  // in place; later versions are like the current one
    EXPECT_EQ(out, zeros);
  }
}
