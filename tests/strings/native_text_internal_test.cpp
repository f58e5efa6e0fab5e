// Single characters of native text and the state of the locale aren't exported.

#include "zqcore27/strings/native_text.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

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

struct Read {
  std::int32_t consumed;  // 0 with an error
  std::uint16_t unit;
  std::uint32_t error;
  bool operator==(const Read&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Read& r) {
  return out << r.consumed << " bytes, unit " << r.unit << ", error " << r.error;
}

/// From a heap block of exactly these bytes, so that a read past the room shows under a sanitizer.
Read read(std::string_view bytes) {
  const auto block = std::make_unique<char[]>(bytes.size());
  std::memcpy(block.get(), bytes.data(), bytes.size());
  Read result{};
  try {
    result.consumed = nat2uni(block.get(), &result.unit, static_cast<std::int32_t>(bytes.size()));
  } catch (const StringError& e) {
    EXPECT_FALSE(e.fatal());
    result.error = e.code();
  }
  return result;
}

std::string write(std::uint16_t c, std::int32_t room = 5) {
  char out[8] = "#######";
  const std::int32_t n = uni2nat(c, out, room);
  EXPECT_EQ(std::string(out + n), std::string(static_cast<std::size_t>(7 - n), '#'));  // nothing behind it
  return {out, static_cast<std::size_t>(n)};
}

constexpr std::uint32_t REFUSED = 0xC2000122, CUT_OFF = 0xC2000123;

}  // namespace

TEST_F(NativeTextTest, AsciiAsksForNoLocale) {
  EXPECT_EQ(utf8(String("plain\x7F")), "plain\x7F");
  EXPECT_STREQ(NatString(String(u"plain\x7F")).begin(), "plain\x7F");
  EXPECT_EQ(read({"\0", 1}), (Read{1, 0, 0}));
  EXPECT_EQ(write(0x5C, 0), "");
  EXPECT_FALSE(gLocaleReady);
  EXPECT_EQ(write(0xE9), "\xC3\xA9");
  EXPECT_TRUE(gLocaleReady);
  EXPECT_EQ(gACPid, 65001u);
}

TEST_F(NativeTextTest, ReadsOneCharacter) {
  static constexpr struct {
    int line;
    std::uint32_t page;
    std::string_view in;
    Read result;
  } ROWS[] = {
      {__LINE__, 65001, "", {0, 0, CUT_OFF}},
      {__LINE__, 65001, "\xC3\xA9z", {2, 0xE9, 0}},
      {__LINE__, 65001, "\xE2\x82\xAC", {3, 0x20AC, 0}},
      {__LINE__, 65001, "\xE2\x82", {0, 0, CUT_OFF}},
      {__LINE__, 65001, "\xE2", {0, 0, CUT_OFF}},
      {__LINE__, 65001, {"\xE2\x82\0", 3}, {0, 0, REFUSED}},
      {__LINE__, 65001, "\x80", {0, 0, REFUSED}},
      {__LINE__, 65001, "\xF0\x9F\x98\x80", {0, 0, REFUSED}},
      {__LINE__, 65001, "\xF0", {0, 0, REFUSED}},
      {__LINE__, 65001, "\xC0\xAF", {0, 0, REFUSED}},  // over-long
      {__LINE__, 65001, "\xE0\x80\xAF", {0, 0, REFUSED}},
      {__LINE__, 65001, "\xED\xA0\xBD", {3, 0xD83D, 0}},
      {__LINE__, 1252, "\x80", {1, 0x20AC, 0}},
      {__LINE__, 1252, "\x81", {0, 0, REFUSED}},
      {__LINE__, 1258, "\xE2\xEC", {1, 0xE2, 0}},  // not composed with the mark behind it
      {__LINE__, 932, "\x82\xA0", {2, 0x3042, 0}},
      {__LINE__, 932, "\x5C", {1, 0x5C, 0}},
      {__LINE__, 932, "\x82", {0, 0, CUT_OFF}},
      {__LINE__, 932, {"\x82\0", 2}, {0, 0, REFUSED}},
      {__LINE__, 932, "\x85\x40", {0, 0, REFUSED}},  // a lead byte without characters
      {__LINE__, 1361, "\x5C", {1, 0x5C, 0}},        // a won sign in the page's own table
      {__LINE__, 12345, "\xE9", {0, 0, REFUSED}},    // no such page
      {__LINE__, 12345, "z", {1, 'z', 0}},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    setACPid(row.page);
    EXPECT_EQ(read(row.in), row.result);
  }
}

TEST_F(NativeTextTest, WritesOneUnit) {
  static constexpr struct {
    int line;
    std::uint32_t page;
    std::uint16_t unit;
    std::string_view bytes;
  } ROWS[] = {
      {__LINE__, 65001, 0x20AC, "\xE2\x82\xAC"},
      {__LINE__, 65001, 0xD83D, "\xED\xA0\xBD"},
      {__LINE__, 1252, 0x20AC, "\x80"},
      {__LINE__, 1252, 0x3042, "?"},
      {__LINE__, 932, 0x2252, "\x81\xE0"},
      {__LINE__, 932, 0xFF71, "\xB1"},
      {__LINE__, 932, 0x00A5, "?"},  // never a backslash
      {__LINE__, 932, 0xD83D, "?"},
      {__LINE__, 1258, 0x1EA5, "\xE2\xEC"},      // letter and mark
      {__LINE__, 1255, 0xFB2C, "\xF9\xCC\xD1"},  // letter and two marks
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    setACPid(row.page);
    const auto size = static_cast<std::int32_t>(row.bytes.size());
    EXPECT_EQ(write(row.unit), row.bytes);
    EXPECT_EQ(write(row.unit, size), row.bytes);
    EXPECT_EQ(write(row.unit, size - 1), "");
  }
  setACPid(12345);
  EXPECT_EQ(write(0xE9), "");
}

TEST_F(NativeTextTest, WholeTexts) {
  setACPid(932);
  EXPECT_EQ(utf8(String("a\x82\xA0z")), "a\xE3\x81\x82z");
  EXPECT_STREQ(NatString(String(u"a\u3042\u00A5")).begin(), "a\x82\xA0?");
  EXPECT_THROW(String("ab\x82"), StringError);
  setACPid(12345);
  EXPECT_STREQ(NatString(String(u"a\u3042z")).begin(), "az");  // what can't be written drops out
}

TEST_F(NativeTextTest, WhoChoosesTheCodePage) {
  reset("ja_JP.SJIS");
  EXPECT_EQ(write(0x3042), "\x82\xA0");
  setACPid(1252);
  EXPECT_EQ(write(0x20AC), "\x80");
  setACPid(0);  // back to the locale's
  EXPECT_EQ(write(0x3042), "\x82\xA0");

  reset("ja_JP.SJIS");
  setACPid(1252);  // before the locale is looked at: it keeps out of the choice
  EXPECT_EQ(write(0x20AC), "\x80");
  EXPECT_EQ(gACPid, 1252u);

  reset("ja_JP.eucJP");  // a codeset without a page
  EXPECT_EQ(write(0x3042), "\xE3\x81\x82");
}

TEST_F(NativeTextTest, LanguageOfTheUser) {
  static constexpr struct {
    const char *locale, *language;
  } ROWS[] = {{"C", "en"}, {"de_DE.UTF-8", "deu"}, {"ja_JP.SJIS", "jpn"}, {"cy_GB", "cy"}};
  for (const auto& row : ROWS) {
    reset(row.locale);
    String language;
    getLocaleLanguage(language);
    EXPECT_EQ(utf8(language), row.language);
    EXPECT_TRUE(gLocaleReady);
  }
}

TEST_F(NativeTextTest, FirstConversionsOnManyThreads) {
  reset("ko_KR.EUC-KR");
  std::atomic<int> ready{0}, wrong{0};
  constexpr int THREADS = 8;
  std::vector<std::thread> threads;
  for (int i = 0; i < THREADS; ++i) {
    threads.emplace_back([&, i] {
      ++ready;
      while (ready < THREADS) std::this_thread::yield();
      if (i % 2 == 0) {
        String language;
        getLocaleLanguage(language);
        if (utf8(language) != "kor") ++wrong;
      }
      if (utf8(String("\xB0\xA1")) != "\xEA\xB0\x80") ++wrong;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

TEST_F(NativeTextTest, CodePageChangesWhileOthersConvert) {
  std::atomic<bool> stop{false};
  std::atomic<int> wrong{0};
  std::thread reader([&] {
    while (!stop) {
      const std::string text = write(0x20AC);
      if (text != "\x80" && text != "\xA4" && text != "\xE2\x82\xAC") ++wrong;
    }
  });
  for (int i = 0; i < 3000; ++i) {
    for (const unsigned page : {1252u, 28605u, 65001u}) setACPid(page);
  }
  stop = true;
  reader.join();
  EXPECT_EQ(wrong, 0);
}
