// What a build puts out: literal text, and the fields of the directives.

#include <algorithm>
#include <cassert>
#include <iterator>

#include "zqcore27/errors/mem_error.h"
#include "zqcore27/strings/format_state.h"
#include "zqcore27/strings/native_text.h"

inline namespace zqcore27 {

const char* String::format_state::literal(const char* format) {
  const char* end = format;
  while (*end != 0 && *end != '%') ++end;
  if (end == format) return end;
  if (static_cast<std::size_t>(end - format) > 0x7FFFFFFF) throw MemError(MemError::TOO_LARGE, false);

  const auto n = static_cast<std::uint32_t>(end - format);
  text.make_room(text.fLength + n);
  std::uint16_t* out = text.data() + text.fLength;
  // Sign-extended: only ASCII has a meaning in a format.
  for (; format != end; ++format) *out++ = static_cast<std::uint16_t>(static_cast<signed char>(*format));
  *out = 0;
  text.fLength += n;
  advance(n);
  return end;
}

void String::format_state::field() {
  const std::int64_t pad = std::int64_t{directive.width} - prefixUnits - len;
  const bool zeros = directive.has(FMT_ZERO);
  const bool left = directive.has(FMT_LEFT);

  advance(std::int64_t{prefixUnits} + len + std::max<std::int64_t>(pad, 0));
  if (zeros) put(prefix, prefixUnits);
  if (!left) fill(zeros ? '0' : ' ', pad);
  if (!zeros) put(prefix, prefixUnits);
  text.fmt_append_data(directive.flags, wide, narrow, len);
  if (left) fill(' ', pad);
}

void String::format_state::put(const std::uint16_t* units, std::int32_t n) {
  if (n != 0) text.append_data(units, static_cast<unsigned int>(n));
}

void String::format_state::fill(char c, std::int64_t n) {
  if (n <= 0) return;
  const auto units = static_cast<std::uint32_t>(n);
  text.make_room(text.fLength + units);
  std::uint16_t* const out = text.data() + text.fLength;
  std::fill_n(out, units, static_cast<std::uint16_t>(c));
  text.fLength += units;
  out[units] = 0;
}

void String::fmt_append_data(std::int32_t flags, const std::uint16_t* wide, const char* narrow, std::int32_t len) {
  if ((flags & FMT_NARROW) == 0) {
    const bool zero_unit = len == 1 && *wide == 0;  // only %c can bring one, and it adds nothing
    if (len != 0 && !zero_unit) append_data(wide, static_cast<unsigned int>(len));
    return;
  }
  // In runs, so that a long text doesn't grow the block for each character of its own.
  std::uint16_t run[256];
  for (const char* const end = narrow + len; narrow != end && *narrow != 0;) {
    unsigned int units = 0;
    while (units < std::size(run) && narrow != end && *narrow != 0) {
      if (static_cast<signed char>(*narrow) > 0) {
        run[units++] = static_cast<std::uint16_t>(*narrow++);
        continue;
      }
      const std::int32_t bytes = nat2uni(narrow, &run[units++], static_cast<std::int32_t>(end - narrow));
      assert(bytes > 0);
      narrow += bytes;
    }
    append_data(run, units);
  }
}

}  // namespace zqcore27
