#pragma once

// Internal: one character of native text at a time, and the locale behind it.

#include <cstdint>

inline namespace zqcore27 {

class String;

/// Reads one native character at `in`, of which `room` bytes may be read, and stores its unit. Returns the bytes
/// consumed. A byte below 0x80 is its own unit and never starts the locale initialisation. Errors: StringError
/// 0xc2000123 (the character is cut off by `room`), 0xc2000122 (the code page refuses the bytes).
std::int32_t nat2uni(const char* in, std::uint16_t* out, std::int32_t room);

/// Writes the native form of one unit and returns the bytes written, 0 if `room` is too small. A unit that the code
/// page lacks becomes `?`. A unit below 0x80 is one byte and never starts the locale initialisation.
std::int32_t uni2nat(std::uint16_t c, char* out, std::int32_t room);

/// The user's language as a three-letter abbreviation in lower case, "en" where the locale names none.
void getLocaleLanguage(String& out);

}  // namespace zqcore27
