#include "zqcore27/strings/transcode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
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
  const auto block = std::make_unique<unsigned char[]>(text.size());
  std::copy(text.begin(), text.end(), block.get());
  s.buildfromUTF8(block.get(), static_cast<unsigned>(text.size()));
}

std::u16string unitsOf(const String& s) { return {s.units().begin(), s.units().end()}; }

}  // namespace

TEST(TranscodeTest, OneSequence) {
  static constexpr struct {
    int line;
    std::string_view in;
    std::int32_t result;
    std::uint16_t unit;
  } ROWS[] = {
      {__LINE__, {"\0", 1}, 1, 0},
      {__LINE__, "\x7F", 1, 0x7F},
      {__LINE__, "\x80", -1, 0},
      {__LINE__, "\xBF\xBF", -1, 0},
      {__LINE__, "\xC2\x80", 2, 0x80},
      {__LINE__, "\xC3\xA9", 2, 0xE9},
      {__LINE__, "\xDF\xBF", 2, 0x7FF},
      {__LINE__, "\xC3", -1, 0},  // the terminator is no continuation byte
      {__LINE__, "\xC3\xC3", -1, 0},
      {__LINE__, "\xC0\x80", 2, 0},  // over-long
      {__LINE__, "\xE0\xA0\x80", 3, 0x800},
      {__LINE__, "\xE2\x82\xAC", 3, 0x20AC},
      {__LINE__, "\xED\xA0\x80", 3, 0xD800},  // surrogate
      {__LINE__, "\xEF\xBF\xBF", 3, 0xFFFF},
      {__LINE__, "\xE2", -1, 0},
      {__LINE__, "\xE2\x82", -1, 0},
      {__LINE__, "\xE2\x41\xAC", -1, 0},
      {__LINE__, "\xE2\x82\x41", -1, 0},
      {__LINE__, "\xF0\x90\x80\x80", -1, 0},
      {__LINE__, "\xFF", -1, 0},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    std::uint16_t unit = 0x5555;
    EXPECT_EQ(utf2uni(row.in.data(), &unit), row.result);
    EXPECT_EQ(unit, row.unit);
  }
}

TEST(TranscodeTest, RoomOfOneUnit) {
  static constexpr struct {
    int line;
    std::uint16_t unit;
    std::string_view utf8;
  } ROWS[] = {{__LINE__, 0, {"\0", 1}},      {__LINE__, 0x7F, "\x7F"},          {__LINE__, 0x80, "\xC2\x80"},
              {__LINE__, 0x7FF, "\xDF\xBF"}, {__LINE__, 0x800, "\xE0\xA0\x80"}, {__LINE__, 0xFFFF, "\xEF\xBF\xBF"}};
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    const auto size = static_cast<std::int32_t>(row.utf8.size());
    std::string out(4, '#');
    EXPECT_EQ(uni2utf(row.unit, out.data(), size - 1), -1);
    EXPECT_EQ(out, "####");
    EXPECT_EQ(uni2utf(row.unit, out.data(), size), size);
    EXPECT_EQ(out, std::string(row.utf8) + std::string(4 - row.utf8.size(), '#'));
  }
}

TEST(TranscodeTest, SurrogatesTravelAsUnits) {
  const String s(u"\xD83D\xDE00");
  EXPECT_EQ(utf8Of(s), "\xED\xA0\xBD\xED\xB8\x80");
  String back;
  back.buildfromUTF8(bytes("\xED\xA0\xBD\xED\xB8\x80"));
  EXPECT_EQ(unitsOf(back), u"\xD83D\xDE00");
}

TEST(TranscodeTest, ZeroBytesAndUnits) {
  String s;
  decodeExactly(s, {"a\0b\xC0\x80", 5});
  EXPECT_EQ(unitsOf(s), std::u16string(u"a\0b\0", 4));  // counted
  EXPECT_EQ(utf8Of(s), "ab");                           // dropped
  s.buildfromUTF8(bytes({"a\0b", 3}));
  EXPECT_EQ(unitsOf(s), u"a");
  EXPECT_EQ(utf8Of(String()), "");
}

TEST(TranscodeTest, EmptySourceGivesSharedEmptyText) {
  String s(u"old");
  s.buildfromUTF8(bytes(""));
  EXPECT_EQ(s.begin(), strNULL);
  s = u"old";
  s.buildfromUTF8(nullptr, 0);  // nothing is read
  EXPECT_EQ(s.begin(), strNULL);
  EXPECT_EQ(s.size(), 0u);
}

TEST(TranscodeTest, PrefixBeforeAnErrorStays) {
  static constexpr struct {
    int line;
    std::string_view in;
    std::u16string_view prefix;
  } ROWS[] = {
      {__LINE__, "\xC3", u""},
      {__LINE__, "ab\xE2\x82", u"ab"},  // cut off by the count
      {__LINE__, "ab\xC3\xA9\x80z", u"ab\u00E9"},
      {__LINE__, "0123456789abcdef0123456789abcde\xC3", u"0123456789abcdef0123456789abcde"},  // at the end of a block
      {__LINE__, "\xF0\x9F\x98\x80", u""},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
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
    if (row.prefix.empty()) {
      EXPECT_EQ(s.begin(), strNULL);
    } else {
      EXPECT_EQ(s.MemResizable::size(), 2 * row.prefix.size() + 2);
    }
  }
}

TEST(TranscodeTest, SourceInsideTheOwnBlock) {
  String s(u"0123");
  std::memcpy(s.begin(), "x\xC3\xA9z\0\0\0", 8);
  s.buildfromUTF8(reinterpret_cast<const unsigned char*>(s.begin()));
  EXPECT_EQ(utf8(s), "x\xC3\xA9z");
}

TEST(TranscodeTest, FromStandardString) {
  EXPECT_EQ(utf8(String::fromUTF8("gr\xC3\xBC\xC3\x9F \xE2\x82\xAC")), "gr\xC3\xBC\xC3\x9F \xE2\x82\xAC");
  EXPECT_EQ(String::fromUTF8({}).begin(), strNULL);
  EXPECT_THROW(String::fromUTF8("\xF0\x9F\x98\x80"), StringError);
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
    if (!text.empty()) {
      ASSERT_EQ(back.MemResizable::size(), 2 * text.size() + 2);
    }
    back.buildfromUTF8(bytes(expected));
    ASSERT_EQ(unitsOf(back), text);
  }
}
