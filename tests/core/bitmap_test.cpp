#include "zqcore27/core/bitmap.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>

#include "zqcore27/errors/mem_error.h"
#include "zqcore27/strings/string.h"

namespace {

/// The first `n` bits, bit 0 first.
std::string bits(const Bitmap& b, unsigned int n) {
  std::string text;
  for (unsigned int i = 0; i < n; ++i) text += b.state(i) ? '1' : '0';
  return text;
}

/// Where the words lie: the first field.
const void* words(const Bitmap& b) {
  const void* first;
  std::memcpy(&first, &b, sizeof first);
  return first;
}

TEST(BitmapTest, ReadsTextAndGrowsToWhatIsWritten) {
  static constexpr const char* ROWS[][2] = {{"0101", "010100"}, {"x1", "010000"}, {"", "000000"}};
  for (const auto& [text, expected] : ROWS) EXPECT_EQ(bits(Bitmap(String(text)), 6), expected);
  Bitmap b;
  EXPECT_FALSE(b.state(0));
  b.clear(40);  // 41 bits: the combination below reaches the second word
  b |= Bitmap(64, true);
  EXPECT_EQ(bits(b, 42), std::string(41, '1') + "0");
  b.toggle(41);  // a spare bit that was set comes into view, inverted
  b.set(200);
  EXPECT_TRUE(!b.state(41) && b.state(200) && !b.state(199) && b.state(40));
}

TEST(BitmapTest, SpareBitsComeIntoView) {
  Bitmap full(5, true);
  const void* before = words(full);
  full.set(6);
  EXPECT_EQ(words(full), before);  // no copy within a word
  EXPECT_EQ(bits(full, 8), "11111110");
  Bitmap toggled(5);
  toggled.toggle();
  Bitmap copy(toggled), assigned;
  assigned = toggled;
  for (Bitmap* b : {&toggled, &copy, &assigned}) {
    b->clear(6);
    EXPECT_EQ(bits(*b, 8), "11111100");
  }
  full.clear();
  EXPECT_EQ(bits(full, 8), "00000000");
  full.set();
  EXPECT_EQ(bits(full, 8), "11111110");
}

TEST(BitmapTest, CombinesTheWordsThatBothHave) {
  Bitmap a(64, true), b(32);
  b.set(3);
  a &= b;
  EXPECT_EQ(bits(a, 64), "0001" + std::string(28, '0') + std::string(32, '1'));
  a ^= Bitmap(64, true);
  EXPECT_EQ(bits(a, 64), "1110" + std::string(28, '1') + std::string(32, '0'));
  b ^= a;
  EXPECT_EQ(bits(b, 64), std::string(32, '1') + std::string(32, '0'));  // no size changes
}

TEST(BitmapTest, CopiesAreTheirOwn) {
  Bitmap a(String("101")), b(a);
  b.set(1);
  Bitmap& self = a;
  a = self;
  EXPECT_EQ(bits(a, 3), "101");
  Bitmap moved(std::move(b));
  b = moved;
  EXPECT_EQ(bits(b, 3), "111");
  a = std::move(b);
  EXPECT_EQ(words(b), nullptr);  // left empty, not with the words that `a` had
  a = std::move(self);
  EXPECT_EQ(bits(a, 3), "111");
}

TEST(BitmapTest, RefusesTheLastIndex) {
  Bitmap b(String("11"));
  using Write = void (Bitmap::*)(unsigned int);
  for (const Write write : {Write{&Bitmap::set}, Write{&Bitmap::clear}, Write{&Bitmap::toggle}}) {
    try {
      (b.*write)(0xFFFFFFFF);
      FAIL() << "no error";
    } catch (const MemError& e) {
      EXPECT_EQ(e.code(), MemError::TOO_LARGE);
    }
    EXPECT_EQ(bits(b, 4), "1100");
  }
}

}  // namespace
