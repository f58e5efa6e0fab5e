#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
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
        "0.00000000000000000000000000000000000001e339 ", "NaNs"},
       {"%lf"});
  each({"1e5", "12.75"}, {"%2lf%[^~]", "%4le%[^~]"});
  each({"fF", "017", ""}, {"%X", "%d", "%lf"});
  each({"abcd", "-2147483648"}, {"%3c%c", "%*3c%n", "%*[ab]%c", "%99999999999d", ""});
  each({"0x1F", " %7"}, {"%3i%x", "%%%d"});
}

std::string shown(std::int32_t value) { return value == UNSET ? "-" : std::to_string(value); }

/// The result of a scan and what the two places behind it hold then, "-" where one wasn't written.
std::string integers(const char* text, const char* format) {
  std::int32_t first = UNSET, second = UNSET;
  const std::int32_t result = String(text).scan(format, &first, &second);
  return shown(result) + " " + shown(first) + " " + shown(second);
}
std::string texts(const char* text, const char* format) {
  char first[16] = "", second[16] = "";
  const std::int32_t result = String(text).scan(format, first, second);
  return shown(result) + "|" + first + "|" + second;
}
std::string numbers(const char* text, const char* format) {
  double value = UNSET;
  char rest[80] = "", real[40] = "-";
  const std::int32_t result = String(text).scan(format, &value, rest);
  if (value != UNSET) std::snprintf(real, sizeof real, "%g", value);
  return shown(result) + " " + real + " " + rest;
}

TEST(ScanTest, HasRulesOfItsOwn) {
  using Row = const char* [3];
  const auto each = [](auto scanned, const auto& rows) {
    for (const auto& [text, format, expected] : rows) {
      EXPECT_EQ(scanned(text, format), expected) << text << " by " << format;
    }
  };
  // No digits: the argument is used up, and the scan goes on; a sign is gone by then, and has used a width up, so that
  // no opening is taken. A mismatch may come before the end of the text. %n counts that end once it has been read.
  static constexpr Row INTEGERS[] = {
      {"+42", "%ld", "1 42 -"},    {"-42", "%u", "0 - -"},        {"x 7", "%d%*c%d", "1 - 7"},
      {"-x", "%d%*c%d", "-1 - -"}, {"-", "%d", "-1 - -"},         {"0b101", "%i", "1 5 -"},
      {"08", "%i%d", "1 - 8"},     {"0xg", "%i", "0 - -"},        {"-0x15", "%1i%i", "1 - 21"},
      {"-017", "%1i%i", "1 - 15"}, {"0x1F", "%x%d", "1 0 -"},     {"1F", "%p", "1 31 -"},
      {"1012", "%b%d", "2 5 2"},   {"4294967297", "%d", "1 1 -"}, {"42", "%*d x", "0 - -"},
      {"  ", "%%", "0 - -"},       {"1 2", "%d\v%d", "1 1 -"},    {"1", "%hhd", "0 - -"},
      {"12", "%d%n", "1 12 3"},    {"", "%n", "-1 - -"}};
  // Too few characters don't count, and are never -1. The format's end closes a set.
  static constexpr Row TEXTS[] = {{"ab", "%*s", "-1||"},    {"a\rb\tc ", "%S%s", "2|a\rb|c"}, {"ab", "%3c", "0|ab|"},
                                  {"ab", "%c%3c", "1|a|b"}, {"a-cb", "%[a-c]%c", "2|a-c|b"},  {"aab", "%[a", "1|aa|"},
                                  {"a", "%[^", "1|a|"}};
  // The second digit of an exponent makes a number, the first doesn't; without a digit of its own it has no sign. A
  // hexadecimal number needs an exponent. A width may run out inside a word. 65 characters are a number at most.
  static constexpr char ZEROS[] = "000000000000000000000000000000000000000000000000000000000000000012";
  static constexpr Row NUMBERS[] = {{"12", "%LG", "1 12 "},          {".", "%lf", "-1 - "},
                                    {"1e+", "%lf", "-1 - "},         {"1e+x", "%lf%[^~]", "0 - "},
                                    {"1ex", "%lf", "0 - "},          {"e55 ", "%lf", "1 0 "},
                                    {"-.e55 ", "%lf", "1 0 "},       {"-0XP12 ", "%lf", "1 -0 "},
                                    {"0x10", "%lf%[^~]", "2 0 x10"}, {"0X1F", "%lf", "-1 - "},
                                    {"0X1F,", "%lf%[^~]", "0 - "},   {"infinit", "%lf", "-1 - "},
                                    {"inf", "%3lf", "-1 - "},        {"infinity,", "%8lf%[^~]", "0 - "},
                                    {"nans", "%4lf", "-1 - "},       {"nans,", "%5lf%[^~]", "2 nan ,"},
                                    {ZEROS, "%lf%[^~]", "2 1 2"}};
  each(integers, INTEGERS);
  each(texts, TEXTS);
  each(numbers, NUMBERS);
  float real = 0;
  char bytes[8] = {};
  EXPECT_EQ(String("1.5e3").scan("%hf", &real), 1);
  EXPECT_EQ(real, 1500.0f);
  EXPECT_EQ(String(u"\x00E4\x01E4\x00FF+").scan("%[\xFF\xE4]", bytes), 1) << "the low byte of a unit decides";
  EXPECT_STREQ(bytes, "\xE4\xE4\xFF");
}

}  // namespace
