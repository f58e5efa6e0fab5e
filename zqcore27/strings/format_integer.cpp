// The content of the integer directives.

#include <algorithm>
#include <bit>
#include <cassert>

#include "zqcore27/strings/format_state.h"

inline namespace zqcore27 {

namespace {

/// Writes the digits of `value` downwards from in front of `end`, none for 0. Returns where they begin.
template <unsigned int Radix>
std::uint16_t* writeDigits(std::uint16_t* end, std::uint32_t value, const char* digits) {
  for (; value != 0; value /= Radix) *--end = static_cast<std::uint16_t>(digits[value % Radix]);
  return end;
}

/// In pairs, so that the division, which each step waits for, is done half as often.
std::uint16_t* writeDecimal(std::uint16_t* end, std::uint32_t value) {
  const auto put = [&end](std::uint32_t digit) { *--end = static_cast<std::uint16_t>('0' + digit); };
  for (; value >= 10; value /= 100) {
    const std::uint32_t pair = value % 100;
    put(pair % 10);
    put(pair / 10);
  }
  if (value != 0) put(value);
  return end;
}

std::uint16_t* writeDigits(std::uint16_t* end, std::uint32_t value, unsigned int radix, const char* digits) {
  switch (radix) {
    case 2:
      return writeDigits<2>(end, value, digits);
    case 8:
      return writeDigits<8>(end, value, digits);
    case 10:
      return writeDecimal(end, value);
    default:
      assert(radix == 16);
      return writeDigits<16>(end, value, digits);
  }
}

constexpr const char* LETTERS[] = {"0123456789abcdef", "0123456789ABCDEF"};  // without and with FMT_UPPER

/// The digits of `value`, 1 for 0.
std::uint32_t countDigits(std::uint32_t value, unsigned int radix) {
  static constexpr std::uint32_t POWERS[] = {0,       10,        100,        1'000,       10'000,
                                             100'000, 1'000'000, 10'000'000, 100'000'000, 1'000'000'000};
  const auto bits = static_cast<std::uint32_t>(std::bit_width(value | 1));
  switch (radix) {
    case 2:
      return bits;
    case 8:
      return (bits + 2) / 3;
    case 10: {
      const std::uint32_t least = bits * 1233 >> 12;  // the logarithm to base 10 of the power of 2 above
      return least + (value >= POWERS[least] ? 1 : 0);
    }
    default:
      return (bits + 3) / 4;
  }
}

}  // namespace

std::uint16_t* String::fmt_do_integer_thing(std::uint16_t* buffer, std::int32_t flags, std::uint32_t low,
                                            [[maybe_unused]] std::uint32_t high, unsigned int radix,
                                            unsigned int precision) {
  assert(high == 0);
  std::uint16_t* const end = buffer + format_state::DIGITS_END;
  *end = 0;
  std::uint16_t* at = writeDigits(end, low, radix, LETTERS[(flags & FMT_UPPER) != 0]);
  if (low == 0 && (precision != 0 || (flags & FMT_PRECISION) == 0)) *--at = '0';

  const auto least = static_cast<std::int32_t>(std::min<unsigned int>(precision, format_state::MOST_PRECISION));
  const std::uint16_t* const colon = (flags & FMT_COLON) != 0 ? buffer + format_state::COLON_PLACE : nullptr;
  while (end - at < least) {
    --at;
    *at = at == colon ? ':' : '0';
  }
  return at;
}

void String::format_state::sign_prefix(bool negative) {
  if (negative) {
    add_prefix('-');
  } else if (directive.has(FMT_PLUS)) {
    add_prefix('+');
  } else if (directive.has(FMT_SPACE)) {
    add_prefix(' ');
  }
}

void String::format_state::integer_digits(std::uint32_t value, unsigned int radix) {
  directive.flags &= ~FMT_NARROW;
  if (directive.width == 0 && directive.precision == 0 && !directive.has(FMT_PRECISION)) {
    // Straight to its place: what has just been written unit by unit is slow to copy.
    const std::uint32_t digits = countDigits(value, radix);
    std::uint16_t* const end = put_prefix(digits) + digits;
    if (value == 0) end[-1] = '0';
    writeDigits(end, value, radix, LETTERS[directive.has(FMT_UPPER)]);
    return;
  }
  wide = text.fmt_do_integer_thing(scratch, directive.flags, value, 0, radix,
                                   static_cast<unsigned int>(directive.precision));
  len = static_cast<std::int32_t>(scratch + DIGITS_END - wide);
}

void String::format_state::signed_integer() {
  if (directive.has(FMT_PRECISION)) directive.flags &= ~FMT_ZERO;
  const auto value = arguments.next<std::int32_t>();
  sign_prefix(value < 0);
  const auto bits = static_cast<std::uint32_t>(value);
  integer_digits(value < 0 ? 0 - bits : bits, 10);
}

void String::format_state::unsigned_integer(unsigned int radix) {
  if (directive.has(FMT_PRECISION)) directive.flags &= ~FMT_ZERO;
  if (directive.conversion == 'X') directive.flags |= FMT_UPPER;
  auto value = arguments.next<std::uint32_t>();
  if (!directive.has(FMT_LONG)) value &= 0xFFFF;
  if (directive.has(FMT_ALT)) {
    if (radix == 8) add_prefix('0');
    if (radix == 16 && value != 0) {
      add_prefix('0');
      add_prefix(directive.conversion);
    }
  }
  integer_digits(value, radix);
}

void String::format_state::pointer() {
  directive.flags |= FMT_ZERO | FMT_UPPER;
  if (!directive.has(FMT_SHORT)) directive.flags |= FMT_COLON | FMT_LONG;
  if (!directive.has(FMT_PRECISION)) directive.precision = directive.has(FMT_COLON) ? 13 : 8;
  auto value = arguments.next<std::uint32_t>();
  if (!directive.has(FMT_LONG)) value &= 0xFFFF;
  if (directive.has(FMT_ALT) && value != 0) {
    add_prefix('0');
    add_prefix('X');
  }
  integer_digits(value, 16);
}

}  // namespace zqcore27
