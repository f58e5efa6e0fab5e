#include "zqcore27/strings/transcode.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/text.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/nat_string.h"

namespace {

/// Decodes out of a heap block of exactly the text's size, so that a read past the end shows under a sanitizer.
void decodeExactly(String& s, std::string_view text) {
  const std::vector<unsigned char> block(text.begin(), text.end());
  s.buildfromUTF8(block.data(), static_cast<unsigned>(text.size()));
}

// What texts give otherwise is held against a decoder of its own by a fuzz target.
TEST(TranscodeTest, BlocksAreExactAndSourcesMayBeNoneOrOwn) {
  String s(u"x\uA9C3z");  // holds the source that follows
  s.buildfromUTF8(reinterpret_cast<const unsigned char*>(s.begin() + 1));
  EXPECT_EQ(utf8(s), "\u00E9z");
  NatString out;
  s.toUTF8(out);
  EXPECT_STREQ(out.begin(), "\u00E9z");
  EXPECT_EQ(out.MemResizable::size(), 4u);
  s.buildfromUTF8(nullptr, 0);  // nothing is read
  EXPECT_EQ(s.begin(), strNULL);
  EXPECT_EQ(s.size(), 0u);
  EXPECT_EQ(String::fromUTF8({}).begin(), strNULL);
  s.buildfromUTF8(reinterpret_cast<const unsigned char*>(""));
  EXPECT_EQ(s.begin(), strNULL);

  // The prefix before an error stays; the second ends at the end of a block.
  const std::string block = "0123456789abcdef0123456789abcde";
  for (const auto& [in, prefix] :
       {std::pair{std::string("ab\xE2\x82"), std::string("ab")}, {block + "\xC3", block}, {"\xF0\x9F\x98\x80", ""}}) {
    SCOPED_TRACE(testing::PrintToString(in));
    EXPECT_THROW(decodeExactly(s, in), StringError);
    EXPECT_EQ(utf8(s), prefix);
    EXPECT_EQ(s.MemResizable::size(), prefix.empty() ? 0 : 2 * prefix.size() + 2);
  }
}

}  // namespace
