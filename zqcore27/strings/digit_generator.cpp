#include "zqcore27/strings/digit_generator.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <iterator>
#include <type_traits>

inline namespace zqcore27 {

namespace {

constexpr std::int32_t REAL_DIGITS = 17;

/// A positive number of the widest type where that has a significand of 64 bits, in integers: with every rounding that
/// the type's own arithmetic makes, in half the time, since nothing goes through its stack of registers.
class Extended {
 public:
  constexpr Extended(long double value) {  // of constants: exact, but slow
    for (; value >= 2; value /= 2) ++fPower;
    for (; value < 1; value *= 2) --fPower;
    fBits = static_cast<std::uint64_t>(value * 0x1p63L);
  }
  explicit Extended(double value) {
    constexpr int FRACTION = 52, BIAS = 1023;
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const int exponent = static_cast<int>(bits >> FRACTION);
    fBits = TOP | bits << (63 - FRACTION);
    fPower = exponent - BIAS;
    if (exponent != 0) return;
    const int zeros = std::countl_zero(bits);  // a subnormal
    fBits = bits << zeros;
    fPower = 63 - FRACTION + 1 - BIAS - zeros;
  }

  /// The number is fBits times 2 to the power of this less 63.
  int power() const { return fPower; }
  std::uint64_t bits() const { return fBits; }

  friend constexpr bool operator<(const Extended& a, const Extended& b) {
    return a.fPower != b.fPower ? a.fPower < b.fPower : a.fBits < b.fBits;
  }

  /// Rounds to the nearest, ties to even.
  Extended& operator*=(const Extended& factor) {
    constexpr std::uint64_t LOW = 0xFFFFFFFF;
    const std::uint64_t a = fBits >> 32, b = fBits & LOW, c = factor.fBits >> 32, d = factor.fBits & LOW;
    const std::uint64_t middle = a * d + (b * d >> 32), other = b * c + (middle & LOW);
    std::uint64_t low = other << 32 | (b * d & LOW);
    fBits = a * c + (middle >> 32) + (other >> 32);
    fPower += factor.fPower + 1;
    if (fBits < TOP) {
      fBits = fBits << 1 | low >> 63;
      low <<= 1;
      --fPower;
    }
    if (low > TOP || (low == TOP && fBits % 2 != 0)) {
      if (++fBits == 0) {
        fBits = TOP;
        ++fPower;
      }
    }
    return *this;
  }

 private:
  static constexpr std::uint64_t TOP = std::uint64_t{1} << 63;

  std::uint64_t fBits = 0;  // the highest is set
  int fPower = 0;
};

constexpr bool IS_EXTENDED = LDBL_MANT_DIG == 64;
using Number = std::conditional_t<IS_EXTENDED, Extended, long double>;

/// The power of 2 that the number has or lies above.
int powerOf(const Extended& value) { return value.power(); }
[[maybe_unused]] int powerOf(long double value) { return std::ilogb(value); }

struct Scale {
  Number threshold;
  Number factor;
  std::int32_t step;
  int power;  // of 2: from there on a value is not below the threshold (raising); below there, it is (lowering)
};

constexpr Scale RAISING[] = {{1e-128L, 1e256L, 256, -425}, {1e-64L, 1e128L, 128, -212}, {1e-32L, 1e64L, 64, -106},
                             {1e-16L, 1e32L, 32, -53},     {1e-8L, 1e16L, 16, -26},     {1e-4L, 1e8L, 8, -13},
                             {1e-2L, 1e4L, 4, -6},         {1e-1L, 1e2L, 2, -3},        {1L, 1e1L, 1, 0}};

constexpr Scale LOWERING[] = {{1e256L, 1e-256L, 256, 850}, {1e128L, 1e-128L, 128, 425}, {1e64L, 1e-64L, 64, 212},
                              {1e32L, 1e-32L, 32, 106},    {1e16L, 1e-16L, 16, 53},     {1e8L, 1e-8L, 8, 26},
                              {1e4L, 1e-4L, 4, 13},        {1e2L, 1e-2L, 2, 6},         {1e1L, 1e-1L, 1, 3}};

constexpr const Number& ONE = std::end(RAISING)[-1].threshold;
constexpr const Number& TEN = std::end(LOWERING)[-1].threshold;

/// Brings `value` below 10, and to 1 or above as exactly as the factors allow. Returns its decimal point.
std::int32_t normalise(Number& value) {
  std::int32_t decpt = 1;
  if (value < ONE) {
    const Scale* scale = RAISING;
    for (const int power = powerOf(value); power >= scale->power; ++scale) {
    }
    for (; value < ONE; ++scale) {
      for (; value < scale->threshold; value *= scale->factor) decpt -= scale->step;
    }
  }
  // Raising overshoots, so its result may need lowering.
  if (!(value < TEN)) {
    const Scale* scale = LOWERING;
    for (const int power = powerOf(value); power < scale->power; ++scale) {
    }
    for (; !(value < TEN); ++scale) {
      for (; !(value < scale->threshold); value *= scale->factor) decpt += scale->step;
    }
  }
  return decpt;
}

/// Takes the digits of a normalised number: the whole part each time, then ten times the rest.
class AnyRest {
 public:
  explicit AnyRest(long double value) : fValue(value) {}

  /// Writes `n` digits.
  void take(char* out, std::int32_t n) {
    for (; n > 0; --n) {
      const int digit = static_cast<int>(fValue);
      fValue = (fValue - digit) * 10;
      *out++ = static_cast<char>('0' + digit);
    }
  }

 private:
  long double fValue;
};

/// The same in integers, several times as fast: every digit and every rounding is that of the type's own arithmetic.
class ExtendedRest {
 public:
  explicit ExtendedRest(const Extended& value) : fBits(value.bits()), fShift(63 - value.power()) {
    assert(fShift >= EXACT && fShift <= 64);  // 0.5 to below 16: scaling may end just below 1
    // A number that needed no scaling has fewer bits, and is exact from the start.
    const int spare = std::min(std::countr_zero(fBits), fShift - EXACT);
    fBits >>= spare;
    fShift -= spare;
  }

  /// Writes `n` digits, and up to seven more behind them.
  void take(char* out, std::int32_t n) {
    for (; n > 0 && fShift != EXACT; --n) *out++ = static_cast<char>('0' + next());
    if (n <= 0) return;
    *out++ = static_cast<char>('0' + next());
    for (--n; n > 0; n -= 8, out += 8) {
      std::uint64_t eight = eight_digits(next_eight());
      for (int i = 0; i < 8; ++i, eight >>= 8) out[i] = static_cast<char>(eight);
    }
  }

 private:
  static constexpr int EXACT = 60;  // ten times a rest of that many bits still fits

  int next() {
    const std::uint64_t digit = fShift < 64 ? fBits >> fShift : 0;
    const std::uint64_t rest = fShift < 64 ? fBits - (digit << fShift) : fBits;
    if (fShift <= EXACT) {
      fBits = rest * 10;
    } else {
      multiply_rounding(rest);
    }
    return static_cast<int>(digit);
  }

  /// The digits of a number below 100,000,000, the first in the lowest byte: halves, then quarters, then single digits,
  /// in lanes that get narrower. The factors divide by 100 and by 10 as far as the lanes' numbers go.
  static std::uint64_t eight_digits(std::uint32_t number) {
    const std::uint64_t halves = number / 10000 | std::uint64_t{number % 10000} << 32;
    const std::uint64_t hundreds = (halves * 10486 >> 20) & 0x0000007F0000007F;
    const std::uint64_t pairs = hundreds | (halves - hundreds * 100) << 16;
    const std::uint64_t tens = (pairs * 103 >> 10) & 0x000F000F000F000F;
    return (tens | (pairs - tens * 10) << 8) + 0x3030303030303030;
  }

  /// Eight digits at once, behind the first: the number already is ten times the rest. Requires: fShift is EXACT.
  std::uint32_t next_eight() {
    // A tenth of the factor, in two products that fit.
    constexpr std::uint64_t FACTOR = 10'000'000, LOW = 0xFFFFFFFF;
    const std::uint64_t low = (fBits & LOW) * FACTOR;
    const std::uint64_t high = (fBits >> 32) * FACTOR + (low >> 32);
    fBits = ((high << 32 | (low & LOW)) & ((std::uint64_t{1} << EXACT) - 1)) * 10;
    return static_cast<std::uint32_t>(high >> (EXACT - 32));
  }

  void multiply_rounding(std::uint64_t rest) {
    const std::uint64_t low = rest * 10;
    const std::uint64_t high = ((rest >> 32) * 10 + ((rest & 0xFFFFFFFF) * 10 >> 32)) >> 32;
    fBits = low;
    if (high == 0) return;
    const int excess = std::bit_width(high);
    fShift -= excess;
    fBits = high << (64 - excess) | low >> excess;
    const std::uint64_t dropped = low << (64 - excess), tie = std::uint64_t{1} << 63;
    if (dropped < tie || (dropped == tie && fBits % 2 == 0)) return;
    if (++fBits != 0) return;
    fBits = tie;
    --fShift;
  }

  std::uint64_t fBits;  // the number times 2 to the power of fShift
  int fShift;           // EXACT to 64
};

using Rest = std::conditional_t<IS_EXTENDED, ExtendedRest, AnyRest>;

/// Drops the digit behind the last one, after it has decided whether to add 1 to those before it.
void roundHalfUp(Digits& result, DigitMode mode) {
  if (result.digits[result.count] < '5') return;
  std::int32_t i = result.count;
  while (i > 0 && result.digits[i - 1] == '9') result.digits[--i] = '0';
  if (i > 0) {
    ++result.digits[i - 1];
    return;
  }
  result.digits[result.count] = '0';
  result.digits[0] = '1';
  ++result.decpt;
  if (mode == DigitMode::FIXED) ++result.count;
}

}  // namespace

Digits generateDigits(double value, std::int32_t ndigits, DigitMode mode) {
  assert(std::isfinite(value) && (mode == DigitMode::FIXED || ndigits > 0));
  Digits result;
  result.negative = value < 0;
  result.count = std::clamp(ndigits, 0, MOST_DIGITS);
  result.decpt = 0;
  if (value == 0) {
    std::memset(result.digits, '0', static_cast<std::size_t>(result.count));
    return result;
  }

  Number magnitude(std::fabs(value));
  result.decpt = normalise(magnitude);
  if (mode == DigitMode::FIXED) result.count = std::clamp(result.count + result.decpt, 0, MOST_DIGITS);
  const std::int32_t computed = std::min(result.count + 1, REAL_DIGITS);
  Rest rest(magnitude);
  rest.take(result.digits, computed);
  for (std::int32_t i = computed; i <= result.count; ++i) result.digits[i] = '0';
  roundHalfUp(result, mode);
  return result;
}

}  // namespace zqcore27
