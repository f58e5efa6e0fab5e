#include <cstdarg>
#include <utility>

#include "zqcore27/strings/format_state.h"
#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

namespace {

/// In pieces for which the runtime takes vector stores, each from the start of a cache line: for 8 KiB at once it turns
/// to an instruction that is half as fast, as the compiler does for a plain memset. This is the better part of what a
/// short text costs.
void clear(unsigned char* p, std::uint32_t n) {
  constexpr std::uint32_t PIECE = 2048, LINE = 64;
  std::uint32_t piece = PIECE - static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(p) % LINE);
  for (; n > piece; n -= piece, p += piece, piece = PIECE) MemAllocator::zero(p, piece);
  MemAllocator::zero(p, n);
}

}  // namespace

void String::format_state::copy_clear_behind(unsigned char* block, const unsigned char* built, std::uint32_t length) {
  const std::uint32_t used = 2 * length;
  MemAllocator::copy(block, built, used);
  clear(block + used, BUILD_BYTES - used);
}

void String::format_state::leave_stack(String& built) {
  MemResizable block(BUILD_BYTES);
  const unsigned char* const stack = built.fData;
  built.fSize = 0;  // the stack isn't its own
  built.MemResizable::operator=(std::move(block));
  copy_clear_behind(built.fData, stack, built.fLength);
}

void String::format_state::assign(String& target, String& built) {
  if (built.fSize != START_BYTES) {
    target = std::move(built);
    return;
  }
  if (target.fSize != BUILD_BYTES) {
    MemResizable block(BUILD_BYTES);
    target.MemResizable::operator=(std::move(block));
  }
  copy_clear_behind(target.fData, built.fData, built.fLength);
  target.fLength = built.fLength;
}

void String::build(const char* format, ...) {
  // A text of its own: arguments may point into the present block, and stay readable; an error leaves it as it is.
  String built;
  const format_state::StackBlock block(built);
  std::va_list args;
  va_start(args, format);
  try {
    built.var_build(format, args);
  } catch (...) {
    va_end(args);
    throw;
  }
  va_end(args);
  format_state::assign(*this, built);
}

std::int32_t String::var_build(const char* format, std::va_list args) {
  if (format == nullptr) format = "";
  format_state state(*this, args);
  while (*(format = state.literal(format)) != 0) {
    format = readDirective(format + 1, state.arguments, state.directive);
    if (format == nullptr) return -1;
    state.convert();
  }
  return state.count;
}

void String::format_state::convert() {
  prefixUnits = 0;
  switch (directive.conversion) {
    case 'n':
      return store_count();
    case '%':
      character('%');
      break;
    case 'c':
      character(static_cast<std::uint16_t>(arguments.next<std::int32_t>()));
      break;
    case 's':
      directive.has(FMT_NARROW | FMT_LDOUBLE) ? narrow_text() : wide_text();
      break;
    case 'P':
      counted_text();
      break;
    case 'd':
    case 'i':
      signed_integer();
      break;
    case 'u':
      unsigned_integer(10);
      break;
    case 'o':
      unsigned_integer(8);
      break;
    case 'x':
    case 'X':
      unsigned_integer(16);
      break;
    case 'b':
      unsigned_integer(2);
      break;
    case 'p':
      pointer();
      break;
    default:
      floating();
  }
  field();
}

void String::format_state::store_count() {
  if (std::int32_t* const place = arguments.next<std::int32_t*>()) *place = count;
}

}  // namespace zqcore27
