#pragma once

// Internal: the two layers of a scrambled text, which armour.h puts together.

#include <cstdint>

inline namespace zqcore27 {

/// Forms of the text, as they have always been numbered. From ARMOUR_CURRENT on the scramble starts 32 table entries
/// further, and the text has the marker.
constexpr std::uint32_t ARMOUR_LEGACY = 514;
constexpr std::uint32_t ARMOUR_CURRENT = 600;

/// The length field holds 24 bits.
constexpr std::uint32_t MAX_ARMOURED_BYTES = 0xFFFFFF;

/// Scrambles `n` bytes, or unscrambles them: a second run with the same version gives the input. `out` may be `in`.
void scrambleBytes(const unsigned char* in, unsigned char* out, std::int32_t n, std::uint32_t version);

/// Writes the length group and the data groups. `*outLength` is the room on entry and LengthInAscii(n) on return;
/// false, with nothing written, if the room is less. Requires: n <= MAX_ARMOURED_BYTES.
bool armourEncode(const unsigned char* in, std::uint32_t n, unsigned char* out, std::uint32_t* outLength);

/// Reads what armourEncode wrote, out of `n` characters. `*outLength` is the room on entry and the bytes read on
/// success. False: with too little room, less than three bytes more than the result, `*outLength` is the room wanted;
/// if the text is ill-formed, it is 0.
bool armourDecode(const unsigned char* in, std::uint32_t n, unsigned char* out, std::uint32_t* outLength);

}  // namespace zqcore27
