// Random texts, long enough for whole blocks, through the conversions of texts and those of single units.

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/nat_string.h"
#include "zqcore27/strings/string.h"

namespace {

/// Mostly of one kind, ASCII, two bytes or three, with others and zeros between.
std::u16string randomText(std::mt19937& random) {
  constexpr unsigned FIRST[] = {0x01, 0x80, 0x800, 0x00}, COUNT[] = {0x7F, 0x780, 0xF800, 0x01};
  const unsigned usual = random() % 3, strange = 1 + random() % 20;
  std::u16string text(random() % 200, u' ');
  for (char16_t& c : text) {
    const unsigned kind = random() % strange != 0 ? usual : random() % 4;
    c = static_cast<char16_t>(FIRST[kind] + random() % COUNT[kind]);
  }
  return text;
}

TEST(UTF8BlocksTest, TextsAgreeWithSingleUnits) {
  std::mt19937 random(20261123);
  for (int round = 0; round < 4000; ++round) {
    std::u16string text = randomText(random);
    std::string expected;
    char sequence[3];
    for (const char16_t c : text) {
      if (c != 0) expected.append(sequence, static_cast<std::size_t>(uni2utf(c, sequence, 3)));
    }
    NatString encoded;
    String(text).toUTF8(encoded);
    ASSERT_EQ(std::string(encoded.begin(), encoded.size() - 1), expected);

    // A byte of any kind somewhere: the text before it, or all if the bytes are well-formed still.
    if (!expected.empty() && round % 2 != 0) expected[random() % expected.size()] = static_cast<char>(random());
    const std::vector<char> bytes(expected.begin(), expected.end());
    std::u16string units;
    bool wellFormed = true;
    for (std::size_t i = 0; i < expected.size() && wellFormed;) {
      std::uint16_t unit;
      const std::int32_t consumed = utf2uni(expected.c_str() + i, &unit);
      wellFormed = consumed > 0;
      if (wellFormed) units += static_cast<char16_t>(unit), i += static_cast<std::size_t>(consumed);
    }
    String decoded;
    const auto decode = [&] {
      decoded.buildfromUTF8(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<unsigned>(bytes.size()));
    };
    if (wellFormed) {
      ASSERT_NO_THROW(decode());
    } else {
      ASSERT_THROW(decode(), StringError);
    }
    ASSERT_EQ(std::u16string(decoded.units().begin(), decoded.units().end()), units);
  }
}

}  // namespace
