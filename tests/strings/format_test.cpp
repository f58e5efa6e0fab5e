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

constexpr std::int32_t INT_LEAST = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t INT_MOST = std::numeric_limits<std::int32_t>::max();

TEST(FormatTest, Integers) {
  EXPECT_EQ(built("%d %i", INT_LEAST, INT_MOST), "-2147483648 2147483647");
  EXPECT_EQ(built("%.0d|%.d|%#.0o|%o|%#o", 0, 0, 0, 8, 8), "||0|10|010");
  EXPECT_EQ(built("%.40d", 7), "0000000000000000000000000000007") << "31 digits at most";
  EXPECT_EQ(built("%x %lx %hlx %hd", 0x12345, 0x12345, 0x12345, 70000), "2345 12345 12345 70000");
  EXPECT_EQ(built("%p %p %hp %hlp", 0, 0x12345678, 0x12345678, 0x12345678),
            "0000:00000000 0000:12345678 00005678 12345678");
  EXPECT_EQ(built("%#p %17p %.9p %.8p %.0p|", 1, 1, 1, 1, 0), "0X0000:00000001 00000000:00000001 :00000001 00000001 |");
  EXPECT_EQ(built("%*d|%*d|%-*d|", 4, 1, -4, 1, 4, 1), "   1|1   |1   |");
  EXPECT_EQ(built("%.*d|%.*d|%05.*d|%NLhld", 3, 5, -3, 5, -3, 5, 5), "005|5|00005|5");
}

// With and without a width numbers take different ways.
TEST(FormatTest, AWidthOfOneChangesNothing) {
  std::mt19937 random(1);
  for (int i = 0; i < 20000; ++i) {
    const std::string lead(i % 16 == 0 ? random() % 520 : 0, '-'), flags = i % 2 != 0 ? "+#" : "";
    const std::uint32_t value = i < 20 ? static_cast<std::uint32_t>(std::pow(10, i / 2)) - i % 2
                                       : static_cast<std::uint32_t>(random()) >> random() % 32;
    const char letter = "dxXuob"[random() % 6];
    EXPECT_EQ(built(lead + "%" + flags + "l" + letter, value), built(lead + "%" + flags + "1l" + letter, value));
    const std::string real = "." + std::to_string(random() % 20) + "fe"[i / 2 % 2];
    const double number = std::ldexp(value, static_cast<int>(random() % 200) - 100);
    EXPECT_EQ(built(lead + "%" + flags + real, number), built(lead + "%" + flags + "1" + real, number));
  }
}

TEST(FormatTest, Text) {
  const std::uint16_t* const nothing = nullptr;
  const std::uint16_t* const abc = wide(u"abcdef");
  const char counted[] = {3, 'x', 'y', 'z', '!'}, negative[] = {-3, 'x', 'y', 'z'};
  const char unterminated[] = {'p', 'q'};
  const std::uint16_t wide_unterminated[] = {'r', 's'};
  std::int32_t count = -1, at = -1;
  EXPECT_EQ(built(""), "");
  EXPECT_EQ(built("%s|%Ns|%Ls", abc, "narrow", "too"), "abcdef|narrow|too");
  EXPECT_EQ(built("%s %Ns %.3s|%P", nothing, nullptr, nothing, nullptr), "(null) (null) (nu|(null)");
  EXPECT_EQ(built("%9s|%-9s|%09s", abc, abc, abc), "   abcdef|abcdef   |000abcdef");
  EXPECT_EQ(built("%.2Ns %.*s", unterminated, 2, wide_unterminated), "pq rs");
  EXPECT_EQ(built("%P|%.2P|%5P|%P|", counted, counted, counted, negative), "xyz|xy|  xyz||");
  EXPECT_EQ(built("%c%c%3c|", 'a', 0x20AC, 'b'), "a\xE2\x82\xAC  b|");
  EXPECT_EQ(built("<%c|%4c>%n", 0, 0, &count), "<|   >") << "a zero unit pads, and isn't there";
  EXPECT_EQ(count, 8) << "but counts";
  EXPECT_EQ(built("%5%|%-3%|%05%", 0), "    %|%  |0000%");
  EXPECT_EQ(built("\x80\xFF"), "\xEF\xBE\x80\xEF\xBF\xBF") << "U+FF80, U+FFFF";
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
  std::string text;
  for (int i = 0; i < 3000; ++i) text += "a\xE2\x82\xAC";
  String longText, kept(u"before");
  longText.build("%Ns", text.c_str());
  EXPECT_EQ(utf8(longText), text);
  EXPECT_EQ(blockBytes(longText), 2 * (6000u + 1));
  EXPECT_THROW(kept.build("x%.2Ns", "z\xC3\xA4"), StringError) << "a character is cut off";
  EXPECT_EQ(utf8(kept), "before");
  setACPid(0);
}

TEST(FormatTest, BadDirectiveEndsTheText) {
  // No flag stands behind a width, no flag or digit behind an asterisk, a point or a size.
  for (const char* bad : {"%q dropped %d", "%", "%-", "%12", "%5.", "%.3l", "%F", "%*-d", "%*5d", "%5-d", "%.-5d",
                          "%l5d", "%\xE4", "%y"}) {
    EXPECT_EQ(built(std::string("kept%d") + bad, 1, 5, 1), "kept1") << bad;
  }
}

TEST(FormatTest, Floats) {
  EXPECT_EQ(built("%f %f %lf %Lf", 0.0, -0.0, 2.5, 2.5), "0.000000 0.000000 2.500000 2.500000");
  EXPECT_EQ(built("%.0f %.0f %.0f %#.0f", 2.5, 0.5, 0.05, 1.0), "3 1 0 1.");
  EXPECT_EQ(built("%.0f", 100.5), "100") << "the scaled value lies just below the tie";
  EXPECT_EQ(built("%.2f %.2f %.2f %.1f", 0.001, 0.006, 0.0006, 99.96), "0.00 0.01 0.00 100.0");
  EXPECT_EQ(built("%.20f", 0.1), "0.10000000000000000000") << "17 real digits";
  EXPECT_EQ(built("%.40f", 1e-35), "0.000000000000000000000000000000") << "no more than 32 units";
  EXPECT_EQ(built("%.2147483647f", 1.5), "1.50000000000000000000000000000") << "no more than 30 digits";
  EXPECT_EQ(built("%f %#.3f", std::ldexp(1.0, 120), 1e30),
            "132922799578491580000000000000 100000000000000000000000000000");
  EXPECT_EQ(built("%.3f", std::ldexp(1.0, 95)), "39614081257132168000000000000.0");
  EXPECT_EQ(built("%.0e %#.0e %.2e %.3e", 1.5, 1.5, 99960.0, 5e-324), "2e+000 2.e+000 1.00e+005 4.941e-324");
  EXPECT_EQ(built("%14.2E|%-14.2e|%014.2e", -1e-5, -1e-5, -1e-5), "    -1.00E-005|-1.00e-005    |-00001.00e-005");
  EXPECT_EQ(built("%.2147483647e", 1.0), "1.0000000000000000000000000e+000") << "25 digits behind the point";
  EXPECT_EQ(built("%.16e %.16e", 14.3125, 38.073599999999999), "1.4312500000000000e+001 3.8073599999999998e+001");
  EXPECT_EQ(built("%g %g %g %g %g", 1e5, 1e6, 1e-4, 1e-5, 0.0), "100000 1e+006 0.0001 1e-005 0");
  EXPECT_EQ(built("%G %#g %#g %.17g %g", 1.25e-7, 1.5, 1e10, 0.1, 999999.5),
            "1.25E-007 1.50000 1.00000e+010 0.1 1e+006");
  EXPECT_EQ(built("%.2g|%8.2g|%3.2g|%#.2g", 12345.0, 12345.0, 17000.0, 17000.0), "1e+004|1.2e+004|1.7e+004|1.7e+004");
  EXPECT_EQ(built("%.1g|%9.1g|%#.1g", 12345.0, 12345.0, 12345.0), "1e+004|   1e+004|1.e+004");
  EXPECT_EQ(built("%.0g %#.0g %.0g %.0g", 12345.0, 12345.0, 1.5, 1e-7), "1 1. 2 1");
  EXPECT_EQ(built("%.40g", std::ldexp(1.0, 120)), "132922799578491580000000000000");
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
  while (text.size() < 4102)
    text += 'y';  // at the end of the block, where a watch over the heap sees each byte too many
  text.build("%4090d%s%c!", 1, wide(u"abcdef"), 'x');
  EXPECT_EQ(blockBytes(text), 2 * (4098u + 1));
  EXPECT_EQ(utf8(text).substr(4088), " 1abcdefx!");
  text.build("");
  EXPECT_EQ(blockBytes(text), 8194u);
  EXPECT_EQ(text.size(), 0u);
  const std::string longFormat(10000, 'f');
  text.build(longFormat.c_str());
  EXPECT_EQ(utf8(text), longFormat);
  EXPECT_EQ(blockBytes(text), 20002u);
}

TEST(FormatTest, ArgumentsMayLieInTheObject) {
  String text(u"self");
  text.build("<%s|%.2s>", text.begin(), text.begin() + 1);
  EXPECT_EQ(utf8(text), "<self|el>");
  text.build("%4000d%s", 1, text.begin());
  text.build("%s%s", text.begin(), text.begin());
  EXPECT_EQ(text.size(), 8018u);
}

TEST(FormatTest, TooLongATextLeavesTheObject) {
  String text(u"before");
  EXPECT_THROW(text.build("a%2147483647d", 1), MemError);
  EXPECT_THROW(text.build("a%-99999999999999999999d", 1), MemError);
  EXPECT_THROW(text.build("a%*d", INT_LEAST, 1), MemError);
  EXPECT_THROW(text.build("a%*Ns", INT_MOST, "x"), MemError);
  EXPECT_EQ(utf8(text), "before");
}

}  // namespace
