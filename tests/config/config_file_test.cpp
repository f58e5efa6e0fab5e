#include <gtest/gtest.h>

#include "tests/config/sources.h"

namespace {

auto openDescriptors() { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); }

TEST(ConfigFileTest, WhatCannotBeOpenedIsRefusedAndReleased) {
  const BytesFile file("\xE9t\xE9\n");
  const std::filesystem::path large = file.path().parent_path() / "large.conf";
  std::ofstream(large) << "a\n";
  std::filesystem::resize_file(large, std::uintmax_t{1} << 32);
  const std::size_t before = openDescriptors();
  for (const std::filesystem::path& path :
       {file.path().parent_path() / "missing", file.path().parent_path(), large, std::filesystem::path()}) {
    SCOPED_TRACE(path.string());
    try {
      Config config(FileLocator(String::fromUTF8(path.string())));
      ADD_FAILURE() << "opened";
    } catch (ConfigError& e) {
      EXPECT_EQ(e.code(), ConfigError::CANNOT_OPEN);
      ASSERT_EQ(e.numInserts(), 1);
      EXPECT_EQ(utf8(String(e.getInsert(0)->get(nullptr))), path.empty() ? "./" : path.string());
    }
  }
  setACPid(65001);
  EXPECT_THROW(Config config(file.locator()), StringError);  // out of the look at the first character
  EXPECT_EQ(openDescriptors(), before);
}

TEST(ConfigFileTest, UTF8IsSetBehindTheLook) {
  setACPid(1252);  // in which the first byte is a character of its own
  const BytesFile file("\u00E9t\u00E9 \"\u20AC\xFF\xE2\x82\" \xC3");
  Config config(file.locator());
  config.setUTF8(true);
  EXPECT_EQ(allTokens(config), "K(\u00E9t\u00E9) S(\u20AC\uFFFD\uFFFD\uFFFD) K(\uFFFD) <EOF>");
  const BytesFile marked("\xEF\xBB\xBF#comment\na\n");
  Config other(marked.locator());
  EXPECT_EQ(allTokens(other), "K(a) <EOS> <EOF>");
  setACPid(65001);
}

TEST(ConfigFileTest, ARefusedByteLosesNothingButItself) {
  constexpr Config::SeparatorType SEPARATORS = Config::SEP_EQUALS | Config::SEP_EQUALS_EQUALS | Config::SEP_STAR_STAR;
  static const TokensRow ROWS[] = {
      {__LINE__, SEPARATORS, "a \xFF z\n", "!122 K(a) K(z) <EOS> <EOF>"},
      {__LINE__, SEPARATORS, "1 \"a\"\xFF\"b\"\n", "I(1) !122 S(a) S(b) <EOS> <EOF>"},
      {__LINE__, SEPARATORS, "1 'a'\xFF'b'\n", "I(1) !122 K('a') K('b') <EOS> <EOF>"},
      {__LINE__, SEPARATORS, "1 'a''b\xFFz'\n", "I(1) !122 I('a'b) K(z) !10a(') <EOS> <EOF>"},
      {__LINE__, SEPARATORS, "1=\xFF z\n", "I(1) !122 = K(z) <EOS> <EOF>"},
      {__LINE__, SEPARATORS, "1 *\xFF*z\n", "I(1) !122 I(*) K(*z) <EOS> <EOF>"}};  // no separator by itself
  static constexpr Kind KINDS[] = {Kind::PLAIN_FILE, Kind::ARMOURED_FILE};
  setACPid(65001);
  expectTokens(ROWS, KINDS);
  Source decrypted(Kind::PLAIN_FILE, "y\xFFz\nghi\n");
  decrypted->enableDecryption(0, false);
  EXPECT_EQ(allTokens(*decrypted), "!122  K(yz) <EOS> K(ghi) <EOS> <EOF>");
  Source source(Kind::PLAIN_FILE, "c \xFF\xFF d\ne\n");
  EXPECT_THROW(source->nextToken(), StringError);
  source->skipLine();
  EXPECT_EQ(allTokens(*source), "K(e) <EOS> <EOF>");
}

TEST(ConfigFileTest, AByteOfOneEndsTheText) {
  static const TokensRow ROWS[] = {
      {__LINE__, Config::SEP_DEFAULT, "a !comment \x01\nb\n", "K(a) <EOF>"},
      {__LINE__, Config::SEP_DEFAULT, "a & dropped \x01\nb\n", "K(a) <EOF>"},
      {__LINE__, Config::SEP_DEFAULT, "'a\x01'\nb\n", "!10d('a) <EOF>"},
      {__LINE__, Config::SEP_DEFAULT, "\"a\x01\"\nb\n", "!10d(a) <EOF>"},
      {__LINE__, Config::SEP_DEFAULT, "word \x01 lost\n", "K(word) !110(" + std::string(1024, '\x01') + ") <EOF>"}};
  static constexpr Kind KINDS[] = {Kind::PLAIN_FILE};
  expectTokens(ROWS, KINDS);
  // Decrypted, it closes its line and the text.
  Source decrypted(Kind::PLAIN_FILE, "word \x01 lost\n");
  decrypted->enableDecryption(0, false);
  EXPECT_EQ(allTokens(*decrypted), "K(word) K(\x01) <EOS> <EOF>");
}

TEST(ConfigFileTest, DestroyedAnywhereWhileTheReaderWaits) {
  std::string text;
  for (int i = 0; i != 30000; ++i) text += "word " + std::to_string(i) + "\n";
  const BytesFile file(text);
  for (int tokens = 0; tokens < 20000; tokens = tokens * 3 + 1) {
    Config config(file.locator());
    for (int i = 0; i != tokens; ++i) {
      config.nextToken();
      config.releaseToken();
    }
  }
}

}  // namespace
