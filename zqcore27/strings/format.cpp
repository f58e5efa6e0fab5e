#include <cstdarg>
#include <utility>

#include "zqcore27/strings/format_state.h"
#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

namespace {

constexpr unsigned int BUILD_BYTES = 8194;  // 4096 units and a terminator: ordinary texts take one allocation

}  // namespace

void String::build(const char* format, ...) {
  // A text of its own: arguments may point into the present block, and stay readable; an error leaves it as it is.
  String built;
  built.resize(BUILD_BYTES);
  std::va_list args;
  va_start(args, format);
  try {
    built.var_build(format, args);
  } catch (...) {
    va_end(args);
    throw;
  }
  va_end(args);
  // The text holds no zero unit; only where the count ran ahead of it do zeros stand at its end.
  if (built.fLength != 0 && built[built.fLength - 1] == 0) built.terminate();
  *this = std::move(built);
}

std::int32_t String::var_build(const char* format, std::va_list args) {
  if (format == nullptr) format = "";
  format_state state(*this, args);
  while (*(format = state.literal(format)) != 0) {
    format = readDirective(format + 1, state.arguments, state.directive);
    if (format == nullptr) {
      terminate();
      return -1;
    }
    state.convert();
  }
  terminate(static_cast<unsigned int>(state.count));
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
