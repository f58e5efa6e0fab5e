// Single characters of native text and the state of the locale aren't exported.

#include "zqcore27/strings/native_text.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "tests/support/at_once.h"
#include "tests/support/text.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/nat_string.h"
#include "zqcore27/strings/transcode.h"

namespace {

/// Each test starts as a fresh process does, and leaves it so.
class NativeTextTest : public testing::Test {
 protected:
  NativeTextTest() { reset("C"); }
  ~NativeTextTest() override { reset("C"); }

  static void reset(const char* locale) {
    ::setenv("LC_ALL", locale, 1);
    gACPid = 0;
    gLocaleReady = false;
  }
};

/// Bytes consumed (0 with an error), unit, code of the error.
using Read = std::tuple<std::int32_t, std::uint16_t, std::uint32_t>;
constexpr std::uint32_t REFUSED = 0xC2000122, CUT_OFF = 0xC2000123;

/// From a heap block of exactly these bytes, so that a read past the room shows under a sanitizer.
Read read(std::string_view bytes) {
  const std::vector<char> block(bytes.begin(), bytes.end());
  std::uint16_t unit = 0;
  try {
    const std::int32_t consumed = nat2uni(block.data(), &unit, static_cast<std::int32_t>(bytes.size()));
    return {consumed, unit, 0};
  } catch (const StringError& e) {
    EXPECT_FALSE(e.fatal());
    return {0, unit, e.code()};
  }
}

std::string write(std::uint16_t c, std::int32_t room = 5) {
  char out[8] = "#######";
  const std::int32_t n = uni2nat(c, out, room);
  EXPECT_EQ(std::string(out + n), std::string(static_cast<std::size_t>(7 - n), '#'));  // nothing behind it
  return {out, static_cast<std::size_t>(n)};
}

}  // namespace

TEST_F(NativeTextTest, AsciiAsksForNoLocale) {
  EXPECT_STREQ(NatString(String("plain\x7F")).begin(), "plain\x7F");
  EXPECT_EQ(write(0x5C, 0), "");
  EXPECT_FALSE(gLocaleReady);
  EXPECT_EQ(write(0xE9), "\xC3\xA9");
  EXPECT_TRUE(gLocaleReady);
  EXPECT_EQ(gACPid, 65001u);
}

TEST_F(NativeTextTest, ReadsOneCharacter) {
  using namespace std::string_view_literals;
  static const std::tuple<std::uint32_t, Read, std::vector<std::string_view>> ROWS[] = {
      {65001, {2, 0xE9, 0}, {"\xC3\xA9z"}},
      {65001, {3, 0xD83D, 0}, {"\xED\xA0\xBD"}},
      {65001, {0, 0, CUT_OFF}, {"", "\xE2\x82"}},
      {65001, {0, 0, REFUSED}, {"\xE2\x82\0"sv, "\x80", "\xF0", "\xE0\x80\xAF"}},  // the last: over-long
      {932, {2, 0x3042, 0}, {"\x82\xA0"}},
      {932, {0, 0, CUT_OFF}, {"\x82"}},
      {932, {0, 0, REFUSED}, {"\x85\x40"}},  // a lead byte without characters
      {1258, {1, 0xE2, 0}, {"\xE2\xEC"}},    // not composed with the mark behind it
      {12345, {1, 'z', 0}, {"z"}},
      {12345, {0, 0, REFUSED}, {"\xE9"}},
  };
  for (const auto& [page, expected, texts] : ROWS) {
    setACPid(page);
    for (const auto text : texts) EXPECT_EQ(read(text), expected) << page << testing::PrintToString(text);
  }
}

TEST_F(NativeTextTest, WritesOneUnit) {
  static constexpr std::tuple<std::uint32_t, std::uint16_t, std::string_view> ROWS[] = {
      {65001, 0xD83D, "\xED\xA0\xBD"},
      {1252, 0x3042, "?"},
      {932, 0x00A5, "?"},  // never a backslash
      {1258, 0x1EA5, "\xE2\xEC"},
      {1255, 0xFB2C, "\xF9\xCC\xD1"},  // a letter with its marks
  };
  for (const auto& [page, unit, bytes] : ROWS) {
    setACPid(page);
    const auto size = static_cast<std::int32_t>(bytes.size());
    EXPECT_EQ(write(unit, size), bytes) << page;
    EXPECT_EQ(write(unit, size - 1), "") << page;
  }
}

TEST_F(NativeTextTest, WhoChoosesTheCodePageAndTheLanguage) {
  reset("ja_JP.SJIS");
  EXPECT_EQ(write(0x3042), "\x82\xA0");
  reset("ja_JP.SJIS");
  setACPid(1252);  // before the locale is looked at: it keeps out of the choice
  EXPECT_EQ(write(0x20AC), "\x80");
  reset("ja_JP.eucJP");  // a codeset without a page
  EXPECT_EQ(write(0x3042), "\xE3\x81\x82");

  String language;
  getLocaleLanguage(language);
  EXPECT_EQ(utf8(language), "jpn");
  reset("C");
  getLocaleLanguage(language);
  EXPECT_EQ(utf8(language), "en");
  EXPECT_TRUE(gLocaleReady);
}

TEST_F(NativeTextTest, FirstConversionsOnManyThreads) {
  reset("ko_KR.EUC-KR");
  atOnce(8, [](int t) {
    String language(u"kor");
    if (t % 2 == 0) getLocaleLanguage(language);
    EXPECT_EQ(utf8(String("\xB0\xA1")), "\xEA\xB0\x80");
    EXPECT_EQ(utf8(language), "kor");
  });
}

TEST_F(NativeTextTest, CodePageChangesWhileOthersConvert) {
  atOnce(2, [](int t) {
    for (unsigned i = 0; i < 9000; ++i) {
      if (t == 0) setACPid(i % 2 == 0 ? 1252 : 65001);
      const std::string text = write(0x20AC);
      EXPECT_TRUE(text == "\x80" || text == "\xE2\x82\xAC") << i;
    }
  });
}
