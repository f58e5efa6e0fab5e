#pragma once

#include <cstdint>

#include "zqcore27/platform/export.h"

inline namespace zqcore27 {

/// Sets the code page of every later conversion of native text, by its Windows number (65001: UTF-8). 0 leaves the
/// choice to the user's locale, which is looked at once, on the first character from 0x80 up. Threads: any, at any
/// time.
ZQCORE27_EXPORT void setACPid(unsigned int id);

/// Writes the UTF-8 form of one unit, without a terminator. Returns the bytes written, 1 to 3, or -1, with nothing
/// written, if `room` is too small. Surrogates are units like others. Threads: any.
ZQCORE27_EXPORT std::int32_t uni2utf(std::uint16_t c, char* out, std::int32_t room);

/// Reads one sequence of at most 3 bytes. Returns the bytes consumed, 1 to 3; on an ill-formed sequence stores 0 and
/// returns -1. Over-long forms and surrogates are accepted. A byte is read only if the one before it asks for it, so
/// that a zero-terminated text is never read past its end. Threads: any.
ZQCORE27_EXPORT std::int32_t utf2uni(const char* in, std::uint16_t* out);

}  // namespace zqcore27
