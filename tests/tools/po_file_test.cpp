#include "tools/po_file.h"

#include <gtest/gtest.h>

#include "tests/support/temp_dir.h"

namespace zqtool {
namespace {

const std::string HEADER =
    "msgid \"\"\n"
    "msgstr \"Content-Type: text/plain; charset=UTF-8\\n\"\n"
    "\n";  // an entry begins on line 4

std::string entry(const std::string& handle, const std::string& english, const std::string& text) {
  return "msgctxt \"" + handle + "\"\nmsgid \"" + english + "\"\nmsgstr \"" + text + "\"\n";
}

TEST(PoFileTest, TellsEachFaultWithItsLine) {
  const TempDir dir;
  const auto check = [&dir](const std::string& text, std::size_t line, const char* words) {
    SCOPED_TRACE(text);
    const PoFile po = readPoFile(dir.write("a.po", HEADER + text));
    ASSERT_FALSE(po.faults.empty());
    EXPECT_EQ(po.faults[0].line, line) << po.faults[0].words;
    EXPECT_NE(po.faults[0].words.find(words), std::string::npos) << po.faults[0].words;
  };
  check("msgid \"a\"\nmsgstr \"b\"\n", 4, "handle is missing");
  check("\n# note\n" + entry("0xC2000109 ", "a", "b"), 6, "is no handle");
  for (const char* handle : {"C2000109", "0xC20001091", "0x"}) check(entry(handle, "a", "b"), 4, "is no handle");
  check(entry("0x1", "a", "{9}"), 4, "msgstr: {9} is no mark");
  check(entry("0x1", "{0}", "a"), 4, "msgid: {0} is no mark");
  check(entry("0x1", "a", "b\\000c"), 6, "zero character");
  check(entry("0x1", "a\"\nmsgid_plural \"as", "b"), 6, "plural");
  check(entry("0x1", "a", "\xE9"), 6, "");            // Latin-1 in UTF-8
  check(entry("0x1", "a", "b\n"), 7, "end-of-line");  // a quote that isn't closed
  check(entry("0x1", "a", "b") + "\nrubbish\n", 8, "");
  check(entry("0x1", "a", "b") + entry("0x1", "a", "c"), 8, "duplicate");
  const PoFile latin =
      readPoFile(dir.write("a.po", "msgid \"\"\nmsgstr \"Content-Type: text/plain; charset=ISO-8859-1\\n\"\n"));
  ASSERT_EQ(latin.faults.size(), 1u);
  EXPECT_NE(latin.faults[0].words.find("UTF-8"), std::string::npos);
  EXPECT_EQ(readPoFile(dir / "absent.po").faults.size(), 1u);
}

TEST(PoFileTest, ReadsEntriesWithTheirLines) {
  const TempDir dir;
  const PoFile po = readPoFile(dir.write(
      "a.po", HEADER + "#~ msgctxt \"0x9\"\n#~ msgid \"gone\"\n#~ msgstr \"weg\"\n\n"
                       "#. msgid \"in a comment\"\n"
                       "msgctxt \"0xC2000001\" msgid \"msgid {1}\"\nmsgstr \"\"\n\"eins \"\n\"{1}\"\n\n"
                       "msgctxt \"0xc2000002\"\nmsgid \"two\"\nmsgstr \"\"\n\n"
                       "#, fuzzy\nmsgctxt \"0xC2000003\"\nmsgid \"three\"\nmsgstr \"dry\"\n"
                       "# joined \\\nmsgid\nmsgc\\\ntxt \"0xC2000004\" ms\\\ngid \"fo\\\nur\" msgstr \"v\"\n\n"
                       "msgctxt \"0xC2000005\" msgid \"five\" msgstr \"f\"\n"));
  ASSERT_TRUE(po.faults.empty()) << po.faults[0].words;
  std::string entries;
  for (const PoEntry& e : po.entries) {
    entries += std::to_string(e.line) + " " + handleName(e.handle) + " " + toSource(e.english) + " = " +
               toSource(e.text) + (e.translated ? "\n" : " (not translated)\n");
  }
  EXPECT_EQ(entries,
            "9 0xC2000001 msgid {1} = eins {1}\n"
            "14 0xC2000002 two = two (not translated)\n"
            "19 0xC2000003 three = three (not translated)\n"
            "24 0xC2000004 four = v\n"
            "29 0xC2000005 five = f\n");
  ASSERT_EQ(po.warnings.size(), 2u);
  EXPECT_EQ(po.warnings[0].line, 14u);
  EXPECT_NE(po.warnings[1].words.find("fuzzy"), std::string::npos);
}

}  // namespace
}  // namespace zqtool
