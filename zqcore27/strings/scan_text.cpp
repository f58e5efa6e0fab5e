// The text directives of scan: %s, %c and sets.

#include <bitset>

#include "zqcore27/strings/scan_state.h"

inline namespace zqcore27 {

namespace {

/// The members of a set directive, one for each byte.
class ByteSet {
 public:
  /// Reads the set behind the opening bracket up to its closing one, or to the end of the format, which closes it, too.
  /// Returns the position behind it.
  const char* read(const char* format) {
    const bool negated = *format == '^';
    if (negated) ++format;
    // The first member is taken as it stands, so that a closing bracket can be one.
    for (bool first = true; *format != 0 && (first || *format != ']'); first = false) add(*format++);
    if (negated) fMembers.flip();
    fMembers.reset(0);
    return *format != 0 ? format + 1 : format;
  }

  bool has(char c) const { return fMembers[static_cast<unsigned char>(c)]; }

 private:
  void add(char c) { fMembers.set(static_cast<unsigned char>(c)); }

  std::bitset<256> fMembers;
};

bool endsWord(char c) { return c == ' ' || c == '\n' || c == '\t' || c == 0; }

}  // namespace

String::scanf_state::Outcome String::scanf_state::word() {
  if (text_ended()) return END_OF_TEXT;
  const bool wanted = !has(SCAN_SUPPRESS);
  if (wanted) ++fAssigned;
  char* place = static_cast<char*>(fDest);
  take_while([](char c) { return !endsWord(c); },
             [wanted, &place](char c) {
               if (wanted) *place++ = c;
             });
  if (wanted) *place = 0;
  return text_ended() ? END_OF_TEXT : GO_ON;
}

String::scanf_state::Outcome String::scanf_state::characters() {
  const bool wanted = !has(SCAN_SUPPRESS);
  for (; fWidth > 0; take()) {
    if (text_ended()) return STOP;
    if (wanted) store_byte();
  }
  if (wanted) ++fAssigned;
  return GO_ON;
}

std::int32_t String::_scanre(scanf_state* state) {
  ByteSet set;
  state->fFormat = set.read(state->fFormat);
  const bool wanted = !state->has(SCAN_SUPPRESS);
  bool matched = false;
  for (; state->fWidth > 0 && set.has(state->fCurrent); state->take()) {
    matched = true;
    if (!wanted) continue;
    state->store_byte();
    state->store('\0');
  }
  if (matched && wanted) ++state->fAssigned;
  return matched ? 1 : 0;
}

}  // namespace zqcore27
