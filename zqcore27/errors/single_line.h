#pragma once

#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

/// The text with each control character as `#` and three octal digits, as system loggers write them: whoever makes the
/// message can't forge a second line, nor steer the reader's terminal. Errors: MemError.
String singleLine(const String& s);

}  // namespace zqcore27
