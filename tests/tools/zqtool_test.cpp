#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "tests/support/temp_dir.h"
#include "tests/support/text.h"
#include "zqcore27/catalogue/cstr_error.h"
#include "zqcore27/catalogue/cstr_file.h"
#include "zqcore27/core/core.h"

namespace {

/// What a program left behind.
struct Outcome {
  int status;
  std::string out, err;
  bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& o, std::ostream* to) { *to << o.status << "\n" << o.out << "\n" << o.err; }

/// Runs programs in a directory of the test's own.
class ZqtoolTest : public testing::Test {
 protected:
  /// A command of the shell, in a locale of UTF-8 in English unless `environment` says otherwise.
  Outcome run(const std::string& command, const std::string& input = {}, const std::string& environment = {}) const {
    dir.write(".in", input);
    const std::string line = "cd '" + (dir / "") + "' && LC_ALL=C.UTF-8 " + environment + " " + command;
    const int result = std::system((line + " <.in >.out 2>.err").c_str());
    Outcome outcome{WIFEXITED(result) ? WEXITSTATUS(result) : -1, dir.read(".out"), dir.read(".err")};
    for (const char* name : {".in", ".out", ".err"}) std::filesystem::remove(dir / name);
    return outcome;
  }
  Outcome zqtool(const std::string& words, const std::string& input = {}, const std::string& environment = {}) const {
    return run("'" ZQTOOL "' " + words, input, environment);
  }
  std::ptrdiff_t fileCount() const { return std::distance(std::filesystem::directory_iterator(dir.path()), {}); }

  const TempDir dir;
};

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    lines.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return lines;
}

using CatalogueCommandsTest = ZqtoolTest;

std::string entry(const std::string& handle, const std::string& english, const std::string& text) {
  return "msgctxt \"" + handle + "\"\nmsgid \"" + english + "\"\nmsgstr \"" + text + "\"\n\n";
}

TEST_F(CatalogueCommandsTest, TheLibraryReadsWhatWasCompiled) {
  dir.write("a.po", entry("0xC2010001", "one {1}", R"(eins {1} {{ {8} \"\\\n\t\0071)") +
                        entry("0xC2010150", "far", "fern") + entry("0xC2010003", "three", "") +
                        entry("0xC2010004", "語", "語"));
  EXPECT_EQ(zqtool("catalogue compile a.po -o t.cst"),
            (Outcome{0, "", "a.po:9: warning: 0xC2010003 has no translation; its English text stands in\n"}));
  EXPECT_EQ(fileCount(), 2);

  gCore->fStringDirectory = String(dir.path().c_str());
  FileLocator locator;
  locator.setFullName(String("t.cst"));
  CStrFile file(nullptr, locator, gCore->fVersion->fFull);
  gCore->fStringDirectory = nullptr;
  EXPECT_EQ(utf8(file.get(0xC2010001)), "eins \u00131 { \u00138 \"\\\n\t\a1");
  EXPECT_EQ(utf8(file.get(0xC2010002)), "");
  EXPECT_EQ(utf8(file.get(0xC2010003)), "three");
  EXPECT_EQ(utf8(file.get(0xC2010004)), "語");
  EXPECT_EQ(utf8(file.get(0xC2010150)), "fern");
  EXPECT_THROW(file.get(0xC2010151), CStrError);

  const Outcome dumped = zqtool("catalogue dump t.cst --language de");
  EXPECT_EQ(dumped.status, 0);
  EXPECT_NE(dumped.out.find("\"Language: de\\n\""), std::string::npos);
  EXPECT_EQ(zqtool("catalogue compile - -o u.cst", dumped.out), (Outcome{0, "", ""}));
  EXPECT_EQ(dir.read("u.cst"), dir.read("t.cst"));
  EXPECT_EQ(zqtool("catalogue check t.cst").out, "t.cst: 4 texts on 2 pages, 0xC2010001 to 0xC2010150\n");
}

TEST_F(CatalogueCommandsTest, CompileRefusesWithFileAndLineAndLeavesTheOldFile) {
  static const struct {
    int line;
    std::string text, err;
  } ROWS[] = {
      {__LINE__, entry("0x2", "e", "a") + entry("0x1", "e", "{1}" + std::string(253, 'x')), "a.po:5: the text has 255"},
      {__LINE__, entry("0x1", "e", "a") + entry("0x01", "f", "b"), "a.po:5: the handle 0x00000001 is there twice"},
      {__LINE__, "", "a.po: there is no text"},
  };
  dir.write("t.cst", "old");
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    dir.write("a.po", row.text);
    const Outcome outcome = zqtool("catalogue compile a.po -o t.cst");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.err.starts_with(row.err)) << outcome.err;
    EXPECT_EQ(dir.read("t.cst"), "old");
    EXPECT_EQ(fileCount(), 2);
  }
  dir.write("a.po", entry("0x1", "e", "a"));
  for (const std::string target : {"absent/t.cst", "/dev/full"}) {
    const Outcome outcome = zqtool("catalogue compile a.po -o " + target);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.err.starts_with(target + ": ")) << outcome.err;
  }
}

TEST_F(CatalogueCommandsTest, CompileHoldsATranslationAgainstTheEnglishFile) {
  dir.write("en.po", entry("0x1", "one {1}", "one {1}") + entry("0x2", "two", "two") + entry("0x3", "three", "THREE") +
                         entry("0x4", "four", "four"));
  dir.write("de.po", entry("0x1", "one {1}", "eins {2}") + entry("0x3", "three", "") + entry("0x4", "four", "vier") +
                         entry("0x5", "five", "fünf"));
  EXPECT_EQ(zqtool("catalogue compile de.po --english en.po --output t.cst"),
            (Outcome{0, "de.po: 2 of 4 texts translated, 50 %\n",
                     "de.po:5: warning: 0x00000003 has no translation; its English text stands in\n"
                     "de.po:1: warning: the marks of 0x00000001 differ: {2} here, {1} in English (en.po:1)\n"
                     "de.po:13: warning: 0x00000005 isn't in en.po\n"
                     "de.po: warning: 0x00000002 is missing; its English text stands in (en.po:5)\n"}));
  const std::string dumped = zqtool("catalogue dump t.cst").out;
  for (const char* text : {"\"eins {2}\"", "\"two\"", "\"THREE\"", "\"vier\"", "\"fünf\""}) {
    EXPECT_NE(dumped.find(std::string("msgstr ") + text), std::string::npos) << text;
  }
}

TEST_F(CatalogueCommandsTest, CheckTellsWhatIsWrong) {
  dir.write("a.po", entry("0x1", "e", "a"));
  zqtool("catalogue compile a.po -o good.cst");
  std::string bytes = dir.read("good.cst");
  dir.write("cut.cst", bytes.substr(0, 2559));
  bytes[20] = '9';
  dir.write("version.cst", bytes);
  EXPECT_EQ(zqtool("catalogue check cut.cst version.cst good.cst absent.cst"),
            (Outcome{1,
                     "version.cst: 1 texts on 1 pages, 0x00000001 to 0x00000001\n"
                     "good.cst: 1 texts on 1 pages, 0x00000001 to 0x00000001\n",
                     "cut.cst: the file has 2559 bytes; 2560 are the least\n"
                     "version.cst: the version is '9.7.A'; the library reads 2.7.A\n"
                     "absent.cst: No such file or directory\n"}));
  EXPECT_EQ(zqtool("catalogue dump cut.cst -o d.po").status, 1);
  EXPECT_FALSE(std::filesystem::exists(dir / "d.po"));
}

TEST_F(CatalogueCommandsTest, ExplainGivesTheWordsOfACode) {
  static const struct {
    int line;
    const char *words, *environment;
    int status;
    const char* told;  // in what is printed
  } ROWS[] = {
      {__LINE__, "0xC2000106", "", 0, "The configuration file '{1}' can't be opened."},
      {__LINE__, "0xC2000106 x --language de", "", 0, "Die Konfigurationsdatei „x“ lässt sich nicht öffnen."},
      {__LINE__, "0xC2000106 x", "LC_ALL=de_DE.ISO-8859-1", 0, "l\xE4sst sich nicht \xF6"},
      {__LINE__, "0xC2000106 x --language xx", "", 0, "The configuration file 'x'"},
      {__LINE__, "0xC2000103", "", 1, "zqtool: there is no text for 0xC2000103\n"},
      {__LINE__, "0xC2000106", "tavio_language=/absent", 1, "Failed to open the constant string file"},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    const Outcome outcome = zqtool(std::string("explain ") + row.words, {}, row.environment);
    EXPECT_EQ(outcome.status, row.status);
    EXPECT_NE((row.status == 0 ? outcome.out : outcome.err).find(row.told), std::string::npos)
        << outcome.out << outcome.err;
  }
}

TEST_F(CatalogueCommandsTest, ExplainListsEveryCodeInEveryLanguage) {
  std::set<std::string> codes, words;
  for (const std::string language : {"en", "de", "fr", "ja"}) {
    for (const std::string& line : linesOf(zqtool("explain --list --language " + language).out)) {
      codes.insert(line.substr(0, 10));
      words.insert(line.substr(11));
    }
  }
  EXPECT_EQ(codes.size(), 34u);
  EXPECT_EQ(words.size(), 4 * 34u);
}

TEST_F(CatalogueCommandsTest, WrongUseIsToldInOneLineAndTheStatusIsTwo) {
  for (const char* words :
       {"", "nonsense", "config", "config check", "config check f --separators many",
        "config check f --separators 0x100000000", "explain xyz", "explain 0xC20001061", "explain 0xC2000106 --list",
        "explain 0xC2000106 1 2 3 4 5 6 7 8 9", "catalogue compile a.po", "version 3"}) {
    SCOPED_TRACE(words);
    const Outcome outcome = zqtool(words);
    EXPECT_EQ(outcome, (Outcome{2, "", outcome.err}));
    EXPECT_EQ(linesOf(outcome.err).size(), 1u) << outcome.err;
    EXPECT_TRUE(outcome.err.starts_with("zqtool: ")) << outcome.err;
  }
  EXPECT_EQ(zqtool("--help").status, 0);
  EXPECT_NE(zqtool("config check --help").out.find("--separators"), std::string::npos);
  EXPECT_TRUE(zqtool("version").out.starts_with("zqcore 2.7A  ("));
}

using FloatCommandTest = ZqtoolTest;

TEST_F(FloatCommandTest, ConvertsBothWays) {
  static const struct {
    int line;
    std::string words, input;
    Outcome expected;  // the beginning of what is told
  } ROWS[] = {
      {__LINE__, "1 8 8040000000000000", "", {0, "1\n", ""}},
      {__LINE__, "1 4", "80 40\n00 00 20C10000\n", {0, "1\n-2.5\n", ""}},
      {__LINE__, "3 8 --from 7ff8400012345678 3fb999999999999a", "", {0, "special7\n0.1\n", ""}},
#ifndef __i386__  // where a signalling NaN becomes quiet on its way
      {__LINE__, "2 8 0000f0ff0000f0ff", "", {0, "special9\n", ""}},
#endif
      {__LINE__, "34 4 --to", "1 special2\n0 0.1", {0, "0000803f\n0000c37f\n00000000\ncdcccc3d\n", ""}},
      {__LINE__, "3 8 --to -- -2.5 inf", "", {0, "c004000000000000\n7ff0000000000000\n", ""}},
      {__LINE__, "2 4 --to 1 special4", "", {1, "0000803f\n", "zqtool: special4: "}},
      {__LINE__, "2 4 0000803f0000", "", {1, "1\n", "zqtool: the last value: fewer than 4 bytes"}},
      {__LINE__, "2 4 0000-03f", "", {1, "", "zqtool: -: no hexadecimal digit"}},
      {__LINE__, "12 4 00000000", "", {2, "", "zqtool: CODE: 12 names no format"}},
      {__LINE__, "2 4 --to --from", "", {2, "", "zqtool: --to excludes --from"}},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    Outcome outcome = zqtool("float " + row.words, row.input);
    EXPECT_EQ(outcome.err.empty(), row.expected.status == 0);
    outcome.err.resize(std::min(outcome.err.size(), row.expected.err.size()));
    EXPECT_EQ(outcome, row.expected);
  }
}

using TreeCommandTest = ZqtoolTest;
using OutlineExampleTest = ZqtoolTest;

TEST_F(TreeCommandTest, ShowsTheWalk) {
  static const struct {
    int line;
    std::string outline;
    std::vector<std::string> out;  // the lines between the head and the sum, their blanks made single; then the sum
  } ROWS[] = {
      {__LINE__,
       "\xEF\xBB\xBF# levels by tabs, other line ends\r\n\ta\r\n\t\tb\r\n\r\n\t\t\tc\r\n\t\t# no child\r\n\td",
       {"4 2-3 (root)", "2 1 a", "1 0 b", "0 c", "3 d", "nodes 5, runs 3, places of the walk 5"}},
      {__LINE__,  // a shared node stands in the run of the parent that is numbered last; a name alone is a new node
       "a\n  x\n  &s\n  y\nb\n    z\n    s\n        x\n",
       {"7 5-6 (root)", "5 1-3 a", "1 x", "2 0 s [clone]", "0 x [clone]", "3 y", "6 4 2 b", "4 z", "2 0 s [clone]",
        "0 x [clone]", "nodes 8, runs 5, places of the walk 10"}},
      {__LINE__,  // what stands in front of a name
       "! t\n  hidden\n\\!a\n\\\\b\n  &&c\n\\&c\n  !d e\n",
       {"6 3-5 2 (root)", "3 1 t [terminator]", "4 !a", "5 2 \\b", "2 0 &c [clone]", "0 d e [clone] [terminator]",
        "2 0 &c [clone]", "0 d e [clone] [terminator]", "nodes 7, runs 5, places of the walk 8"}},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    const Outcome outcome = zqtool("tree", row.outline);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    std::vector<std::string> lines = linesOf(outcome.out);
    ASSERT_FALSE(lines.empty());
    lines.erase(lines.begin());
    for (std::string& line : lines) line = std::regex_replace(line, std::regex("^ +|( ) +"), "$1");
    EXPECT_EQ(lines, row.out);
  }
}

TEST_F(TreeCommandTest, WritesForGraphviz) {
  dir.write("f", "a \"b\" \\n\n  &é & <c>\n!\\!\n  é & <c>\n");
  const Outcome outcome = zqtool("tree --dot f", "", "LC_ALL=C.ISO-8859-1");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out,
            "digraph tree {\n  graph [ordering=out, charset=\"UTF-8\"];\n  node [shape=box];\n"
            "  n3 [label=\"(root)\\n3: 1-2\"];\n  n3 -> n1;\n  n3 -> n2;\n"
            "  n2 [label=\"!\\n2: 0\", peripheries=2];\n  n2 -> n0 [style=dotted];\n"
            "  n1 [label=\"a \\\"b\\\" \\\\n\\n1: 0\"];\n  n1 -> n0;\n"
            "  n0 [label=\"é &amp; <c>\\n0\", style=dashed];\n}\n");
}

TEST_F(TreeCommandTest, RefusesWhatIsNoTree) {
  std::string deep = "a\n", wide = "a0\n &a1\n &b1\n";
  for (std::size_t i = 1; i <= 1000; ++i) deep += std::string(i, ' ') + "a\n";
  for (int i = 1; i < 64; ++i) {  // 2 to the power of 64 ways to the bottom
    for (const char* side : {"a", "b"}) {
      wide += side + std::to_string(i) + "\n &a" + std::to_string(i + 1) + "\n &b" + std::to_string(i + 1) + "\n";
    }
  }
  const struct {
    int line;
    std::string outline, err;
  } ROWS[] = {
      {__LINE__, "", ": there is no node in it"},
      {__LINE__, "a\n\tb\n  c\n", ":3: tabs and blanks are mixed"},
      {__LINE__, "a\n    b\n  c\n", ":3: the indentation is that of no line above"},
      {__LINE__, "a\n\xF0\x9F\x98\x80\n", ":2: the name isn't UTF-8, or has a character beyond"},
      {__LINE__, std::string("a\nb\0c\n", 6), ":2: a control character"},
      {__LINE__, "a\n &b\n", ":2: no line without & names 'b'"},
      {__LINE__, "a\n b\nb\nc\n &b\n", ":5: which 'b' is meant? There is one in line 2 and one in line 3"},
      {__LINE__, "a\nb\n &a\n  c\n", ":4: the children of a shared node"},
      {__LINE__, "c\na\n &b\nb\n d\n  &a\n   \n", ":6: the node 'a' would stand below itself"},
      {__LINE__, deep, ":1001: more than 1000 levels"},
      {__LINE__, wide + "a64\nb64\n", ": the walk has more than 1000000 places"},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    const Outcome outcome = zqtool("tree", row.outline);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_TRUE(outcome.err.starts_with("standard input" + row.err)) << outcome.err;
  }
  EXPECT_EQ(zqtool("tree nowhere").err, "nowhere: No such file or directory\n");
}

TEST_F(OutlineExampleTest, KeepsAnIteratorThroughChanges) {
  std::filesystem::create_directories(dir / "d/b");
  for (const char* name : {"d/a", "d/b/c", "d/b/d", "d/e"}) dir.write(name, "");
  std::filesystem::create_directory_symlink(dir / "d", dir / "d/up");
  EXPECT_EQ(run("'" OUTLINE "' d").out,
            "6 d\n  2 a\n  3 b\n    0 c\n    1 d\n  4 e\n  5 up\n\n"
            "The walk stands on 0 c. It gets a child, and a goes with all below it: 1 nodes.\n"
            "Now it stands on 1 c, and goes on to 0 (new).\n\n"
            "6 d\n  3 b\n    1 c\n      0 (new)\n    2 d\n  4 e\n  5 up\n");
  EXPECT_EQ(run("'" OUTLINE "' d/a").err, "d/a: no directory that can be listed\n");
}

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
       {std::string(), std::string("a\n\nb\r\nno line feed"), std::string("# stays readable\n# secret \"é\"\n"),
        std::string("zero \0 byte\n\xFF\xFE\n", 15), std::string(100000, 'x') + "\n"}) {
    SCOPED_TRACE(text.substr(0, 30));
    const Outcome scrambled = zqtool("scramble -", text);
    EXPECT_EQ(scrambled.status, 0) << scrambled.err;
    EXPECT_EQ(scrambled.out.find("secret"), std::string::npos);
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
}

TEST_F(ConfigCommandsTest, MistakesAreToldInTheWordsAndFormOfTheReader) {
  dir.write("wrong", "! note\nserver \"a\"\n\nworkers many\n");
  const Outcome wrong = run("'" CONFIG_HOST "' wrong", {}, "LC_ALL=de_DE.UTF-8");
  EXPECT_EQ(wrong.status, 1);
  EXPECT_TRUE(wrong.err.starts_with("wrong:4: Hier wird eine ganze Zahl erwartet.")) << wrong.err;
  zqtool("scramble -o b -", "a 1\nb \"oh\n");
  const Outcome bad = zqtool("config check b --key 1 --language en");
  EXPECT_TRUE(bad.out.starts_with("b:2:6: The text")) << bad.out;
  EXPECT_TRUE(bad.out.ends_with("\nb \"oh\n     ^\n")) << bad.out;  // in readable form
}

}  // namespace
