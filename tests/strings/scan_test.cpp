#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <random>
#include <string>

#include "zqcore27/strings/string.h"

namespace {

constexpr std::int32_t UNSET = 777;

/// Scans by both, and compares the results and what is written to the targets, byte by byte.
void expectLikeTheRuntime(const std::string& text, const std::string& format) {
  SCOPED_TRACE("\"" + text + "\" by " + format);
  struct alignas(double) Target : std::array<char, 80> {};
  Target ours[3], theirs[3];
  for (int i = 0; i < 3; ++i) ours[i].fill('~'), theirs[i].fill('~');
  EXPECT_EQ(String(text.c_str()).scan(format.c_str(), &ours[0], &ours[1], &ours[2]),
            std::sscanf(text.c_str(), format.c_str(), &theirs[0], &theirs[1], &theirs[2]));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(ours[i], theirs[i]) << "target " << i;
}

TEST(ScanTest, AgreesWithTheRuntime) {
  const auto each = [](std::initializer_list<const char*> texts, std::initializer_list<const char*> formats) {
    for (const char* text : texts) {
      for (const char* format : formats) expectLikeTheRuntime(text, format);
    }
  };
  each({"+42 ",   "-123 ", "  \r\n\v 5 ", "0 ",   "017 ", "0017 ",  "19 ",  "0x1F ", "-0X1f ", "0 6 ",  "09 ",
        "12345 ", "189 ",  "1 x ",        "1,2 ", "1;2 ", "1 , 2 ", "12% ", "a1 ",   "x ",     "1\r2 ", "1\v2 "},
       {"%d",    "%i",    "%i%d",   "%2d%d", "%3d%d", "%0d",     "%99d", "%hd",  "%o%d", " ",
        "%d %d", "%d,%d", "%d ,%d", "a%d",   "ab",    "%d %%%d", "%%%d", " %d",  "%d ",  "%*d%d",
        "%*d",   "%*n%d", "%q",     "%",     "%5",    "%*",      "%y",   "%\xE4"});
  each({" \n ", "  ab cd ", "ab", "abcde ", "abcd", " ab", "xyz", "a,b", "x]y", "ab]c", "a", "aaa", "ab,"},
       {"%s", "%s%s", "%3s%s", "%0c%c", "%[abc]%c", "%[^,],%c", "%[]x]%c", "%[^]b]%c", "%2[a]%c", "%["});
  each({"e5 ",  "-0 ",    "-0X0P1 ", "0X1Fp4 ", "-0X.8P1 ", "0XP1,",     "-inFinity ",
        "nan ", "na,",    ".x",      "0X1P1A,", "INF,",     "+2.,",      "-.5E-1,",
        "1e5 ", "12.75 ", "1 2 ",    "-1e400 ", "-1e-400 ", "0X1P5000 ", "0X1P-5000 "},
       {"%lf", "%lf%[^~]", "%*lf%lg", "%f", "%e"});
  each({"1e99999999999999999999 ", "1e-99999999999999999999 ", "0e99999999999999999999 ", "4.9406564584124654e-324 ",
        "0.00000000000000000000000000000000000001e339 "},
       {"%lf"});
  each({"1e5", "12.75"}, {"%2lf%[^~]", "%4le%[^~]"});
  each({"fF", "017", ""}, {"%X", "%d", "%lf"});
  each({"abcd", "-2147483648"}, {"%3c%c", "%*3c%n", "%*[ab]%c", "%99999999999d", ""});
  expectLikeTheRuntime("0x1F", "%3i%x");
  expectLikeTheRuntime("1\r2", "%d\r%d");
  expectLikeTheRuntime("NaNs", "%lf");
  expectLikeTheRuntime("12 ", "%d%n");
  expectLikeTheRuntime(" %7", "%%%d");
}

TEST(ScanTest, RandomNumbersAgreeWithTheRuntime) {
  std::mt19937 random(20240612);
  const auto below = [&random](std::size_t n) { return static_cast<std::size_t>(random() % n); };
  const struct {
    std::string opening, digits;
    std::size_t least;  // the width that reaches a digit
  } forms[] = {
      {"", "123456789", 1}, {"0", "01234567", 1}, {"0x", "0123456789abcdefABCDEF", 3}, {"0X", "0123456789", 3}};
  for (int i = 0; i < 4000; ++i) {
    char text[80];
    std::snprintf(text, sizeof text, "%.*e", static_cast<int>(below(20)),
                  std::ldexp(static_cast<double>(random()) - 2147483648.0, static_cast<int>(below(2200)) - 1130));
    expectLikeTheRuntime(text, "%lf");
    std::snprintf(text, sizeof text, "%d,%x end ", static_cast<int>(random()), static_cast<unsigned>(random()));
    expectLikeTheRuntime(text, "%d,%x%7s");
    // Where the two agree: digits of the radix behind an opening, room for one of them, 32 bits.
    const auto& form = forms[below(4)];
    const std::string sign = std::string(1, "+- "[below(3)]).substr(0, below(2));
    std::string digits = sign + form.opening;
    for (std::size_t n = 1 + below(8); n > 0; --n) digits += form.digits[below(form.digits.size())];
    const std::size_t taken = sign == " " ? 0 : sign.size();  // a blank is none of the width
    expectLikeTheRuntime(digits + ",", "%" + std::to_string(taken + form.least + below(12)) + "i%15[^~]");
  }
}

TEST(ScanTest, IntegersByRulesOfItsOwn) {
  static constexpr struct {
    int line;
    const char *text, *format;
    std::int32_t result, first = UNSET, second = UNSET;
  } ROWS[] = {
      {__LINE__, "+42", "%ld", 1, 42},  // of 32 bits
      {__LINE__, "-42", "%u", 0},
      {__LINE__, "x 7", "%d%*c%d", 1, UNSET, 7},  // no digits: the argument is used up, the scan goes on
      {__LINE__, "-x", "%d%*c%d", -1},            // the sign is gone
      {__LINE__, "-", "%d", -1},
      {__LINE__, "0b101", "%i", 1, 5},
      {__LINE__, "08", "%i%d", 1, UNSET, 8},  // an octal opening without an octal digit
      {__LINE__, "0xg", "%i", 0},
      {__LINE__, "-0x15", "%1i%i", 1, UNSET, 21},  // the sign uses the width up; no opening is taken
      {__LINE__, "-017", "%1i%i", 1, UNSET, 15},
      {__LINE__, "0x1F", "%x%d", 1, 0},
      {__LINE__, "1F", "%p", 1, 31},
      {__LINE__, "1012", "%b%d", 2, 5, 2},
      {__LINE__, "4294967297", "%d", 1, 1},  // wraps
      {__LINE__, "42", "%*d x", 0},
      {__LINE__, "  ", "%%", 0},          // a mismatch, though the text has ended
      {__LINE__, "1 2", "%d\v%d", 1, 1},  // a vertical tab in a format is no white space
      {__LINE__, "1", "%hhd", 0},
      {__LINE__, "12", "%d%n", 1, 12, 3},  // the end of the text has been read
      {__LINE__, "", "%n", -1},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line << ": \"" << row.text << "\" by " << row.format);
    std::int32_t first = UNSET, second = UNSET;
    EXPECT_EQ(String(row.text).scan(row.format, &first, &second), row.result);
    EXPECT_EQ(first, row.first);
    EXPECT_EQ(second, row.second);
  }
}

TEST(ScanTest, TextByRulesOfItsOwn) {
  static constexpr struct {
    int line;
    const char *text, *format;
    std::int32_t result;
    const char *first, *second;
  } ROWS[] = {
      {__LINE__, "ab", "%*s", -1, "", ""},    {__LINE__, "a\rb\tc ", "%S%s", 2, "a\rb", "c"},
      {__LINE__, "ab", "%3c", 0, "ab", ""},  // not counted, and never -1
      {__LINE__, "ab", "%c%3c", 1, "a", "b"}, {__LINE__, "a-cb", "%[a-c]%c", 2, "a-c", "b"},
      {__LINE__, "aab", "%[a", 1, "aa", ""},  // the format's end closes a set
      {__LINE__, "a", "%[^", 1, "a", ""},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line << ": \"" << row.text << "\" by " << row.format);
    char first[16] = "", second[16] = "";
    EXPECT_EQ(String(row.text).scan(row.format, first, second), row.result);
    EXPECT_STREQ(first, row.first);
    EXPECT_STREQ(second, row.second);
  }
}

TEST(ScanTest, LowByteOfAUnitDecides) {
  std::int32_t value = 0;
  EXPECT_EQ(String(u"\x0131\x0232\x0100\x0033").scan("%d", &value), 1);
  EXPECT_EQ(value, 12);
  char bytes[8] = {};
  EXPECT_EQ(String(u"\x00E4\x01E4\x00FF+").scan("%[\xFF\xE4]", bytes), 1);
  EXPECT_STREQ(bytes, "\xE4\xE4\xFF");
}

TEST(ScanTest, FloatingPointByRulesOfItsOwn) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const struct {
    int line;
    const char *text, *format;
    std::int32_t result;
    double value = UNSET;
    const char* rest = "";  // what the next set directive takes
  } ROWS[] = {
      {__LINE__, "12", "%LG", 1, 12},
      {__LINE__, ".", "%lf", -1},
      {__LINE__, "1e+", "%lf", -1},
      {__LINE__, "1e+x", "%lf%[^~]", 0},
      {__LINE__, "1ex", "%lf", 0},
      {__LINE__, "e55 ", "%lf", 1, 0},      // the second digit of an exponent makes a number, the first doesn't
      {__LINE__, "-.e55 ", "%lf", 1, 0.0},  // no digit of a number, so no sign of it
      {__LINE__, "-0XP12 ", "%lf", 1, -0.0},
      {__LINE__, "0x10", "%lf%[^~]", 2, 0, "x10"},
      {__LINE__, "0X1F", "%lf", -1},  // no exponent
      {__LINE__, "0X1F,", "%lf%[^~]", 0},
      {__LINE__, "infinit", "%lf", -1},
      {__LINE__, "in", "%lf", -1},
      {__LINE__, "inf", "%3lf", -1},  // a width that runs out inside a word
      {__LINE__, "infinity", "%8lf", -1},
      {__LINE__, "infinity,", "%8lf%[^~]", 0},
      {__LINE__, "nans", "%4lf", -1},
      {__LINE__, "nans,", "%5lf%[^~]", 2, nan, ","},
      // 65 characters belong to a number at most.
      {__LINE__, "000000000000000000000000000000000000000000000000000000000000000012", "%lf%[^~]", 2, 1, "2"},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line << ": \"" << row.text << "\" by " << row.format);
    double value = UNSET;
    char rest[80] = "";
    EXPECT_EQ(String(row.text).scan(row.format, &value, rest), row.result);
    EXPECT_TRUE(std::isnan(row.value) ? std::isnan(value) : value == row.value) << value;
    EXPECT_EQ(std::signbit(value), std::signbit(row.value));
    EXPECT_STREQ(rest, row.rest);
  }
  float value = 0;
  EXPECT_EQ(String("1.5e3").scan("%hf", &value), 1);
  EXPECT_EQ(value, 1500.0f);
}

}  // namespace
