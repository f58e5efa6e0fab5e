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
    double value;
    std::int32_t ndigits;
    DigitMode mode;
    const char* digits;
    std::int32_t decpt;
    bool negative = false;
  } ROWS[] = {
      {-0.015, 2, SIGNIFICANT, "15", -1, true},
      {-0.0, 2, SIGNIFICANT, "00", 0},
      {0.0, 40, FIXED, "000000000000000000000000000000", 0},
      {5e-324, 5, SIGNIFICANT, "49407", -323},
      {9.996, 2, FIXED, "1000", 2},  // which keeps the digits behind the point
      {0.5, 0, FIXED, "1", 1},       // and makes the only one
      {0.4, 0, FIXED, "", 0},
      {0.0006, 2, FIXED, "1", -2},
      {1e40, -5, FIXED, "100000000000000000000000000000", 41},
      {1.0 / 3, 20, SIGNIFICANT, "33333333333333331000", 0},
      // A tie in the arithmetic goes to the even neighbour: never up gives 14312499999999999, always up
      // 38073599999999999.
      {14.3125, 17, SIGNIFICANT, "14312500000000000", 2},
      {38.073599999999999, 17, SIGNIFICANT, "38073599999999998", 2},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << row.value << ", " << row.ndigits << " digits");
    const Digits got = generateDigits(row.value, row.ndigits, row.mode);
    EXPECT_EQ(std::string(got.digits, static_cast<std::size_t>(got.count)), row.digits);
    EXPECT_EQ(got.decpt, row.decpt);
    EXPECT_EQ(got.negative, row.negative);
  }
}

/// The rules as they read, in the widest type's own arithmetic: scaling, digits, rounding. For significant mode.
std::string plainDigits(long double value, int ndigits, std::int32_t& decpt) {
  static constexpr struct {
    long double threshold, raise, lower;
    std::int32_t step;
  } SCALES[] = {{1e-128L, 1e256L, 1e-256L, 256}, {1e-64L, 1e128L, 1e-128L, 128}, {1e-32L, 1e64L, 1e-64L, 64},
                {1e-16L, 1e32L, 1e-32L, 32},     {1e-8L, 1e16L, 1e-16L, 16},     {1e-4L, 1e8L, 1e-8L, 8},
                {1e-2L, 1e4L, 1e-4L, 4},         {1e-1L, 1e2L, 1e-2L, 2},        {1.0L, 1e1L, 1e-1L, 1}};
  decpt = 1;
  for (const auto& scale : SCALES) {
    for (; value < 1 && value < scale.threshold; value *= scale.raise) decpt -= scale.step;
  }
  for (const auto& scale : SCALES) {
    for (; value >= scale.raise; value *= scale.lower) decpt += scale.step;
  }
  std::string digits;
  for (int i = 0; i <= ndigits; ++i) {
    const int digit = i < 17 ? static_cast<int>(value) : 0;
    digits += static_cast<char>('0' + digit);
    value = (value - digit) * 10;
  }
  const bool up = digits.back() >= '5';
  digits.pop_back();
  if (!up) return digits;
  const std::size_t last = digits.find_last_not_of('9');
  for (std::size_t i = last + 1; i < digits.size(); ++i) digits[i] = '0';
  if (last != std::string::npos) {
    ++digits[last];
  } else {
    digits[0] = '1';
    ++decpt;
  }
  return digits;
}

TEST(DigitGeneratorTest, DigitsAreThoseOfTheWidestType) {
  std::mt19937_64 random(7);
  for (int i = 0; i < 40000; ++i) {
    // Half of the numbers lie from 1/16 to below 16, the others anywhere; a quarter of each have few bits.
    const std::uint64_t bits = random() >> 12 & (i % 8 < 2 ? ~std::uint64_t{0} << random() % 52 : ~std::uint64_t{0});
    const double fraction = 1 + std::ldexp(static_cast<double>(bits), -52);
    const int exponent = i % 2 != 0 ? static_cast<int>(random() % 2098) - 1074 : static_cast<int>(random() % 8) - 4;
    const double value = std::ldexp(fraction, exponent);
    const int ndigits = static_cast<int>(1 + random() % 18);
    std::int32_t decpt;
    const std::string expected = plainDigits(value, ndigits, decpt);
    const Digits got = generateDigits(value, ndigits, DigitMode::SIGNIFICANT);
    EXPECT_EQ(std::string(got.digits, static_cast<std::size_t>(got.count)), expected) << value;
    EXPECT_EQ(got.decpt, decpt) << value;
  }
}

}  // namespace
