#include <gtest/gtest.h>

#include "tests/config/sources.h"

namespace {

constexpr Config::SeparatorType DEFAULT = Config::SEP_DEFAULT;
constexpr Config::SeparatorType ALL = 0x3FFFFFF;

TEST(ConfigTokenTest, EverySourceGivesTheSameTokens) {
  static const TokensRow ROWS[] = {
      {__LINE__, DEFAULT, "", "<EOF>"},
      {__LINE__, DEFAULT, "\n\n | \r\n!only a comment\n", "<EOF>"},
      // Statements, comments, continuations.
      {__LINE__, DEFAULT, "a\tb\n\n\nc\n", "K(a) K(b) <EOS> K(c) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "a | b\n", "K(a) <EOS> K(b) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "a\r\nb\rc\r\n", "K(a) <EOS> K(b) K(c) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "a & comment\r\n\r\n!c\nb\n", "K(a) <EOS> K(b) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "a & x\r\n\r\nb\n", "K(a) K(b) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "a &\n \nb\n", "K(a) <EOS> K(b) <EOS> <EOF>"},  // a blank ends the run of line ends
      {__LINE__, DEFAULT, "a!b\nc !\"d\n", "K(a) <EOS> K(c) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "a!b\rc\n", "K(a) K(c) <EOS> <EOF>"},  // CR ends a comment and no statement
      // Separators.
      {__LINE__, 0, "a=1\n", "K(a=1) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "a,b;-5+x\n", "K(a) , K(b) ; - I(5) + K(x) <EOS> <EOF>"},
      {__LINE__, ALL, ",;+-=/*^$(){}:~@%#\n", ", ; + - = / * ^ $ ( ) { } : ~ @ % # <EOS> <EOF>"},
      {__LINE__, ALL, "== >= <= <> >< ** ===\n", "== >= <= <> >< ** == = <EOS> <EOF>"},
      {__LINE__, Config::SEP_EQUALS_EQUALS, "a=b==c\n", "K(a) K(=b) == K(c) <EOS> <EOF>"},
      {__LINE__, Config::SEP_LESS | Config::SEP_GREATER, "a<=b<>c\n", "K(a) < K(=b) < > K(c) <EOS> <EOF>"},
      {__LINE__, Config::SEP_LESS_EQUALS, "a<b<=c <\n", "K(a) K(<b) <= K(c) K(<) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "a#b #c\n", "K(a#b) K(#c) <EOS> <EOF>"},
      // Words and numbers.
      {__LINE__, 0, "12 1.5 .5 5. 1e5 1.5e3 . 1e\n", "I(12) F(1.5) F(.5) F(5.) F(1e5) F(1.5e3) F(.) F(1e) <EOS> <EOF>"},
      {__LINE__, 0, "1.5e+3 1.2.3 1e5.5 e5 1e5e 0x1F\n",
       "K(1.5e+3) K(1.2.3) K(1e5.5) K(e5) K(1e5e) K(0x1F) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "12e+5 1.5e+3 1e+5 1.e+5\n", "K(12e+5) K(1.5e+3) F(1e) + I(5) F(1.e) + I(5) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "12ee+5 12e5+5 x1*e+5 1x2e-\n",
       "K(12ee+5) F(12e5) + I(5) K(x1*e+5) K(1x2e-) <EOS> <EOF>"},  // a `*` that stays leaves the digit mark
      // Quotes.
      {__LINE__, DEFAULT, "\"a b\"c\"\"\n", "S(a b) K(c) S() <EOS> <EOF>"},
      {__LINE__, DEFAULT, "\"a\"\"b\" \"a\\nb\" \"\t!&|\"\n", "S(a\"b) S(a\\nb) S(\t!&|) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "'it''s' 'a b'x\n", "K('it's') K('a b') K(x) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "'\x7F'\n", "K('\x7F') <EOS> <EOF>"},
      // Errors; reading goes on from where scanning stopped.
      {__LINE__, DEFAULT, "a \"b c\nd\n", "K(a) !109(b c) <EOS> K(d) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "'b\r\nd\n", "!10a('b) <EOS> K(d) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "\"a\x02z\n\"\x7F\" \n", "!10d(a) K(z) <EOS> !10d() !109( ) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "'a\tb'\n", "!10d('a) K(b) !10a(') <EOS> <EOF>"},
  };
  expectTokens(ROWS, ALL_KINDS);
}

// The syntax is settled on the raw first character: the armoured lines stand behind a plain one.
TEST(ConfigTokenTest, HashSyntaxOfFiles) {
  static const TokensRow ROWS[] = {
      {__LINE__, DEFAULT, "a#b\nc # d\n!e\n", "K(a) <EOS> K(c) <EOS> <EOF>"},
      {__LINE__, ALL, "a#b\n", "# <EOS> K(a) # K(b) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "\"a\"\"b\"\n", "S(a) S(b) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "\"a\\nb\\tc\\\"d\\\\e\\q\\8\\9\"\n", "S(a\nb\tc\"d\\e\\q\\8\\9) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "\"\\x41\\x6a\\x4A\\101\\377\\x7f\\0012\"\n", "S(AjJA\u00FF\x7F\x01\x32) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "\"\\xG1\" b\n", "!10c() I(1) !109( b) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "\"a\\x1\"b\n", "!10c(a) K(b) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "\"\\08\" \"\\477\"\n", "!10c() S( ) K(\\477) !109() <EOS> <EOF>"},
      {__LINE__, DEFAULT, "\"\\x\nb\n", "!10c() K(b) <EOS> <EOF>"},  // the line end was the digit
      {__LINE__, DEFAULT, "\"\\\n", "!109(\\) <EOS> <EOF>"},
      {__LINE__, DEFAULT, "\"\\x", "!10c() <EOF>"},  // and here the end of the text
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
              {16000, "\"", "\"\"\"\n", ConfigError::STRING_TOO_LONG, 16000},
              {16000, "\"", "\n", ConfigError::UNCLOSED_STRING, 16000},
              {16000, "\"", "\x02\"\n", ConfigError::CONTROL_CHARACTER, 16000},
              {15998, "'", "'\n", 0, 16000},
              {15999, "'", "'\n", ConfigError::STRING_TOO_LONG, 15999}};
  for (const auto& row : ROWS) {
    for (const Kind kind : ALL_KINDS) {
      SCOPED_TRACE(testing::Message() << row.before << row.length << row.behind << ", source "
                                      << static_cast<int>(kind));
      Source source(kind, "a\n" + (row.before + std::string(row.length, 'x')) + row.behind + "b\n");
      ASSERT_EQ(source->nextToken(), Config::KEYWORD_TOKEN);
      source->releaseToken();
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
    Source source(kind, "one last");
    for (int i = 0; i != 2; ++i) {  // looking twice reads once
      EXPECT_EQ(source->nextToken(), Config::KEYWORD_TOKEN);
      EXPECT_EQ(source->charactersProcessed(), 4u);  // the blank too, and not the character behind it
    }
    source->releaseToken();
    EXPECT_EQ(utf8(source->getKeyword()), "last");
    for (int i = 0; i != 3; ++i) EXPECT_TRUE(source->nextToken() == Config::EOF_TOKEN && source->checkEOS());
    EXPECT_EQ(source->charactersProcessed(), 8u);
  }
  Source source(Kind::STRING, "a\n\n|b\n");
  source->releaseLine();
  for (int i = 0; i != 3; ++i) {
    EXPECT_EQ(source->nextToken(), Config::EOS_TOKEN) << "only checkEOS closes it";
    source->releaseToken();
  }
  EXPECT_EQ(utf8(source->getKeyword()), "b");
}

TEST(ConfigTokenTest, AHostMayTakeTheTokensBlockAway) {
  Source source(Kind::STRING, "first " + std::string(1000, 'y') + " \"" + std::string(15000, 's') + "\"\n");
  const String first = std::move(source->getKeyword());
  EXPECT_EQ(utf8(first), "first");
  source->getKeyword() = u"short";
  EXPECT_EQ(source->getStr().size(), 15000u);
}

}  // namespace
