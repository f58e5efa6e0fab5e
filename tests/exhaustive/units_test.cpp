// Every unit, and every character of every native page, beside the runtime's own tables.

#include <gtest/gtest.h>
#include <iconv.h>

#include <algorithm>
#include <clocale>
#include <cwctype>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "tests/exhaustive/exhaustive.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/nat_string.h"
#include "zqcore27/strings/string.h"
#include "zqcore27/strings/transcode.h"

namespace {

/// Mapped as the runtime does, but for variants of a letter: here they join its class.
TEST(ExhaustiveTest, CaseMapsFollowTheRuntimes) {
  const std::map<std::uint16_t, std::uint16_t> lower = {
      {0xB5, 0x3BC},  {0x131, 0x69},  {0x17F, 0x73},    {0x345, 0x3B9},  {0x3C2, 0x3C3},
      {0x3D0, 0x3B2}, {0x3D1, 0x3B8}, {0x3D5, 0x3C6},   {0x3D6, 0x3C0},  {0x3F0, 0x3BA},
      {0x3F1, 0x3C1}, {0x3F2, 0x3C3}, {0x1E9B, 0x1E61}, {0x1FBE, 0x3B9}, {0x3F5, 0x3B5}};
  const std::map<std::uint16_t, std::uint16_t> upper = {{0x130, 0x49},   {0x3F2, 0x3A3}, {0x3F4, 0x398},
                                                        {0x2126, 0x3A9}, {0x212A, 0x4B}, {0x212B, 0xC5}};
  const std::unique_ptr<std::remove_pointer_t<locale_t>, decltype(&freelocale)> locale(
      newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr), &freelocale);
  ASSERT_NE(locale, nullptr);
  int mapped = 0;
  for (std::uint32_t c = 0; c <= 0xFFFF; ++c) {
    const auto unit = static_cast<std::uint16_t>(c);
    const std::uint16_t small = String::chrToLower(unit), large = String::chrToUpper(unit);
    mapped += (small != unit) + (large != unit);
    const auto expected = [&](const auto& rows, std::wint_t theirs) {
      return rows.contains(unit) ? rows.at(unit) : theirs;
    };
    if (small != unit) {
      ASSERT_EQ(small, expected(lower, towlower_l(c, locale.get()))) << c;
    }
    if (large != unit) {
      ASSERT_EQ(large, expected(upper, towupper_l(c, locale.get()))) << c;
    }
    ASSERT_EQ(String::chrToUpper(small), String::chrToUpper(large)) << "one class: " << c;
    ASSERT_EQ(String::chrToUpper(large), large) << c;
    ASSERT_EQ(String::chrToLower(small), small) << c;
  }
  EXPECT_EQ(mapped, 1424);
}

TEST(ExhaustiveTest, EveryUnitThereAndBackInUTF8) {
  std::u16string all;
  for (std::uint32_t c = 0; c <= 0xFFFF; ++c) {
    const auto unit = static_cast<std::uint16_t>(c);
    const std::int32_t n = c < 0x80 ? 1 : c < 0x800 ? 2 : 3;
    char bytes[4] = {'#', '#', '#', '#'};
    std::uint16_t back = 0;
    ASSERT_EQ(uni2utf(unit, bytes, n - 1), -1);
    ASSERT_EQ(std::string_view(bytes, 4), "####");
    ASSERT_EQ(uni2utf(unit, bytes, n), n);
    ASSERT_EQ(bytes[n], '#');
    ASSERT_EQ(utf2uni(bytes, &back), n);
    ASSERT_EQ(back, c);
    if (c != 0) all += static_cast<char16_t>(c);
  }
  const String text{std::u16string_view(all)};
  const String back = String::fromUTF8(text.toUTF8());
  EXPECT_TRUE(std::ranges::equal(back.units(), text.units()));
}

/// What stands for 0 to 3 bytes of UTF-8, decoded by the letter: -1, or the unit.
std::int32_t decoded(const unsigned char (&b)[4]) {
  const auto follows = [](unsigned char x) { return x >= 0x80 && x <= 0xBF; };
  if (b[0] < 0x80) return b[0];
  if (b[0] >= 0xC0 && b[0] <= 0xDF && follows(b[1])) return (b[0] - 0xC0) * 64 + b[1] - 0x80;
  if (b[0] >= 0xE0 && b[0] <= 0xEF && follows(b[1]) && follows(b[2])) {
    return (b[0] - 0xE0) * 4096 + (b[1] - 0x80) * 64 + b[2] - 0x80;
  }
  return -1;
}

TEST(ExhaustiveTest, EverySequenceOfUTF8) {
  for (std::uint32_t sequence = 0; sequence < 0x1000000; sequence += exhaustive(1, 7)) {
    const unsigned char bytes[4] = {static_cast<unsigned char>(sequence >> 16),
                                    static_cast<unsigned char>(sequence >> 8), static_cast<unsigned char>(sequence)};
    std::uint16_t unit = 0x5555;
    const std::int32_t n = utf2uni(reinterpret_cast<const char*>(bytes), &unit), expected = decoded(bytes);
    ASSERT_EQ(n < 0, expected < 0) << std::hex << sequence;
    ASSERT_EQ(unit, expected < 0 ? 0 : expected) << std::hex << sequence;
  }
}

/// The units of a text in the runtime's words; empty if it refuses it.
std::u16string runtimes(iconv_t to, std::string bytes) {
  char16_t units[8];
  char *in = bytes.data(), *out = reinterpret_cast<char*>(units);
  std::size_t left = bytes.size(), room = sizeof units;
  iconv(to, nullptr, nullptr, nullptr, nullptr);
  if (iconv(to, &in, &left, &out, &room) != 0 || iconv(to, nullptr, nullptr, &out, &room) != 0) return {};
  return {units, (sizeof units - room) / 2};
}

std::u16string ours(const std::string& bytes) {
  try {
    const String text(bytes.c_str());
    return {text.units().begin(), text.units().end()};
  } catch (const StringError&) {
    return {};
  }
}

/// A lead byte with its trail byte, or two characters of one byte, or refused.
TEST(ExhaustiveTest, EveryPairOfBytesOnEveryPage) {
  constexpr std::uint32_t PAGES[] = {437,   850,   874,   932,   936,   949,   950,   1250,  1251,  1252,  1253,  1254,
                                     1255,  1256,  1257,  1258,  1361,  20866, 21866, 28591, 28592, 28593, 28594, 28595,
                                     28596, 28597, 28598, 28599, 28600, 28601, 28603, 28604, 28605, 28606};
  for (const std::uint32_t page : PAGES) {
    const std::string name = page == 20866   ? "KOI8-R"
                             : page == 21866 ? "KOI8-U"
                             : page > 28590  ? "ISO-8859-" + std::to_string(page - 28590)
                                             : "CP" + std::to_string(page);
    const iconv_t to = iconv_open("UTF-16LE", name.c_str());
    ASSERT_NE(to, reinterpret_cast<iconv_t>(-1)) << name;
    setACPid(page);
    for (std::uint32_t pair = 0x8000; pair <= 0xFFFF; pair += exhaustive(1, 7)) {
      const std::string bytes = {static_cast<char>(pair >> 8), static_cast<char>(pair)};
      if (bytes[1] == 0) continue;
      std::u16string expected = runtimes(to, bytes);
      const bool composes =
          page == 1255 || page == 1258;  // a letter with the mark behind it, which stay two units here
      if (composes && expected.size() == 1) expected = runtimes(to, bytes.substr(0, 1)) + runtimes(to, bytes.substr(1));
      // Between ASCII, which is taken in blocks. What was read can be written, and comes back as the same.
      const std::size_t before = pair % 20;
      if (!expected.empty()) expected = std::u16string(before, u'a') + expected + std::u16string(20, u' ');
      const std::u16string read = ours(std::string(before, 'a') + bytes + std::string(20, ' '));
      EXPECT_EQ(read, expected) << page << ": " << std::hex << pair;
      EXPECT_EQ(ours(NatString(String(read)).begin()), read) << page << ": " << std::hex << pair;
    }
    iconv_close(to);
  }
  setACPid(65001);
}

}  // namespace
