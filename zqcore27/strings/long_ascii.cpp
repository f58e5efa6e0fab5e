#include "zqcore27/strings/long_ascii.h"

#include "zqcore27/strings/text_kernels.h"

#ifdef __SSE2__
#include <immintrin.h>
#endif

inline namespace zqcore27 {

namespace {

#ifdef __SSE2__

constexpr std::size_t STEP = 64;

/// Widens the steps before the first that isn't all ASCII, and returns their bytes. Requires: the processor has AVX2.
[[gnu::target("avx2")]] std::size_t widenSteps(const unsigned char* in, std::size_t n, std::uint16_t* out) {
  std::size_t i = 0, step = STEP - reinterpret_cast<std::uintptr_t>(in) % sizeof(__m256i);  // the others read aligned
  for (; n - i >= STEP; i += step, step = STEP) {
    const auto* const from = reinterpret_cast<const __m256i*>(in + i);
    if (_mm256_movemask_epi8(_mm256_or_si256(_mm256_loadu_si256(from), _mm256_loadu_si256(from + 1))) != 0) break;
    for (std::size_t k = 0; k < STEP; k += 16) {
      const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i + k));
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i + k), _mm256_cvtepu8_epi16(block));
    }
  }
  return i;
}

#endif

}  // namespace

std::size_t widenLongAscii(const unsigned char* in, std::size_t n, std::uint16_t* out) {
  std::size_t i = 0;
#ifdef __SSE2__
  if (n >= STEP && __builtin_cpu_supports("avx2")) i = widenSteps(in, n, out);
#endif
  return i == n ? n : i + widenAscii(in + i, n - i, out + i);
}

}  // namespace zqcore27
