#include "zqcore27/strings/transcode.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/text.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/nat_string.h"

namespace {

const unsigned char* bytes(std::string_view s) { return reinterpret_cast<const unsigned char*>(s.data()); }

std::string utf8Of(const String& s) {
  NatString out;
  s.toUTF8(out);
  EXPECT_EQ(out.MemResizable::size(), out.size());  // exact fit
  EXPECT_EQ(out.begin()[out.size() - 1], 0);
  return {out.begin(), out.size() - 1};
}

/// Decodes out of a heap block of exactly the text's size, so that a read past the end shows under a sanitizer.
void decodeExactly(String& s, std::string_view text) {
  const std::vector<unsigned char> block(text.begin(), text.end());
  s.buildfromUTF8(block.data(), static_cast<unsigned>(text.size()));
}

std::u16string unitsOf(const String& s) { return {s.units().begin(), s.units().end()}; }

}  // namespace

TEST(TranscodeTest, OneUnitBothWaysAndItsRoom) {
  static constexpr struct {
    std::uint16_t unit;
    std::string_view utf8;
  } ROWS[] = {{0, {"\0", 1}},          {0x7F, "\x7F"},           {0x80, "\xC2\x80"},      {0x7FF, "\xDF\xBF"},
              {0x800, "\xE0\xA0\x80"}, {0xD800, "\xED\xA0\x80"}, {0xFFFF, "\xEF\xBF\xBF"}};  // a surrogate too
  for (const auto& row : ROWS) {
    SCOPED_TRACE(row.unit);
    const auto size = static_cast<std::int32_t>(row.utf8.size());
    std::string out(4, '#');
    EXPECT_EQ(uni2utf(row.unit, out.data(), size - 1), -1);
    EXPECT_EQ(out, "####");
    EXPECT_EQ(uni2utf(row.unit, out.data(), size), size);
    EXPECT_EQ(out, std::string(row.utf8) + std::string(4 - row.utf8.size(), '#'));
    std::uint16_t unit = 0x5555;
    EXPECT_EQ(utf2uni(row.utf8.data(), &unit), size);
    EXPECT_EQ(unit, row.unit);
  }
}

TEST(TranscodeTest, IllFormedSequences) {
  // The terminator is no continuation byte.
  for (const char* in : {"\x80", "\xBF\xBF", "\xC3", "\xC3\xC3", "\xE2", "\xE2\x82", "\xE2\x41\xAC", "\xE2\x82\x41",
                         "\xF0\x90\x80\x80", "\xFF"}) {
    SCOPED_TRACE(testing::PrintToString(in));
    std::uint16_t unit = 0x5555;
    EXPECT_EQ(utf2uni(in, &unit), -1);
    EXPECT_EQ(unit, 0);
  }
}

TEST(TranscodeTest, ZeroUnitsAndEmptySources) {
  String s;
  decodeExactly(s, {"a\0b\xC0\x80", 5});                // the last is a zero in two bytes
  EXPECT_EQ(unitsOf(s), std::u16string(u"a\0b\0", 4));  // counted
  EXPECT_EQ(utf8Of(s), "ab");                           // dropped
  s.buildfromUTF8(bytes({"a\0b", 3}));
  EXPECT_EQ(unitsOf(s), u"a");
  s.buildfromUTF8(bytes(""));
  EXPECT_EQ(s.begin(), strNULL);
  s = u"x\uA9C3z";  // holds the source that follows
  s.buildfromUTF8(reinterpret_cast<const unsigned char*>(s.begin() + 1));
  EXPECT_EQ(utf8(s), "\u00E9z");
  s.buildfromUTF8(nullptr, 0);  // nothing is read
  EXPECT_EQ(s.begin(), strNULL);
  EXPECT_EQ(s.size(), 0u);
  EXPECT_EQ(String::fromUTF8({}).begin(), strNULL);
}

TEST(TranscodeTest, PrefixBeforeAnErrorStays) {
  static constexpr struct {
    std::string_view in;
    std::u16string_view prefix;
  } ROWS[] = {{"ab\xE2\x82", u"ab"},  // cut off by the count
              {"ab\xC3\xA9\x80z", u"ab\u00E9"},
              {"0123456789abcdef0123456789abcde\xC3", u"0123456789abcdef0123456789abcde"},  // at the end of a block
              {"\xF0\x9F\x98\x80", u""}};
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::PrintToString(row.in));
    String s(u"old text");
    try {
      decodeExactly(s, row.in);
      ADD_FAILURE() << "accepted";
    } catch (const StringError& e) {
      EXPECT_EQ(e.code(), 0xC200011Cu);
      EXPECT_FALSE(e.fatal());
    }
    EXPECT_EQ(unitsOf(s), row.prefix);
    EXPECT_EQ(s[s.size()], 0);
    EXPECT_EQ(s.MemResizable::size(), row.prefix.empty() ? 0 : 2 * row.prefix.size() + 2);
    EXPECT_THROW(String::fromUTF8(std::string(row.in)), StringError);
  }
}

// Whole texts are taken in blocks, single units are not: both must agree, wherever ASCII runs begin and end.
TEST(TranscodeTest, BlocksAgreeWithSingleUnits) {
  const auto seed = std::random_device{}();
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 random(seed);
  for (int round = 0; round < 2000; ++round) {
    std::u16string text(random() % 80, u'a');
    const unsigned wide = random() % 8;
    for (char16_t& c : text) {
      c = static_cast<char16_t>(random() % 8 < wide ? 1 + random() % 0xFFFF : 1 + random() % 0x7F);
    }
    const String s{std::u16string_view(text)};
    const std::string expected = utf8(s);
    ASSERT_EQ(utf8Of(s), expected);
    String back;
    decodeExactly(back, expected);
    ASSERT_EQ(unitsOf(back), text);
    back.buildfromUTF8(bytes(expected));
    ASSERT_EQ(unitsOf(back), text);
    ASSERT_EQ(unitsOf(String::fromUTF8(expected)), text);
  }
}
