// The loops over blocks of text aren't exported; hosts reach only the ones that the processor suits best. Each is held
// against a plain loop here, over blocks of every kind, in heap blocks of exact size so that an overrun shows under a
// sanitizer.

#include "zqcore27/strings/text_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <vector>

#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/long_ascii.h"
#include "zqcore27/strings/native_text.h"
#include "zqcore27/strings/string.h"
#include "zqcore27/strings/transcode.h"

namespace {

using UnitText = std::vector<std::uint16_t>;

bool same(bool fold, std::uint16_t a, std::uint16_t b) {
  return a == b || (fold && String::chrToUpper(a) == String::chrToUpper(b));
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
  std::size_t size() { return fRandom() % (fRandom() % 4 != 0 ? 100 : 300); }

  std::mt19937 fRandom{27};
};

using Blocks = testing::Types<PlainBytes, BestBytes>;
TYPED_TEST_SUITE(TextKernelsTest, Blocks);

TYPED_TEST(TextKernelsTest, RunsAndMapsAgreeWithPlainLoops) {
  for (int round = 0; round < 4000; ++round) {
    const UnitText text = this->units(this->size());
    const std::size_t n = text.size();

    std::vector<unsigned char> bytes(text.begin(), text.end());
    UnitText widened(n);
    const auto isAscii = [](unsigned c) { return c < 0x80; };
    const auto run = static_cast<std::size_t>(std::find_if_not(bytes.begin(), bytes.end(), isAscii) - bytes.begin());
    ASSERT_EQ(widenAscii<TypeParam>(bytes.data(), n, widened.data()), run);
    ASSERT_TRUE(std::equal(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(run), widened.begin()));
    std::fill(widened.begin(), widened.end(), 0);
    ASSERT_EQ(widenLongAscii(bytes.data(), n, widened.data()), run);
    ASSERT_TRUE(std::equal(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(run), widened.begin()));

    const auto plain = static_cast<std::size_t>(
        std::find_if_not(text.begin(), text.end(), [](unsigned c) { return c != 0 && c < 0x80; }) - text.begin());
    ASSERT_EQ(narrowAscii<TypeParam>(text.data(), n, bytes.data()), plain);
    ASSERT_TRUE(std::equal(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(plain), bytes.begin()));
    ASSERT_EQ(findZero<TypeParam>(text.data(), n),
              static_cast<std::size_t>(std::find(text.begin(), text.end(), 0) - text.begin()));

    UnitText lower = text, upper = text, expected = text;
    mapCase<LowerCase, TypeParam>(lower.data(), n);
    std::transform(text.begin(), text.end(), expected.begin(), String::chrToLower);
    ASSERT_EQ(lower, expected);
    mapCase<UpperCase, TypeParam>(upper.data(), n);
    std::transform(text.begin(), text.end(), expected.begin(), String::chrToUpper);
    ASSERT_EQ(upper, expected);
  }
  const std::vector<unsigned char> c1(16, 0x9F), others(16, 0xA0);
  EXPECT_TRUE(TypeParam::load(c1.data()).hasC1());
  EXPECT_FALSE(TypeParam::load(others.data()).hasC1());
}

template <bool fold, typename Bytes>
void compareAndSearch(const UnitText& text, UnitText other, UnitText part, std::uint16_t c) {
  const std::size_t n = std::min(text.size(), other.size());
  std::size_t run = 0;
  while (run < n && text[run] != 0 && same(fold, text[run], other[run])) ++run;
  const std::size_t found = matchingRun<fold, Bytes>(text.data(), other.data(), n);
  ASSERT_LE(found, run);
  ASSERT_LT(run - found, Bytes::Units::SIZE);

  std::size_t at = 0;
  while (at < text.size() && !same(fold, text[at], c)) ++at;
  ASSERT_EQ(findUnit(text.data(), text.size(), Probe<fold, Bytes>(c)), at);

  UnitText ended = text;  // the last unit is the terminator
  ended.push_back(0);
  std::erase(part, 0);
  part.push_back('b');
  const auto zero = std::find(ended.begin(), ended.end(), 0);
  const auto place = std::search(ended.begin(), zero, part.begin(), part.end(),
                                 [](std::uint16_t a, std::uint16_t b) { return same(fold, a, b); });
  const std::uint16_t* const expected = place == zero ? nullptr : &*place;
  ASSERT_EQ((findPart<fold, Bytes>(ended.data(), text.size(), part.data(), part.size())), expected);
}

TYPED_TEST(TextKernelsTest, ComparisonAndSearchAgreeWithPlainLoops) {
  for (int round = 0; round < 8000; ++round) {
    const UnitText text = this->units(this->size());
    UnitText other = text, part;
    for (std::uint16_t& c : other) {
      if (this->fRandom() % 3 == 0) c = String::chrToLower(c);
      if (this->fRandom() % 50 == 0) c = static_cast<std::uint16_t>(c ^ 0x20);
    }
    if (const std::size_t from = this->fRandom() % (text.size() + 1); round % 2 == 0) {
      part.assign(other.begin() + static_cast<std::ptrdiff_t>(from), other.end());
      part.resize(std::min<std::size_t>(part.size(), this->fRandom() % 12));
    } else {
      part = this->units(this->fRandom() % 3);
    }
    const std::uint16_t c = this->units(1)[0];
    ASSERT_NO_FATAL_FAILURE((compareAndSearch<false, TypeParam>(text, other, part, c))) << round;
    ASSERT_NO_FATAL_FAILURE((compareAndSearch<true, TypeParam>(text, other, part, c))) << round;
  }
}

TEST(CaseMapTest, DirectFormsAndClassesAreThoseOfTheMaps) {
  std::vector<std::set<std::uint16_t>> classes(0x10000);
  for (unsigned u = 0; u <= 0xFFFF; ++u) {
    const auto c = static_cast<std::uint16_t>(u);
    EXPECT_EQ(upperOf(c), UPPER_MAP(c)) << u;
    EXPECT_EQ(lowerOf(c), LOWER_MAP(c)) << u;
    classes[UPPER_MAP(c)].insert(c);
  }
  for (unsigned u = 0; u <= 0xFFFF; ++u) {
    const auto c = static_cast<std::uint16_t>(u);
    const CaseClass units = caseClass(c);
    EXPECT_EQ(std::set<std::uint16_t>(units.begin(), units.end()), classes[UPPER_MAP(c)]) << u;
  }
}

// Whole texts resolve the code page once; each character must come out as by itself.
TEST(NativeWholeTextTest, AgreesWithSingleCharacters) {
  std::mt19937 random(27);
  for (int round = 0; round < 6000; ++round) {
    static constexpr unsigned PAGES[] = {1252, 28605, 874, 932, 949, 1255, 65001, 12345};
    setACPid(PAGES[round % 8]);
    const unsigned rare = 1 + random() % 30;
    UnitText text(random() % 60), units(text.size());
    for (std::uint16_t& c : text) c = static_cast<std::uint16_t>(1 + random() % (random() % rare != 0 ? 0x7F : 0xFFFF));
    std::vector<char> expected(3 * text.size()), bytes(3 * text.size());
    char* end = expected.data();
    for (const std::uint16_t c : text) end += uni2nat(c, end, 3);
    expected.resize(static_cast<std::size_t>(end - expected.data()));
    bytes.resize(static_cast<std::size_t>(writeNative(text.data(), text.size(), bytes.data()) - bytes.data()));
    ASSERT_EQ(bytes, expected);

    if (round % 16 < 8) {  // bytes of any kind
      for (char& byte : bytes) byte = static_cast<char>(1 + random() % (random() % rare != 0 ? 0x7F : 0xFF));
    }
    std::vector<char> input = bytes;
    if (round % 3 == 0) input.push_back(0);  // may be read, but ends the text
    UnitText read(bytes.size()), single;
    std::uint32_t error = 0;
    try {
      for (std::size_t i = 0; i < bytes.size();) {
        std::uint16_t unit;
        i += static_cast<std::size_t>(nat2uni(input.data() + i, &unit, static_cast<std::int32_t>(input.size() - i)));
        single.push_back(unit);
      }
    } catch (const StringError& e) {
      error = e.code();
    }
    std::uint16_t* out = read.data();
    ASSERT_EQ(readNative(input.data(), bytes.size(), input.size(), out), error) << round;
    read.resize(static_cast<std::size_t>(out - read.data()));
    ASSERT_EQ(read, single) << round;
  }
  setACPid(0);
}

}  // namespace
