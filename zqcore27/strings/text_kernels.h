#pragma once

// Internal: loops over whole texts that take eight units or sixteen bytes at a time, and the case pages only where a
// block holds more than ASCII. Each takes the class of its blocks as a parameter for the tests.

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "zqcore27/strings/case_map.h"
#include "zqcore27/strings/unit_block.h"

inline namespace zqcore27 {

constexpr bool isPlain(unsigned c) { return c - 1 < 0x7F; }

/// Widens the bytes before the first that isn't ASCII, `n` at most, and returns their number. Units of `out` behind
/// them, up to the n-th, may be written as well.
template <typename Bytes = BestBytes>
std::size_t widenAscii(const unsigned char* in, std::size_t n, std::uint16_t* out) {
  constexpr std::size_t SIZE = Bytes::SIZE;
  std::size_t i = 0;
  const auto widenOne = [&] {
    const Bytes block = Bytes::load(in + i);
    block.widen(out + i);
    const std::size_t run = block.asciiRun();
    i += run;
    return run == SIZE;
  };
  if (n >= SIZE && !widenOne()) return i;  // most runs are short
  for (; n - i >= 4 * SIZE; i += 4 * SIZE) {
    const Bytes a = Bytes::load(in + i), b = Bytes::load(in + i + SIZE);
    const Bytes c = Bytes::load(in + i + 2 * SIZE), d = Bytes::load(in + i + 3 * SIZE);
    if (!((a | b) | (c | d)).isAscii()) break;
    a.widen(out + i);
    b.widen(out + i + SIZE);
    c.widen(out + i + 2 * SIZE);
    d.widen(out + i + 3 * SIZE);
  }
  while (n - i >= SIZE) {
    if (!widenOne()) return i;
  }
  for (; i < n && in[i] < 0x80; ++i) out[i] = in[i];
  return i;
}

/// A bit for each of 16 units, the lowest for the first: set if it is zero or not ASCII. `bytes` is the narrowed units.
template <typename Bytes>
unsigned notPlain(Bytes bytes) {
  return bytes.plain().nonAscii() ^ 0xFFFF;
}

/// Narrows the units before the first that is zero or not ASCII, `n` at most, and returns their number. Bytes of `out`
/// behind them, up to the n-th, may be written as well.
template <typename Bytes = BestBytes>
std::size_t narrowAscii(const std::uint16_t* in, std::size_t n, unsigned char* out) {
  constexpr std::size_t SIZE = Bytes::SIZE;
  std::size_t i = 0;
  const auto narrowOne = [&] {
    const Bytes bytes = Bytes::narrow(in + i);
    bytes.store(out + i);
    const auto run = static_cast<std::size_t>(std::countr_zero(notPlain(bytes) | 0x10000u));
    i += run;
    return run == SIZE;
  };
  if (n >= SIZE && !narrowOne()) return i;  // most runs are short
  for (; n - i >= 4 * SIZE; i += 4 * SIZE) {
    const Bytes a = Bytes::narrow(in + i), b = Bytes::narrow(in + i + SIZE);
    const Bytes c = Bytes::narrow(in + i + 2 * SIZE), d = Bytes::narrow(in + i + 3 * SIZE);
    if (((a.plain() & b.plain()) & (c.plain() & d.plain())).nonAscii() != 0xFFFF) break;
    a.store(out + i);
    b.store(out + i + SIZE);
    c.store(out + i + 2 * SIZE);
    d.store(out + i + 3 * SIZE);
  }
  while (n - i >= SIZE) {
    if (!narrowOne()) return i;
  }
  for (; i < n && isPlain(in[i]); ++i) out[i] = static_cast<unsigned char>(in[i]);
  return i;
}

/// Index of the first zero unit, `n` if there is none.
template <typename Bytes = BestBytes>
std::size_t findZero(const std::uint16_t* s, std::size_t n) {
  using Units = typename Bytes::Units;
  std::size_t i = 0;
  for (; n - i >= Units::SIZE; i += Units::SIZE) {
    const Units zeros = Units::load(s + i) == Units::fill(0);
    if (zeros.any()) return i + zeros.firstSet();
  }
  while (i < n && s[i] != 0) ++i;
  return i;
}

/// The two maps, and the ASCII letters that they change.
struct LowerCase {
  static constexpr char FIRST = 'A', LAST = 'Z';
  static constexpr const DirectCases& DIRECT = LOWER_DIRECT;
  static std::uint16_t map(std::uint16_t c) { return lowerOf(c); }
};
struct UpperCase {
  static constexpr char FIRST = 'a', LAST = 'z';
  static constexpr const DirectCases& DIRECT = UPPER_DIRECT;
  static std::uint16_t map(std::uint16_t c) { return upperOf(c); }
};

/// Maps `n` units in place.
template <typename Case, typename Bytes = BestBytes>
void mapCase(std::uint16_t* s, std::size_t n) {
  using Units = typename Bytes::Units;
  for (; n >= Units::SIZE; s += Units::SIZE, n -= Units::SIZE) {
    const Units block = Units::load(s);
    if (block.within(0, 0x7F).all()) {
      (block ^ (block.within(Case::FIRST, Case::LAST) & Units::fill('a' ^ 'A'))).store(s);
    } else if (block.within(0, DIRECT_CASES - 1).all()) {
      std::transform(s, s + Units::SIZE, s, [](std::uint16_t c) { return Case::DIRECT[c]; });
    } else {
      std::transform(s, s + Units::SIZE, s, Case::map);
    }
  }
  std::transform(s, s + n, s, Case::map);
}

/// True if the units have the same upper forms. Takes no branch on the way.
inline bool sameUpper(const std::uint16_t* a, const std::uint16_t* b, std::size_t n) {
  unsigned bits = 0;
  for (std::size_t i = 0; i < n; ++i) bits |= upperOf(a[i]) ^ upperOf(b[i]);
  return bits == 0;
}

/// Of `n` units of each text, how many from the start surely match, with the same upper forms with `fold`, before `a`
/// ends. The first that doesn't is at most a block further on.
template <bool fold, typename Bytes = BestBytes>
std::size_t matchingRun(const std::uint16_t* a, const std::uint16_t* b, std::size_t n) {
  using Units = typename Bytes::Units;
  const auto same = [](Units x, Units y) {
    const Units bits = x ^ y, caseBit = Units::fill('a' ^ 'A');
    if constexpr (!fold) return bits == Units::fill(0);
    const Units letters = (x | caseBit).within('a', 'z');
    return bits.without(letters & caseBit) == Units::fill(0);
  };
  std::size_t i = 0;
  for (; n - i >= Units::SIZE; i += Units::SIZE) {
    const Units x = Units::load(a + i), y = Units::load(b + i);
    const Units ended = x == Units::fill(0);
    if (same(x, y).without(ended).all()) continue;
    if (fold && !ended.any() && sameUpper(a + i, b + i, Units::SIZE)) continue;
    break;
  }
  return i;
}

/// The units that count as `c`: itself, or its class with `fold`.
template <bool fold, typename Bytes = BestBytes>
class Probe {
 public:
  using Units = typename Bytes::Units;

  explicit Probe(std::uint16_t c) : fFolded(foldOne(c)), fUnits(fillAll(c, std::make_index_sequence<COUNT>())) {}

  static std::uint16_t foldOne(std::uint16_t c) { return fold ? upperOf(c) : c; }
  bool matches(std::uint16_t c) const { return foldOne(c) == fFolded; }
  /// Set where a unit counts as `c`.
  Units matches(Units block) const {
    Units set = block == fUnits[0];
    for (std::size_t i = 1; i < COUNT; ++i) set = set | (block == fUnits[i]);
    return set;
  }

 private:
  static constexpr std::size_t COUNT = fold ? std::tuple_size_v<CaseClass> : 1;

  template <std::size_t... I>
  static std::array<Units, COUNT> fillAll(std::uint16_t c, std::index_sequence<I...>) {
    if constexpr (!fold) return {Units::fill(c)};
    const CaseClass units = caseClass(c);
    return {Units::fill(units[I])...};
  }

  std::uint16_t fFolded;
  std::array<Units, COUNT> fUnits;
};

/// Index of the first of `n` units that counts as the probe's, `n` if none does.
template <bool fold, typename Bytes = BestBytes>
std::size_t findUnit(const std::uint16_t* s, std::size_t n, const Probe<fold, Bytes>& probe) {
  using Units = typename Bytes::Units;
  std::size_t i = 0;
  for (; n - i >= Units::SIZE; i += Units::SIZE) {
    const Units hits = probe.matches(Units::load(s + i));
    if (hits.any()) return i + hits.firstSet();
  }
  while (i < n && !probe.matches(s[i])) ++i;
  return i;
}

/// The first occurrence of `part` in the text that ends at its first zero unit, or null. `n` units of the text can be
/// read without looking for the zero. Requires: `part` is `m` units without a zero, at least one.
template <bool fold, typename Bytes = BestBytes>
const std::uint16_t* findPart(const std::uint16_t* text, std::size_t n, const std::uint16_t* part, std::size_t m) {
  using Units = typename Bytes::Units;
  const Probe<fold, Bytes> first(part[0]), last(part[m - 1]);
  const auto matched = [&](const std::uint16_t* s) {
    std::size_t i = 0;
    while (i < m && Probe<fold, Bytes>::foldOne(s[i]) == Probe<fold, Bytes>::foldOne(part[i])) ++i;
    return i;
  };
  // Places where both ends of the part stand, or where the text ends, among the next eight.
  const auto candidates = [&](const std::uint16_t* s) {
    const Units starts = Units::load(s);
    return (first.matches(starts) & last.matches(Units::load(s + m - 1))) | (starts == Units::fill(0));
  };
  constexpr std::size_t PAIR = 2 * Units::SIZE;  // taken while a look at eight more stays within the text
  for (const std::size_t reach = m - 1 + Units::SIZE; n >= reach; text += Units::SIZE, n -= Units::SIZE) {
    while (n >= reach + PAIR && !(candidates(text) | candidates(text + Units::SIZE)).any()) text += PAIR, n -= PAIR;
    if (!candidates(text).any()) continue;
    for (std::size_t k = 0; k < Units::SIZE; ++k) {
      if (text[k] == 0) return nullptr;
      if (first.matches(text[k]) && matched(text + k) == m) return text + k;
    }
  }
  for (; *text != 0; ++text) {
    if (!first.matches(*text)) continue;
    const std::size_t units = matched(text);
    if (units == m) return text;
    if (text[units] == 0) return nullptr;  // the text ends inside the part, so it does for every later start
  }
  return nullptr;
}

}  // namespace zqcore27
