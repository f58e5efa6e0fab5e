#include "zqcore27/strings/transcode.h"

#include <gtest/gtest.h>

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

}  // namespace
