// What a build puts out: literal text, and the fields of the directives.

#include <algorithm>
#include <cassert>
#include <iterator>
#include <limits>

#include "zqcore27/errors/mem_error.h"
#include "zqcore27/strings/format_state.h"
#include "zqcore27/strings/native_text.h"

inline namespace zqcore27 {

namespace {

bool isAscii(char c) { return static_cast<signed char>(c) > 0; }

}  // namespace

std::uint16_t* String::format_state::append(String& text, std::uint32_t n) {
  assert(text.fSize == START_BYTES || text.fSize >= BUILD_BYTES);
  if (n >= text.capacity() - text.fLength) {
    if (text.fSize == START_BYTES) leave_stack(text);
    text.make_room(text.fLength + n);
  }
  std::uint16_t* const place = text.data() + text.fLength;
  text.fLength += n;
  place[n] = 0;
  return place;
}

const char* String::format_state::literal(const char* format) {
  const char* end = format;
  while (*end != 0 && *end != '%') ++end;
  if (end == format) return end;
  if (end - format > std::numeric_limits<std::int32_t>::max()) throw MemError(MemError::TOO_LARGE, false);
  std::uint16_t* out = append(text, static_cast<std::uint32_t>(end - format));
  advance(end - format);
  // Sign-extended: only ASCII has a meaning in a format.
  for (; format != end; ++format) *out++ = static_cast<std::uint16_t>(static_cast<signed char>(*format));
  return end;
}

void String::format_state::field() {
  const std::int64_t pad = std::int64_t{directive.width} - prefixUnits - len;
  const bool zeros = directive.has(FMT_ZERO);
  const bool left = directive.has(FMT_LEFT);

  advance(std::int64_t{prefixUnits} + len + std::max<std::int64_t>(pad, 0));
  if (zeros) put_prefix();
  if (!left) fill(zeros ? '0' : ' ', pad);
  if (!zeros) put_prefix();
  text.fmt_append_data(directive.flags, wide, narrow, len);
  if (left) fill(' ', pad);
}

void String::format_state::put_prefix() {
  if (prefixUnits != 0) std::copy_n(prefix, prefixUnits, append(text, static_cast<std::uint32_t>(prefixUnits)));
}

void String::format_state::fill(char c, std::int64_t n) {
  if (n > 0) std::fill_n(append(text, static_cast<std::uint32_t>(n)), n, static_cast<std::uint16_t>(c));
}

void String::fmt_append_data(std::int32_t flags, const std::uint16_t* wide, const char* narrow, std::int32_t len) {
  if ((flags & FMT_NARROW) == 0) {
    const bool zero_unit = len == 1 && *wide == 0;  // only %c can bring one, and it adds nothing
    if (len != 0 && !zero_unit) std::copy_n(wide, len, format_state::append(*this, static_cast<std::uint32_t>(len)));
    return;
  }
  // In runs, so that a long text doesn't grow the block for each character of its own.
  std::uint16_t run[256];
  for (const char* const end = narrow + len; narrow != end && *narrow != 0;) {
    unsigned int units = 0;
    for (; units < std::size(run) && narrow != end && *narrow != 0; ++units) {
      if (isAscii(*narrow)) {
        run[units] = static_cast<std::uint16_t>(*narrow++);
      } else {
        narrow += nat2uni(narrow, &run[units], static_cast<std::int32_t>(end - narrow));
      }
    }
    std::copy_n(run, units, format_state::append(*this, units));
  }
}

}  // namespace zqcore27
