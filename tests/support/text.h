#pragma once

#include <string>

#include "zqcore27/strings/string.h"

/// The text as UTF-8, zero units shown as NUL: String's own == folds case and would hide damage.
inline std::string utf8(const String& s) {
  std::string out;
  char sequence[3];
  for (const std::uint16_t unit : s.units()) out.append(sequence, static_cast<std::size_t>(uni2utf(unit, sequence, 3)));
  return out;
}
