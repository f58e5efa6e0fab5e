#include "zqcore27/strings/armour.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <numeric>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

Bytes sample(std::size_t n) {
  Bytes bytes(n);
  for (std::size_t i = 0; i < n; ++i) bytes[i] = static_cast<unsigned char>(i * 31 + (i >> 8));
  return bytes;
}

Bytes armoured(const Bytes& plain) {
  auto length = static_cast<std::int32_t>(LengthInAscii(static_cast<std::uint32_t>(plain.size()))) + 4;
  Bytes text(static_cast<std::size_t>(length));
  EXPECT_TRUE(StringInOut(plain.data(), static_cast<std::int32_t>(plain.size()), text.data(), &length));
  text.resize(static_cast<std::size_t>(length));
  return text;
}

struct Result {
  bool done;
  std::int32_t length;
  Bytes out;
  bool operator==(const Result&) const = default;
};

/// Reads a text in a block of exactly its size into one of exactly `room` bytes.
Result plainOf(const Bytes& text, std::int32_t room) {
  const auto in = std::make_unique<unsigned char[]>(text.size());
  std::copy(text.begin(), text.end(), in.get());
  Result result{false, room, Bytes(static_cast<std::size_t>(std::max(room, 0)))};
  result.done = StringOutIn(in.get(), static_cast<std::int32_t>(text.size()), result.out.data(), &result.length);
  result.out.resize(result.done ? static_cast<std::size_t>(result.length) : 0);
  return result;
}

Result plainOf(std::string_view text, std::int32_t room) { return plainOf(Bytes(text.begin(), text.end()), room); }

}  // namespace

TEST(ArmourTest, LengthDoesNotWrap) {
  static constexpr struct {
    int line;
    std::uint32_t n, length;
  } ROWS[] = {{__LINE__, 0, 4},
              {__LINE__, 1, 8},
              {__LINE__, 3, 8},
              {__LINE__, 4, 12},
              {__LINE__, 16'777'215, 22'369'624},
              {__LINE__, 3'221'225'466, 4'294'967'292},
              {__LINE__, 3'221'225'469, 0xFFFFFFFF},
              {__LINE__, 0xFFFFFFFF, 0xFFFFFFFF}};
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    EXPECT_EQ(LengthInAscii(row.n), row.length);
  }
}

TEST(ArmourTest, ThereAndBack) {
  for (const std::size_t n : {1, 2, 3, 4, 5, 42, 43, 44, 127, 128, 129, 1000, 70'001}) {
    SCOPED_TRACE(n);
    const Bytes plain = sample(n);
    const Bytes text = armoured(plain);
    const auto length = static_cast<std::int32_t>(n);
    EXPECT_EQ(text.size(), LengthInAscii(static_cast<std::uint32_t>(n)) + 1);
    EXPECT_EQ(text[0], 'z');
    EXPECT_TRUE(std::all_of(text.begin() + 1, text.end(), [](unsigned char c) { return c >= 0x30 && c <= 0x6F; }));
    EXPECT_EQ(plainOf(text, length + 3), (Result{true, length, plain}));
    EXPECT_EQ(plainOf(text, length + 2), (Result{false, length + 3, {}}));
    EXPECT_EQ(plainOf(text, -1), (Result{false, length + 3, {}}));

    // Without its marker it is a text of the older form, scrambled from another place of the table.
    const Result legacy = plainOf(Bytes(text.begin() + 1, text.end()), length + 3);
    EXPECT_TRUE(legacy.done);
    EXPECT_EQ(legacy.length, length);
    EXPECT_NE(legacy.out, plain);
  }
}

// What was written once must read for ever: this fails if the table or the form changes.
TEST(ArmourTest, TextOfEarlierBuildsIsRead) {
  static constexpr std::string_view PLAIN = "The quick brown fox jumps over the lazy dog.";
  static constexpr std::string_view CURRENT = R"(z000\U\1>jLULW4SYQd]?M[UcRGd[jbLn1@P@Rf0@MiB7noPblTYnm@04gTi;el<0)";
  static constexpr std::string_view LEGACY = R"(000\fmTJ5ZRmGcW6;i6CCl68]NWP;`Vn]YC8GM8I8;6k4F^IA;4f<C9ggFZ^0N60)";
  EXPECT_EQ(plainOf(CURRENT, 100), (Result{true, 44, Bytes(PLAIN.begin(), PLAIN.end())}));
  EXPECT_EQ(plainOf(LEGACY, 100), (Result{true, 44, Bytes(PLAIN.begin(), PLAIN.end())}));
}

TEST(ArmourTest, RoomToWrite) {
  const Bytes plain = sample(5);  // 12 characters and the marker, and three more are asked for
  for (const std::int32_t room : {std::numeric_limits<std::int32_t>::min(), -1, 0, 13, 15}) {
    SCOPED_TRACE(room);
    Bytes out(16, '#');
    std::int32_t length = room;
    EXPECT_FALSE(StringInOut(plain.data(), 5, out.data(), &length));
    EXPECT_EQ(length, 16);
    EXPECT_EQ(out, Bytes(16, '#'));
    EXPECT_TRUE(StringInOut(plain.data(), 5, out.data(), &length));
    EXPECT_EQ(length, 13);
  }
}

TEST(ArmourTest, SizesWithoutAText) {
  unsigned char out = '#';
  std::int32_t length = -7;
  EXPECT_TRUE(StringInOut(nullptr, 0, &out, &length));  // whatever the room
  EXPECT_EQ(length, 0);
  EXPECT_EQ(out, 0);
  for (const std::int32_t n :
       {-1, std::numeric_limits<std::int32_t>::min(), 16'777'216, std::numeric_limits<std::int32_t>::max()}) {
    SCOPED_TRACE(n);
    length = std::numeric_limits<std::int32_t>::max();
    EXPECT_FALSE(StringInOut(nullptr, n, &out, &length));  // refused before anything is read
    EXPECT_EQ(length, 0);
  }
  for (const std::int32_t n : {0, -1}) {
    length = 100;
    EXPECT_FALSE(StringOutIn(nullptr, n, &out, &length));
    EXPECT_EQ(length, 0);
  }
}

TEST(ArmourTest, LargestBuffer) {
  const Bytes plain = sample(16'777'215);
  EXPECT_EQ(plainOf(armoured(plain), 16'777'218), (Result{true, 16'777'215, plain}));
}

TEST(ArmourTest, IllFormedTexts) {
  static constexpr struct {
    int line;
    std::string_view text;
    std::int32_t room;
    bool done;
    std::int32_t length;
  } ROWS[] = {
      {__LINE__, "0", 9, false, 0},  // under four characters
      {__LINE__, "000", 9, false, 0},
      {__LINE__, "z", 9, false, 0},
      {__LINE__, "z000", 9, false, 0},
      {__LINE__, "0000", 3, true, 0},  // nothing, well-formed
      {__LINE__, "z0000", 3, true, 0},
      {__LINE__, "0000", 2, false, 3},
      {__LINE__, "z0000", 2, false, 3},
      {__LINE__, "0003QBFS", 6, true, 3},
      {__LINE__, "0003QBFS", 5, false, 6},
      {__LINE__, "0003QBF", 9, false, 0},  // false lengths
      {__LINE__, "0003QBFSQBFS", 9, false, 0},
      {__LINE__, "ooooQBFS", 9, false, 0},
      {__LINE__, "0003QB/S", 9, false, 0},  // foreign characters
      {__LINE__, "0003QBpS", 9, false, 0},
      {__LINE__, "z0003QB\xFFS", 9, false, 0},
      {__LINE__, "000/QBFS", 9, false, 0},
      {__LINE__, "zz0003QBFS", 9, false, 0},
      {__LINE__, "0003QB/S", 5, false, 6},  // the room is tested before the groups
      {__LINE__, "z0003QB/S", 5, false, 6},
      {__LINE__, "key = value", 99, false, 0},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line << ": " << row.text);
    const Result result = plainOf(row.text, row.room);
    EXPECT_EQ(result.done, row.done);
    EXPECT_EQ(result.length, row.length);
  }
}
