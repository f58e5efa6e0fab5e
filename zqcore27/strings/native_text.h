#pragma once

// Internal: native text, one character at a time or whole, and the locale behind it.

#include <atomic>
#include <cstddef>
#include <cstdint>

inline namespace zqcore27 {

class String;

/// Reads one native character at `in`, of which `room` bytes may be read, and stores its unit. Returns the bytes
/// consumed: 1 or 2, in UTF-8 up to 3. A byte below 0x80 is its own unit in every code page and never starts the locale
/// initialisation. In UTF-8, surrogates pass as units of three bytes; over-long forms and characters beyond 16 bits are
/// refused. Errors: StringError 0xc2000123 (the character is longer than `room`), 0xc2000122 (the code page refuses the
/// bytes, or there is no such code page here). Threads: any.
std::int32_t nat2uni(const char* in, std::uint16_t* out, std::int32_t room);

/// Writes the native form of one unit and returns the bytes written: 1 to 3, or 0, with nothing written, if `room` is
/// too small or there is no such code page here. A unit that the code page lacks becomes `?`. In pages 1255 and 1258 a
/// letter with marks may be written as letter and marks, which read back as several units. A unit below 0x80 is one
/// byte and never starts the locale initialisation. Threads: any.
std::int32_t uni2nat(std::uint16_t c, char* out, std::int32_t room);

/// Converts `length` bytes, none of them zero, as nat2uni does each, by the code page that is current at the first from
/// 0x80 up. `room` bytes, `length` or more, may be read. Moves `out` behind the units written, of which there are
/// `length` at most; units behind them, up to that number, may be written as well. Returns 0 or the code of the
/// StringError at which it stopped. Threads: any.
std::uint32_t readNative(const char* s, std::size_t length, std::size_t room, std::uint16_t*& out);

/// Converts `n` units, none of them zero, as uni2nat does each. Returns the end of what was written; `out` has room for
/// 3 bytes a unit, which may all be written. Threads: any.
char* writeNative(const std::uint16_t* s, std::size_t n, char* out);

/// The user's language as an abbreviation of three letters, rarely two, in lower case; "en" where the locale names
/// none. Never empty. Threads: any.
void getLocaleLanguage(String& out);

// --- State, for the tests ---

extern std::atomic<std::uint32_t> gACPid;  // code page of every conversion; 0: the locale's
extern std::atomic<bool> gLocaleReady;     // true once the locale has been looked at; set last

}  // namespace zqcore27
