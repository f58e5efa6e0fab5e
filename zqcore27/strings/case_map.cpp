#include "zqcore27/strings/case_map.h"

inline namespace zqcore27 {
namespace {

struct Range {
  std::uint16_t first, last;
  std::uint16_t step;
  std::int16_t toLower;
};

/// Units with a partner in the other case: the partner of each stands `toLower` above it.
constexpr Range PAIRS[] = {
    {0x0041, 0x005A, 1, 32},  {0x00C0, 0x00D6, 1, 32},   {0x00D8, 0x00DE, 1, 32},   {0x0100, 0x012E, 2, 1},
    {0x0132, 0x0136, 2, 1},   {0x0139, 0x0147, 2, 1},    {0x014A, 0x0176, 2, 1},    {0x0178, 0x0178, 1, -121},
    {0x0179, 0x017D, 2, 1},   {0x0181, 0x0181, 1, 210},  {0x0182, 0x0184, 2, 1},    {0x0186, 0x0186, 1, 206},
    {0x0187, 0x0187, 1, 1},   {0x0189, 0x018A, 1, 205},  {0x018B, 0x018B, 1, 1},    {0x018E, 0x018E, 1, 79},
    {0x018F, 0x018F, 1, 202}, {0x0190, 0x0190, 1, 203},  {0x0191, 0x0191, 1, 1},    {0x0193, 0x0193, 1, 205},
    {0x0194, 0x0194, 1, 207}, {0x0196, 0x0196, 1, 211},  {0x0197, 0x0197, 1, 209},  {0x0198, 0x0198, 1, 1},
    {0x019C, 0x019C, 1, 211}, {0x019D, 0x019D, 1, 213},  {0x019F, 0x019F, 1, 214},  {0x01A0, 0x01A4, 2, 1},
    {0x01A6, 0x01A6, 1, 218}, {0x01A7, 0x01A7, 1, 1},    {0x01A9, 0x01A9, 1, 218},  {0x01AC, 0x01AC, 1, 1},
    {0x01AE, 0x01AE, 1, 218}, {0x01AF, 0x01AF, 1, 1},    {0x01B1, 0x01B2, 1, 217},  {0x01B3, 0x01B5, 2, 1},
    {0x01B7, 0x01B7, 1, 219}, {0x01B8, 0x01B8, 1, 1},    {0x01BC, 0x01BC, 1, 1},    {0x01C4, 0x01C4, 1, 2},
    {0x01C7, 0x01C7, 1, 2},   {0x01CA, 0x01CA, 1, 2},    {0x01CD, 0x01DB, 2, 1},    {0x01DE, 0x01EE, 2, 1},
    {0x01F1, 0x01F1, 1, 2},   {0x01F4, 0x01F4, 1, 1},    {0x01F6, 0x01F6, 1, -97},  {0x01F7, 0x01F7, 1, -56},
    {0x01F8, 0x021E, 2, 1},   {0x0222, 0x0232, 2, 1},    {0x0386, 0x0386, 1, 38},   {0x0388, 0x038A, 1, 37},
    {0x038C, 0x038C, 1, 64},  {0x038E, 0x038F, 1, 63},   {0x0391, 0x03A1, 1, 32},   {0x03A3, 0x03AB, 1, 32},
    {0x03DA, 0x03EE, 2, 1},   {0x0400, 0x040F, 1, 80},   {0x0410, 0x042F, 1, 32},   {0x0460, 0x0480, 2, 1},
    {0x048C, 0x04BE, 2, 1},   {0x04C1, 0x04C3, 2, 1},    {0x04C7, 0x04C7, 1, 1},    {0x04CB, 0x04CB, 1, 1},
    {0x04D0, 0x04F4, 2, 1},   {0x04F8, 0x04F8, 1, 1},    {0x0531, 0x0556, 1, 48},   {0x1E00, 0x1E94, 2, 1},
    {0x1EA0, 0x1EF8, 2, 1},   {0x1F08, 0x1F0F, 1, -8},   {0x1F18, 0x1F1D, 1, -8},   {0x1F28, 0x1F2F, 1, -8},
    {0x1F38, 0x1F3F, 1, -8},  {0x1F48, 0x1F4D, 1, -8},   {0x1F59, 0x1F5F, 2, -8},   {0x1F68, 0x1F6F, 1, -8},
    {0x1F88, 0x1F8F, 1, -8},  {0x1F98, 0x1F9F, 1, -8},   {0x1FA8, 0x1FAF, 1, -8},   {0x1FB8, 0x1FB9, 1, -8},
    {0x1FBA, 0x1FBB, 1, -74}, {0x1FBC, 0x1FBC, 1, -9},   {0x1FC8, 0x1FCB, 1, -86},  {0x1FCC, 0x1FCC, 1, -9},
    {0x1FD8, 0x1FD9, 1, -8},  {0x1FDA, 0x1FDB, 1, -100}, {0x1FE8, 0x1FE9, 1, -8},   {0x1FEA, 0x1FEB, 1, -112},
    {0x1FEC, 0x1FEC, 1, -7},  {0x1FF8, 0x1FF9, 1, -128}, {0x1FFA, 0x1FFB, 1, -126}, {0x1FFC, 0x1FFC, 1, -9},
    {0x2160, 0x216F, 1, 16},  {0x24B6, 0x24CF, 1, 26},   {0xFF21, 0xFF3A, 1, 32}};

struct Variant {
  std::uint16_t unit, lower, upper;
};

/// Units that join the class of another pair without being anybody's partner.
constexpr Variant VARIANTS[] = {
    {0x00B5, 0x03BC, 0x039C}, {0x0130, 0x0069, 0x0049}, {0x0131, 0x0069, 0x0049}, {0x017F, 0x0073, 0x0053},
    {0x01C5, 0x01C6, 0x01C4}, {0x01C8, 0x01C9, 0x01C7}, {0x01CB, 0x01CC, 0x01CA}, {0x01F2, 0x01F3, 0x01F1},
    {0x0345, 0x03B9, 0x0399}, {0x03C2, 0x03C3, 0x03A3}, {0x03D0, 0x03B2, 0x0392}, {0x03D1, 0x03B8, 0x0398},
    {0x03D5, 0x03C6, 0x03A6}, {0x03D6, 0x03C0, 0x03A0}, {0x03F0, 0x03BA, 0x039A}, {0x03F1, 0x03C1, 0x03A1},
    {0x03F2, 0x03C3, 0x03A3}, {0x03F4, 0x03B8, 0x0398}, {0x03F5, 0x03B5, 0x0395}, {0x1E9B, 0x1E61, 0x1E60},
    {0x1FBE, 0x03B9, 0x0399}, {0x2126, 0x03C9, 0x03A9}, {0x212A, 0x006B, 0x004B}, {0x212B, 0x00E5, 0x00C5}};

/// Fills a map one unit at a time, making rows and deltas as they are first needed. Growing past the sizes of the map
/// is an error of the compilation.
template <std::size_t RowsTwo, std::size_t RowsThree, std::size_t Deltas>
struct Builder {
  using Map = CaseMap<RowsTwo, RowsThree, Deltas>;

  Map map{};
  std::size_t rowsTwo = 0, rowsThree = 0, deltas = 1, units = 0;

  constexpr Builder() {
    map.levelOne.fill(Map::UNMAPPED);
    for (auto& row : map.levelTwo) row.fill(Map::UNMAPPED);
  }

  constexpr void add(std::uint16_t from, std::uint16_t to) {
    std::uint8_t& two = map.levelOne[from >> 9];
    if (two == Map::UNMAPPED) two = static_cast<std::uint8_t>(rowsTwo++);
    std::uint8_t& three = map.levelTwo[two][(from >> 4) & 31];
    if (three == Map::UNMAPPED) three = static_cast<std::uint8_t>(rowsThree++);
    map.levelThree[three][from & 15] = delta_index(static_cast<std::int16_t>(to - from));
    ++units;
  }

  constexpr std::uint8_t delta_index(std::int16_t value) {
    for (std::size_t i = 1; i < deltas; ++i) {
      if (map.delta[i] == value) return static_cast<std::uint8_t>(i);
    }
    map.delta[deltas] = value;
    return static_cast<std::uint8_t>(deltas++);
  }

  constexpr bool exact() const {
    return rowsTwo == RowsTwo && rowsThree == RowsThree && deltas == Deltas && units == 712;
  }
};

constexpr auto buildLower() {
  Builder<7, 86, 57> builder;
  for (const Range& r : PAIRS) {
    for (unsigned c = r.first; c <= r.last; c += r.step) {
      builder.add(static_cast<std::uint16_t>(c), static_cast<std::uint16_t>(c + r.toLower));
    }
  }
  for (const Variant& v : VARIANTS) builder.add(v.unit, v.lower);
  return builder;
}

constexpr auto buildUpper() {
  Builder<7, 91, 56> builder;
  for (const Range& r : PAIRS) {
    for (unsigned c = r.first; c <= r.last; c += r.step) {
      builder.add(static_cast<std::uint16_t>(c + r.toLower), static_cast<std::uint16_t>(c));
    }
  }
  for (const Variant& v : VARIANTS) builder.add(v.unit, v.upper);
  return builder;
}

static_assert(buildLower().exact());
static_assert(buildUpper().exact());
static_assert(buildUpper().map(0x00FF) == 0x0178 && buildUpper().map(0x00DF) == 0x00DF);

template <typename Map>
constexpr DirectCases direct(const Map& map) {
  DirectCases forms{};
  for (std::uint16_t c = 0; c < DIRECT_CASES; ++c) forms[c] = map(c);
  return forms;
}

}  // namespace

constexpr CaseMap<7, 86, 57> LOWER_MAP = buildLower().map;
constexpr CaseMap<7, 91, 56> UPPER_MAP = buildUpper().map;
constexpr DirectCases LOWER_DIRECT = direct(LOWER_MAP);
constexpr DirectCases UPPER_DIRECT = direct(UPPER_MAP);

CaseClass caseClass(std::uint16_t c) {
  const std::uint16_t upper = UPPER_MAP(c);
  CaseClass units;
  units.fill(upper);
  units[1] = LOWER_MAP(upper);
  std::size_t used = 2;
  for (const Variant& v : VARIANTS) {
    if (v.upper == upper) units[used++] = v.unit;
  }
  return units;
}

}  // namespace zqcore27
