#pragma once

// Internal: eight units of text, or sixteen bytes, at once: with SSE2 where the compiler targets it, in plain C++
// elsewhere. Both forms have the same operations, and the tests run them side by side. Nothing outside the eight units
// or sixteen bytes named is read or written.

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

inline namespace zqcore27 {

/// Eight units as lanes. A comparison gives lanes of 0xFFFF where it holds and 0 elsewhere: a lane is set or clear.
class PlainUnits {
 public:
  static constexpr std::size_t SIZE = 8;

  static PlainUnits load(const std::uint16_t* s) {
    return each([s](std::size_t i) { return s[i]; });
  }
  static PlainUnits fill(std::uint16_t c) {
    return each([c](std::size_t) { return c; });
  }
  void store(std::uint16_t* out) const {
    for (std::size_t i = 0; i < SIZE; ++i) out[i] = fLanes[i];
  }

  friend PlainUnits operator==(PlainUnits a, PlainUnits b) {
    return each([&](std::size_t i) { return a.fLanes[i] == b.fLanes[i] ? 0xFFFF : 0; });
  }
  friend PlainUnits operator|(PlainUnits a, PlainUnits b) {
    return each([&](std::size_t i) { return a.fLanes[i] | b.fLanes[i]; });
  }
  friend PlainUnits operator&(PlainUnits a, PlainUnits b) {
    return each([&](std::size_t i) { return a.fLanes[i] & b.fLanes[i]; });
  }
  friend PlainUnits operator^(PlainUnits a, PlainUnits b) {
    return each([&](std::size_t i) { return a.fLanes[i] ^ b.fLanes[i]; });
  }
  /// Set where this one is and `other` is clear.
  PlainUnits without(PlainUnits other) const {
    return each([&](std::size_t i) { return fLanes[i] & ~other.fLanes[i]; });
  }
  /// Set where `first` <= lane <= `last`. Requires: not all units are in the range.
  PlainUnits within(std::uint16_t first, std::uint16_t last) const {
    return each([&](std::size_t i) { return fLanes[i] >= first && fLanes[i] <= last ? 0xFFFF : 0; });
  }

  // Requires, from here to firstClear: every lane is set or clear.
  bool any() const { return firstSet() != SIZE; }
  bool all() const { return firstClear() == SIZE; }
  /// The first lane that is set, or clear; SIZE if there is none.
  std::size_t firstSet() const {
    std::size_t i = 0;
    while (i < SIZE && fLanes[i] == 0) ++i;
    return i;
  }
  std::size_t firstClear() const {
    std::size_t i = 0;
    while (i < SIZE && fLanes[i] != 0) ++i;
    return i;
  }

 private:
  template <typename Lane>
  static PlainUnits each(Lane lane) {
    PlainUnits block;
    for (std::size_t i = 0; i < SIZE; ++i) block.fLanes[i] = static_cast<std::uint16_t>(lane(i));
    return block;
  }

  std::array<std::uint16_t, SIZE> fLanes;
};

/// Sixteen bytes of text.
class PlainBytes {
 public:
  using Units = PlainUnits;
  static constexpr std::size_t SIZE = 16;

  static PlainBytes load(const unsigned char* s) {
    PlainBytes block;
    for (std::size_t i = 0; i < SIZE; ++i) block.fBytes[i] = s[i];
    return block;
  }
  /// Sixteen units as bytes: 0xFF for those from 0x100 to 0x7FFF, 0 for those from 0x8000 up.
  static PlainBytes narrow(const std::uint16_t* s) {
    PlainBytes block;
    for (std::size_t i = 0; i < SIZE; ++i) {
      block.fBytes[i] = static_cast<unsigned char>(s[i] >= 0x8000 ? 0 : s[i] >= 0x100 ? 0xFF : s[i]);
    }
    return block;
  }
  void store(unsigned char* out) const { std::copy_n(fBytes.data(), SIZE, out); }
  /// Sixteen units.
  void widen(std::uint16_t* out) const {
    for (std::size_t i = 0; i < SIZE; ++i) out[i] = fBytes[i];
  }
  friend PlainBytes operator|(PlainBytes a, PlainBytes b) {
    for (std::size_t i = 0; i < SIZE; ++i) a.fBytes[i] |= b.fBytes[i];
    return a;
  }
  friend PlainBytes operator&(PlainBytes a, PlainBytes b) {
    for (std::size_t i = 0; i < SIZE; ++i) a.fBytes[i] &= b.fBytes[i];
    return a;
  }
  /// Bytes of 0xFF where this one is from 1 to 0x7F, of 0 elsewhere.
  PlainBytes plain() const {
    PlainBytes block;
    for (std::size_t i = 0; i < SIZE; ++i)
      block.fBytes[i] = static_cast<unsigned char>(fBytes[i] - 1u < 0x7F ? 0xFF : 0);
    return block;
  }
  bool isAscii() const { return asciiRun() == SIZE; }
  /// True if a byte is from 0x80 to 0x9F.
  bool hasC1() const {
    bool has = false;
    for (const unsigned char byte : fBytes) has |= (byte & 0xE0) == 0x80;
    return has;
  }
  /// The number of bytes before the first one from 0x80 up.
  std::size_t asciiRun() const {
    std::size_t i = 0;
    while (i < SIZE && fBytes[i] < 0x80) ++i;
    return i;
  }
  /// A bit for each byte, the lowest for the first: set if it is from 0x80 up.
  unsigned nonAscii() const {
    unsigned bits = 0;
    for (std::size_t i = 0; i < SIZE; ++i) bits |= static_cast<unsigned>(fBytes[i] >> 7) << i;
    return bits;
  }

 private:
  std::array<unsigned char, SIZE> fBytes;
};

#ifdef __SSE2__

/// As PlainUnits.
class SSE2Units {
 public:
  static constexpr std::size_t SIZE = 8;

  static SSE2Units load(const std::uint16_t* s) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(s)); }
  static SSE2Units fill(std::uint16_t c) { return _mm_set1_epi16(static_cast<short>(c)); }
  void store(std::uint16_t* out) const { _mm_storeu_si128(reinterpret_cast<__m128i*>(out), fLanes); }

  friend SSE2Units operator==(SSE2Units a, SSE2Units b) { return _mm_cmpeq_epi16(a.fLanes, b.fLanes); }
  friend SSE2Units operator|(SSE2Units a, SSE2Units b) { return _mm_or_si128(a.fLanes, b.fLanes); }
  friend SSE2Units operator&(SSE2Units a, SSE2Units b) { return _mm_and_si128(a.fLanes, b.fLanes); }
  friend SSE2Units operator^(SSE2Units a, SSE2Units b) { return _mm_xor_si128(a.fLanes, b.fLanes); }
  SSE2Units without(SSE2Units other) const { return _mm_andnot_si128(other.fLanes, fLanes); }
  SSE2Units within(std::uint16_t first, std::uint16_t last) const {
    // The range is moved to the least signed values, where one comparison tells it.
    const __m128i moved = _mm_add_epi16(fLanes, fill(static_cast<std::uint16_t>(0x8000 - first)).fLanes);
    return _mm_cmplt_epi16(moved, fill(static_cast<std::uint16_t>(0x8001 + last - first)).fLanes);
  }

  bool any() const { return mask() != 0; }
  bool all() const { return mask() == 0xFFFF; }
  std::size_t firstSet() const { return static_cast<std::size_t>(std::countr_zero(mask() | 0x10000u)) / 2; }
  std::size_t firstClear() const { return static_cast<std::size_t>(std::countr_one(mask())) / 2; }

 private:
  SSE2Units(__m128i lanes) : fLanes(lanes) {}
  unsigned mask() const { return static_cast<unsigned>(_mm_movemask_epi8(fLanes)); }

  __m128i fLanes;
};

/// As PlainBytes.
class SSE2Bytes {
 public:
  using Units = SSE2Units;
  static constexpr std::size_t SIZE = 16;

  static SSE2Bytes load(const unsigned char* s) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(s)); }
  static SSE2Bytes narrow(const std::uint16_t* s) {
    const auto* const from = reinterpret_cast<const __m128i*>(s);
    return _mm_packus_epi16(_mm_loadu_si128(from), _mm_loadu_si128(from + 1));
  }
  void store(unsigned char* out) const { _mm_storeu_si128(reinterpret_cast<__m128i*>(out), fBytes); }
  void widen(std::uint16_t* out) const {
    const __m128i zero = _mm_setzero_si128();
    auto* const to = reinterpret_cast<__m128i*>(out);
    _mm_storeu_si128(to, _mm_unpacklo_epi8(fBytes, zero));
    _mm_storeu_si128(to + 1, _mm_unpackhi_epi8(fBytes, zero));
  }
  friend SSE2Bytes operator|(SSE2Bytes a, SSE2Bytes b) { return _mm_or_si128(a.fBytes, b.fBytes); }
  friend SSE2Bytes operator&(SSE2Bytes a, SSE2Bytes b) { return _mm_and_si128(a.fBytes, b.fBytes); }
  SSE2Bytes plain() const { return _mm_cmpgt_epi8(fBytes, _mm_setzero_si128()); }
  bool isAscii() const { return mask() == 0; }
  bool hasC1() const {
    const __m128i row = _mm_and_si128(fBytes, _mm_set1_epi8(static_cast<char>(0xE0)));
    return SSE2Bytes(_mm_cmpeq_epi8(row, _mm_set1_epi8(static_cast<char>(0x80)))).mask() != 0;
  }
  std::size_t asciiRun() const { return static_cast<std::size_t>(std::countr_zero(nonAscii() | 0x10000u)); }
  unsigned nonAscii() const { return mask(); }

 private:
  SSE2Bytes(__m128i bytes) : fBytes(bytes) {}
  unsigned mask() const { return static_cast<unsigned>(_mm_movemask_epi8(fBytes)); }

  __m128i fBytes;
};

using BestBytes = SSE2Bytes;
#else
using BestBytes = PlainBytes;
#endif

}  // namespace zqcore27
