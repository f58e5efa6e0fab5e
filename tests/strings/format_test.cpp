#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>
#include <string>

#include "tests/support/text.h"
#include "zqcore27/errors/mem_error.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/string.h"

namespace {

struct Row {
  int line;
  std::string got;
  std::string expected;
};

template <class... Arguments>
std::string built(const char* format, Arguments... arguments) {
  String text;
  text.build(format, arguments...);
  return utf8(text);
}

template <std::size_t N>
void check(const Row (&rows)[N]) {
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    EXPECT_EQ(row.got, row.expected);
  }
}

const std::uint16_t* wide(const char16_t* s) { return reinterpret_cast<const std::uint16_t*>(s); }

std::uint32_t blockBytes(const String& s) { return static_cast<const MemResizable&>(s).size(); }

constexpr std::int32_t INT_LEAST = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t INT_MOST = std::numeric_limits<std::int32_t>::max();

TEST(FormatTest, Integers) {
  const Row rows[] = {
      {__LINE__, built("%05d", -42), "-0042"},
      {__LINE__, built("%-5d|", 42), "42   |"},
      {__LINE__, built("%-05d|", -4), "-4   |"},  // left wins over zeros
      {__LINE__, built("%+d% d%+ d", 42, 42, 42), "+42 42+42"},
      {__LINE__, built("%d %i", INT_LEAST, INT_MOST), "-2147483648 2147483647"},
      {__LINE__, built("%.3d|%05.3d|%.0d|%.d", 5, 5, 0, 0), "005|  005||"},
      {__LINE__, built("%.40d", 7), "0000000000000000000000000000007"},  // 31 digits at most
      {__LINE__, built("%x %lx %hlx", 0x12345, 0x12345, 0x12345), "2345 12345 12345"},
      {__LINE__, built("%u %lu %hlu %d %hd", 70000, 70000, 70000, 70000, 70000), "4464 70000 70000 70000 70000"},
      {__LINE__, built("%X %#x %#x %#X", 255, 255, 0, 255), "FF 0xff 0 0XFF"},
      {__LINE__, built("%o %#o %#o %#.0o", 8, 8, 0, 0), "10 010 00 0"},
      {__LINE__, built("%#06x|%#6x", 255, 255), "0x00ff|  0xff"},
      {__LINE__, built("%b %#b %lb", 5, 5, 0xFFFFFFFF), "101 101 11111111111111111111111111111111"},
      {__LINE__, built("%p %p %hp", 0, 0x12345678, 0x12345678), "0000:00000000 0000:12345678 00005678"},
      {__LINE__, built("%.9p %.8p %.0p|", 0x1234ABCD, 0x1234ABCD, 0), ":1234ABCD 1234ABCD |"},
      {__LINE__, built("%#p %#p %17p", 1, 0, 1), "0X0000:00000001 0000:00000000 00000000:00000001"},
      {__LINE__, built("%hlp", 0x12345678), "12345678"},  // l overrules h in the width of the value
      {__LINE__, built("%*d|%*d|%-*d|", 4, 1, -4, 1, 4, 1), "   1|1   |1   |"},
      {__LINE__, built("%.*d|%.*d|%05.*d", 3, 5, -3, 5, -3, 5), "005|5|00005"},
      {__LINE__, built("%NLhld", 5), "5"},
  };
  check(rows);
}

TEST(FormatTest, Text) {
  const std::uint16_t* const nothing = nullptr;
  const std::uint16_t* const abc = wide(u"abcdef");
  const char counted[] = {3, 'x', 'y', 'z', '!'};
  const char negative[] = {-3, 'x', 'y', 'z'};
  const char unterminated[] = {'p', 'q'};
  const std::uint16_t wide_unterminated[] = {'r', 's'};
  std::int32_t count = -1;
  const Row rows[] = {
      {__LINE__, built(""), ""},
      {__LINE__, built("plain"), "plain"},
      {__LINE__, built("%s|%Ns|%Ls", abc, "narrow", "too"), "abcdef|narrow|too"},
      {__LINE__, built("%s %Ns %.3s|%P", nothing, nullptr, nothing, nullptr), "(null) (null) (nu|(null)"},
      {__LINE__, built("%.2s, rest", abc), "ab, rest"},
      {__LINE__, built("%9s|%-9s|%09s", abc, abc, abc), "   abcdef|abcdef   |000abcdef"},
      {__LINE__, built("%.2Ns %.*s", unterminated, 2, wide_unterminated), "pq rs"},
      {__LINE__, built("%P|%.2P|%5P|%P|", counted, counted, counted, negative), "xyz|xy|  xyz||"},
      {__LINE__, built("%c%c%3c|", 'a', 0x20AC, 'b'), "a\xE2\x82\xAC  b|"},
      {__LINE__, built("<%c|%4c>%n", 0, 0, &count), "<|   >"},  // a zero unit counts and pads, and isn't there
      {__LINE__, built("%5%|%-3%|%05%", 0), "    %|%  |0000%"},
      {__LINE__, built("\x80\xFF"), "\xEF\xBE\x80\xEF\xBF\xBF"},  // U+FF80, U+FFFF
  };
  check(rows);
  EXPECT_EQ(count, 8);

  std::int32_t at = -1;
  EXPECT_EQ(built("ab%5n%d%n", &at, 12345, &count), "ab12345");
  EXPECT_EQ(at, 2);
  EXPECT_EQ(count, 7);
}

TEST(FormatTest, NarrowTextIsConverted) {
  setACPid(65001);
  std::int32_t count = 0;
  const Row rows[] = {
      {__LINE__, built("%Ns|%5Ns|%.3Ns", "z\xC3\xA4z", "\xC3\xA4", "z\xC3\xA4z"), "z\xC3\xA4z|   \xC3\xA4|z\xC3\xA4"},
      {__LINE__, built("%Ns%n!", "\xE2\x82\xAC", &count), "\xE2\x82\xAC!"},
      {__LINE__, built("%P", "\x04\xC3\xA4xy!"), "\xC3\xA4xy"},
  };
  check(rows);
  EXPECT_EQ(count, 3) << "bytes are counted";

  std::string text;
  for (int i = 0; i < 3000; ++i) text += "a\xE2\x82\xAC";
  String longText;
  longText.build("%Ns", text.c_str());
  EXPECT_EQ(utf8(longText), text);
  EXPECT_EQ(blockBytes(longText), 2 * (6000u + 1));

  String kept(u"before");
  EXPECT_THROW(kept.build("x%.2Ns", "z\xC3\xA4"), StringError) << "a character is cut off";
  EXPECT_EQ(utf8(kept), "before");
  setACPid(0);
}

TEST(FormatTest, BadDirectiveEndsTheText) {
  const Row rows[] = {
      {__LINE__, built("kept%q dropped %d", 1), "kept"},
      {__LINE__, built("kept%"), "kept"},
      {__LINE__, built("kept%-"), "kept"},
      {__LINE__, built("kept%12"), "kept"},
      {__LINE__, built("kept%5."), "kept"},
      {__LINE__, built("kept%.3l"), "kept"},
      {__LINE__, built("%d%F", 1, 1.0), "1"},
      {__LINE__, built("a%*-d", 5, 1), "a"},  // no flag behind an asterisk, and no digit
      {__LINE__, built("a%*5d", 5, 1), "a"},
      {__LINE__, built("a%5-d", 1), "a"},
      {__LINE__, built("a%.-5d", 1), "a"},
      {__LINE__, built("a%l5d", 1), "a"},
      {__LINE__, built("a%\xE4", 1), "a"},
      {__LINE__, built("a%y", 1), "a"},
  };
  check(rows);
}

TEST(FormatTest, FixedForm) {
  const Row rows[] = {
      {__LINE__, built("%f %f %f", 1.5, 0.0, -0.0), "1.500000 0.000000 0.000000"},
      {__LINE__, built("%.0f %.0f %.0f", 2.5, 0.5, 0.05), "3 1 0"},
      {__LINE__, built("%.0f", 100.5), "100"},  // the scaled value lies just below the tie
      {__LINE__, built("%#.0f", 1.0), "1."},
      {__LINE__, built("%.2f %.2f %.2f %.1f", 0.001, 0.006, 0.0006, 0.05), "0.00 0.01 0.00 0.1"},
      {__LINE__, built("%.1f %.2f %.0f %.3f", 99.96, 0.999, 9.5, 0.9996), "100.0 1.00 10 1.000"},
      {__LINE__, built("%08.3f|%+.1f|% .1f|%-8.1f|", -1.5, 1.5, 1.5, 1.5), "-001.500|+1.5| 1.5|1.5     |"},
      {__LINE__, built("%.20f", 0.1), "0.10000000000000000000"},  // 17 real digits
      {__LINE__, built("%.30f", 0.015625), "0.015625000000000000000000000000"},
      {__LINE__, built("%.40f", 1e-35), "0.000000000000000000000000000000"},  // no more than 32 units
      {__LINE__, built("%.40f", 1.5), "1.50000000000000000000000000000"},     // no more than 30 digits
      {__LINE__, built("%f", std::ldexp(1.0, 120)), "132922799578491580000000000000"},
      {__LINE__, built("%#.3f", 1e30), "100000000000000000000000000000"},
      {__LINE__, built("%.3f", std::ldexp(1.0, 95)), "39614081257132168000000000000.0"},
      {__LINE__, built("%.2147483647f", 2.0), "2.00000000000000000000000000000"},
      {__LINE__, built("%Lf %lf", 2.5, 2.5), "2.500000 2.500000"},
  };
  check(rows);
}

TEST(FormatTest, ExponentForm) {
  const Row rows[] = {
      {__LINE__, built("%e %E", 1.5, 0.0), "1.500000e+000 0.000000E+000"},
      {__LINE__, built("%.0e %#.0e", 1.5, 1.5), "2e+000 2.e+000"},
      {__LINE__, built("%.2e %.2e", 9.999, 99960.0), "1.00e+001 1.00e+005"},
      {__LINE__, built("%e", 1.7976931348623157e308), "1.797693e+308"},
      {__LINE__, built("%.3e", 4.9406564584124654e-324), "4.941e-324"},
      {__LINE__, built("%14.2E|%-14.2e|%014.2e", -1e-5, -1e-5, -1e-5), "    -1.00E-005|-1.00e-005    |-00001.00e-005"},
      {__LINE__, built("%.40e", 1.0), "1.0000000000000000000000000e+000"},  // 25 digits behind the point
      {__LINE__, built("%.2147483647e", 1.0), "1.0000000000000000000000000e+000"},
  };
  check(rows);
}

TEST(FormatTest, GeneralForm) {
  const Row rows[] = {
      {__LINE__, built("%g %g %g %g %g", 100000.0, 1000000.0, 0.0001, 0.00001, 0.0), "100000 1e+006 0.0001 1e-005 0"},
      {__LINE__, built("%G %#g %#g", 1.25e-7, 1.5, 1e10), "1.25E-007 1.50000 1.00000e+010"},
      {__LINE__, built("%.17g %.15g", 0.1, 0.1), "0.1 0.1"},
      {__LINE__, built("%g %g %g", 999999.5, 9.9999995, 120.0), "1e+006 10 120"},
      {__LINE__, built("%.2g|%8.2g|%3.2g", 12345.0, 12345.0, 17000.0), "1e+004|1.2e+004|1.7e+004"},
      {__LINE__, built("%.2g %#.2g", 17000.0, 17000.0), "1e+004 1.7e+004"},
      {__LINE__, built("%.1g|%9.1g|%#.1g", 12345.0, 12345.0, 12345.0), "1e+004|   1e+004|1.e+004"},
      {__LINE__, built("%.0g %#.0g %.0g %.0g", 12345.0, 12345.0, 1.5, 1e-7), "1 1. 2 1"},
      {__LINE__, built("%.40g", std::ldexp(1.0, 120)), "132922799578491580000000000000"},
  };
  check(rows);
}

TEST(FormatTest, InfinityAndNanAreWords) {
  const double infinity = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
  const Row rows[] = {
      {__LINE__, built("%f %e %g %.0f", infinity, infinity, infinity, infinity), "inf inf inf inf"},
      {__LINE__, built("%f %+f %E|%06f", -infinity, infinity, -infinity, infinity), "-inf +inf -INF|   inf"},
      {__LINE__, built("%f %G %-5g|", nan, nan, nan), "nan NAN nan  |"},
  };
  check(rows);
}

TEST(FormatTest, BlocksAreExact) {
  String text;
  text.build("");
  EXPECT_EQ(blockBytes(text), 8194u);
  EXPECT_EQ(text.size(), 0u);
  text.build("%4096d", 1);
  EXPECT_EQ(blockBytes(text), 8194u);
  text.build("%4090d%s%c!", 1, wide(u"abcdef"), 'x');
  EXPECT_EQ(text.size(), 4098u);
  EXPECT_EQ(blockBytes(text), 2 * (4098u + 1));
  EXPECT_EQ(utf8(text).substr(4088), " 1abcdefx!");
  text.build("short");
  EXPECT_EQ(blockBytes(text), 8194u);
  EXPECT_EQ(text.terminate(4096u), 4096u);
  EXPECT_EQ(text[4095], 0u) << "the block is clear behind the text";

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
  const auto refused = [&text](auto build) {
    EXPECT_THROW(build(), MemError);
    EXPECT_EQ(utf8(text), "before");
  };
  refused([&] { text.build("a%2147483647d", 1); });
  refused([&] { text.build("a%-99999999999999999999d", 1); });
  refused([&] { text.build("a%*d", INT_LEAST, 1); });
  refused([&] { text.build("a%*Ns", INT_MOST, "x"); });
}

// Where the two agree: sizes given, no sign or prefix of another rule, digits that the generator computes.
TEST(FormatTest, AgreesWithTheRuntime) {
  std::mt19937 random(20240611);
  const auto below = [&random](unsigned n) { return static_cast<int>(random() % n); };
  const auto options = [&](const char* flags, int most) {
    std::string text = "%";
    for (const char* flag = flags; *flag != 0; ++flag) {
      if (below(4) == 0) text += *flag;
    }
    if (below(2) == 0) text += std::to_string(1 + below(40));
    if (below(2) == 0) text += "." + std::to_string(below(static_cast<unsigned>(most)));
    return text;
  };
  const auto expected = [](const std::string& format, auto value) {
    char text[400];
    std::snprintf(text, sizeof text, format.c_str(), value);
    return std::string(text);
  };
  for (int i = 0; i < 3000; ++i) {
    const auto number = static_cast<std::int32_t>(random() >> below(32));
    std::string format = options("-+ 0", 31);
    EXPECT_EQ(built((format + "d").c_str(), number), expected(format + "d", number)) << format << "d " << number;
    format = options("-#0", 31);
    const char conversion = "xX"[below(2)];
    EXPECT_EQ(built((format + "l" + conversion).c_str(), number), expected(format + conversion, number)) << format;
    format = options("-0", 31);
    const char plain = "uo"[below(2)];
    EXPECT_EQ(built((format + "l" + plain).c_str(), number), expected(format + plain, number)) << format;
    format = options("-", 12);
    EXPECT_EQ(built((format + "Ns").c_str(), "some text"), expected(format + "s", "some text")) << format;
  }
  for (int i = 0; i < 3000; ++i) {
    // Of 53 bits, so that a tie is unlikely.
    const double value =
        std::ldexp(static_cast<double>(random()) - 2147483648.0 + random() / 4294967296.0, below(20) - 24);
    std::string format = options("-+ #0", 5) + "f";
    EXPECT_EQ(built(format.c_str(), value), expected(format, value)) << format << " of " << value;

    const double scaled = value * std::pow(10.0, 100 + below(150) * (below(2) ? 1 : -1));
    if (std::fabs(scaled) < 1e100 && std::fabs(scaled) > 1e-99) continue;  // an exponent of three digits
    format = "%+." + std::to_string(below(13)) + "e";
    EXPECT_EQ(built(format.c_str(), scaled), expected(format, scaled)) << format << " of " << scaled;
    format = "%." + std::to_string(3 + below(10)) + "g";
    EXPECT_EQ(built(format.c_str(), scaled), expected(format, scaled)) << format << " of " << scaled;
  }
}

}  // namespace
