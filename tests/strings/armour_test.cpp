#include "zqcore27/strings/armour.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <numeric>
#include <string_view>
#include <tuple>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

constexpr std::int32_t MAX = std::numeric_limits<std::int32_t>::max();

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

/// Whether it is done, the length and the bytes.
using Result = std::tuple<bool, std::int32_t, Bytes>;

/// Reads a text in a block of exactly its size into one of exactly `room` bytes, so that a sanitizer sees the rest.
template <class Text>
Result plainOf(const Text& text, std::int32_t room) {
  const Bytes in(text.begin(), text.end());
  Bytes out(static_cast<std::size_t>(std::max(room, 0)));
  const bool done = StringOutIn(in.data(), static_cast<std::int32_t>(in.size()), out.data(), &room);
  out.resize(done ? static_cast<std::size_t>(room) : 0);
  return {done, room, out};
}

std::uint32_t checksum(const Bytes& bytes) {
  return std::accumulate(bytes.begin(), bytes.end(), 0u, [](std::uint32_t sum, unsigned c) { return sum * 31 + c; });
}

}  // namespace

// Smaller blocks go there and back in a fuzz target.
TEST(ArmourTest, ThereAndBack) {
  static constexpr std::uint32_t ROWS[][2] = {
      {0, 4}, {1, 8}, {3, 8}, {4, 12}, {3'221'225'466, 4'294'967'292}, {3'221'225'469, ~0u}, {~0u, ~0u}};
  for (const auto& [n, length] : ROWS) EXPECT_EQ(LengthInAscii(n), length) << n;
  const std::int32_t most = 16'777'215;
  const Bytes largest = sample(static_cast<std::size_t>(most)), text = armoured(largest), plain = sample(5);
  EXPECT_EQ(plainOf(text, most + 3), (Result{true, most, largest}));
  for (const std::int32_t room : {most + 2, -1}) EXPECT_EQ(plainOf(text, room), (Result{false, most + 3, {}}));
  for (const std::int32_t room : {-1, 13, 15}) {  // 12 characters and the marker, and three more are asked for
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

// What was written once must read for ever: this fails if the table, the walk through it or the form changes.
TEST(ArmourTest, TextOfEarlierBuildsIsRead) {
  static constexpr std::string_view PLAIN = "The quick brown fox jumps over the lazy dog.";
  static constexpr std::string_view CURRENT = R"(z000\U\1>jLULW4SYQd]?M[UcRGd[jbLn1@P@Rf0@MiB7noPblTYnm@04gTi;el<0)";
  static constexpr std::string_view LEGACY = R"(000\fmTJ5ZRmGcW6;i6CCl68]NWP;`Vn]YC8GM8I8;6k4F^IA;4f<C9ggFZ^0N60)";
  for (const auto text : {CURRENT, LEGACY}) {
    EXPECT_EQ(plainOf(text, 100), (Result{true, 44, Bytes(PLAIN.begin(), PLAIN.end())}));
  }
  // Long enough for every place of the table. Without its marker it is a text of the older form, scrambled otherwise.
  Bytes text = armoured(sample(70'001));
  EXPECT_EQ(checksum(text), 3822134866u);
  text.erase(text.begin());
  EXPECT_EQ(checksum(std::get<Bytes>(plainOf(text, 70'004))), 749869403u);
}

TEST(ArmourTest, SizesWithoutAText) {
  unsigned char out = '#';
  std::int32_t length = -7;
  EXPECT_TRUE(StringInOut(nullptr, 0, &out, &length));  // whatever the room
  EXPECT_TRUE(length == 0 && out == 0);
  for (const std::int32_t n : {-1, 16'777'216, MAX}) {
    length = MAX;
    EXPECT_FALSE(StringInOut(nullptr, n, &out, &length)) << n;  // refused before anything is read
    EXPECT_EQ(length, 0);
  }
  for (const std::int32_t n : {0, -1}) EXPECT_FALSE(StringOutIn(nullptr, n, &out, &(length = 100)) || length != 0) << n;
}

TEST(ArmourTest, IllFormedTexts) {
  // Under four characters; false lengths; foreign characters, the neighbours of the alphabet and a second marker.
  for (const std::string_view text : {"000", "z", "z000", "0003QBF", "0003QBFSQBFS", "ooooQBFS", "0003QB/S", "0003QBpS",
                                      "z0003QB\xFFS", "000/QBFS", "zz0003QBFS"}) {
    EXPECT_EQ(plainOf(text, 9), (Result{false, 0, {}})) << text;
  }
  const Bytes good = armoured(sample(40));  // several vectors of groups, and some beside them
  for (std::size_t i = 1; i < good.size(); ++i) {
    for (const unsigned char foreign : {0x2F, 0x70, 0xB0, 0x00}) {
      Bytes text = good;
      text[i] = foreign;
      EXPECT_EQ(plainOf(text, 43), (Result{false, 0, {}})) << i;
    }
  }
  const std::string_view text("0003QB/S"), nothing("z0000");
  EXPECT_EQ(plainOf(text, 5), (Result{false, 6, {}})) << "the room is tested before the groups";
  EXPECT_EQ(plainOf(nothing, 3), (Result{true, 0, {}}));
  EXPECT_EQ(plainOf(nothing, 2), (Result{false, 3, {}}));
}
