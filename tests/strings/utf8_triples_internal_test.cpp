// Internal, since a text hides which of its units went through eight at once, and has a unit to spare behind them.

#include "zqcore27/strings/utf8_triples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "zqcore27/strings/utf8_sequence.h"

namespace {

#ifdef __SSE2__
const bool atOnce = __builtin_cpu_supports("ssse3") != 0;
#else
constexpr bool atOnce = false;
#endif

/// Decodes out of and into blocks of exact size, and holds the result to the first of `units`.
std::size_t decoded(std::vector<unsigned char> bytes, const std::vector<std::uint16_t>& units, std::size_t room) {
  bytes.shrink_to_fit();
  std::vector<std::uint16_t> out(room);
  const std::size_t n = decodeTriples(bytes.data(), bytes.size(), out.data(), room);
  EXPECT_TRUE(n <= room && std::equal(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(n), units.begin()));
  return n;
}

/// The same the other way round.
std::size_t encoded(std::vector<std::uint16_t> units, const std::vector<unsigned char>& bytes, std::size_t room) {
  units.shrink_to_fit();
  std::vector<unsigned char> out(room);
  const std::size_t n = encodeTriples(units.data(), units.size(), out.data(), room);
  EXPECT_TRUE(3 * n <= room &&
              std::equal(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(3 * n), bytes.begin()));
  return n;
}

TEST(UTF8TriplesTest, TheRunEndsAtAnyOtherSequenceAndInsideBothBlocks) {
  std::mt19937 random(1);
  for (std::size_t run = 0; run <= 20; ++run) {
    SCOPED_TRACE(run);
    std::vector<std::uint16_t> units(run);
    for (std::uint16_t& c : units) c = static_cast<std::uint16_t>(0x800 + random() % 0xF800);
    std::vector<unsigned char> bytes;
    const auto write = [&bytes](std::uint16_t c) {
      unsigned char sequence[MAX_UTF8_SEQUENCE];
      bytes.insert(bytes.end(), sequence, sequence + encodeUTF8(c, sequence));
    };
    std::ranges::for_each(units, write);
    for (std::size_t room = 0; room < 2 * run; ++room) {
      ASSERT_LE(decoded(bytes, units, room), run);
      ASSERT_LE(encoded(units, bytes, 3 * room), run);
    }

    // With more behind it the run is taken to its end.
    units.push_back(0x7FF);
    units.insert(units.end(), 10, 0x800);
    std::for_each(units.begin() + static_cast<std::ptrdiff_t>(run), units.end(), write);
    const auto expected = [](std::size_t n) { return atOnce ? n : 0; };
    ASSERT_EQ(encoded(units, bytes, bytes.size()), expected(run));
    ASSERT_EQ(decoded(bytes, units, units.size()), expected(run));
    for (std::size_t i = 0; i < 3 * run; ++i) {
      for (const int bit : {0x40, 0x10}) {
        if (bit == 0x10 && i % 3 != 0) continue;  // another unit
        bytes[i] = static_cast<unsigned char>(bytes[i] ^ bit);
        ASSERT_EQ(decoded(bytes, units, units.size()), expected(i / 3)) << i;
        bytes[i] = static_cast<unsigned char>(bytes[i] ^ bit);
      }
    }
  }
}

}  // namespace
