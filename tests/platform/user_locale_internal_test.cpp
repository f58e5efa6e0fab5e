// The platform layer isn't exported.

#include "zqcore27/platform/user_locale.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

std::string text(const LanguageName& name) { return name.data(); }

/// Null: unset.
void setVariable(const char* name, const char* value) {
  value == nullptr ? ::unsetenv(name) : ::setenv(name, value, 1);
}

}  // namespace

TEST(UserLocaleTest, LanguageOfALocale) {
  for (const char* locale : {"", "C", "POSIX", "C.UTF-8", "/usr/share/x", "/x", "a", "english"}) {
    EXPECT_EQ(text(languageOfLocale(locale)), "") << locale;
  }
  static constexpr const char* ROWS[][2] = {{"en_US.UTF-8", "enu"}, {"en_GB", "eng"},      {"de_DE@euro", "deu"},
                                            {"de_AT.UTF-8", "dea"}, {"de", "deu"},         {"ja_JP.SJIS", "jpn"},
                                            {"zh_TW.BIG5", "cht"},  {"cy_GB.UTF-8", "cy"}, {"ast_ES@euro.b", "ast"}};
  for (const auto& [locale, language] : ROWS) EXPECT_EQ(text(languageOfLocale(locale)), language) << locale;
}

TEST(UserLocaleTest, CodePageOfALocale) {
  static const struct {
    std::uint32_t codePage;
    std::vector<const char*> locales;
  } ROWS[] = {
      {65001, {"", "POSIX", "C.utf8", "de_DE.UTF-8@euro"}},
      {0, {"de_DE", "x.ISO-8859-12", "x.ISO-8859-17", "ja_JP.eucJP", "x.CP12345", "x."}},
      {0, {"x.CP4294968548", "x.a-name-longer-than-any-that-is-known"}},  // the first is 1252 modulo 2^32
      {28591, {"C.ISO-8859-1", "de_DE.iso88591"}},
      {932, {"ja_JP.SHIFT_JIS"}},
      {20866, {"ru_RU.KOI8-R"}},
  };
  for (const auto& row : ROWS) {
    for (const char* locale : row.locales) EXPECT_EQ(codePageOfLocale(locale), row.codePage) << locale;
  }
}

TEST(UserLocaleTest, OrderOfTheVariables) {
  static constexpr struct {
    int line;
    const char *all, *category, *lang, *language;
    std::uint32_t codePage;
  } ROWS[] = {
      {__LINE__, "fr_FR.CP1252", "de_DE.CP1250", "ja_JP.SJIS", "fra", 1252},
      {__LINE__, "", "de_DE.CP1250", "ja_JP.SJIS", "deu", 1250},  // empty is like unset
      {__LINE__, nullptr, nullptr, "ja_JP.SJIS", "jpn", 932},
      {__LINE__, nullptr, nullptr, nullptr, "", 65001},
      {__LINE__, "C", "de_DE.CP1250", "ja_JP.SJIS", "", 65001},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    setVariable("LC_ALL", row.all);
    setVariable("LANG", row.lang);
    setVariable("LC_MESSAGES", row.category);
    setVariable("LC_CTYPE", "el_GR.CP1253");  // each function has its own category
    EXPECT_EQ(text(userLanguage()), row.language);
    setVariable("LC_MESSAGES", "el_GR.CP1253");
    setVariable("LC_CTYPE", row.category);
    EXPECT_EQ(userCodePage(), row.codePage);
  }
}
