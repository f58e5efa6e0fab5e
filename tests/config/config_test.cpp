#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>

#include "tests/config/sources.h"
#include "zqcore27/errors/cstr.h"

namespace {

constexpr Config::SeparatorType DEFAULT = Config::SEP_DEFAULT;
constexpr Config::SeparatorType ALL = 0x3FFFFFF;

TEST(ConfigTokenTest, EverySourceGivesTheSameTokens) {
  static const TokensRow ROWS[] = {
      {__LINE__, DEFAULT, "", "<EOF>"},
      // Statements, comments, continuations.
      {__LINE__, DEFAULT, "a\tb\n\n\nc\n", "K(a) K(b) <EOS> K(c) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "a | b\n", "K(a) <EOS> K(b) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "a\r\nb\rc\r\n", "K(a) <EOS> K(b) K(c) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "a & x\r\n\r\nb\n", "K(a) K(b) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "a &\n \nb\n", "K(a) <EOS> K(b) <EOS> <EOF>"},  // a blank ends the run of line ends
      {__LINE__, DEFAULT, "a!b\nc !\"d\n", "K(a) <EOS> K(c) <EOS> <EOF>"},
      // Separators.
      {__LINE__, DEFAULT, "a,b;-5+x\n", "K(a) , K(b) ; - I(5) + K(x) <EOS> <EOF>"},
      {__LINE__, ALL, ",;+-=/*^$(){}:~@%#\n", ", ; + - = / * ^ $ ( ) { } : ~ @ % # <EOS> <EOF>"},
      {__LINE__, ALL, "== >= <= <> >< ** ===\n", "== >= <= <> >< ** == = <EOS> <EOF>"},
      {__LINE__, Config::SEP_EQUALS_EQUALS, "a=b==c\n", "K(a) K(=b) == K(c) <EOS> <EOF>"},
      {__LINE__, Config::SEP_LESS | Config::SEP_GREATER, "a<=b<>c\n", "K(a) < K(=b) < > K(c) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "a#b #c\n", "K(a#b) K(#c) <EOS> <EOF>"},
      // Words and numbers.
      {__LINE__, 0, "12 1.5 .5 5. 1e5 1.5e3 . 1e\n", "I(12) F(1.5) F(.5) F(5.) F(1e5) F(1.5e3) F(.) F(1e) <EOS> <EOF>"},
      {__LINE__, 0, "1.5e+3 1.2.3 1e5.5 e5 1e5e 0x1F\n",
       "K(1.5e+3) K(1.2.3) K(1e5.5) K(e5) K(1e5e) K(0x1F) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "12e+5 1.5e+3 1e+5 1.e+5\n", "K(12e+5) K(1.5e+3) F(1e) + I(5) F(1.e) + I(5) <EOS> <EOF>"},
      // Quotes.
      {__LINE__, DEFAULT, "\"a b\"c\"\"\n", "S(a b) K(c) S() <EOS> <EOF>"},
      {__LINE__, DEFAULT, "\"a\"\"b\" \"a\\nb\" \"\t!&|\"\n", "S(a\"b) S(a\\nb) S(\t!&|) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "'it''s' 'a b'x\n", "K('it's') K('a b') K(x) <EOS> <EOF>"},
      // Errors; reading goes on from where scanning stopped.
      {__LINE__, DEFAULT, "a \"b c\nd\n", "K(a) !109(b c) <EOS> K(d) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "'b\r\nd\n", "!10a('b) <EOS> K(d) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "\"a\x02z\n\"\x7F\" \n", "!10d(a) K(z) <EOS> !10d() !109( ) <EOS> <EOF>"},
  };
  expectTokens(ROWS, ALL_KINDS);
}

// The syntax is settled on the raw first character: the armoured lines stand behind a plain one.
TEST(ConfigTokenTest, HashSyntaxOfFiles) {
  static const TokensRow ROWS[] = {
      {__LINE__, DEFAULT, "a#b\nc # d\n!e\n", "K(a) <EOS> K(c) <EOS> <EOF>"},
      {__LINE__, ALL, "a#b\n", "# <EOS> K(a) # K(b) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "\"a\"\"b\"\n", "S(a) S(b) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "\"a\\nb\\tc\\\"d\\\\e\\q\\4\\9\"\n", "S(a\nb\tc\"d\\e\\q\\4\\9) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "\"\\x41\\x6a\\x4A\\101\\377\\x7f\\0012\"\n", "S(AjJA\u00FF\x7F\x01\x32) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "\"\\xG1\" b\n", "!10c() I(1) !109( b) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "\"\\08\" \"\\477\"\n", "!10c() S( ) K(\\477) !109() <EOS> <EOF>"},
      {__LINE__, DEFAULT, "\"\\x\nb\n", "!10c() K(b) <EOS> <EOF>"},  // the line end was the digit
      {__LINE__, DEFAULT, "\"\\x", "!10c() <EOF>"},                  // and here the end of the text
      {__LINE__, DEFAULT, "'a\\n' a\\b\n", "K('a\\n') K(a\\b) <EOS> <EOF>"},
  };
  static constexpr Kind KINDS[] = {Kind::HASH_FILE, Kind::ARMOURED_HASH_FILE};
  expectTokens(ROWS, KINDS);
  EXPECT_EQ(utf8(Source(Kind::HASH_FILE, "\"a\\x00b\\000\"\n")->getStr()),
            std::string("a\0b\0", 4));  // zero units are part of the token
}

TEST(ConfigTokenTest, LimitsOfLength) {
  static constexpr struct {
    std::size_t length;
    const char *before, *behind;
    std::uint32_t code;  // 0: fits
    std::size_t held;    // units of the token
  } ROWS[] = {{1024, "", "\n", 0, 1024},
              {1025, "", "\n", ConfigError::WORD_TOO_LONG, 1024},
              {16000, "\"", "\"\n", 0, 16000},
              {16001, "\"", "\"\n", ConfigError::STRING_TOO_LONG, 16000},
              {16000, "\"", "\x02\"\n", ConfigError::CONTROL_CHARACTER, 16000},
              {15998, "'", "'\n", 0, 16000},
              {15999, "'", "'\n", ConfigError::STRING_TOO_LONG, 15999}};
  for (const auto& row : ROWS) {
    for (const Kind kind : ALL_KINDS) {
      SCOPED_TRACE(testing::Message() << row.length << row.behind << ", source " << static_cast<int>(kind));
      Source source(kind, "a\n" + (row.before + std::string(row.length, 'x')) + row.behind + "b\n");
      source->getKeyword();
      source->checkEOS();
      std::uint32_t code = 0;
      try {
        source->nextToken();
      } catch (const ConfigError& e) {
        code = e.code();
        EXPECT_FALSE(e.fatal());
        EXPECT_STREQ(e.module(), "Config code");
        EXPECT_EQ(source->nextToken(), Config::EOS_TOKEN);  // held, with the type of the token before
      }
      EXPECT_EQ(code, row.code);
      EXPECT_EQ(source->tokenText().size(), row.held);
      source->skipLine();
      EXPECT_EQ(allTokens(*source), "K(b) <EOS> <EOF>");
    }
  }
}

TEST(ConfigTokenTest, WholeUnitsAreCompared) {
  // Dotless i, fullwidth 1, C with dot above (low byte LF), A with a low byte of a blank, a full-width quote.
  const String text(u"\u0131 \uFF11 1\uFF11 a\u010Ab a\u0120b \u0122x\u0122\n");
  Config config(text);
  EXPECT_EQ(allTokens(config), "K(\u0131) K(\uFF11) K(1\uFF11) K(a\u010Ab) K(a\u0120b) K(\u0122x\u0122) <EOS> <EOF>");
}

TEST(ConfigTokenTest, TheEndComesBackAndClosesAStatement) {
  for (const Kind kind : {Kind::STREAM, Kind::STRING, Kind::PLAIN_FILE}) {
    SCOPED_TRACE(static_cast<int>(kind));
    Source last(kind, "one last");
    last->getKeyword();
    EXPECT_EQ(last->charactersProcessed(), 4u);  // the blank too, and not the character behind it
    EXPECT_EQ(utf8(last->getKeyword()), "last");
    for (int i = 0; i != 3; ++i) EXPECT_TRUE(last->nextToken() == Config::EOF_TOKEN && last->checkEOS());
    EXPECT_EQ(last->charactersProcessed(), 8u);
  }
  Source source(Kind::STRING, "a\n\n|b\n");
  source->releaseLine();
  for (int i = 0; i != 3; ++i) {
    EXPECT_EQ(source->nextToken(), Config::EOS_TOKEN) << "only checkEOS closes it";
    source->releaseToken();
  }
  EXPECT_EQ(utf8(source->getKeyword()), "b");
}

using Read = std::string (*)(Config&);
constexpr Read KEYWORD = [](Config& c) { return utf8(c.getKeyword()); };
constexpr Read STRING = [](Config& c) { return utf8(c.getStr()); };
constexpr Read INT = [](Config& c) { return std::to_string(c.getInt()); };
constexpr Read FP = [](Config& c) { return testing::PrintToString(c.getFp()); };
constexpr Read BOOL = [](Config& c) { return testing::PrintToString(c.getBool()); };
constexpr Read END = [](Config& c) { return testing::PrintToString(c.checkEOS()); };

TEST(ConfigReadTest, TypedReaders) {
  // What is read of the text, and what token comes next: the offending one where the reader refuses it, the one behind
  // where the sign is gone ("-a") or the scan fails (". a").
  static constexpr struct {
    Read read;
    const char *text, *result, *next;
  } ROWS[] = {{KEYWORD, "word 1", "word", "I(1)"},
              {KEYWORD, "12 a", "!111", "I(12)"},
              {STRING, "\"a b\" 1", "a b", "I(1)"},
              {STRING, "word 1", "!10b", "K(word)"},
              {INT, "+5 a", "5", "K(a)"},
              {INT, "- 5 a", "-5", "K(a)"},
              {INT, "2147483648 a", "-2147483648", "K(a)"},
              {INT, "1.5 a", "!113", "F(1.5)"},
              {INT, "-a b", "!113", "K(a)"},
              {FP, "-1.5e2 a", "-150", "K(a)"},
              {FP, "7 a", "7", "K(a)"},
              {FP, ". a", "!112", "K(a)"},
              {BOOL, "TRUE a", "true", "K(a)"},
              {BOOL, "false a", "false", "K(a)"},
              {BOOL, "0 a", "false", "K(a)"},
              {BOOL, "17 a", "true", "K(a)"},
              {BOOL, "'Yes' a", "!10f", "K('Yes')"},
              {END, "a\n", "!114", "K(a)"}};
  for (const auto& row : ROWS) {
    SCOPED_TRACE(row.text);
    Source source(Kind::STRING, row.text);
    std::string result;
    try {
      result = row.read(*source);
    } catch (const ConfigError& e) {
      EXPECT_FALSE(e.fatal());
      result = codeName(e);
    }
    EXPECT_EQ(result, row.result);
    const Config::TokenType next = source->nextToken();
    EXPECT_EQ(tokenName(*source, next), row.next);
  }
}

TEST(ConfigReadTest, NumbersHaveAPointInEveryLocale) {
  // None with a comma may be installed, so the test has its own; the other categories, which are missing, don't matter.
  const TempDir dir;
  const std::string source =
      dir.write("source", "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\nEND LC_NUMERIC\n");
  const std::string compile = "localedef --quiet --force -i '" + source + "' '" + dir / "comma'";
  if (std::system(compile.c_str()) == 127 << 8) GTEST_SKIP() << "there is no localedef";
  ::setenv("LOCPATH", dir.path().c_str(), 1);
  ASSERT_NE(std::setlocale(LC_NUMERIC, "comma"), nullptr);
  EXPECT_EQ(*std::localeconv()->decimal_point, ',');
  EXPECT_EQ(Source(Kind::STRING, "1.5")->getFp(), 1.5);
  std::setlocale(LC_NUMERIC, "C");
}

class Words : public CStr {
 public:
  const std::uint16_t* get(std::uint32_t handle) override {
    static const String texts[] = {u"red", u"green", u"red"};
    return handle >= 10 && handle < 13 ? texts[handle - 10].begin() : nullptr;
  }
};

TEST(ConfigReadTest, MatchKeywordTakesTheTokenInAnyCase) {
  Words words;
  Source source(Kind::STRING, "RED green blue 1");
  EXPECT_EQ(source->matchKeyword(&words, 10, 12), 10u);
  EXPECT_EQ(source->matchKeyword(&words, 12, 12), 0u);
  EXPECT_EQ(source->matchKeyword(&words, 0, 100), 0u);
  EXPECT_THROW(source->matchKeyword(&words, 10, 12), ConfigError);
  EXPECT_EQ(source->getInt(), 1);
}

TEST(ConfigReadTest, PlacesOfTokensAndErrors) {
  static constexpr struct {
    Kind kind;
    const char* text;
    const char* places;  // of each token line:column, of an error the place where scanning stopped
  } ROWS[] = {{Kind::STRING, "a  b=1\n\n\t\"c\"\n", "1:1 1:4 1:5 1:6 1:7 3:2 3:5 4:1"},
              {Kind::PLAIN_FILE, "\uFEFFab c\r\nd", "1:1 1:4 1:6 2:1 2:2"},
              {Kind::ARMOURED_FILE, "ab c\n\n\n d\n", "1:1 1:4 1:5 2:2 2:3 3:1"},
              {Kind::STRING, "a \"b\nc\n", "1:1 !1:5 2:1 2:2 3:1"},
              {Kind::STRING, "'ab\x03'\"\nc", "!1:4 2:1 2:2"},
              {Kind::PLAIN_FILE, "#\n\"\\x\nc 'd", "!2:4 3:1 !3:5 3:5"}};
  for (const auto& row : ROWS) {
    SCOPED_TRACE(row.text);
    Source source(row.kind, row.text);
    std::ostringstream places;
    for (Config::TokenType t = Config::NO_TOKEN; t != Config::EOF_TOKEN;) {
      try {
        t = source->nextToken();
        places << source->tokenLine() << ":" << source->tokenColumn() << " ";
        if (t == Config::EOS_TOKEN) source->checkEOS();
        source->releaseToken();
      } catch (const ConfigError&) {
        places << "!" << source->line() << ":" << source->column() << " ";
        source->skipLine();
      }
    }
    EXPECT_EQ(places.str(), std::string(row.places) + " ");
  }
}

TEST(ConfigReadTest, SkipLineGoesToTheEndOfTheLineWhereScanningStopped) {
  for (const Kind kind : ALL_KINDS) {
    SCOPED_TRACE(static_cast<int>(kind));
    Source source(kind, "a = | b \"c\n= d\n\"e\n");
    source->skipLine();  // nothing read yet: nothing skipped
    EXPECT_EQ(utf8(source->getKeyword()), "a");
    EXPECT_EQ(source->matchSeparator(Config::COMMA_TOKEN), Config::NO_TOKEN);
    EXPECT_EQ(source->matchSeparator(Config::EQUALS_TOKEN), Config::EQUALS_TOKEN);
    EXPECT_THROW(source->getInt(), ConfigError);  // holds the end of the statement at `|`, in the middle of the line
    source->skipLine();
    EXPECT_EQ(source->matchSeparator(Config::EQUALS_TOKEN), Config::EQUALS_TOKEN);
    EXPECT_EQ(utf8(source->getKeyword()), "d");
    EXPECT_THROW(source->getInt(), ConfigError);  // holds the end of the statement, behind which a line begins
    source->skipLine();
    EXPECT_THROW(source->nextToken(), ConfigError);
    source->skipLine();
    EXPECT_EQ(source->nextToken(), Config::EOF_TOKEN);
  }
}

TEST(ConfigReadTest, DecryptionAndItsMarker) {
  const std::string plain = "!plain\na\n";
  for (const bool honour : {false, true}) {
    SCOPED_TRACE(honour);
    std::istringstream stream(plain);
    Config config(stream);
    config.enableDecryption(7, honour);
    EXPECT_EQ(config.charactersProcessed(), 0u);
    EXPECT_EQ(allTokens(config), "K(a) <EOS> <EOF>");
    // The led in line feeds, and with them the wrapping, show in the count: one more in front, none lost.
    EXPECT_EQ(config.charactersProcessed(), honour ? plain.size() : plain.size() + 1);
  }
}

TEST(ConfigReadTest, AnUnreadableStreamIsAnEmptyText) {
  std::istringstream stream("a\n");
  stream.setstate(std::ios::failbit);
  Config config(stream);
  EXPECT_EQ(config.getError(), Config::ERR_NOT_READABLE);
  EXPECT_EQ(config.nextToken(), Config::EOF_TOKEN);
}

auto openDescriptors() { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); }

TEST(ConfigFileTest, WhatCannotBeOpenedIsRefusedAndReleased) {
  const BytesFile file("\xE9t\xE9\n");
  const std::filesystem::path directory = file.directory.path(), large = file.directory.write("large.conf", "a\n");
  std::filesystem::resize_file(large, std::uintmax_t{1} << 32);
  const std::size_t before = openDescriptors();
  for (const std::filesystem::path& path : {directory / "missing", directory, large, std::filesystem::path()}) {
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
      {__LINE__, SEPARATORS, "1 'a''b\xFFz'\n", "I(1) !122 I('a'b) K(z) !10a(') <EOS> <EOF>"},
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
  for (int statements = 0; statements < 30000; statements = statements * 3 + 1) {
    Config config(file.locator());
    for (int i = 0; i != statements; ++i) {
      ASSERT_EQ(utf8(config.getKeyword()), "word");
      ASSERT_EQ(config.getInt(), i);
      config.checkEOS();
    }
  }
}

}  // namespace
