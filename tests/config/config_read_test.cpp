#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>

#include "tests/config/sources.h"
#include "zqcore27/errors/cstr.h"

namespace {

enum Reader { KEYWORD, STRING, INT, FP, BOOL, END };

std::string read(Config& config, Reader reader) {
  std::ostringstream out;
  out.precision(17);
  try {
    switch (reader) {
      case KEYWORD:
        return utf8(config.getKeyword());
      case STRING:
        return utf8(config.getStr());
      case INT:
        out << config.getInt();
        break;
      case FP:
        out << config.getFp();
        break;
      case BOOL:
        return config.getBool() ? "true" : "false";
      case END:
        return config.checkEOS() ? "end" : "no end";
    }
  } catch (const ConfigError& e) {
    EXPECT_FALSE(e.fatal());
    return codeName(e);
  }
  return out.str();
}

TEST(ConfigReadTest, TypedReaders) {
  // What is read of the text, and what token comes next: the offending one where the reader refuses it, the one behind
  // where the sign is gone ("-a") or the scan fails (". a").
  static constexpr struct {
    Reader reader;
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
              {FP, "1.5 a", "1.5", "K(a)"},
              {FP, "-1e2 a", "-100", "K(a)"},
              {FP, "+.25 a", "0.25", "K(a)"},
              {FP, "7 a", "7", "K(a)"},
              {FP, ". a", "!112", "K(a)"},
              {FP, "1e a", "!112", "K(a)"},
              {BOOL, "yes a", "true", "K(a)"},
              {BOOL, "TRUE a", "true", "K(a)"},
              {BOOL, "y a", "true", "K(a)"},
              {BOOL, "No a", "false", "K(a)"},
              {BOOL, "false a", "false", "K(a)"},
              {BOOL, "0 a", "false", "K(a)"},
              {BOOL, "17 a", "true", "K(a)"},
              {BOOL, "'Yes' a", "!10f", "K('Yes')"},
              {BOOL, "Yess a", "!10f", "K(Yess)"},
              {BOOL, "-1", "!10f", "-"},
              {END, "\n", "end", "<EOF>"},
              {END, "a\n", "!114", "K(a)"}};
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "reader " << row.reader << " of " << row.text);
    Source source(Kind::STRING, row.text);
    EXPECT_EQ(read(*source, row.reader), row.result);
    const Config::TokenType next = source->nextToken();
    EXPECT_EQ(tokenName(*source, next), row.next);
  }
}

TEST(ConfigReadTest, NumbersHaveAPointInEveryLocale) {
  // None with a comma may be installed, so the test has its own; the other categories, which are missing, don't matter.
  const TempDir dir;
  const std::string source =
      dir.write("source", "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\nEND LC_NUMERIC\n");
  const std::string compile =
      "localedef --quiet --force -i '" + source + "' '" + dir / "comma" + "' 2>'" + dir / "log'";
  if (std::system(compile.c_str()) == 127 << 8) GTEST_SKIP() << "there is no localedef";
  const std::string before = std::setlocale(LC_NUMERIC, nullptr);
  ::setenv("LOCPATH", dir.path().c_str(), 1);
  ASSERT_NE(std::setlocale(LC_NUMERIC, "comma"), nullptr) << dir.read("log");
  ::unsetenv("LOCPATH");
  EXPECT_EQ(*std::localeconv()->decimal_point, ',');
  EXPECT_EQ(Source(Kind::STRING, "1.5")->getFp(), 1.5);
  std::setlocale(LC_NUMERIC, before.c_str());
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
              {Kind::STRING, "a & c\n\nb\n", "1:1 3:1 3:2 4:1"},
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

}  // namespace
