#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "zqcore27/strings/string.h"

namespace {

constexpr std::int32_t UNSET = 777;

/// Two integers behind a suitable format, and the result.
struct IntegerRow {
  int line;
  const char *text, *format;
  std::int32_t result, first = UNSET, second = UNSET;
};

TEST(ScanTest, Integers) {
  static constexpr IntegerRow ROWS[] = {
      {__LINE__, "", "", 0},
      {__LINE__, "", "%d", -1},
      {__LINE__, "abc", "", 0},
      {__LINE__, "-42", "%d", 1, -42},
      {__LINE__, "+42", "%ld", 1, 42},
      {__LINE__, "-42", "%u", 0},
      {__LINE__, "1 x", "%d %d", 1, 1},
      {__LINE__, "x 7", "%d%*c%d", 1, UNSET, 7},  // no digits: the argument is used up, the scan goes on
      {__LINE__, "-x", "%d%*c%d", -1},            // the sign is gone
      {__LINE__, "-", "%d", -1},
      {__LINE__, "  \r\n\v 5", "%d", 1, 5},
      {__LINE__, "0x1F", "%i", 1, 31},
      {__LINE__, "-0X1f", "%i", 1, -31},
      {__LINE__, "0b101", "%i", 1, 5},
      {__LINE__, "017", "%i", 1, 15},
      {__LINE__, "0017", "%i", 1, 15},
      {__LINE__, "0", "%i", 1, 0},
      {__LINE__, "0 6", "%i%d", 2, 0, 6},
      {__LINE__, "09", "%i%d", 2, 0, 9},
      {__LINE__, "08", "%i%d", 1, UNSET, 8},  // an octal opening without an octal digit
      {__LINE__, "0xg", "%i", 0},
      {__LINE__, "19", "%i", 1, 19},
      {__LINE__, "017", "%1i%d", 2, 0, 17},
      {__LINE__, "0x1F", "%3i%x", 2, 1, 15},
      {__LINE__, "-0x15", "%1i%i", 1, UNSET, 21},  // the sign uses the width up; no opening is taken
      {__LINE__, "-017", "%1i%i", 1, UNSET, 15},
      {__LINE__, "0x1F", "%x%d", 1, 0},
      {__LINE__, "fF", "%X", 1, 255},
      {__LINE__, "1F", "%p", 1, 31},
      {__LINE__, "1012", "%b%d", 2, 5, 2},
      {__LINE__, "189", "%o%d", 2, 1, 89},
      {__LINE__, "12345", "%3d%d", 2, 123, 45},
      {__LINE__, "-123", "%2d%d", 2, -1, 23},
      {__LINE__, "12", "%0d", 1, 12},
      {__LINE__, "12", "%99999999999d", 1, 12},
      {__LINE__, "4294967297", "%d", 1, 1},  // wraps
      {__LINE__, "-2147483648", "%d", 1, std::numeric_limits<std::int32_t>::min()},
      {__LINE__, "1 2", "%*d%d", 1, 2},
      {__LINE__, "42", "%*d", 0},
      {__LINE__, "42", "%*d%d", -1},
      {__LINE__, "42", "%*d x", 0},
      {__LINE__, "1,2", "%d,%d", 2, 1, 2},
      {__LINE__, "1;2", "%d,%d", 1, 1},
      {__LINE__, "1 , 2", "%d ,%d", 2, 1, 2},
      {__LINE__, "a1", "a%d", 1, 1},
      {__LINE__, "a", "ab", -1},
      {__LINE__, "ax", "ab", 0},
      {__LINE__, "12%", "%d %%%d", 1, 12},
      {__LINE__, " %7", "%%%d", 1, 7},
      {__LINE__, "x", "%%", 0},
      {__LINE__, "  ", "%%", 0},  // a mismatch, though the text has ended
      {__LINE__, "   ", " ", 0},  // the format's end is looked at before the text's
      {__LINE__, "   ", " %d", -1},
      {__LINE__, "1 ", "%d ", 1, 1},
      {__LINE__, "1\r2", "%d\r%d", 2, 1, 2},  // a carriage return in a format is no white space
      {__LINE__, "1\v2", "%d\v%d", 2, 1, 2},
      {__LINE__, "1 2", "%d\v%d", 1, 1},  // nor is a vertical tab
      {__LINE__, "1", "%q", 0},
      {__LINE__, "1", "%", 0},
      {__LINE__, "1", "%5", 0},
      {__LINE__, "1", "%*", 0},
      {__LINE__, "1", "%hhd", 0},
      {__LINE__, "1", "%y", 0},
      {__LINE__, "1", "%\xE4", 0},
      {__LINE__, "abcdef", "%*3c%n", 0, 3},
      {__LINE__, "12 ", "%d%n", 1, 12, 2},
      {__LINE__, "12", "%d%n", 1, 12, 3},  // the end of the text has been read
      {__LINE__, "", "%n", -1},
      {__LINE__, "x", "%*n%d", 0},
  };
  for (const IntegerRow& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line << ": \"" << row.text << "\" by " << row.format);
    String text(row.text);
    std::int32_t first = UNSET, second = UNSET;
    EXPECT_EQ(text.scan(row.format, &first, &second), row.result);
    EXPECT_EQ(first, row.first);
    EXPECT_EQ(second, row.second);
  }
}

TEST(ScanTest, SizesOfIntegers) {
  String text(u"-1");
  std::int32_t place = 0x12345678;
  EXPECT_EQ(text.scan("%hd", &place), 1);
  EXPECT_EQ(place, 0x1234FFFF);
}

TEST(ScanTest, Text) {
  static constexpr struct {
    int line;
    const char *text, *format;
    std::int32_t result;
    const char *first, *second;
  } ROWS[] = {
      {__LINE__, "  ab cd ", "%s%s", 2, "ab", "cd"},
      {__LINE__, "ab", "%s%s", 1, "ab", ""},  // the end of the text stops the scan
      {__LINE__, "ab", "%*s", -1, "", ""},
      {__LINE__, " \n ", "%s", -1, "", ""},
      {__LINE__, "a\rb\tc ", "%S%s", 2, "a\rb", "c"},
      {__LINE__, "abcde ", "%3s%s", 2, "abc", "de"},
      {__LINE__, " a", "%c", 1, " ", ""},
      {__LINE__, "abcd", "%3c%c", 2, "abc", "d"},
      {__LINE__, "ab", "%0c%c", 2, "a", "b"},
      {__LINE__, "ab", "%3c", 0, "ab", ""},  // not counted, and never -1
      {__LINE__, "ab", "%c%3c", 1, "a", "b"},
      {__LINE__, "abcd", "%[abc]%c", 2, "abc", "d"},
      {__LINE__, "a,b", "%[^,],%c", 2, "a", "b"},
      {__LINE__, "x]y", "%[]x]%c", 2, "x]", "y"},
      {__LINE__, "ab]c", "%[^]b]%c", 2, "a", "b"},
      {__LINE__, "a-cb", "%[a-c]%c", 2, "a-c", "b"},
      {__LINE__, "aaa", "%2[a]%c", 2, "aa", "a"},
      {__LINE__, "xyz", "%[abc]%c", 0, "", ""},
      {__LINE__, "ab", "%[^x]%c", 1, "ab", ""},
      {__LINE__, "ab,", "%*[ab]%c", 1, ",", ""},
      {__LINE__, "aab", "%[a", 1, "aa", ""},  // the format's end closes a set
      {__LINE__, "a", "%[", 0, "", ""},
      {__LINE__, "a", "%[^", 1, "a", ""},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line << ": \"" << row.text << "\" by " << row.format);
    String text(row.text);
    char first[16] = "", second[16] = "";
    EXPECT_EQ(text.scan(row.format, first, second), row.result);
    EXPECT_STREQ(first, row.first);
    EXPECT_STREQ(second, row.second);
  }
}

TEST(ScanTest, TerminatorsAreWrittenByWordsAndSetsOnly) {
  String text(u"ab cd");
  char place[] = "~~~~";
  EXPECT_EQ(text.scan("%s", place), 1);
  EXPECT_EQ(std::string(place, 4), std::string("ab\0~", 4));
  std::memset(place, '~', 4);
  EXPECT_EQ(text.scan("%2c", place), 1);
  EXPECT_EQ(std::string(place, 4), "ab~~");
  std::memset(place, '~', 4);
  EXPECT_EQ(text.scan("%[a]", place), 1);
  EXPECT_EQ(std::string(place, 4), std::string("a\0~~", 4));
}

TEST(ScanTest, LowByteOfAUnitDecides) {
  String text(u"\x0131\x0232\x0100\x0033");
  std::int32_t value = 0;
  EXPECT_EQ(text.scan("%d", &value), 1);
  EXPECT_EQ(value, 12);

  text = u"\x00E4\x01E4\x00FF+";
  char bytes[8] = {};
  EXPECT_EQ(text.scan("%[\xFF\xE4]", bytes), 1);
  EXPECT_STREQ(bytes, "\xE4\xE4\xFF");
}

TEST(ScanTest, FloatingPoint) {
  const double infinity = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
  const struct {
    int line;
    const char *text, *format;
    std::int32_t result;
    double value = UNSET;
    const char* rest = "";  // what the next set directive takes
  } ROWS[] = {
      {__LINE__, "1.5e3", "%lf", 1, 1500},
      {__LINE__, "-.5E-1,", "%le%[^~]", 2, -0.05, ","},
      {__LINE__, "+2.,", "%lg%[^~]", 2, 2, ","},
      {__LINE__, "12", "%LG", 1, 12},
      {__LINE__, ".", "%lf", -1},
      {__LINE__, ".x", "%lf%[^~]", 0},
      {__LINE__, "", "%lf", -1},
      {__LINE__, "1e+", "%lf", -1},
      {__LINE__, "1e+x", "%lf%[^~]", 0},
      {__LINE__, "1ex", "%lf", 0},
      {__LINE__, "e5 ", "%lf", 0},                // the first digit of an exponent is none of the number
      {__LINE__, "e55 ", "%lf", 1, 0},            // the second is
      {__LINE__, "1e5", "%2lf%[^~]", 2, 1, "5"},  // a width accepts what is there
      {__LINE__, "12.75", "%4lf%[^~]", 2, 12.7, "5"},
      {__LINE__, "-e55 ", "%lf", 1, 0.0},  // no digit of a number, so no sign of it
      {__LINE__, "-.e55 ", "%lf", 1, 0.0},
      {__LINE__, "-0", "%lf", 1, -0.0},
      {__LINE__, "-0X0P1 ", "%lf", 1, -0.0},
      {__LINE__, "-0XP12 ", "%lf", 1, -0.0},
      {__LINE__, "-1e-400", "%lf", 1, -0.0},
      {__LINE__, "0x10", "%lf%[^~]", 2, 0, "x10"},
      {__LINE__, "0X1Fp4 ", "%lf", 1, 496},
      {__LINE__, "-0X.8P1", "%lf", 1, -1},
      {__LINE__, "0X1P1A,", "%lf%[^~]", 2, 2, "A,"},  // an exponent is decimal
      {__LINE__, "0X1F", "%lf", -1},                  // no exponent
      {__LINE__, "0X1F,", "%lf%[^~]", 0},
      {__LINE__, "0XP1,", "%lf", 0},
      {__LINE__, "INF,", "%lf%[^~]", 2, infinity, ","},
      {__LINE__, "-Infinity", "%lf", 1, -infinity},
      {__LINE__, "infinit", "%lf", -1},
      {__LINE__, "in", "%lf", -1},
      {__LINE__, "nan", "%lf", 1, nan},
      {__LINE__, "NaNs", "%lf", 1, nan},
      {__LINE__, "na,", "%lf", 0},
      {__LINE__, "inf", "%3lf", -1},  // a width that runs out inside a word
      {__LINE__, "infinity", "%8lf", -1},
      {__LINE__, "infinity,", "%8lf%[^~]", 0},
      {__LINE__, "nans", "%4lf", -1},
      {__LINE__, "nans,", "%5lf%[^~]", 2, nan, ","},
      {__LINE__, "1e400", "%lf", 1, infinity},
      {__LINE__, "-1e400", "%lf", 1, -infinity},
      {__LINE__, "1e-400", "%lf", 1, 0},
      {__LINE__, "0e99999999999999999999", "%lf", 1, 0},
      {__LINE__, "1e99999999999999999999", "%lf", 1, infinity},
      {__LINE__, "1e-99999999999999999999", "%lf", 1, 0},
      {__LINE__, "0X1P5000", "%lf", 1, infinity},
      {__LINE__, "0X1P-5000", "%lf", 1, 0},
      {__LINE__, "0.000000000000000000000000000000000000000000000001e349", "%lf", 1, 1e301},
      {__LINE__, "4.9406564584124654e-324", "%lf", 1, 5e-324},
      {__LINE__, "1 2", "%*lf%lf", 1, 2},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line << ": \"" << row.text << "\" by " << row.format);
    String text(row.text);
    double value = UNSET;
    char rest[80] = "";
    EXPECT_EQ(text.scan(row.format, &value, rest), row.result);
    if (std::isnan(row.value)) {
      EXPECT_TRUE(std::isnan(value));
    } else {
      EXPECT_EQ(value, row.value);
      EXPECT_EQ(std::signbit(value), std::signbit(row.value));
    }
    EXPECT_STREQ(rest, row.rest);
  }
}

TEST(ScanTest, FloatWithoutSizeAndOfManyDigits) {
  float number[2] = {0, UNSET};
  String text(u"1.5e3");
  EXPECT_EQ(text.scan("%hf", number), 1);
  EXPECT_EQ(number[0], 1500.0f);
  EXPECT_EQ(number[1], UNSET) << "four bytes are stored";

  // 65 characters belong to a number at most.
  text = (std::string(64, '0') + "12").c_str();
  std::int32_t behind = 0;
  EXPECT_EQ(text.scan("%f%d", number, &behind), 2);
  EXPECT_EQ(number[0], 1.0f);
  EXPECT_EQ(behind, 2);
}

TEST(ScanTest, AgreesWithTheRuntime) {
  std::mt19937 random(20240612);
  for (int i = 0; i < 4000; ++i) {
    char digits[80];
    std::snprintf(digits, sizeof digits, "%.*e", static_cast<int>(random() % 20),
                  std::ldexp(static_cast<double>(random()) - 2147483648.0, static_cast<int>(random() % 2200) - 1130));
    String text(digits);
    double got = UNSET, expected = UNSET;
    EXPECT_EQ(text.scan("%lf", &got), std::sscanf(digits, "%lf", &expected));
    EXPECT_EQ(got, expected) << digits;

    std::snprintf(digits, sizeof digits, "%d,%x %s", static_cast<int>(random()), static_cast<unsigned>(random()),
                  "end ");
    text = digits;
    std::int32_t number, expectedNumber;
    std::uint32_t hex, expectedHex;
    char word[8], expectedWord[8];
    EXPECT_EQ(text.scan("%d,%x%7s", &number, &hex, word),
              std::sscanf(digits, "%d,%x%7s", &expectedNumber, &expectedHex, expectedWord));
    EXPECT_EQ(number, expectedNumber);
    EXPECT_EQ(hex, expectedHex);
    EXPECT_STREQ(word, expectedWord);
  }
}

// Where the two agree: digits of the radix behind an opening, room for one of them, 32 bits.
TEST(ScanTest, OpeningsAndWidthsAgreeWithTheRuntime) {
  std::mt19937 random(20240613);
  const auto below = [&random](std::size_t n) { return static_cast<std::size_t>(random() % n); };
  const struct {
    std::string opening, digits;
    std::size_t least;  // the width that reaches a digit
  } forms[] = {
      {"", "123456789", 1}, {"0", "01234567", 1}, {"0x", "0123456789abcdefABCDEF", 3}, {"0X", "0123456789", 3}};
  for (int i = 0; i < 4000; ++i) {
    const auto& form = forms[below(4)];
    const std::string sign = std::string(1, "+- "[below(3)]).substr(0, below(2));
    std::string digits = sign + form.opening;
    for (std::size_t n = 1 + below(8); n > 0; --n) digits += form.digits[below(form.digits.size())];
    digits += ",";
    const std::size_t taken = sign == " " ? 0 : sign.size();  // a blank is none of the width
    const std::string format = "%" + std::to_string(taken + form.least + below(12)) + "i%15[^~]";
    SCOPED_TRACE(digits + " by " + format);

    std::int32_t number = UNSET, expectedNumber = UNSET;
    char rest[16] = "", expectedRest[16] = "";
    String text(digits.c_str());
    EXPECT_EQ(text.scan(format.c_str(), &number, rest),
              std::sscanf(digits.c_str(), format.c_str(), &expectedNumber, expectedRest));
    EXPECT_EQ(number, expectedNumber);
    EXPECT_STREQ(rest, expectedRest);
  }
}

}  // namespace
