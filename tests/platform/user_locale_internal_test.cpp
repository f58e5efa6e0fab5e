// The platform layer isn't exported.

#include "zqcore27/platform/user_locale.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

std::string text(const LanguageName& name) { return name.data(); }

/// The three variables that decide, empty ones unset, restored at the end of the scope.
class LocaleEnvironment {
 public:
  LocaleEnvironment(const char* all, const char* category, const char* categoryValue, const char* lang)
      : fNames{"LC_ALL", category, "LANG"} {
    const char* const values[] = {all, categoryValue, lang};
    for (int i = 0; i < 3; ++i) {
      if (const char* old = std::getenv(fNames[i])) fOld[i] = old, fWasSet[i] = true;
      set(i, values[i]);
    }
  }
  ~LocaleEnvironment() {
    for (int i = 0; i < 3; ++i) set(i, fWasSet[i] ? fOld[i].c_str() : nullptr);
  }

 private:
  void set(int i, const char* value) { value == nullptr ? ::unsetenv(fNames[i]) : ::setenv(fNames[i], value, 1); }

  const char* fNames[3];
  std::string fOld[3];
  bool fWasSet[3] = {};
};

}  // namespace

TEST(UserLocaleTest, LanguageOfALocale) {
  static constexpr struct {
    int line;
    const char *locale, *language;
  } ROWS[] = {
      {__LINE__, "", ""},
      {__LINE__, "C", ""},
      {__LINE__, "POSIX", ""},
      {__LINE__, "C.UTF-8", ""},
      {__LINE__, "en_US.UTF-8", "enu"},
      {__LINE__, "en_GB", "eng"},
      {__LINE__, "de_DE.ISO-8859-15@euro", "deu"},
      {__LINE__, "de_DE@euro", "deu"},
      {__LINE__, "de_AT.UTF-8", "dea"},
      {__LINE__, "de", "deu"},
      {__LINE__, "fr_FR", "fra"},
      {__LINE__, "ja_JP.SJIS", "jpn"},
      {__LINE__, "zh_TW.BIG5", "cht"},
      {__LINE__, "cy_GB.UTF-8", "cy"},  // no abbreviation
      {__LINE__, "ast_ES", "ast"},
      {__LINE__, "/usr/share/x", ""},
      {__LINE__, "a", ""},
      {__LINE__, "english", ""},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line << ": " << row.locale);
    EXPECT_EQ(text(languageOfLocale(row.locale)), row.language);
  }
}

TEST(UserLocaleTest, CodePageOfALocale) {
  static constexpr struct {
    int line;
    const char* locale;
    std::uint32_t codePage;
  } ROWS[] = {
      {__LINE__, "", 65001},
      {__LINE__, "C", 65001},
      {__LINE__, "POSIX", 65001},
      {__LINE__, "C.utf8", 65001},
      {__LINE__, "C.ISO-8859-1", 28591},
      {__LINE__, "de_DE", 0},
      {__LINE__, "de_DE.UTF-8@euro", 65001},
      {__LINE__, "de_DE.ISO-8859-15@euro", 28605},
      {__LINE__, "de_DE.iso88591", 28591},
      {__LINE__, "ru_RU.ISO8859-5", 28595},
      {__LINE__, "xx_XX.ISO-8859-12", 0},  // no such part
      {__LINE__, "xx_XX.ISO-8859-17", 0},
      {__LINE__, "en_US.CP1252", 1252},
      {__LINE__, "en_US.windows-1252", 1252},
      {__LINE__, "en_US.IBM850", 850},
      {__LINE__, "th_TH.TIS-620", 874},
      {__LINE__, "ru_RU.KOI8-R", 20866},
      {__LINE__, "ja_JP.SHIFT_JIS", 932},
      {__LINE__, "ja_JP.eucJP", 0},
      {__LINE__, "zh_CN.GBK", 936},
      {__LINE__, "ko_KR.EUC-KR", 949},
      {__LINE__, "zh_TW.Big5", 950},
      {__LINE__, "xx_XX.CP12345", 0},
      {__LINE__, "xx_XX.CP4294968548", 0},  // 1252 modulo 2^32
      {__LINE__, "xx_XX.", 0},
      {__LINE__, "xx_XX.a-name-longer-than-any-that-is-known", 0},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line << ": " << row.locale);
    EXPECT_EQ(codePageOfLocale(row.locale), row.codePage);
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
    {
      const LocaleEnvironment environment(row.all, "LC_MESSAGES", row.category, row.lang);
      EXPECT_EQ(text(userLanguage()), row.language);
    }
    const LocaleEnvironment environment(row.all, "LC_CTYPE", row.category, row.lang);
    EXPECT_EQ(userCodePage(), row.codePage);
  }
}
