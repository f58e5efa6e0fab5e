// The writers and readers of catalogues and their sources, against each other and against damage.

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/temp_dir.h"
#include "tools/catalogue_reader.h"
#include "tools/catalogue_writer.h"
#include "tools/po_file.h"

namespace zqtool {
namespace {

constexpr std::uint32_t H = 0xC2000100;

std::vector<CatalogueText> manyTexts(std::size_t count, std::size_t step, std::size_t length) {
  std::vector<CatalogueText> texts;
  for (std::size_t i = 0; i < count; ++i) {
    texts.push_back(
        {H + static_cast<std::uint32_t>(i * step), std::u16string(length, static_cast<char16_t>('a' + i % 26))});
  }
  return texts;
}

TEST(CatalogueFileTest, ReadsBackWhatItWrote) {
  // Count of texts, the step of their handles, their length, pages: the largest file, of the longest texts; a full
  // page, and one more unit; three units a text; a gap, which takes one unit a handle, and its neighbour.
  static constexpr std::size_t ROWS[][4] = {{502, 1, 254, 502}, {2, 1, 126, 1}, {2, 1, 127, 2}, {85, 1, 1, 1},
                                            {86, 1, 1, 2},      {2, 251, 1, 1}, {2, 252, 1, 2}};
  for (const auto& [count, step, length, pages] : ROWS) {
    SCOPED_TRACE(testing::Message() << count << " texts, " << step << " apart, of " << length);
    const auto texts = manyTexts(count, step, length);
    const CatalogueImage image = readCatalogue(writeCatalogue(texts, "2.7.A"));
    EXPECT_EQ(image.faults, std::vector<std::string>());
    EXPECT_EQ(image.pages, pages);
    EXPECT_EQ(image.version, "2.7.A");
    EXPECT_EQ(image.lastHandle, texts.back().handle);
    EXPECT_TRUE(image.texts == texts);
  }
}

TEST(CatalogueFileTest, RefusesWhatAFileCannotHold) {
  const auto check = [](const std::vector<CatalogueText>& texts, std::size_t index, const char* words) {
    SCOPED_TRACE(words);
    const auto faults = findFaults(texts);
    ASSERT_EQ(faults.size(), 1u);
    EXPECT_EQ(faults[0].index, index);
    EXPECT_NE(faults[0].words.find(words), std::string::npos) << faults[0].words;
    EXPECT_THROW(writeCatalogue(texts, "2.7.A"), std::invalid_argument);
  };
  check({{H, u"a"}, {0, u"b"}}, 1, "the handle 0");
  check({{0xE000FEDC, u"a"}}, 0, "reserved");
  check({{H, u"a"}, {H + 1, u"b"}, {H, u"c"}}, 2, "twice");
  check({{H, std::u16string(255, u'x')}}, 0, "255 characters");
  check({{H, u""}}, 0, "no text");
  for (const char16_t* text : {u"a\u00139", u"a\u0013"}) check({{H, text}}, 0, "mark");
  check({{H, std::u16string(u"a\0b", 3)}}, 0, "zero");
  check(manyTexts(503, 1, 254), 502, "502 pages");
  EXPECT_THROW(writeCatalogue({}, "2.7.A"), std::invalid_argument);
  EXPECT_THROW(writeCatalogue(manyTexts(1, 1, 1), "2.7.A.1"), std::invalid_argument);
}

TEST(CatalogueFileTest, TellsDamage) {
  static constexpr struct {
    std::size_t at;
    std::uint8_t value;
    const char* words;
  } ROWS[] = {{0, 0, "signature"},
              {26, 'X', "platform"},
              {33, 2, "515 pages"},
              {32, 4, "bytes"},
              {39, 0xFF, "rise at page 1"},
              {48, 0, "highest handle is below"},
              {48, 9, "highest handle has no text"},
              {2558, 0, "page 0: the table"},
              {2559, 1, "page 0: the table"},
              {2558, 200, "texts that belong to the next page"},
              {2048, 0x13, "of 0xC2000100 has a bad mark"}};
  const auto sound = writeCatalogue(manyTexts(3, 1, 200), "2.7.A");
  for (const auto& row : ROWS) {
    SCOPED_TRACE(row.words);
    auto bytes = sound;
    bytes[row.at] = row.value;
    const auto faults = readCatalogue(bytes).faults;
    ASSERT_FALSE(faults.empty());
    EXPECT_NE(faults[0].find(row.words), std::string::npos) << faults[0];
  }
  auto bytes = sound;
  std::fill(bytes.begin() + 2560, bytes.begin() + 3070, std::uint8_t{1});
  EXPECT_NE(readCatalogue(bytes).faults.at(0).find("of 0xC2000101 doesn't end"), std::string::npos);
}

// That a source gives its text back is seen to by a fuzz target.
TEST(CatalogueTextTest, RefusesWhatNoTextCanHold) {
  // The last ones: beyond 16 bits, ill-formed, half a surrogate pair.
  for (const char* source :
       {"{0}", "{9}", "{12}", "a {", "{x}", "a\u00131", "\xF0\x9F\x98\x80", "\xC0\x80", "\xE2\x82", "\xED\xA0\x80"}) {
    EXPECT_NE(fromSource(source).fault, "") << source;
  }
}

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
  check(entry("0x1", "a", "b\\000c"), 6, "zero character");
  check(entry("0x1", "a\"\nmsgid_plural \"as", "b"), 6, "plural");
  check(entry("0x1", "a", "\xE9"), 6, "");  // Latin-1 in UTF-8
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
