#pragma once

// Internal: the two case maps, each a three-level table over 16-bit units with a list of deltas. They don't depend on
// the locale. The tables are built by the compiler from the list of ranges in case_map.cpp.

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

}  // namespace zqcore27
