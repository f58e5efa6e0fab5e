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
  for (state->fWidth = std::min(state->fWidth, MOST_CHARACTERS); state->fWidth > 0; state->take()) {
    const NumberSyntax::Step step = syntax.step(state->fCurrent);
    if (step == NumberSyntax::FAIL) return 0;
    if (step == NumberSyntax::DONE) break;
    *end++ = state->fCurrent;
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
