// The digits themselves: the formatted forms show them only through their own limits.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <string>

#include "zqcore27/strings/digit_generator.h"

namespace {

TEST(DigitGeneratorTest, DigitsAndDecimalPoint) {
  constexpr DigitMode FIXED = DigitMode::FIXED, SIGNIFICANT = DigitMode::SIGNIFICANT;
  static constexpr struct {
    int line;
    double value;
    std::int32_t ndigits;
    DigitMode mode;
    const char* digits;
    std::int32_t decpt;
    bool negative = false;
  } ROWS[] = {
      {__LINE__, 1.5, 3, SIGNIFICANT, "150", 1},
      {__LINE__, -0.015, 2, SIGNIFICANT, "15", -1, true},
      {__LINE__, -0.0, 2, SIGNIFICANT, "00", 0},
      {__LINE__, 0.0, 40, FIXED, "000000000000000000000000000000", 0},
      {__LINE__, 0.0099, 2, SIGNIFICANT, "99", -2},  // raised past 10, then lowered
      {__LINE__, 5e-324, 5, SIGNIFICANT, "49407", -323},
      {__LINE__, 1.7976931348623157e308, 17, SIGNIFICANT, "17976931348623157", 309},
      {__LINE__, 9.996, 3, SIGNIFICANT, "100", 2},  // a carry off the front
      {__LINE__, 9.996, 2, FIXED, "1000", 2},       // which keeps the digits behind the point
      {__LINE__, 0.5, 0, FIXED, "1", 1},            // and makes the only one
      {__LINE__, 0.4, 0, FIXED, "", 0},
      {__LINE__, 0.0006, 2, FIXED, "1", -2},
      {__LINE__, 100.5, 0, FIXED, "100", 3},
      {__LINE__, 1e40, -5, FIXED, "100000000000000000000000000000", 41},
      {__LINE__, 1.0 / 3, 20, SIGNIFICANT, "33333333333333331000", 0},
      {__LINE__, 1.0 / 3, 17, SIGNIFICANT, "33333333333333331", 0},
      {__LINE__, 2.0 / 3, 16, SIGNIFICANT, "6666666666666666", 0},  // the 17th digit is a 3
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line << ": " << row.value);
    const Digits got = generateDigits(row.value, row.ndigits, row.mode);
    EXPECT_EQ(std::string(got.digits, static_cast<std::size_t>(got.count)), row.digits);
    EXPECT_EQ(got.decpt, row.decpt);
    EXPECT_EQ(got.negative, row.negative);
  }
}

/// The digits of a number from 1 to below 10 as plain arithmetic gives them, before any rounding.
std::string plainDigits(long double value, int n) {
  std::string digits;
  for (int i = 0; i < n; ++i) {
    const int digit = static_cast<int>(value);
    digits += static_cast<char>('0' + digit);
    value = (value - digit) * 10;
  }
  return digits;
}

TEST(DigitGeneratorTest, DigitsAreThoseOfTheWidestType) {
  std::mt19937_64 random(7);
  for (int i = 0; i < 20000; ++i) {
    // 1 to 10 needs no scaling; 0.1 to 1 is scaled once.
    const double value = 1 + 9 * std::ldexp(static_cast<double>(random() >> 11), -53);
    const double small = value / 10;
    const std::string expected = plainDigits(value, 17), expectedSmall = plainDigits(small * 10.0L, 17);
    const auto check = [](double number, const std::string& digits) {
      if (digits[16] >= '5') return;  // would be rounded up
      const Digits got = generateDigits(number, 16, DigitMode::SIGNIFICANT);
      EXPECT_EQ(std::string(got.digits, 16), digits.substr(0, 16)) << number;
    };
    check(value, expected);
    if (small < 1) check(small, expectedSmall);
  }
}

}  // namespace
