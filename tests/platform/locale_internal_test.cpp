// The platform layer isn't exported.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "zqcore27/platform/code_page.h"
#include "zqcore27/platform/user_locale.h"

namespace {

std::string text(const LanguageName& name) { return name.data(); }

/// Null: unset.
void set(const char* name, const char* value) { value == nullptr ? ::unsetenv(name) : ::setenv(name, value, 1); }

}  // namespace

TEST(UserLocaleTest, LanguageOfALocale) {
  for (const char* locale : {"", "C", "POSIX", "C.UTF-8", "/x", "a", "english"}) {
    EXPECT_EQ(text(languageOfLocale(locale)), "") << locale;
  }
  static constexpr const char* ROWS[][2] = {{"en_US.UTF-8", "enu"}, {"en_GB", "eng"},      {"de_DE@euro", "deu"},
                                            {"de_AT.UTF-8", "dea"}, {"de", "deu"},         {"ja_JP.SJIS", "jpn"},
                                            {"zh_TW.BIG5", "cht"},  {"cy_GB.UTF-8", "cy"}, {"ast_ES@euro.b", "ast"}};
  for (const auto& [locale, language] : ROWS) EXPECT_EQ(text(languageOfLocale(locale)), language) << locale;
}

TEST(UserLocaleTest, CodePageOfALocale) {
  for (const char* unknown : {"de_DE", "x.ISO-8859-12", "x.ISO-8859-17", "ja_JP.eucJP", "x.CP12345", "x.",
                              "x.CP4294968548", "x.a-name-longer-than-any-that-is-known"}) {
    EXPECT_EQ(codePageOfLocale(unknown), 0u) << unknown;  // CP4294968548 would be 1252 modulo 2^32
  }
  for (const char* portable : {"", "POSIX", "de_DE.UTF-8@euro"}) EXPECT_EQ(codePageOfLocale(portable), 65001u);
  EXPECT_EQ(codePageOfLocale("de_DE.iso88591"), 28591u);
  EXPECT_EQ(codePageOfLocale("ro_RO.ISO-8859-16"), 28606u);
  EXPECT_EQ(codePageOfLocale("ja_JP.SHIFT_JIS"), 932u);
}

TEST(UserLocaleTest, OrderOfTheVariables) {
  static constexpr struct {
    const char *all, *category, *lang, *language;
    std::uint32_t codePage;
  } ROWS[] = {
      {"fr_FR.CP1252", "de_DE.CP1250", "ja_JP.SJIS", "fra", 1252},
      {"", "de_DE.CP1250", "ja_JP.SJIS", "deu", 1250},  // empty is like unset
      {nullptr, nullptr, "ja_JP.SJIS", "jpn", 932},
      {nullptr, nullptr, nullptr, "", 65001},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(row.language);
    set("LC_ALL", row.all);
    set("LANG", row.lang);
    set("LC_MESSAGES", row.category);
    set("LC_CTYPE", "el_GR.CP1253");  // each function has its own category
    EXPECT_EQ(text(userLanguage()), row.language);
    set("LC_MESSAGES", "el_GR.CP1253");
    set("LC_CTYPE", row.category);
    EXPECT_EQ(userCodePage(), row.codePage);
  }
}

TEST(CodePageTest, CharactersThatAPageHoldsTwiceOrNotAtAll) {
  const CodePage& japanese = *CodePage::find(932);
  static constexpr std::uint32_t ROWS[][3] = {
      {0x8790, 0x2252, 0x81E0}, {0xFA54, 0xFFE2, 0x81CA}, {0xED40, 0x7E8A, 0xFA5C}};
  for (const auto& [character, unit, back] : ROWS) {
    EXPECT_TRUE(japanese.isLeadByte(static_cast<unsigned char>(character >> 8)));
    EXPECT_EQ(japanese.toUnit(static_cast<unsigned char>(character >> 8), static_cast<unsigned char>(character)), unit);
    EXPECT_EQ(japanese.toBytes(static_cast<std::uint16_t>(unit)), back);
  }
  EXPECT_EQ(japanese.toUnit(0x82, 0x00), 0);
  EXPECT_EQ(CodePage::find(1361)->toBytes(0x20A9), 0u);
  for (const std::uint32_t number : {0u, 12345u, 28602u, CODE_PAGE_UTF8}) EXPECT_EQ(CodePage::find(number), nullptr);
}
