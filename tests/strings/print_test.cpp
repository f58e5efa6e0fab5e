#include <gtest/gtest.h>

#include <sstream>

#include "zqcore27/strings/print_to.h"

namespace {

template <class T>
std::string streamed(const T& text) {
  std::ostringstream out;
  out << text;
  return out.str();
}

TEST(PrintTest, TestsShowWhatStreamsHide) {
  static constexpr struct {
    int line;
    std::u16string_view text;
    const char *streamed, *shown;
  } ROWS[] = {{__LINE__, u"", "", R"("")"},
              {__LINE__, u"gr\u00fc\u00df \u20ac", "gr\u00fc\u00df \u20ac", "\"gr\u00fc\u00df \u20ac\""},
              {__LINE__, u"\"a\\b\"", "\"a\\b\"", R"("\"a\\b\"")"},
              {__LINE__, u"a\n\t\u007f\u0085b\ufeff", "a\n\t\x7f\u0085b\ufeff", R"("a\n\u0009\u007f\u0085b\ufeff")"},
              {__LINE__, {u"a\0b", 3}, "ab", R"("a\u0000b")"},                                // a stream drops it
              {__LINE__, u"\xd83d\xde00", "\xed\xa0\xbd\xed\xb8\x80", R"("\ud83d\ude00")"}};  // units, never pairs
  setACPid(65001);
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    const String text(row.text);
    EXPECT_EQ(streamed(text), row.streamed);
    EXPECT_EQ(testing::PrintToString(text), row.shown);
    if (text.locateFirst(0, false) < text.size()) continue;  // a zero ends the others
    EXPECT_EQ(streamed(WideString(text)), row.streamed);
    EXPECT_EQ(testing::PrintToString(WideString(text)), row.shown);
    EXPECT_EQ(streamed(NatString(text)), row.streamed);
    if (text.locateFirst(0xd83d, false) != String::NOT_FOUND) continue;
    EXPECT_EQ(testing::PrintToString(NatString(text)), row.shown);
  }
  EXPECT_EQ(testing::PrintToString(WideString(nullptr)), R"("")");
  setACPid(0);
}

}  // namespace
