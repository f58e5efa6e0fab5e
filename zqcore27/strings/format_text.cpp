// The content of the text directives: %s, %P, %c and the percent sign.

#include <algorithm>
#include <cstring>
#include <limits>

#include "zqcore27/errors/mem_error.h"
#include "zqcore27/strings/format_state.h"

inline namespace zqcore27 {

namespace {

constexpr std::int32_t NO_LIMIT = std::numeric_limits<std::int32_t>::max();

/// Units or bytes before the first zero, at most `limit`; nothing behind the limit is read.
template <class Char>
std::int32_t boundedLength(const Char* s, std::int32_t limit) {
  std::int32_t n = 0;
  while (n < limit && s[n] != 0) ++n;
  return n;
}

std::int32_t wholeLength(const char* s) {
  const std::size_t n = std::strlen(s);
  if (n > NO_LIMIT) throw MemError(MemError::TOO_LARGE, false);
  return static_cast<std::int32_t>(n);
}

}  // namespace

std::int32_t String::format_state::text_limit() const {
  return directive.has(FMT_PRECISION) ? directive.precision : NO_LIMIT;
}

void String::format_state::character(std::uint16_t c) {
  directive.flags &= ~FMT_NARROW;
  scratch[0] = c;
  wide = scratch;
  len = 1;
}

void String::format_state::wide_text() {
  wide = arguments.next<const std::uint16_t*>();
  if (wide == nullptr) return null_text();
  len = boundedLength(wide, text_limit());
}

void String::format_state::narrow_text() {
  directive.flags |= FMT_NARROW;
  narrow = arguments.next<const char*>();
  if (narrow == nullptr) return null_text();
  len = directive.has(FMT_PRECISION) ? boundedLength(narrow, directive.precision) : wholeLength(narrow);
}

void String::format_state::counted_text() {
  directive.flags |= FMT_NARROW;
  const char* const counted = arguments.next<const char*>();
  if (counted == nullptr) return null_text();
  const std::int32_t bytes = static_cast<signed char>(*counted);
  narrow = counted + 1;
  len = std::clamp(bytes, 0, text_limit());
}

void String::format_state::null_text() {
  directive.flags |= FMT_NARROW;
  narrow = "(null)";
  len = std::min(6, text_limit());
}

}  // namespace zqcore27
