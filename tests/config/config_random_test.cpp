// Random texts, which meet every seam of a file's blocks and every stop of the scanners.

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/config/sources.h"

namespace {

/// All tokens and errors, with the places and the count of characters behind each.
std::string walk(Config& config) {
  std::string out;
  for (int budget = 100000; budget != 0; --budget) {
    Config::TokenType t = Config::NO_TOKEN;
    try {
      t = config.nextToken();
      out += tokenName(config, t);
    } catch (const ConfigError& e) {
      out += codeName(e) + "(" + utf8(config.tokenText()) + ")";
    }
    for (const std::uint32_t n :
         {config.tokenLine(), config.tokenColumn(), config.line(), config.column(), config.charactersProcessed()}) {
      out += " " + std::to_string(n);
    }
    out += "\n";
    if (t == Config::EOF_TOKEN) return out;
    t == Config::EOS_TOKEN ? static_cast<void>(config.checkEOS()) : config.releaseToken();
  }
  return out + "without end";
}

TEST(ConfigRandomTest, AFileGivesTheTokensOfAString) {
  static constexpr unsigned int SEED = 20261123;
  SCOPED_TRACE(testing::Message() << "seed " << SEED);
  static constexpr std::string_view PIECES[] = {"word",
                                                "E",
                                                "e",
                                                "7",
                                                "0.5",
                                                "12e",
                                                "+",
                                                "-",
                                                "*",
                                                "**",
                                                "=",
                                                "==",
                                                "<",
                                                ">=",
                                                "#",
                                                "!",
                                                "&",
                                                "|",
                                                "\"",
                                                "\"a text\"",
                                                "'it''s'",
                                                "\\",
                                                " ",
                                                " ",
                                                " ",
                                                "\t",
                                                "\r\n",
                                                "\n",
                                                "\n",
                                                "\xC3\xA4",
                                                "\xE6\xBC\xA2",
                                                "\x7F",
                                                ",",
                                                ";",
                                                "~",
                                                "@",
                                                "a rather long run of letters"};
  std::mt19937 random(SEED);
  const auto below = [&](std::size_t n) { return std::uniform_int_distribution<std::size_t>(0, n - 1)(random); };
  for (int round = 0; round < 200; ++round) {
    SCOPED_TRACE(testing::Message() << "round " << round);
    // Not a `#`, which would switch the syntax of the file alone.
    std::string text = "x";
    for (std::size_t n = below(round % 20 == 0 ? 12000 : 60); n > 0; --n) text += PIECES[below(std::size(PIECES))];
    const auto mask = static_cast<Config::SeparatorType>(random());
    std::string walked[2];
    for (const Kind kind : {Kind::STRING, Kind::PLAIN_FILE}) {
      Source source(kind, text);
      source->setUTF8(true);
      source->enableSeparators(mask);
      walked[kind == Kind::PLAIN_FILE] = walk(*source);
    }
    ASSERT_EQ(walked[0], walked[1]) << text.substr(0, 2000);
  }
}

}  // namespace
