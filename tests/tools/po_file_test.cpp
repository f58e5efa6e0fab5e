#include "tools/po_file.h"

#include <gtest/gtest.h>

#include "tests/tools/scratch.h"

namespace zqtool {
namespace {

const char* const HEADER =
    "msgid \"\"\n"
    "msgstr \"Content-Type: text/plain; charset=UTF-8\\n\"\n"
    "\n";  // an entry begins on line 4

TEST(PoFileTest, TellsEachFaultWithItsLine) {
  static const struct {
    int line;
    const char* text;
    std::size_t at;
    const char* words;
  } ROWS[] = {
      {__LINE__, "msgid \"a\"\nmsgstr \"b\"\n", 4, "handle is missing"},
      {__LINE__, "msgctxt \"C2000109\"\nmsgid \"a\"\nmsgstr \"b\"\n", 4, "C2000109 is no handle"},
      {__LINE__, "msgctxt \"0xC20001091\"\nmsgid \"a\"\nmsgstr \"b\"\n", 4, "is no handle"},
      {__LINE__, "msgctxt \"0x\"\nmsgid \"a\"\nmsgstr \"b\"\n", 4, "is no handle"},
      {__LINE__, "\n# note\nmsgctxt \"0xC2000109 \"\nmsgid \"a\"\nmsgstr \"b\"\n", 6, "is no handle"},
      {__LINE__, "msgctxt \"0x1\"\nmsgid \"a\"\nmsgstr \"{9}\"\n", 4, "msgstr: {9} is no mark"},
      {__LINE__, "msgctxt \"0x1\"\nmsgid \"{0}\"\nmsgstr \"a\"\n", 4, "msgid: {0} is no mark"},
      {__LINE__, "msgctxt \"0x1\"\nmsgid \"a\"\nmsgstr \"b\\000c\"\n", 6, "zero character"},
      {__LINE__, "msgctxt \"0x1\"\nmsgid \"a\"\nmsgid_plural \"as\"\nmsgstr[0] \"b\"\n", 6, "plural"},
      {__LINE__, "msgctxt \"0x1\"\nmsgid \"a\"\nmsgstr \"\xE9\"\n", 6, ""},            // Latin-1 in UTF-8
      {__LINE__, "msgctxt \"0x1\"\nmsgid \"a\"\nmsgstr \"b\n\"\n", 7, "end-of-line"},  // a quote that isn't closed
      {__LINE__, "msgctxt \"0x1\"\nmsgid \"a\"\nmsgstr \"b\"\n\nrubbish\n", 8, ""},
      {__LINE__, "msgctxt \"0x1\"\nmsgid \"a\"\nmsgstr \"b\"\nmsgctxt \"0x1\"\nmsgid \"a\"\nmsgstr \"c\"\n", 8,
       "duplicate"},
  };
  Scratch scratch;
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    const PoFile po = readPoFile(scratch.write("a.po", std::string(HEADER) + row.text));
    ASSERT_FALSE(po.faults.empty());
    EXPECT_EQ(po.faults[0].line, row.at) << po.faults[0].words;
    EXPECT_NE(po.faults[0].words.find(row.words), std::string::npos) << po.faults[0].words;
  }
  const PoFile latin =
      readPoFile(scratch.write("a.po", "msgid \"\"\nmsgstr \"Content-Type: text/plain; charset=ISO-8859-1\\n\"\n"));
  ASSERT_EQ(latin.faults.size(), 1u);
  EXPECT_NE(latin.faults[0].words.find("UTF-8"), std::string::npos);
  EXPECT_EQ(readPoFile(scratch.path("absent.po")).faults.size(), 1u);
}

TEST(PoFileTest, ReadsEntriesWithTheirLines) {
  Scratch scratch;
  const PoFile po = readPoFile(scratch.write(
      "a.po", std::string(HEADER) + "#~ msgctxt \"0x9\"\n#~ msgid \"gone\"\n#~ msgstr \"weg\"\n\n"
                                    "#. msgid \"in a comment\"\n"
                                    "msgctxt \"0xC2000001\" msgid \"msgid {1}\"\nmsgstr \"\"\n\"eins \"\n\"{1}\"\n\n"
                                    "msgctxt \"0xc2000002\"\nmsgid \"two\"\nmsgstr \"\"\n\n"
                                    "#, fuzzy\nmsgctxt \"0xC2000003\"\nmsgid \"three\"\nmsgstr \"dry\"\n"));
  ASSERT_TRUE(po.faults.empty()) << po.faults[0].words;
  ASSERT_EQ(po.entries.size(), 3u);
  static const struct {
    std::size_t line;
    std::uint32_t handle;
    const char *english, *text;
    bool translated;
  } EXPECTED[] = {{9, 0xC2000001, "msgid {1}", "eins {1}", true},
                  {14, 0xC2000002, "two", "two", false},
                  {19, 0xC2000003, "three", "three", false}};
  for (std::size_t i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(po.entries[i].line, EXPECTED[i].line);
    EXPECT_EQ(po.entries[i].handle, EXPECTED[i].handle);
    EXPECT_EQ(toSource(po.entries[i].english), EXPECTED[i].english);
    EXPECT_EQ(toSource(po.entries[i].text), EXPECTED[i].text);
    EXPECT_EQ(po.entries[i].translated, EXPECTED[i].translated);
  }
  ASSERT_EQ(po.warnings.size(), 2u);
  EXPECT_EQ(po.warnings[0].line, 14u);
  EXPECT_NE(po.warnings[1].words.find("fuzzy"), std::string::npos);
}

TEST(PoFileTest, ReadsBackWhatItFormats) {
  Scratch scratch;
  const std::vector<PoText> texts = {{0xC2000001,
                                      u"a\"b\\c\nd\te\x07"
                                      u"1",
                                      u"\x0013"
                                      u"1 {x} \x0013"
                                      u"8 語"}};
  const PoFile po = readPoFile(scratch.write("a.po", formatPo(texts, "ja")));
  ASSERT_TRUE(po.faults.empty()) << po.faults[0].words;
  ASSERT_EQ(po.entries.size(), 1u);
  EXPECT_EQ(po.entries[0].english, texts[0].english);
  EXPECT_EQ(po.entries[0].text, texts[0].text);
}

}  // namespace
}  // namespace zqtool
