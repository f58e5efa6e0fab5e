#include "zqcore27/errors/single_line.h"

#include <algorithm>

#include "zqcore27/errors/mem_error.h"

inline namespace zqcore27 {

namespace {

constexpr std::uint64_t ESCAPE_SIZE = 4;

constexpr bool isControl(std::uint16_t c) { return c < 0x20 || (c >= 0x7F && c < 0xA0); }

constexpr std::uint16_t octalDigit(unsigned int n) { return static_cast<std::uint16_t>('0' + (n & 7)); }

}  // namespace

String singleLine(const String& s) {
  const auto controls = static_cast<std::uint64_t>(std::count_if(s.units().begin(), s.units().end(), isControl));
  if (controls == 0) return s;
  const std::uint64_t size = s.size() + controls * (ESCAPE_SIZE - 1);
  if (size > 0x7FFFFFFE) throw MemError(MemError::TOO_LARGE, false);
  String out;
  out.fill(static_cast<unsigned int>(size), ' ');
  std::uint16_t* to = out.begin();
  for (const std::uint16_t c : s.units()) {
    if (!isControl(c)) {
      *to++ = c;
    } else {
      *to++ = '#';
      for (int shift = 6; shift >= 0; shift -= 3) *to++ = octalDigit(c >> shift);
    }
  }
  return out;
}

}  // namespace zqcore27
