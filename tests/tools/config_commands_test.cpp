#include "tests/tools/zqtool_process.h"

namespace {

using ConfigCommandsTest = ZqtoolTest;

const std::string EXAMPLES = SOURCE_DIR "/examples/config/";

/// "LINE:COLUMN words" of each error that was told about `file`.
std::vector<std::string> errorsIn(const std::string& out, const std::string& file) {
  std::vector<std::string> errors;
  for (const std::string& line : linesOf(out)) {
    if (line.starts_with(file + ":")) errors.push_back(line.substr(file.size() + 1));
  }
  return errors;
}

TEST_F(ConfigCommandsTest, CheckTellsEveryErrorOfAFileAndItsPlace) {
  static const struct {
    int line;
    std::string text, options;
    std::vector<std::string> errors;  // the beginnings
  } ROWS[] = {
      {__LINE__, "a = 1, -2, 'x y', \"t\" | b 1.5e3 & c\nd\n! \"\n", "", {}},
      {__LINE__, "a \"b\nc 'd\ne 1\n", "", {"1:5: The text in double", "2:5: The name in single"}},
      {__LINE__, "a 1e b\n= 3\n\"t\"\n.5\nb 1\n", "", {"1:3: A number", "2:1: A name", "3:1: A name", "4:1: A name"}},
      {__LINE__, "a\n\"b\" | c \"\x02\" | \"d\"\n", "", {"2:1: A name"}},  // the rest of the line is passed over
      {__LINE__, "a \xE9\nb \"\n", "", {"1:3: The text has a byte", "2:4: The text in double"}},
      {__LINE__, "a \xE9\nb \"\n", "--utf8", {"2:4: The text in double"}},
      {__LINE__, "- 1\n", "--separators 0", {}},  // a word, then
      {__LINE__, "! plain\na \"\n", "--honour-marker", {"2:4: The text in double"}},
      {__LINE__, "a \"\n\n\nb \"\n", "--key 5", {"1:4: The text", "2:4: The text"}},  // decoding drops empty lines
      {__LINE__, "a\x01 \"\n", "", {"1:2: "}},                                        // a byte of 1 ends the text
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    dir.write("f", row.text);
    const Outcome outcome = zqtool("config check f --language en " + row.options);
    EXPECT_EQ(outcome, (Outcome{row.errors.empty() ? 0 : 1, outcome.out, ""}));
    const auto errors = errorsIn(outcome.out, "f");
    ASSERT_EQ(errors.size(), row.errors.size()) << outcome.out;
    for (std::size_t i = 0; i < errors.size(); ++i) EXPECT_TRUE(errors[i].starts_with(row.errors[i])) << errors[i];
  }
}

TEST_F(ConfigCommandsTest, CheckShowsTheLineWithACaret) {
  static const std::string ROWS[][2] = {
      {"\tb = 1e\r\n", "\tb = 1e\n\t    ^\n"},
      {"語 \"é\n", "語 \"é\n     ^\n"},  // a wide character takes two columns
      {"a \x02\x7F 1e\n", "a \xEF\xBF\xBD\xEF\xBF\xBD 1e\n     ^\n"},
      {"a " + std::string(100, 'b') + " 1e " + std::string(100, 'c') + "\n",
       "..." + std::string(63, 'b') + " 1e " + std::string(29, 'c') + "...\n" + std::string(67, ' ') + "^\n"}};
  for (const auto& [text, shown] : ROWS) {
    dir.write("f", text);
    const Outcome outcome = zqtool("config check f --language en");
    EXPECT_EQ(outcome.out.substr(outcome.out.find('\n') + 1), shown);
  }
}

TEST_F(ConfigCommandsTest, CheckTakesSeveralFilesAndStandardInput) {
  dir.write("good", "a 1\n");
  dir.write("bad", "1\n");
  const Outcome outcome = zqtool("config check bad absent - good .", "#\n'x\n");
  EXPECT_EQ(outcome.status, 1);
  for (const char* file : {"bad", "absent", "."}) EXPECT_EQ(errorsIn(outcome.out, file).size(), 1u) << file;
  EXPECT_NE(outcome.out.find("'./absent'"), std::string::npos) << outcome.out;  // the path that was tried
  ASSERT_EQ(errorsIn(outcome.out, "-").size(), 1u);
  EXPECT_TRUE(errorsIn(outcome.out, "-")[0].starts_with("2:3: The name"));
  EXPECT_EQ(errorsIn(outcome.out, "good").size(), 0u);
}

TEST_F(ConfigCommandsTest, TokensPrintsOneTokenALine) {
  dir.write("f", "#\na=-12,\t'b c' 1.5 \"d\\n\\\\\"\nlist == 3\n\"\n");
  const Outcome outcome = zqtool("config tokens f --separators 0x1001F --language en");
  EXPECT_EQ(outcome.status, 1);
  const std::string expected =
      "2\t1\tkeyword\ta\n2\t2\tseparator\t=\n2\t3\tseparator\t-\n2\t4\tinteger\t12\n2\t6\tseparator\t,\n"
      "2\t8\tkeyword\t'b c'\n2\t14\tnumber\t1.5\n2\t18\tstring\td\\x0a\\\\\n2\t25\tstatement-end\t<EOS>\n"
      "3\t1\tkeyword\tlist\n3\t6\tseparator\t==\n3\t9\tinteger\t3\n3\t10\tstatement-end\t<EOS>\n"
      "f:4:2: The text";
  EXPECT_EQ(outcome.out.substr(0, expected.size()), expected);
  EXPECT_TRUE(outcome.out.ends_with("\tend\t<EOF>\n")) << outcome.out;
}

TEST_F(ConfigCommandsTest, UnscrambleGivesTheTextBack) {
  for (const std::string& text :
       {std::string(), std::string("a\n\nb\r\nno line feed"), std::string("# stays readable\nsecret \"é\"\n"),
        std::string("zero \0 byte\n\xFF\xFE\n", 15), std::string(100000, 'x') + "\n"}) {
    SCOPED_TRACE(text.substr(0, 30));
    const Outcome scrambled = zqtool("scramble -", text);
    EXPECT_EQ(scrambled.status, 0) << scrambled.err;
    for (const std::string& line : linesOf(scrambled.out)) {
      const bool armour = line.starts_with('z') &&
                          std::all_of(line.begin() + 1, line.end(), [](char c) { return c >= 0x30 && c <= 0x6F; });
      EXPECT_TRUE(line.empty() || line[0] == '#' || armour) << line;
    }
    EXPECT_EQ(linesOf(scrambled.out).size(), linesOf(text).size());
    EXPECT_EQ(zqtool("unscramble -", scrambled.out).out, text);
  }
  EXPECT_EQ(zqtool("unscramble -", "plain text\n").out, "plain text\n");
}

TEST_F(ConfigCommandsTest, HostsReadTheSameSettingsOutOfAScrambledFile) {
  const std::string host = "'" CONFIG_HOST "' ", file = "'" + EXAMPLES + "server.conf'";
  EXPECT_EQ(zqtool("config check --utf8 " + file).out, "");
  EXPECT_EQ(zqtool("scramble --output s " + file).status, 0);
  EXPECT_EQ(fileCount(), 1);  // nothing is left beside it
  const Outcome plain = run(host + file), scrambled = run(host + "s");
  EXPECT_EQ(plain.status, 0) << plain.err;
  EXPECT_NE(plain.out.find("route 'orders v1' to http://legacy.internal:80/cgi-bin/orders, weight 1, 12 s\n"),
            std::string::npos)
      << plain.out;
  EXPECT_EQ(scrambled.out, plain.out);
  EXPECT_EQ(scrambled.err, "");
  EXPECT_EQ(zqtool("config check s --key 1 --utf8").out, "");
  EXPECT_EQ(linesOf(zqtool("config tokens s --key 1 --utf8").out).size(),
            linesOf(zqtool("config tokens --utf8 " + file).out).size());
}

TEST_F(ConfigCommandsTest, MistakesAreToldInTheWordsAndFormOfTheReader) {
  dir.write("wrong", "! note\nserver \"a\"\n\nworkers many\n");
  const Outcome wrong = run("'" CONFIG_HOST "' wrong", {}, "LC_ALL=de_DE.UTF-8");
  EXPECT_EQ(wrong.status, 1);
  EXPECT_TRUE(wrong.err.starts_with("wrong:4: Hier wird eine ganze Zahl erwartet.")) << wrong.err;
  dir.write("b", "a 1\nb \"oh\n");
  zqtool("scramble b -o b");
  const Outcome bad = zqtool("config check b --key 1 --language en");
  EXPECT_TRUE(bad.out.starts_with("b:2:6: The text")) << bad.out;
  EXPECT_TRUE(bad.out.ends_with("\nb \"oh\n     ^\n")) << bad.out;  // in readable form
}

}  // namespace
