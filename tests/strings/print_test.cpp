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
  setACPid(65001);
  const String text(u"gr\u00fc\u00df \u20ac \"\\\n\t\u007f\u0085b\ufeff"), zero(std::u16string_view(u"a\0b", 3));
  const auto check = [](const auto& t) {
    EXPECT_EQ(streamed(t), "gr\u00fc\u00df \u20ac \"\\\n\t\x7f\u0085b\ufeff");
    EXPECT_EQ(testing::PrintToString(t),
              "\"gr\u00fc\u00df \u20ac "
              R"(\"\\\n\u0009\u007f\u0085b\ufeff")");
  };
  check(text);
  check(WideString(text));
  check(NatString(text));
  EXPECT_EQ(streamed(zero), "ab");
  EXPECT_EQ(testing::PrintToString(zero), R"("a\u0000b")");
  EXPECT_EQ(testing::PrintToString(String(u"\xd83d\xde00")), R"("\ud83d\ude00")") << "units, never pairs";
  EXPECT_EQ(testing::PrintToString(WideString(nullptr)), R"("")");
  setACPid(0);
}

}  // namespace
