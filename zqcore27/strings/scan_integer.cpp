// The integer directives of scan.

#include "zqcore27/strings/scan_state.h"

inline namespace zqcore27 {

namespace {

constexpr unsigned int BY_OPENING = 0;

unsigned int radixOf(char conversion) {
  switch (conversion) {
    case 'b':
      return 2;
    case 'o':
      return 8;
    case 'x':
    case 'X':
    case 'p':
      return 16;
    case 'i':
      return BY_OPENING;
    default:
      return 10;
  }
}

}  // namespace

unsigned int String::scanf_state::radix_by_opening() {
  if (fCurrent != '0' || fWidth < 1) return 10;
  if (fWidth == 1) return 8;  // no room for more than this digit
  read();
  const char second = fCurrent;
  const char letter = static_cast<char>(second | 0x20);
  const bool prefix = letter == 'x' || letter == 'b';
  if (prefix || (second >= '1' && second <= '8')) {
    --fWidth;  // for the zero, which is no digit of the number
    if (prefix) take();
    return letter == 'x' ? 16 : letter == 'b' ? 2 : 8;
  }
  // The zero is a digit, and what stands behind it is read again.
  unget_char_from_data(static_cast<unsigned char>(second), this);
  fCurrent = '0';
  return 8;
}

String::scanf_state::Outcome String::scanf_state::integer(char conversion) {
  if (conversion != 'u' && (fCurrent == '+' || fCurrent == '-')) {
    if (fCurrent == '-') fFlags |= SCAN_NEGATIVE;
    take();
  }
  unsigned int radix = radixOf(conversion);
  if (radix == BY_OPENING) radix = radix_by_opening();

  std::uint32_t negative = 0;  // the number so far, below zero; wraps
  const std::int32_t before = fWidth;
  if (radix == 10) {
    take_while(isScanDigit, [&negative](char c) { negative = negative * 10 - static_cast<std::uint32_t>(c - '0'); });
  } else {
    take_while([radix](char c) { return scanDigitValue(c) < radix; },
               [radix, &negative](char c) { negative = negative * radix - scanDigitValue(c); });
  }
  if (fWidth == before) return text_ended() ? END_OF_TEXT : GO_ON;
  if (has(SCAN_SUPPRESS)) return GO_ON;

  const std::uint32_t value = has(SCAN_NEGATIVE) ? negative : 0 - negative;
  if (has(SCAN_SHORT)) {
    store(static_cast<std::uint16_t>(value));
  } else {
    store(value);
  }
  ++fAssigned;
  return GO_ON;
}

}  // namespace zqcore27
