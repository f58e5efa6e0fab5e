#pragma once

// Internal: many groups of armoured text at once, in the vectors of the compiler, which are those of the processor
// where it has some. Two groups lie in a lane of 64 bits, each in its half: three bytes, the first lowest, or the four
// characters' values. Both forms hold the same bits, four runs of them shifted.

#include <bit>
#include <cstdint>
#include <cstring>

inline namespace zqcore27 {

using ArmourLanes [[gnu::vector_size(16)]] = std::uint64_t;
using ArmourBytes [[gnu::vector_size(16)]] = std::uint8_t;

/// How many groups a vector holds.
inline constexpr std::uint32_t LANE_GROUPS = 4;

/// The same bits in both halves of a lane.
constexpr std::uint64_t inBothHalves(std::uint32_t bits) { return std::uint64_t{bits} << 32 | bits; }

/// Encodes whole vectors of groups, at most `groups` of them, and returns how many it did. Reads no byte behind the
/// last group.
inline std::uint32_t encodeGroups(const unsigned char* in, std::uint32_t groups, unsigned char* out) {
  if constexpr (std::endian::native != std::endian::little) return 0;
  std::uint32_t done = 0;
  // A lane is loaded with two bytes of the next group behind its own.
  for (; groups - done > LANE_GROUPS; done += LANE_GROUPS, in += 12, out += 16) {
    std::uint64_t low, high;
    std::memcpy(&low, in, sizeof low);
    std::memcpy(&high, in + 6, sizeof high);
    ArmourLanes w = {low, high};
    w = (w & 0xFFFFFF) | (w << 8 & 0xFFFFFF00000000);
    w = (w & inBothHalves(0x000F3F)) | (w & inBothHalves(0x0000C0)) << 6 | (w & inBothHalves(0x00F000)) << 4 |
        (w & inBothHalves(0xC00000)) >> 2 | (w & inBothHalves(0x3F0000)) << 8;
    w += inBothHalves(0x30303030);
    std::memcpy(out, &w, sizeof w);
  }
  return done;
}

/// Decodes whole vectors of groups, at most `groups` of them, and returns how many it did. `valid` becomes false if a
/// character among them is foreign. Writes no byte behind the last group.
inline std::uint32_t decodeGroups(const unsigned char* in, std::uint32_t groups, unsigned char* out, bool& valid) {
  if constexpr (std::endian::native != std::endian::little) return 0;
  std::uint32_t done = 0;
  ArmourLanes seen = {};
  // A lane is stored with two bytes that the next group overwrites.
  for (; groups - done > LANE_GROUPS; done += LANE_GROUPS, in += 16, out += 12) {
    ArmourBytes characters;
    std::memcpy(&characters, in, sizeof characters);
    ArmourLanes w = reinterpret_cast<ArmourLanes>(characters - 0x30);
    seen |= w;
    w = (w & inBothHalves(0x000F3F)) | (w >> 6 & inBothHalves(0x0000C0)) | (w >> 4 & inBothHalves(0x00F000)) |
        (w << 2 & inBothHalves(0xC00000)) | (w >> 8 & inBothHalves(0x3F0000));
    w = (w & 0xFFFFFF) | (w >> 8 & 0xFFFFFF000000);
    const std::uint64_t low = w[0], high = w[1];
    std::memcpy(out, &low, sizeof low);
    std::memcpy(out + 6, &high, sizeof high);
  }
  valid = ((seen[0] | seen[1]) & inBothHalves(0xC0C0C0C0)) == 0;
  return done;
}

}  // namespace zqcore27
