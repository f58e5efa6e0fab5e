// The loops over blocks of text aren't exported; hosts reach only the ones that the processor suits best. Each is held
// against a plain loop here, over blocks of every kind, in heap blocks of exact size so that an overrun shows under a
// sanitizer.

#include "zqcore27/strings/text_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "zqcore27/strings/long_ascii.h"
#include "zqcore27/strings/string.h"

namespace {

using UnitText = std::vector<std::uint16_t>;

template <bool fold>
bool same(std::uint16_t a, std::uint16_t b) {
  return a == b || (fold && String::chrToUpper(a) == String::chrToUpper(b));
}

template <class Text, class Holds>
std::size_t indexOf(const Text& text, Holds holds) {
  return static_cast<std::size_t>(std::ranges::find_if(text, holds) - text.begin());
}

template <typename Bytes>
class TextKernelsTest : public testing::Test {
 protected:
  /// Units from all sides of the borders that the loops know; mostly letters, so that runs are long.
  UnitText units(std::size_t n) {
    static constexpr std::uint16_t BORDERS[] = {1,     '@',   'A',    'Z',    '[',    '`',    'z',    '{',    0x7F,
                                                0x80,  0xE9,  0xC9,   0x130,  0x131,  0x5FF,  0x600,  'i',    'I',
                                                0x3C2, 0x3A3, 0x1E61, 0x1E9B, 0x212A, 0x7FFF, 0x8000, 0xFFFF, 0};
    UnitText text(n);
    const unsigned rare = 1 + fRandom() % (fRandom() % 4 != 0 ? 40 : 1000);
    for (std::uint16_t& c : text) c = fRandom() % rare != 0 ? "aAbB"[fRandom() % 4] : BORDERS[fRandom() % 27];
    return text;
  }

  std::mt19937 fRandom{27};
};

using Blocks = testing::Types<PlainBytes, BestBytes>;
TYPED_TEST_SUITE(TextKernelsTest, Blocks);

TYPED_TEST(TextKernelsTest, RunsAndMapsAgreeWithPlainLoops) {
  for (int round = 0; round < 4000; ++round) {
    const UnitText text = this->units(this->fRandom() % (round % 4 != 0 ? 100 : 300));
    const std::size_t n = text.size();
    std::vector<unsigned char> bytes(text.begin(), text.end());
    UnitText widened(n), lower = text, upper = text, expected = text;
    const std::size_t run = indexOf(bytes, [](unsigned c) { return c >= 0x80; });
    ASSERT_EQ(widenAscii<TypeParam>(bytes.data(), n, widened.data()), run);
    ASSERT_TRUE(std::equal(bytes.data(), bytes.data() + run, widened.begin()));
    std::ranges::fill(widened, 0);
    ASSERT_EQ(widenLongAscii(bytes.data(), n, widened.data()), run);
    ASSERT_TRUE(std::equal(bytes.data(), bytes.data() + run, widened.begin()));

    const std::size_t plain = indexOf(text, [](unsigned c) { return c == 0 || c >= 0x80; });
    ASSERT_EQ(narrowAscii<TypeParam>(text.data(), n, bytes.data()), plain);
    ASSERT_TRUE(std::equal(text.data(), text.data() + plain, bytes.begin()));
    ASSERT_EQ(findZero<TypeParam>(text.data(), n), indexOf(text, [](unsigned c) { return c == 0; }));

    mapCase<LowerCase, TypeParam>(lower.data(), n);
    std::ranges::transform(text, expected.begin(), String::chrToLower);
    ASSERT_EQ(lower, expected);
    mapCase<UpperCase, TypeParam>(upper.data(), n);
    std::ranges::transform(text, expected.begin(), String::chrToUpper);
    ASSERT_EQ(upper, expected);
  }
  const std::vector<unsigned char> c1(16, 0x9F), others(16, 0xA0);
  EXPECT_TRUE(TypeParam::load(c1.data()).hasC1() && !TypeParam::load(others.data()).hasC1());
}

template <bool fold, typename Bytes>
void compareAndSearch(const UnitText& text, const UnitText& other, UnitText part, std::uint16_t c) {
  std::size_t run = 0;
  while (run < text.size() && text[run] != 0 && same<fold>(text[run], other[run])) ++run;
  const std::size_t found = matchingRun<fold, Bytes>(text.data(), other.data(), text.size());
  ASSERT_LE(found, run);
  ASSERT_LT(run - found, Bytes::Units::SIZE);
  ASSERT_EQ(findUnit(text.data(), text.size(), Probe<fold, Bytes>(c)),
            indexOf(text, [c](std::uint16_t unit) { return same<fold>(unit, c); }));

  UnitText ended = text;  // the last unit is the terminator
  ended.push_back(0);
  std::erase(part, 0);
  part.push_back('b');
  const auto zero = std::ranges::find(ended, 0);
  const auto place = std::search(ended.begin(), zero, part.begin(), part.end(), same<fold>);
  ASSERT_EQ((findPart<fold, Bytes>(ended.data(), text.size(), part.data(), part.size())),
            place == zero ? nullptr : &*place);
}

TYPED_TEST(TextKernelsTest, ComparisonAndSearchAgreeWithPlainLoops) {
  for (int round = 0; round < 8000; ++round) {
    const auto below = [this](std::size_t n) { return this->fRandom() % n; };
    const UnitText text = this->units(below(100));
    UnitText other = text, part = this->units(below(3));
    for (std::uint16_t& c : other) {
      if (below(3) == 0) c = String::chrToLower(c);
      if (below(50) == 0) c = static_cast<std::uint16_t>(c ^ 0x20);
    }
    if (round % 2 == 0) {
      const std::size_t from = below(text.size() + 1);
      part.assign(other.data() + from, other.data() + std::min(other.size(), from + below(40)));
    }
    const std::uint16_t c = this->units(1)[0];
    ASSERT_NO_FATAL_FAILURE((compareAndSearch<false, TypeParam>(text, other, part, c))) << round;
    ASSERT_NO_FATAL_FAILURE((compareAndSearch<true, TypeParam>(text, other, part, c))) << round;
  }
}

}  // namespace
