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

void String::format_state::grow(String& text, std::uint32_t n) {
  assert(text.fSize == START_BYTES || text.fSize >= BUILD_BYTES);
  if (text.fSize == START_BYTES) leave_stack(text);
  text.make_room(text.fLength + n);
}

// Sign-extended: only ASCII has a meaning in a format.
const char* String::format_state::long_literal(const char* format) {
  const char* end = format;
  while (*end != 0 && *end != '%') ++end;
  if (end - format > std::numeric_limits<std::int32_t>::max()) throw MemError(MemError::TOO_LARGE, false);
  std::uint16_t* out = append(text, static_cast<std::uint32_t>(end - format));
  advance(end - format);
  for (; format != end; ++format) *out++ = static_cast<std::uint16_t>(static_cast<signed char>(*format));
  return end;
}

std::uint16_t* String::format_state::put_prefix(std::uint32_t n) {
  const std::uint32_t units = static_cast<std::uint32_t>(prefixUnits) + n;
  std::uint16_t* out = append(text, units);
  for (std::int32_t i = 0; i < prefixUnits; ++i) *out++ = prefix[i];
  advance(units);
  prefixUnits = 0;
  len = 0;
  return out;
}

void String::format_state::field() {
  const auto pad = std::max<std::int64_t>(std::int64_t{directive.width} - prefixUnits - len, 0);
  const bool zeros = directive.has(FMT_ZERO);
  const bool left = directive.has(FMT_LEFT);

  advance(prefixUnits + len + pad);
  const std::int64_t opening = prefixUnits + (left ? 0 : pad);
  if (opening != 0) {
    std::uint16_t* out = append(text, static_cast<std::uint32_t>(opening));
    if (zeros) out = copyUnits(out, prefix, static_cast<std::size_t>(prefixUnits));
    if (!left) out = std::fill_n(out, pad, zeros ? u'0' : u' ');
    if (!zeros) copyUnits(out, prefix, static_cast<std::size_t>(prefixUnits));
  }
  text.fmt_append_data(directive.flags, wide, narrow, len);
  if (left && pad != 0) std::fill_n(append(text, static_cast<std::uint32_t>(pad)), pad, u' ');
}

void String::fmt_append_data(std::int32_t flags, const std::uint16_t* wide, const char* narrow, std::int32_t len) {
  if ((flags & FMT_NARROW) == 0) {
    const bool zero_unit = len == 1 && *wide == 0;  // only %c can bring one, and it adds nothing
    if (len == 0 || zero_unit) return;
    copyUnits(format_state::append(*this, static_cast<std::uint32_t>(len)), wide, static_cast<std::size_t>(len));
    return;
  }
  const char* const end = narrow + len;
  format_state::append_while(*this, narrow, [end](const char* p) { return p != end && isAscii(*p); });
  if (narrow != end) format_state::append_native(*this, narrow, end);
}

// In runs, so that a long text doesn't grow the block for each character of its own.
void String::format_state::append_native(String& text, const char* in, const char* end) {
  std::uint16_t run[256];
  while (in != end && *in != 0) {
    unsigned int units = 0;
    for (; units < std::size(run) && in != end && *in != 0; ++units) {
      if (isAscii(*in)) {
        run[units] = static_cast<std::uint16_t>(*in++);
      } else {
        in += nat2uni(in, &run[units], static_cast<std::int32_t>(end - in));
      }
    }
    std::copy_n(run, units, append(text, units));
  }
}

}  // namespace zqcore27
