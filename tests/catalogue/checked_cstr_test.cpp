#include "zqcore27/catalogue/checked_cstr.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/text.h"
#include "zqcore27/catalogue/cstr_error.h"

namespace {

class OneText : public CStr {
 public:
  explicit OneText(const char16_t* text) : fText(text) {}
  const std::uint16_t* get(std::uint32_t) override { return fText.begin(); }

 private:
  String fText;
};

TEST(CheckedCStrTest, RefusesMarksWithoutAValue) {
  static constexpr struct {
    int line;
    const char16_t* text;
    std::size_t values;
    const char* built;  // null: refused
  } ROWS[] = {{__LINE__, u"", 0, ""},
              {__LINE__, u"no marks", 2, "no marks"},
              {__LINE__, u"<\u00132\u00131\u00132>", 2, "<twoonetwo>"},
              {__LINE__, u"<\u00132\u00131>", 1, nullptr},
              {__LINE__, u"\u00131", 0, nullptr},
              {__LINE__, u"[\u00133]", 3, "[]"},  // null is empty
              {__LINE__, u"\u00138", 8, "eight"},
              {__LINE__, u"\u00138", 7, nullptr},
              {__LINE__, u"\u00138", 9, "eight"},  // the ninth has no mark
              {__LINE__, u"before \u00139", 9, nullptr},
              {__LINE__, u"\u00130", 9, nullptr},
              {__LINE__, u"1\u0013", 9, nullptr}};
  const String one(u"one"), two(u"two"), eight(u"eight");
  const std::vector<const std::uint16_t*> values{one.begin(), two.begin(), nullptr,       nullptr,    nullptr,
                                                 nullptr,     nullptr,     eight.begin(), one.begin()};
  for (const auto& row : ROWS) {
    SCOPED_TRACE(row.line);
    OneText words(row.text);
    String out(u"before");
    try {
      buildChecked(words, out, 7, std::span(values.data(), row.values));
      EXPECT_EQ(utf8(out), row.built != nullptr ? row.built : "an error");
    } catch (const CStrError& e) {
      EXPECT_EQ(row.built, nullptr);
      EXPECT_EQ(e.code(), CStrError::CSTR_ERR_BAD_PARAMETER);
      EXPECT_TRUE(e.fatal());
      EXPECT_EQ(utf8(out), "before");
    }
  }
}

TEST(CheckedCStrTest, TakesTextsOfEveryKind) {
  OneText words(u"\u00131 \u00132 \u00133 \u00134 \u00135");
  String out(u"own");
  buildChecked(words, out, 7, out, WideString(String(u"wide")), u"literal", nullptr, String(u"units").begin());
  EXPECT_EQ(utf8(out), "own wide literal  units");
  const char16_t endless[] = {'a', 'b'};
  EXPECT_THROW(buildChecked(words, out, 7, u"", u"", u"", u"", endless), CStrError);
  EXPECT_EQ(utf8(out), "own wide literal  units");
  static_assert(!CatalogueText<const char*> && !CatalogueText<int> && !CatalogueText<NatString>);
}

}  // namespace
