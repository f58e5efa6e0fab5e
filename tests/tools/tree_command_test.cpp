#include <regex>

#include "tests/tools/zqtool_process.h"

namespace {

using TreeCommandTest = ZqtoolTest;
using OutlineExampleTest = ZqtoolTest;

TEST_F(TreeCommandTest, ShowsTheWalk) {
  static const struct {
    int line;
    std::string outline;
    std::vector<std::string> out;  // the lines between the head and the sum, their blanks made single; then the sum
  } ROWS[] = {
      {__LINE__, "a", {"1 0 (root)", "0 a", "nodes 2, runs 1, places of the walk 2"}},
      {__LINE__,
       "\xEF\xBB\xBF# levels by tabs, other line ends\r\n\ta\r\n\t\tb\r\n\r\n\t\t\tc\r\n\t\t# no child\r\n\td",
       {"4 2-3 (root)", "2 1 a", "1 0 b", "0 c", "3 d", "nodes 5, runs 3, places of the walk 5"}},
      {__LINE__,  // a shared node stands in the run of the parent that is numbered last; a name alone is a new node
       "a\n  x\n  &s\n  y\nb\n    z\n    s\n        x\n",
       {"7 5-6 (root)", "5 1-3 a", "1 x", "2 0 s [clone]", "0 x [clone]", "3 y", "6 4 2 b", "4 z", "2 0 s [clone]",
        "0 x [clone]", "nodes 8, runs 5, places of the walk 10"}},
      {__LINE__,  // a parent that stands deeper than a child that it shares
       "a\n &s\n b\n  c\n   &s\ns\n",
       {"4 3 0 (root)", "3 0 2 a", "0 s [clone]", "2 1 b", "1 0 c", "0 s [clone]", "0 s [clone]",
        "nodes 5, runs 6, places of the walk 7"}},
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
      {__LINE__, "\n  \n# a\n", ": there is no node in it"},
      {__LINE__, "a\n\tb\n  c\n", ":3: tabs and blanks are mixed"},
      {__LINE__, "a\n \tb\n", ":2: tabs and blanks are mixed"},
      {__LINE__, "a\n    b\n  c\n", ":3: the indentation is that of no line above"},
      {__LINE__, "  a\nb\n", ":2: the indentation is that of no line above"},
      {__LINE__, "a\n!\n", ":2: a mark without a name"},
      {__LINE__, "a\n&\n", ":2: a mark without a name"},
      {__LINE__, "a\nb\n !&a\n", ":3: the mark ! belongs"},
      {__LINE__, "a\n\xC3\n", ":2: the name isn't UTF-8"},
      {__LINE__, "a\n\xF0\x9F\x98\x80\n", ":2: the name isn't UTF-8, or has a character beyond"},
      {__LINE__, std::string("a\nb\0c\n", 6), ":2: a control character"},
      {__LINE__, "a\n &b\n", ":2: no line without & names 'b'"},
      {__LINE__, "a\n b\nb\nc\n &b\n", ":5: which 'b' is meant? There is one in line 2 and one in line 3"},
      {__LINE__, "a\n b\n &b\n", ":3: the node 'b' stands twice"},
      {__LINE__, "a\nb\n &a\n  c\n", ":4: the children of a shared node"},
      {__LINE__, "a\n b\n  &a\n", ":3: the node 'a' would stand below itself"},
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

}  // namespace
