#include "zqcore27/strings/format_directive.h"

#include <limits>

#include "zqcore27/strings/byte_table.h"

inline namespace zqcore27 {

namespace {

constexpr std::int32_t LARGEST = std::numeric_limits<std::int32_t>::max();

std::int32_t flagOf(char c) {
  switch (c) {
    case '-':
      return FMT_LEFT;
    case '+':
      return FMT_PLUS;
    case ' ':
      return FMT_SPACE;
    case '#':
      return FMT_ALT;
    case '0':
      return FMT_ZERO;
    default:
      return 0;
  }
}

std::int32_t modifierOf(char c) {
  switch (c) {
    case 'L':
      return FMT_LDOUBLE;
    case 'N':
      return FMT_NARROW;
    case 'h':
      return FMT_SHORT;
    case 'l':
      return FMT_LONG;
    default:
      return 0;
  }
}

/// Reads a run of digits, empty for 0, and moves behind it.
std::int32_t readNumber(const char*& format) {
  std::int64_t number = 0;
  for (; *format >= '0' && *format <= '9'; ++format) {
    number = number * 10 + (*format - '0');
    if (number > LARGEST) number = LARGEST;
  }
  return static_cast<std::int32_t>(number);
}

void readWidth(const char*& format, FormatArguments& arguments, Directive& directive) {
  if (*format != '*') {
    directive.width = readNumber(format);
    return;
  }
  ++format;
  directive.width = arguments.next<std::int32_t>();
  if (directive.width < 0) {
    directive.flags |= FMT_LEFT;
    directive.width = directive.width < -LARGEST ? LARGEST : -directive.width;
  }
}

void readPrecision(const char*& format, FormatArguments& arguments, Directive& directive) {
  if (*format != '.') return;
  ++format;
  if (*format == '*') {
    ++format;
    directive.precision = arguments.next<std::int32_t>();
  } else {
    directive.precision = readNumber(format);
  }
  if (directive.precision < 0) {
    directive.precision = 0;
  } else {
    directive.flags |= FMT_PRECISION;
  }
}

constexpr ByteTable CONVERSIONS("%dsxXuoibcpPnfegEG");

}  // namespace

const char* readDirective(const char* format, FormatArguments& arguments, Directive& directive) {
  directive = Directive();
  if (!CONVERSIONS.has(*format)) {
    for (; const std::int32_t flag = flagOf(*format); ++format) directive.flags |= flag;
    readWidth(format, arguments, directive);
    readPrecision(format, arguments, directive);
    for (; const std::int32_t modifier = modifierOf(*format); ++format) directive.flags |= modifier;
  }
  directive.conversion = *format;
  return CONVERSIONS.has(*format) ? format + 1 : nullptr;
}

}  // namespace zqcore27
