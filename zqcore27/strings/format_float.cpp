#include "zqcore27/strings/format_float.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <iterator>

#include "zqcore27/strings/digit_generator.h"
#include "zqcore27/strings/format_state.h"

inline namespace zqcore27 {

namespace {

constexpr std::int32_t DEFAULT_PRECISION = 6;
constexpr std::int32_t LARGEST_PRECISION = 1000;   // more than any number can show; keeps the sums small
constexpr std::int32_t MOST_WHOLE_DIGITS = 30;     // of the fixed form
constexpr std::int32_t MOST_EXPONENT_DIGITS = 25;  // behind the point of the exponent form

/// One number on its way into the scratch.
class FloatText {
 public:
  FloatText(std::uint16_t* out, double value, const Directive& directive)
      : fOut(out), fValue(value), fAlternate(directive.has(FMT_ALT)), fWidth(directive.width) {}

  void fixed(std::int32_t precision) {
    const Digits number = generateDigits(fValue, precision, DigitMode::FIXED);
    fixed_form(number, precision);
  }

  void exponent(std::int32_t precision, char letter) {
    const Digits number = generateDigits(fValue, precision + 1, DigitMode::SIGNIFICANT);
    put(number.digits[0]);
    if (fAlternate || precision > 0) fraction(number, precision);
    exponent_part(number, letter);
  }

  void general(std::int32_t precision, char letter) {
    const Digits number = generateDigits(fValue, std::max(precision, 1), DigitMode::SIGNIFICANT);
    if (number.decpt < -3 || number.decpt > precision) {
      general_exponent(number, precision > 1 ? precision - 1 : precision, letter);
      return;
    }
    fixed_form(number, precision - number.decpt);
    if (!fAlternate) drop_trailing_zeros();
  }

  /// A word in place of a number.
  void word(const char* letters) {
    while (*letters != 0) put(*letters++);
  }

  std::int32_t units() const { return fUnits; }

 private:
  void fixed_form(const Digits& number, std::int32_t precision) {
    std::int32_t next = 0;
    if (number.decpt <= 0) {
      put('0');
    } else {
      next = std::min(number.decpt, MOST_WHOLE_DIGITS);
      assert(next <= number.count);
      put_digits(number.digits, next);
    }
    if (number.decpt > MOST_WHOLE_DIGITS || (precision <= 0 && !fAlternate)) return;
    put_point();
    std::int32_t behind = 0;
    for (; behind < std::min(-number.decpt, precision); ++behind) put('0');
    put_digits(number.digits + next, std::min(precision - behind, number.count - next));
  }

  /// The exponent form of %g: precision 1 without a width shows the first digit alone, and precision 0 that digit
  /// without its exponent.
  void general_exponent(const Digits& number, std::int32_t precision, char letter) {
    put(number.digits[0]);
    if (precision == 0) {
      if (fAlternate) put_point();
      return;
    }
    if (fAlternate || precision > 1 || fWidth != 0) fraction(number, precision);
    if (!fAlternate) drop_trailing_zeros();
    exponent_part(number, letter);
  }

  void fraction(const Digits& number, std::int32_t precision) {
    put_point();
    const std::int32_t end = std::min({precision, MOST_EXPONENT_DIGITS, number.count - 1});
    put_digits(number.digits + 1, end);
  }

  void exponent_part(const Digits& number, char letter) {
    const std::int32_t power = fValue == 0 ? 0 : number.decpt - 1;
    const std::int32_t magnitude = std::abs(power);
    put(letter);
    put(power < 0 ? '-' : '+');
    put(static_cast<char>('0' + magnitude / 100));
    put(static_cast<char>('0' + magnitude / 10 % 10));
    put(static_cast<char>('0' + magnitude % 10));
  }

  /// Those behind the point, and the point itself when nothing is left behind it.
  void drop_trailing_zeros() {
    if (fPoint < 0) return;
    while (fOut[fUnits - 1] == '0') --fUnits;
    if (fUnits - 1 == fPoint) --fUnits;
  }

  void put_point() {
    fPoint = fUnits;
    put('.');
  }

  /// As many as find room. Units behind them are written as well: `digits` and the text have room for a step more.
  void put_digits(const char* digits, std::int32_t n) {
    if (n == 1) return put(*digits);
    n = std::min(n, FLOAT_UNITS - fUnits);
    std::uint16_t* const out = fOut + fUnits;
    for (std::int32_t i = 0; i < n; i += DIGITS_STEP) {
      for (std::int32_t k = 0; k < DIGITS_STEP; ++k) out[i + k] = static_cast<std::uint16_t>(digits[i + k]);
    }
    fUnits += std::max(n, 0);
  }

  void put(char c) {
    if (fUnits < FLOAT_UNITS) fOut[fUnits++] = static_cast<std::uint16_t>(c);
  }

  std::uint16_t* fOut;
  double fValue;
  bool fAlternate;
  std::int32_t fWidth;
  std::int32_t fUnits = 0;   // written so far
  std::int32_t fPoint = -1;  // where the point stands; -1: there is none
};

bool hasUpperLetter(const Directive& directive) { return directive.conversion == 'E' || directive.conversion == 'G'; }

}  // namespace

std::int32_t writeFloat(std::uint16_t* out, double value, const Directive& directive) {
  FloatText text(out, value, directive);
  const bool upper = hasUpperLetter(directive);
  const char letter = upper ? 'E' : 'e';
  const std::int32_t precision =
      directive.has(FMT_PRECISION) ? std::min(directive.precision, LARGEST_PRECISION) : DEFAULT_PRECISION;
  if (std::isnan(value)) {
    text.word(upper ? "NAN" : "nan");
  } else if (std::isinf(value)) {
    text.word(upper ? "INF" : "inf");
  } else if (directive.has(FMT_G)) {
    text.general(precision, letter);
  } else if (directive.conversion == 'f') {
    text.fixed(precision);
  } else {
    text.exponent(precision, letter);
  }
  return text.units();
}

void String::format_state::floating() {
  directive.flags &= ~FMT_NARROW;
  if (directive.conversion == 'g' || directive.conversion == 'G') directive.flags |= FMT_G;
  const auto value = arguments.next<double>();
  if (!std::isfinite(value)) directive.flags &= ~FMT_ZERO;  // a word isn't filled with zeros
  sign_prefix(value < 0);
  if (directive.width == 0 && stack_has(text, std::size(prefix) + FLOAT_ROOM)) {
    // Straight to its place, as an integer.
    std::uint16_t* const out = put_prefix(0);
    const auto units = static_cast<std::uint32_t>(writeFloat(out, value, directive));
    append(text, units);
    advance(units);
    return;
  }
  wide = scratch;
  len = writeFloat(scratch, value, directive);
}

}  // namespace zqcore27
