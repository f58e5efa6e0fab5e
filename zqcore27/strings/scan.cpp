#include <cstdarg>
#include <limits>

#include "zqcore27/strings/byte_table.h"
#include "zqcore27/strings/scan_state.h"
#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

namespace {

constexpr std::int32_t NO_WIDTH = std::numeric_limits<std::int32_t>::max();

bool isFormatSpace(char c) { return c == ' ' || c == '\t' || c == '\n'; }

constexpr ByteTable CONVERSIONS("%dfsxuieEgGcn[XopbS");

}  // namespace

std::int32_t String::scan(const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  const std::int32_t result = str_ScanVar(format, args);
  va_end(args);
  return result;
}

std::int32_t String::str_ScanVar(const char* format, std::va_list args) {
  if (format == nullptr) return 0;
  scanf_state state(format, data());
  while (*state.fFormat != 0) {
    if (!state.text_ended()) {
      state.read();
      if (state.text_ended()) return state.end_of_text();
      if (isFormatSpace(*state.fFormat)) {
        while (isFormatSpace(*state.fFormat)) ++state.fFormat;
        state.skip_space();
        if (*state.fFormat == 0) break;
        if (state.text_ended()) return state.end_of_text();
      }
    }
    const char literal = *state.fFormat++;
    if (literal != '%') {
      if (literal != state.fCurrent) break;
      continue;
    }
    state.fFlags = 0;
    state.fWidth = 0;
    if (!CONVERSIONS.has(*state.fFormat)) state.options();
    const char conversion = *state.fFormat;
    if (!CONVERSIONS.has(conversion)) break;
    ++state.fFormat;
    if (conversion != '%' && !state.has(SCAN_SUPPRESS)) state.fDest = va_arg(args, void*);
    const scanf_state::Outcome outcome = state.convert(conversion);
    if (outcome == scanf_state::END_OF_TEXT) return state.end_of_text();
    if (outcome == scanf_state::STOP) break;
  }
  return state.fAssigned;
}

void String::scanf_state::options() {
  if (*fFormat == '*') {
    fFlags |= SCAN_SUPPRESS;
    ++fFormat;
  }
  std::int64_t width = 0;
  for (; isScanDigit(*fFormat); ++fFormat) {
    width = width * 10 + (*fFormat - '0');
    if (width > NO_WIDTH) width = NO_WIDTH;
  }
  fWidth = static_cast<std::int32_t>(width);
  switch (*fFormat) {
    case 'h':
      fFlags |= SCAN_SHORT;
      break;
    case 'l':
      fFlags |= SCAN_LONG;
      break;
    case 'L':
      fFlags |= SCAN_LDOUBLE;
      break;
    default:
      return;
  }
  ++fFormat;
}

String::scanf_state::Outcome String::scanf_state::convert(char conversion) {
  if (fWidth == 0) fWidth = conversion == 'c' ? 1 : NO_WIDTH;
  if (conversion != '[' && conversion != 'c' && conversion != 'n') skip_space();
  Outcome outcome = GO_ON;
  switch (conversion) {
    case '%':
      return fCurrent == '%' ? GO_ON : STOP;
    case 'n':
      // Without the pending look-ahead; the text's end, once read, is included.
      if (!has(SCAN_SUPPRESS)) store(fCharsRead - (text_ended() ? 0 : 1));
      break;
    case 'c':
      outcome = characters();
      break;
    case 's':
    case 'S':
      outcome = word();
      break;
    case '[':
      if (_scanre(this) == 0) outcome = text_ended() ? END_OF_TEXT : STOP;
      break;
    case 'e':
    case 'E':
    case 'f':
    case 'g':
    case 'G':
      if (str_scanfloat(this) == 0) outcome = text_ended() ? END_OF_TEXT : STOP;
      break;
    default:
      outcome = integer(conversion);
  }
  if (outcome == GO_ON) give_back();
  return outcome;
}

}  // namespace zqcore27
