#pragma once

// Internal: the decimal digits of a floating-point number.

#include <cstdint>

inline namespace zqcore27 {

enum class DigitMode {
  FIXED,        // the number of digits counts from the decimal point
  SIGNIFICANT,  // it counts from the first digit
};

/// The most digits that are ever produced. Only the first 17 of them are computed; those behind are 0.
inline constexpr std::int32_t MOST_DIGITS = 30;

inline constexpr std::int32_t DIGITS_STEP = 8;  // digits are copied that many at once

struct Digits {
  char digits[MOST_DIGITS + 2 + DIGITS_STEP];  // '0' to '9'; anything behind them
  std::int32_t count;                          // how many there are
  std::int32_t decpt;  // the decimal point, counted from the first digit: 1 for 1.5, -1 for 0.015, 0 for 0
  bool negative;       // below zero, which negative zero isn't
};

/// Digits of `value`, with `ndigits` asked for, clamped to 0..30; in fixed mode again with `decpt` added. Ties round up
/// as the binary scaling leaves them, which is not the correctly rounded decimal: 100.5 with no digit behind the point
/// gives 100. Requires: `value` is finite, and in significant mode `ndigits` is at least 1. Threads: any.
Digits generateDigits(double value, std::int32_t ndigits, DigitMode mode);

}  // namespace zqcore27
