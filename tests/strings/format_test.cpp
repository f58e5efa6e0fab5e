#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>

#include "tests/support/text.h"
#include "zqcore27/errors/mem_error.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/string.h"

namespace {

template <class... Arguments>
std::string built(const std::string& format, Arguments... arguments) {
  String text;
  text.build(format.c_str(), arguments...);
  return utf8(text);
}

const std::uint16_t* wide(const char16_t* s) { return reinterpret_cast<const std::uint16_t*>(s); }

std::uint32_t blockBytes(const String& s) { return static_cast<const MemResizable&>(s).size(); }

// Whole numbers, and fields of any text, stand in the exhaustive tests.
TEST(FormatTest, Text) {
  const std::uint16_t* const nothing = nullptr;
  const char counted[] = {3, 'x', 'y', 'z', '!'}, negative[] = {-3, 'x', 'y', 'z'};
  const char unterminated[] = {'p', 'q'};
  const std::uint16_t wide_unterminated[] = {'r', 's'};
  std::int32_t count = -1, at = -1;
  EXPECT_EQ(built("%s %Ns %.3s|%P", nothing, nullptr, nothing, nullptr), "(null) (null) (nu|(null)");
  EXPECT_EQ(built("%.2Ns %.*s", unterminated, 2, wide_unterminated), "pq rs");
  EXPECT_EQ(built("%P|%.2P|%5P|%P|", counted, counted, counted, negative), "xyz|xy|  xyz||");
  EXPECT_EQ(built("%c%c%3c|", 'a', 0x20AC, 'b'), "a\xE2\x82\xAC  b|");
  EXPECT_EQ(built("<%c|%4c>%n", 0, 0, &count), "<|   >") << "a zero unit pads, and isn't there";
  EXPECT_EQ(count, 8) << "but counts";
  EXPECT_EQ(built("\x80\xFF"), "\xEF\xBE\x80\xEF\xBF\xBF") << "U+FF80, U+FFFF";
  EXPECT_EQ(built("%*d|%.*d", -4, 1, -3, 5), "1   |5") << "negative: on the left, none";
  EXPECT_EQ(built("ab%5n%d%n", &at, 12345, &count), "ab12345");
  EXPECT_EQ(at, 2);
  EXPECT_EQ(count, 7);
}

TEST(FormatTest, NarrowTextIsConverted) {
  setACPid(65001);
  std::int32_t count = 0;
  EXPECT_EQ(built("%5Ns|%.3Ns|%P", "\xC3\xA4", "z\xC3\xA4z", "\x04\xC3\xA4xy!"), "   \xC3\xA4|z\xC3\xA4|\xC3\xA4xy");
  EXPECT_EQ(built("%Ns%n!", "\xE2\x82\xAC", &count), "\xE2\x82\xAC!");
  EXPECT_EQ(count, 3) << "bytes are counted";
  String longText, kept(u"before");
  longText.fill(3000, 0x20AC);
  EXPECT_EQ(built("%Ns", utf8(longText).c_str()), utf8(longText));
  EXPECT_THROW(kept.build("x%.2Ns", "z\xC3\xA4"), StringError) << "a character is cut off";
  EXPECT_EQ(utf8(kept), "before");
  setACPid(0);
}

TEST(FormatTest, BadDirectiveEndsTheText) {
  for (const char* bad : {"%q dropped %d", "%", "%.3l", "%F", "%*-d", "%l5d", "%\xE4"}) {
    EXPECT_EQ(built(std::string("kept%d") + bad, 1, 5, 1), "kept1") << bad;
  }
}

// What the exhaustive tests leave out: more digits than there are or than there is room for, and what is no number.
TEST(FormatTest, Floats) {
  EXPECT_EQ(built("%.40f", 1e-35), "0.000000000000000000000000000000") << "no more than 32 units";
  EXPECT_EQ(built("%.2147483647f", 1.5), "1.50000000000000000000000000000") << "no more than 30 digits";
  EXPECT_EQ(built("%f %#.3f", std::ldexp(1.0, 120), 1e30),
            "132922799578491580000000000000 100000000000000000000000000000");
  EXPECT_EQ(built("%.2147483647e", 1.0), "1.0000000000000000000000000e+000") << "25 digits behind the point";
  EXPECT_EQ(built("%.1g|%9.1g|%#.1g", 12345.0, 12345.0, 12345.0), "1e+004|   1e+004|1.e+004");
  EXPECT_EQ(built("%.0g %#.0g %.0g %.0g", 12345.0, 12345.0, 1.5, 1e-7), "1 1. 2 1");
  EXPECT_EQ(built("%.18G %#.17E", 6.938828735309849e-15, 6.4011850561904865e-12),
            "6.9388287353098489E-015 6.40118505619048640E-012")
      << "a digit stands where the scaling rounds a half to even";
  const double infinity = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(built("%f %+f %E|%06f %.0g", -infinity, infinity, -infinity, infinity, infinity),
            "-inf +inf -INF|   inf inf");
  EXPECT_EQ(built("%f %G %-5g|", nan, nan, nan), "nan NAN nan  |");
}

TEST(FormatTest, BlocksAreExact) {
  String text;
  for (const std::uint32_t n : {2u, 510u, 511u, 512u, 4095u, 4096u, 4097u, 9000u, 30u, 600u}) {
    SCOPED_TRACE(n);
    text.build("%d%*d", 1, static_cast<std::int32_t>(n - 1), 1);
    EXPECT_EQ(text.size(), n);
    const std::uint32_t units = n <= 4096 ? 4097 : n + 1;
    ASSERT_EQ(blockBytes(text), 2 * units);
    EXPECT_TRUE(std::all_of(text.begin() + n, text.begin() + units, [](unsigned unit) { return unit == 0; }));
    std::fill_n(text.begin(), units - 1, '#');  // as a host may; the next text is clear behind it all the same
  }
  std::mt19937 random(8194);
  for (int round = 0; round < 2000; ++round) {  // ... and of a single unit anywhere
    text.build("%*d%e", static_cast<std::int32_t>(random() % (round % 8 != 0 ? 40 : 600)), 1, 1.5);
    EXPECT_TRUE(std::all_of(text.begin() + text.size(), text.begin() + 4097, [](unsigned unit) { return unit == 0; }));
    text[random() % 4097] = static_cast<std::uint16_t>(1u << random() % 16);
  }
  text.build("x");
  while (text.size() < 4102) text += 'y';  // the watch over the heap then sees each byte too many
  text.build("%4090d%s%c!", 1, wide(u"abcdef"), 'x');
  EXPECT_EQ(blockBytes(text), 2 * (4098u + 1));
  EXPECT_EQ(utf8(text).substr(4088), " 1abcdefx!");
  text.build("");
  EXPECT_EQ(blockBytes(text), 8194u);
  EXPECT_EQ(text.size(), 0u);
}

TEST(FormatTest, TooLongATextLeavesTheObject) {
  String text(u"before");
  EXPECT_THROW(text.build("a%2147483647d", 1), MemError);
  EXPECT_THROW(text.build("a%-99999999999999999999d", 1), MemError);
  EXPECT_THROW(text.build("a%*d", std::numeric_limits<std::int32_t>::min(), 1), MemError);
  EXPECT_EQ(utf8(text), "before");
}

}  // namespace
