#include <cstdarg>
#include <utility>

#ifdef __SSE2__
#include <immintrin.h>
#endif

#include "zqcore27/strings/format_state.h"
#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

namespace {

constexpr std::ptrdiff_t LINE = 64;  // of the cache

/// In pieces for which the runtime takes vector stores, each from the start of a cache line: for 8 KiB at once it turns
/// to an instruction that is half as fast, as the compiler does for a plain memset. This is the better part of what a
/// short text costs.
void clear(unsigned char* p, std::uint32_t n) {
  constexpr std::uint32_t PIECE = 2048;
  std::uint32_t piece = PIECE - static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(p) % LINE);
  for (; n > piece; n -= piece, p += piece, piece = PIECE) MemAllocator::zero(p, piece);
  MemAllocator::zero(p, n);
}

#ifdef __SSE2__

/// Whether `n` bytes, LINE at least, are clear. Requires: the processor has AVX-512.
[[gnu::target("avx512f")]] bool isClear(const unsigned char* p, std::uint32_t n) {
  const unsigned char* const end = p + n;
  __m512i some = _mm512_loadu_si512(p), others = _mm512_loadu_si512(end - LINE);
  p += LINE - reinterpret_cast<std::uintptr_t>(p) % LINE;
  for (; end - p >= 4 * LINE; p += 4 * LINE) {
    some = _mm512_or_si512(some, _mm512_or_si512(_mm512_loadu_si512(p), _mm512_loadu_si512(p + LINE)));
    others =
        _mm512_or_si512(others, _mm512_or_si512(_mm512_loadu_si512(p + 2 * LINE), _mm512_loadu_si512(p + 3 * LINE)));
  }
  for (; end - p >= LINE; p += LINE) some = _mm512_or_si512(some, _mm512_loadu_si512(p));
  some = _mm512_or_si512(some, others);
  return _mm512_test_epi64_mask(some, some) == 0;
}

#endif

/// Clears what is clear mostly: the rest of a block in which one text after the other is built. Reading it takes half
/// the time where a line is read at once.
void clearAgain(unsigned char* p, std::uint32_t n) {
#ifdef __SSE2__
  if (__builtin_cpu_supports("avx512f") && isClear(p, n)) return;
#endif
  clear(p, n);
}

}  // namespace

void String::format_state::leave_stack(String& built) {
  const std::uint32_t used = 2 * built.fLength;
  MemResizable block(BUILD_BYTES);
  MemAllocator::copy(*block, built.fData, used);
  clear(*block + used, BUILD_BYTES - used);
  built.fSize = 0;  // the stack isn't its own
  built.MemResizable::operator=(std::move(block));
}

void String::format_state::assign(String& target, String& built) {
  if (built.fSize != START_BYTES) {
    target = std::move(built);
    return;
  }
  const std::uint32_t used = 2 * built.fLength, rest = BUILD_BYTES - used;
  if (target.fSize == BUILD_BYTES) {
    if (built.fLength < target.fLength) MemAllocator::zero(target.fData + used, 2 * target.fLength - used);
    clearAgain(target.fData + used, rest);
  } else {
    MemResizable block(BUILD_BYTES);
    target.MemResizable::operator=(std::move(block));
    clear(target.fData + used, rest);
  }
  // Last, since what has just been written is slow to copy.
  copyUnits(target.data(), built.data(), built.fLength);
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
