#pragma once

// Internal: one character out of the bytes of a channel.

#include <cstdint>

inline namespace zqcore27 {

/// Delivered for a byte that begins no well-formed UTF-8 sequence.
inline constexpr std::uint16_t REPLACEMENT_CHAR = 0xFFFD;

/// Decodes the character at `in`, of which `n` bytes, 1 or more, may be read, and returns the bytes it took, 1 to 3.
/// A byte of ill-formed UTF-8 is taken by itself and gives REPLACEMENT_CHAR. With `more`, further bytes may follow
/// those that may be read: the answer is then 0 where they would be needed to tell. Errors: StringError of native
/// bytes, as nat2uni.
std::uint32_t decodeCharacter(const unsigned char* in, std::uint32_t n, bool utf8, bool more, std::uint16_t* out);

}  // namespace zqcore27
