#include "zqcore27/strings/scan_number.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

#include "zqcore27/strings/scan_state.h"

inline namespace zqcore27 {

namespace {

bool isSign(char c) { return c == '+' || c == '-'; }

bool isLetter(char c, char lower) { return c == lower || c == static_cast<char>(lower - 'a' + 'A'); }

bool isHexDigit(char c) { return scanDigitValue(c) < 16; }

/// The power of `digit_power` in front of the first digit that isn't 0: 1 for 1.5, 0 for 0.5, -1 for 0.05. Moves `p`
/// behind the digits.
std::int32_t magnitude(const char*& p, const char* end, std::int32_t digit_power) {
  std::int32_t places = 0;
  bool fraction = false;
  bool significant = false;
  for (; p != end && (*p == '.' || isHexDigit(*p)) && (digit_power != 1 || !isLetter(*p, 'e')); ++p) {
    if (*p == '.') {
      fraction = true;
      continue;
    }
    significant = significant || *p != '0';
    if (significant && !fraction) ++places;
    if (!significant && fraction) --places;
  }
  return places * digit_power;
}

/// Whether a number out of range is too large, rather than too small. Between the two limits lie hundreds of powers, so
/// the order of magnitude decides.
bool isTooLarge(const char* p, const char* end, bool hex) {
  const std::int32_t places = magnitude(p, end, hex ? 4 : 1);
  std::int32_t exponent = 0;
  if (p != end) ++p;  // the letter
  const bool negative = p != end && *p == '-';
  if (p != end && isSign(*p)) ++p;
  for (; p != end && isScanDigit(*p); ++p) exponent = std::min(exponent * 10 + (*p - '0'), 1'000'000);
  return places + (negative ? -exponent : exponent) > 0;
}

}  // namespace

NumberSyntax::Step NumberSyntax::step(char c) {
  if (fState == START) {
    if (isSign(c)) return take(AFTER_SIGN);
    fState = AFTER_SIGN;
  }
  if (fState == AFTER_SIGN) {
    if (isLetter(c, 'i')) return take_word("nfinity");
    if (isLetter(c, 'n')) return take_word("ans");
    if (c == '0') {
      fDigitSeen = true;
      return take(AFTER_ZERO);
    }
    fState = WHOLE_DIGITS;
  }
  if (fState == AFTER_ZERO) {
    fState = WHOLE_DIGITS;
    if (c == 'X') {
      fHex = true;
      fDigitSeen = false;
      return TAKE;
    }
  }
  if (fState == WORD) return in_word(c);
  if (fState >= EXPONENT_OPENING) return exponent_digit(c);
  if (is_digit(c)) {
    fDigitSeen = true;
    return TAKE;
  }
  if (fState == WHOLE_DIGITS && c == '.') return take(FRACTION_DIGITS);
  return exponent_or_end(c);
}

bool NumberSyntax::is_digit(char c) const { return isScanDigit(c) || (fHex && isHexDigit(c)); }

NumberSyntax::Step NumberSyntax::take(State next) {
  fState = next;
  return TAKE;
}

NumberSyntax::Step NumberSyntax::done() {
  fState = END;
  return DONE;
}

NumberSyntax::Step NumberSyntax::exponent_or_end(char c) {
  if (isLetter(c, 'e') || (fHex && isLetter(c, 'p'))) return take(EXPONENT_OPENING);
  return fHex ? FAIL : done();
}

NumberSyntax::Step NumberSyntax::exponent_digit(char c) {
  if (fState == END) return DONE;
  if (fState == EXPONENT_OPENING && isSign(c)) return take(AFTER_EXPONENT_SIGN);
  if (isScanDigit(c)) {
    // The first digit of an exponent doesn't count as one of the number; those behind it do.
    if (fState == EXPONENT_DIGITS) fDigitSeen = true;
    return take(EXPONENT_DIGITS);
  }
  return fState == EXPONENT_DIGITS ? done() : FAIL;
}

NumberSyntax::Step NumberSyntax::take_word(const char* rest) {
  fWord = fWordLeft = rest;
  return take(WORD);
}

NumberSyntax::Step NumberSyntax::in_word(char c) {
  if (*fWordLeft != 0 && isLetter(c, *fWordLeft)) {
    ++fWordLeft;
    return TAKE;
  }
  // inf and nan are words as well as infinity and nans.
  const bool inf = *fWord == 'n' && fWordLeft - fWord == 2;
  fDigitSeen = *fWordLeft == 0 || inf || std::strcmp(fWordLeft, "s") == 0;
  return done();
}

double numberValue(const char* begin, const char* end) {
  const bool negative = begin != end && *begin == '-';
  if (begin != end && isSign(*begin)) ++begin;
  const bool hex = end - begin >= 2 && begin[0] == '0' && begin[1] == 'X';
  if (hex) begin += 2;
  double value = 0;
  const auto format = hex ? std::chars_format::hex : std::chars_format::general;
  const std::errc error = std::from_chars(begin, end, value, format).ec;
  if (error == std::errc::result_out_of_range) {
    value = isTooLarge(begin, end, hex) ? std::numeric_limits<double>::infinity() : 0;
  } else if (error != std::errc() && !hex) {
    return 0;  // no digits, so the sign is none of a number; a hexadecimal opening at least has its zero
  }
  return negative ? -value : value;
}

}  // namespace zqcore27
