// The floating-point directives of scan.

#include <algorithm>

#include "zqcore27/strings/scan_number.h"
#include "zqcore27/strings/scan_state.h"

inline namespace zqcore27 {

namespace {

constexpr std::int32_t MOST_CHARACTERS = 65;

}  // namespace

std::int32_t String::str_scanfloat(scanf_state* state) {
  char number[MOST_CHARACTERS];
  char* end = number;
  NumberSyntax syntax;
  state->fWidth = std::min(state->fWidth, MOST_CHARACTERS);
  while (state->fWidth > 0) {
    const NumberSyntax::Step step = syntax.step(state->fCurrent);
    if (step == NumberSyntax::FAIL) return 0;
    if (step == NumberSyntax::DONE) break;
    *end++ = state->fCurrent;
    state->take();
    if (syntax.among_digits()) state->take_while(isScanDigit, [&end](char c) { *end++ = c; });
  }
  if (!syntax.complete()) return 0;
  if (state->has(SCAN_SUPPRESS)) return 1;

  ++state->fAssigned;
  const double value = numberValue(number, end);
  if (state->has(SCAN_LONG | SCAN_LDOUBLE)) {
    state->store(value);
  } else {
    state->store(static_cast<float>(value));
  }
  return 1;
}

}  // namespace zqcore27
