#pragma once

#include <cstdint>
#include <ostream>
#include <span>

#include "zqcore27/strings/nat_string.h"
#include "zqcore27/strings/string.h"
#include "zqcore27/strings/wide_string.h"

inline namespace zqcore27 {

// How GoogleTest shows texts in a message, in quotes and with nothing hidden: `#include` this beside its header, which
// this one doesn't need. Where EXPECT_EQ fails on two texts that look alike, mind that == folds case.

/// The units between quotes, in UTF-8. A quote, a backslash, control characters, the zero unit, the byte order mark and
/// surrogates show as escapes: `\"`, `\\`, `\n`, `\u0000`. Threads: any; `out` belongs to the caller.
inline void printUnits(std::span<const std::uint16_t> units, std::ostream& out) {
  static constexpr char DIGITS[] = "0123456789abcdef";
  out << '"';
  for (const std::uint16_t unit : units) {
    char utf8[3];
    if (unit == u'"' || unit == u'\\') {
      out << '\\' << static_cast<char>(unit);
    } else if (unit == u'\n') {
      out << "\\n";
    } else if (unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || (unit >= 0xD800 && unit < 0xE000) || unit == 0xFEFF) {
      out << "\\u" << DIGITS[unit >> 12] << DIGITS[unit >> 8 & 15] << DIGITS[unit >> 4 & 15] << DIGITS[unit & 15];
    } else {
      out.write(utf8, uni2utf(unit, utf8, 3));
    }
  }
  out << '"';
}

inline void PrintTo(const String& s, std::ostream* out) { printUnits(s.units(), *out); }
inline void PrintTo(const WideString& s, std::ostream* out) {
  printUnits({s.begin(), s.size() == 0 ? 0 : s.size() - 1}, *out);
}
/// The text that the bytes stand for. Errors: StringError, as the conversion raises it.
inline void PrintTo(const NatString& s, std::ostream* out) { printUnits(String(s.begin()).units(), *out); }

}  // namespace zqcore27
