#pragma once

// Internal: the two case maps, each a three-level table over 16-bit units with a list of deltas. They don't depend on
// the locale. The tables are built by the compiler from the list of ranges in case_map.cpp. Loops over whole texts take
// the forms of the first units from a direct table.

#include <array>
#include <cstddef>
#include <cstdint>

inline namespace zqcore27 {

template <std::size_t RowsTwo, std::size_t RowsThree, std::size_t Deltas>
struct CaseMap {
  static constexpr std::uint8_t UNMAPPED = 127;

  std::array<std::uint8_t, 128> levelOne;                          // by c >> 9
  std::array<std::array<std::uint8_t, 32>, RowsTwo> levelTwo;      // by (c >> 4) & 31
  std::array<std::array<std::uint8_t, 16>, RowsThree> levelThree;  // by c & 15
  std::array<std::int16_t, Deltas> delta;                          // entry 0 is 0

  constexpr std::uint16_t operator()(std::uint16_t c) const {
    const std::uint8_t i = levelOne[c >> 9];
    if (i == UNMAPPED) return c;
    const std::uint8_t j = levelTwo[i][(c >> 4) & 31];
    if (j == UNMAPPED) return c;
    return static_cast<std::uint16_t>(c + delta[levelThree[j][c & 15]]);
  }
};

extern const CaseMap<7, 86, 57> LOWER_MAP;
extern const CaseMap<7, 91, 56> UPPER_MAP;

/// The forms of the units below 0x600, where nearly all that have another case stand: one look-up for loops over texts.
constexpr std::uint16_t DIRECT_CASES = 0x600;
using DirectCases = std::array<std::uint16_t, DIRECT_CASES>;
extern const DirectCases LOWER_DIRECT;
extern const DirectCases UPPER_DIRECT;

inline std::uint16_t lowerOf(std::uint16_t c) { return c < DIRECT_CASES ? LOWER_DIRECT[c] : LOWER_MAP(c); }
inline std::uint16_t upperOf(std::uint16_t c) { return c < DIRECT_CASES ? UPPER_DIRECT[c] : UPPER_MAP(c); }

/// All units that have the upper form of `c`, `c` among them: 1 to 4, padded with copies.
using CaseClass = std::array<std::uint16_t, 4>;
CaseClass caseClass(std::uint16_t c);

}  // namespace zqcore27
