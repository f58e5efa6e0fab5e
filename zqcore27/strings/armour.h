#pragma once

#include <cstdint>

#include "zqcore27/platform/export.h"

inline namespace zqcore27 {

// Bytes as printable ASCII, scrambled with a fixed table: enough to keep a password out of a glance at a file. There is
// no key; who has this library can read the text. The characters are 0x30 to 0x6F, behind the marker 0x7A (`z`),
// without a line break or terminator. A text without the marker is read as the older form. At most 16,777,215 bytes fit
// a text. Sizes are in bytes. Nothing is thrown. `in` and `out` must not overlap. Threads: any.

/// The characters that `n` bytes take without the marker. 0xFFFFFFFF where the number doesn't fit.
ZQCORE27_EXPORT std::uint32_t LengthInAscii(std::uint32_t n);

/// Scrambles `n` bytes into a text. `*outLength` is the room at `out` on entry, LengthInAscii(n) + 4 at least, and the
/// text's size, LengthInAscii(n) + 1, on success. With `n` 0 the result is the empty text, size 0, and one zero byte is
/// written whatever the room. False: with too little room, a negative one included, `*outLength` is the room wanted;
/// with `n` negative or above 16,777,215 it is 0; with the heap exhausted it is as on entry.
ZQCORE27_EXPORT bool StringInOut(const unsigned char* in, std::int32_t n, unsigned char* out, std::int32_t* outLength);

/// Turns a text of `n` characters back into its bytes. `*outLength` is the room at `out` on entry, three bytes more
/// than the result needs, and the result's size on success. False: with too little room, a negative one included,
/// `*outLength` is the room wanted; if the text is ill-formed, empty texts and a negative `n` included, it is 0. `out`
/// then holds nothing of use.
ZQCORE27_EXPORT bool StringOutIn(const unsigned char* in, std::int32_t n, unsigned char* out, std::int32_t* outLength);

}  // namespace zqcore27
