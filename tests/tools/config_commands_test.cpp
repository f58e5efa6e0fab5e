#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "tests/tools/zqtool_process.h"

namespace {

/// "LINE:COLUMN words" of each error that was told about `file`.
std::vector<std::string> errorsIn(const std::string& out, const std::string& file) {
  std::vector<std::string> errors;
  for (const std::string& line : linesOf(out)) {
    if (line.starts_with(file + ":")) errors.push_back(line.substr(file.size() + 1));
  }
  return errors;
}

TEST(ConfigCheckTest, TellsEveryErrorOfAFileAndItsPlace) {
  static const struct {
    int line;
    std::string text;
    std::vector<std::string> arguments;
    std::vector<std::string> errors;  // the beginnings
  } ROWS[] = {
      {__LINE__, "", {}, {}},
      {__LINE__, "a = 1, -2, 'x y', \"t\" | b 1.5e3 & c\nd\n! \"\n", {}, {}},
      {__LINE__, "a \"b\nc 'd\ne 1\n", {}, {"1:5: The text in double", "2:5: The name in single"}},
      {__LINE__, "a 1e b\n= 3\n\"t\"\n.5\nb 1\n", {}, {"1:3: A number", "2:1: A name", "3:1: A name", "4:1: A name"}},
      {__LINE__, "a\n\"b\" | c \"\x02\" | \"d\"\n", {}, {"2:1: A name"}},  // the rest of the line is passed over
      {__LINE__, "a \"\x02\"\n", {}, {"1:4: There is a control"}},
      {__LINE__, "#\na \"\\xg\"\nb \"\\08\"\n", {}, {"2:6: The escape", "3:6: The escape"}},
      {__LINE__, "a \"\\xg\"\n", {}, {}},  // no escapes without # at the start
      {__LINE__, std::string(1025, 'w') + "\n", {}, {"1:1025: The word is too long"}},
      {__LINE__, "a \"" + std::string(16001, 's') + "\"\n", {}, {"1:16004: The quoted text"}},
      {__LINE__, "a \xE9\nb \"\n", {}, {"1:3: The text has a byte", "2:4: The text in double"}},
      {__LINE__, "a \xE9\nb \"\n", {"--utf8"}, {"2:4: The text in double"}},
      {__LINE__, "a = 1\n{\n}\n", {"--separators", "0x6010"}, {}},
      {__LINE__, "- 1\n", {"--separators", "0"}, {}},  // a word, then
      {__LINE__, "! plain\na \"\n", {"--honour-marker"}, {"2:4: The text in double"}},
      {__LINE__, "a \"\n\n\nb \"\n", {"--key", "5"}, {"1:4: The text", "2:4: The text"}},  // decoding drops empty lines
      {__LINE__, "a \"", {}, {"1:4: The text in double"}},
      {__LINE__, "a\x01 \"\n", {}, {"1:2: "}},  // a byte of 1 ends the text
  };
  const Scratch scratch;
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    scratch.write("f", row.text);
    std::vector<std::string> arguments = {"config", "check", "f", "--language", "en"};
    arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
    const Outcome outcome = runZqtool(scratch, arguments);
    EXPECT_EQ(outcome.status, row.errors.empty() ? 0 : 1);
    EXPECT_EQ(outcome.err, "");
    const auto errors = errorsIn(outcome.out, "f");
    ASSERT_EQ(errors.size(), row.errors.size()) << outcome.out;
    for (std::size_t i = 0; i < errors.size(); ++i) EXPECT_TRUE(errors[i].starts_with(row.errors[i])) << errors[i];
  }
}

TEST(ConfigCheckTest, ShowsTheLineWithACaret) {
  static const struct {
    int line;
    std::string text, shown;
  } ROWS[] = {
      {__LINE__, "\tb = 1e\r\n", "\tb = 1e\n\t    ^\n"},
      {__LINE__, "語 \"é\n", "語 \"é\n     ^\n"},  // a wide character takes two columns
      {__LINE__, "a \x02\x7F 1e\n", "a \xEF\xBF\xBD\xEF\xBF\xBD 1e\n     ^\n"},
      {__LINE__, "a " + std::string(100, 'b') + " 1e " + std::string(100, 'c') + "\n",
       "..." + std::string(63, 'b') + " 1e " + std::string(29, 'c') + "...\n" + std::string(67, ' ') + "^\n"},
  };
  const Scratch scratch;
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    scratch.write("f", row.text);
    const Outcome outcome = runZqtool(scratch, {"config", "check", "f", "--language", "en"});
    EXPECT_EQ(outcome.out.substr(outcome.out.find('\n') + 1), row.shown);
  }
}

TEST(ConfigCheckTest, TakesSeveralFilesAndStandardInput) {
  const Scratch scratch;
  scratch.write("good", "a 1\n");
  scratch.write("bad", "1\n");
  const Outcome outcome = runZqtool(scratch, {"config", "check", "bad", "absent", "-", "good", "."}, "#\n'x\n");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(errorsIn(outcome.out, "bad").size(), 1u);
  EXPECT_EQ(errorsIn(outcome.out, "absent").size(), 1u);
  EXPECT_NE(outcome.out.find("'./absent'"), std::string::npos) << outcome.out;  // the path that was tried
  ASSERT_EQ(errorsIn(outcome.out, "-").size(), 1u);
  EXPECT_TRUE(errorsIn(outcome.out, "-")[0].starts_with("2:3: The name"));
  EXPECT_EQ(errorsIn(outcome.out, "good").size(), 0u);
  EXPECT_EQ(errorsIn(outcome.out, ".").size(), 1u);
}

TEST(ConfigCheckTest, TellsTheMistakesOfTheExampleInFourLanguages) {
  const Scratch scratch;
  const std::string file = SOURCE_DIR "/examples/config/broken.conf";
  std::set<std::string> allWords;
  for (const char* language : {"en", "de", "FR", "ja_JP.UTF-8"}) {
    SCOPED_TRACE(language);
    const Outcome outcome = runZqtool(scratch, {"config", "check", file, "--language", language});
    EXPECT_EQ(outcome.status, 1);
    std::set<std::string> words;
    for (const std::string& error : errorsIn(outcome.out, file)) words.insert(error.substr(error.find(": ") + 2));
    EXPECT_GE(words.size(), 8u);
    allWords.merge(words);
  }
  EXPECT_GE(allWords.size(), 32u);  // no language borrows from another
  EXPECT_EQ(runZqtool(scratch, {"config", "check", "--utf8", SOURCE_DIR "/examples/config/server.conf"}).out, "");
}

TEST(ConfigTokensTest, PrintsOneTokenALine) {
  const Scratch scratch;
  scratch.write("f", "#\na=-12,\t'b c' 1.5 \"d\\n\\\\\"\nlist == 3\n\"\n");
  const Outcome outcome = runZqtool(scratch, {"config", "tokens", "f", "--separators", "0x1001F", "--language", "en"});
  EXPECT_EQ(outcome.status, 1);
  const std::string expected =
      "2\t1\tkeyword\ta\n2\t2\tseparator\t=\n2\t3\tseparator\t-\n2\t4\tinteger\t12\n2\t6\tseparator\t,\n"
      "2\t8\tkeyword\t'b c'\n2\t14\tnumber\t1.5\n2\t18\tstring\td\\x0a\\\\\n2\t25\tstatement-end\t<EOS>\n"
      "3\t1\tkeyword\tlist\n3\t6\tseparator\t==\n3\t9\tinteger\t3\n3\t10\tstatement-end\t<EOS>\n"
      "f:4:2: The text";
  EXPECT_EQ(outcome.out.substr(0, expected.size()), expected);
  EXPECT_TRUE(outcome.out.ends_with("\tend\t<EOF>\n")) << outcome.out;
}

bool isArmour(const std::string& line) {
  return line[0] == 'z' && std::all_of(line.begin() + 1, line.end(), [](char c) { return c >= 0x30 && c <= 0x6F; });
}

TEST(ScrambleTest, GivesTheTextBack) {
  static const struct {
    int line;
    std::string text;
  } ROWS[] = {
      {__LINE__, ""},
      {__LINE__, "\n\n"},
      {__LINE__, "a\n\nb\r\nno line feed"},
      {__LINE__, "# stays readable\nsecret \"é\"\n"},
      {__LINE__, std::string("zero \0 byte\n\xFF\xFE\n", 15)},
      {__LINE__, std::string(100000, 'x') + "\n"},
  };
  const Scratch scratch;
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    const Outcome scrambled = runZqtool(scratch, {"scramble", "-"}, row.text);
    EXPECT_EQ(scrambled.status, 0) << scrambled.err;
    for (const std::string& line : linesOf(scrambled.out)) {
      EXPECT_TRUE(line.empty() || line[0] == '#' || isArmour(line)) << line;
    }
    EXPECT_EQ(linesOf(scrambled.out).size(), linesOf(row.text).size());
    EXPECT_EQ(runZqtool(scratch, {"unscramble", "-"}, scrambled.out).out, row.text);
  }
  EXPECT_EQ(runZqtool(scratch, {"unscramble", "-"}, "plain text\n").out, "plain text\n");
}

TEST(ScrambleTest, HostsReadTheSameSettings) {
  const Scratch scratch;
  const std::string file = SOURCE_DIR "/examples/config/server.conf";
  EXPECT_EQ(runZqtool(scratch, {"scramble", file, "--output", "s"}).status, 0);
  EXPECT_EQ(scratch.fileCount(), 1u);  // nothing is left beside it
  const Outcome plain = runProgram(scratch, CONFIG_HOST, {file});
  const Outcome scrambled = runProgram(scratch, CONFIG_HOST, {"s"});
  EXPECT_EQ(plain.status, 0) << plain.err;
  EXPECT_NE(plain.out.find("route 'orders v1' to http://legacy.internal:80/cgi-bin/orders, weight 1, 12 s\n"),
            std::string::npos)
      << plain.out;
  EXPECT_EQ(scrambled.out, plain.out);
  EXPECT_EQ(scrambled.err, "");
  EXPECT_EQ(runZqtool(scratch, {"config", "check", "s", "--key", "1", "--utf8"}).out, "");
  const Outcome tokens = runZqtool(scratch, {"config", "tokens", "s", "--key", "1", "--utf8"});
  EXPECT_EQ(linesOf(tokens.out).size(), linesOf(runZqtool(scratch, {"config", "tokens", file, "--utf8"}).out).size());
  scratch.write("wrong", "! note\nserver \"a\"\n\nworkers many\n");
  const Outcome wrong = runProgram(scratch, CONFIG_HOST, {"wrong"}, {}, "LC_ALL=de_DE.UTF-8");
  EXPECT_EQ(wrong.status, 1);
  EXPECT_TRUE(wrong.err.starts_with("wrong:4: Hier wird eine ganze Zahl erwartet.")) << wrong.err;
  // A mistake in a scrambled file is shown in readable form.
  scratch.write("b", "a 1\nb \"oh\n");
  runZqtool(scratch, {"scramble", "b", "-o", "b"});
  const Outcome bad = runZqtool(scratch, {"config", "check", "b", "--key", "1", "--language", "en"});
  EXPECT_TRUE(bad.out.starts_with("b:2:6: The text")) << bad.out;
  EXPECT_TRUE(bad.out.ends_with("\nb \"oh\n     ^\n")) << bad.out;
}

}  // namespace
