// All VAX singles, there and back, beside what their digits mean.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "tests/exhaustive/exhaustive.h"
#include "zqcore27/floatfmt/fp_format.h"

namespace {

constexpr std::uint32_t FRACTIONS = 1 << 23;

/// Of sign, exponent and fraction. The least exponents have no double of their own.
double meaning(std::uint32_t sign, std::uint32_t exponent, std::uint32_t fraction) {
  if (exponent < 2) return (exponent | fraction) == 0 && sign == 0 ? 0 : 0x1p-126;
  const double magnitude = exponent == 2 ? std::ldexp(fraction, -149)
                                         : std::ldexp(FRACTIONS + fraction, static_cast<int>(exponent) - 129 - 23);
  return sign != 0 ? -magnitude : magnitude;
}

TEST(ExhaustiveTest, EveryVaxSingleThereAndBack) {
  const std::uint32_t step = exhaustive(1, 9973);
  std::int32_t status;
  const FpFormat vax(1, 4, &status);
  std::vector<std::uint32_t> stored, back;
  std::vector<double> values;
  for (std::uint32_t top = 0; top < 512; ++top) {
    const std::uint32_t sign = top >> 8, exponent = top & 0xFF;
    stored.clear();
    for (std::uint32_t fraction = 0; fraction < FRACTIONS; fraction += step) {
      const std::uint32_t bits = top << 23 | fraction;
      stored.push_back(bits >> 16 | bits << 16);  // two words of 16 bits, the upper one first
    }
    values.assign(stored.size(), 0);
    back.assign(stored.size(), 0);
    vax.getHostValues(stored.data(), values.data(), stored.size(), 4);
    vax.putHostValues(back.data(), values.data(), back.size(), 4);
    for (std::size_t i = 0; i < stored.size(); ++i) {
      // Marks have a sign, the exponent 0, and their number in the upper fraction.
      const bool mark = stored[i] == 0x8000 || stored[i] == 0x8040 || stored[i] == 0x8020 || stored[i] == 0x8060;
      const auto fraction = static_cast<std::uint32_t>(i) * step;
      const double expected = meaning(sign, exponent, fraction);
      if (mark) {
        ASSERT_NE(FpFormat::testValue(values[i]), FpFormat::FT_NORMAL);
      } else {
        ASSERT_EQ(std::memcmp(&values[i], &expected, sizeof expected), 0) << std::hex << stored[i];
      }
      const bool kept = mark || exponent >= 2 || stored[i] == 0;
      ASSERT_EQ(back[i], kept ? stored[i] == 0x0100 ? 0 : stored[i] : 0x0180) << std::hex << stored[i];
    }
  }
}

}  // namespace
