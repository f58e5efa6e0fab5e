#include "zqcore27/strings/utf8_triples.h"

#include <bit>

#ifdef __SSE2__
#include <immintrin.h>
#endif

inline namespace zqcore27 {

#ifdef __SSE2__

namespace {

constexpr std::size_t STEP = 8;         // sequences
constexpr std::size_t HALF_BYTES = 12;  // of four sequences
constexpr std::size_t STEP_BYTES = HALF_BYTES + sizeof(__m128i);
constexpr unsigned ALL = (1u << 2 * HALF_BYTES) - 1;

[[gnu::target("ssse3")]] inline __m128i load(const void* from) {
  return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

/// A bit for each of the first 12 bytes of `block`: set where it is of the kind that sequences of three have there.
[[gnu::target("ssse3")]] inline unsigned tripleBytes(__m128i block) {
  const auto e0 = static_cast<char>(0xE0), f0 = static_cast<char>(0xF0);
  const auto c0 = static_cast<char>(0xC0), continues = static_cast<char>(0x80);
  const __m128i kinds = _mm_and_si128(block, _mm_setr_epi8(f0, c0, c0, f0, c0, c0, f0, c0, c0, f0, c0, c0, 0, 0, 0, 0));
  const __m128i wanted = _mm_setr_epi8(e0, continues, continues, e0, continues, continues, e0, continues, continues, e0,
                                       continues, continues, -1, -1, -1, -1);
  return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(kinds, wanted)));
}

/// The units of four sequences, in the lower lanes.
[[gnu::target("ssse3")]] inline __m128i unitsOf(__m128i block) {
  const __m128i last = _mm_shuffle_epi8(block, _mm_setr_epi8(2, 1, 5, 4, 8, 7, 11, 10, -1, -1, -1, -1, -1, -1, -1, -1));
  const __m128i first =
      _mm_shuffle_epi8(block, _mm_setr_epi8(-1, 0, -1, 3, -1, 6, -1, 9, -1, -1, -1, -1, -1, -1, -1, -1));
  return _mm_or_si128(_mm_slli_epi16(first, 4),
                      _mm_or_si128(_mm_srli_epi16(_mm_and_si128(last, _mm_set1_epi16(0x3F00)), 2),
                                   _mm_and_si128(last, _mm_set1_epi16(0x3F))));
}

[[gnu::target("ssse3")]] std::size_t decodeSteps(const unsigned char* in, std::size_t bytes, std::uint16_t* out,
                                                 std::size_t room) {
  std::size_t done = 0;
  while (bytes - 3 * done >= STEP_BYTES && room - done >= STEP) {
    const __m128i low = load(in + 3 * done), high = load(in + 3 * done + HALF_BYTES);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + done), _mm_unpacklo_epi64(unitsOf(low), unitsOf(high)));
    const unsigned inOrder = tripleBytes(low) | tripleBytes(high) << HALF_BYTES;
    if (inOrder != ALL) return done + static_cast<unsigned>(std::countr_one(inOrder)) / 3;
    done += STEP;
  }
  return done;
}

[[gnu::target("ssse3")]] std::size_t encodeSteps(const std::uint16_t* in, std::size_t units, unsigned char* out,
                                                 std::size_t room) {
  // First and second bytes lie in the lower half, each pair a lane, and the third ones in the upper half.
  const __m128i order = _mm_setr_epi8(0, 1, 8, 2, 3, 10, 4, 5, 12, 6, 7, 14, -1, -1, -1, -1);
  const __m128i low6 = _mm_set1_epi16(0x3F), three = _mm_set1_epi16(static_cast<short>(0x80E0));
  std::size_t done = 0;
  while (units - done >= STEP && room - 3 * done >= STEP_BYTES) {
    const __m128i c = load(in + done);
    const __m128i second = _mm_slli_epi16(_mm_and_si128(_mm_srli_epi16(c, 6), low6), 8);
    const __m128i pairs = _mm_or_si128(_mm_or_si128(_mm_srli_epi16(c, 12), second), three);
    const __m128i third = _mm_or_si128(_mm_and_si128(c, low6), _mm_set1_epi16(0x80));
    unsigned char* const to = out + 3 * done;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_shuffle_epi8(_mm_unpacklo_epi64(pairs, third), order));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + HALF_BYTES),
                     _mm_shuffle_epi8(_mm_unpackhi_epi64(pairs, third), order));
    const __m128i isShort = _mm_cmpeq_epi16(_mm_srli_epi16(c, 11), _mm_setzero_si128());
    const auto mask = static_cast<unsigned>(_mm_movemask_epi8(isShort));
    if (mask != 0) return done + static_cast<unsigned>(std::countr_zero(mask)) / 2;
    done += STEP;
  }
  return done;
}

}  // namespace

#endif

std::size_t decodeTriples([[maybe_unused]] const unsigned char* in, [[maybe_unused]] std::size_t bytes,
                          [[maybe_unused]] std::uint16_t* out, [[maybe_unused]] std::size_t room) {
#ifdef __SSE2__
  if (__builtin_cpu_supports("ssse3")) return decodeSteps(in, bytes, out, room);
#endif
  return 0;
}

std::size_t encodeTriples([[maybe_unused]] const std::uint16_t* in, [[maybe_unused]] std::size_t units,
                          [[maybe_unused]] unsigned char* out, [[maybe_unused]] std::size_t room) {
#ifdef __SSE2__
  if (__builtin_cpu_supports("ssse3")) return encodeSteps(in, units, out, room);
#endif
  return 0;
}

}  // namespace zqcore27
