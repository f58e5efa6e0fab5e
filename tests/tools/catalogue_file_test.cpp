// The writer and the reader of catalogue files, against each other and against damaged bytes.

#include <gtest/gtest.h>

#include <algorithm>

#include "tools/catalogue_reader.h"
#include "tools/catalogue_writer.h"

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
  // Count of texts, the step of their handles, their length, pages: the longest text of all; the largest file; a full
  // page, and one more unit; three units a text; a gap, which takes one unit a handle, and its neighbour; handles out
  // of a page's reach.
  static constexpr std::size_t ROWS[][4] = {{1, 1, 254, 1}, {502, 1, 254, 502}, {2, 1, 126, 1},
                                            {2, 1, 127, 2}, {85, 1, 1, 1},      {86, 1, 1, 2},
                                            {2, 251, 1, 1}, {2, 252, 1, 2},     {2, 256, 1, 2}};
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
  for (const std::uint32_t handle : {0xE000FEDC, 0xE000FCDE}) check({{handle, u"a"}}, 0, "reserved");
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
              {19, 1, "type"},
              {21, 0, "version"},
              {26, 'X', "platform"},
              {31, 1, "platform"},
              {32, 0, "0 pages"},
              {33, 2, "515 pages"},
              {32, 4, "bytes"},
              {39, 0xFF, "rise at page 1"},
              {40, 0, "rise at page 1"},
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
  const auto texts = manyTexts(2, 1, 1);
  bytes = writeCatalogue(texts, "2.7.A");
  bytes[2557] = 1;  // above the place of a text, which the library doesn't look at
  EXPECT_TRUE(readCatalogue(bytes).faults.empty() && readCatalogue(bytes).texts == texts);
}

// That a source gives its text back is seen to by a fuzz target.
TEST(CatalogueTextTest, RefusesWhatNoTextCanHold) {
  // The last ones: beyond 16 bits, ill-formed, half a surrogate pair.
  for (const char* source :
       {"{0}", "{9}", "{12}", "a {", "{x}", "a\u00131", "\xF0\x9F\x98\x80", "\xC0\x80", "\xE2\x82", "\xED\xA0\x80"}) {
    EXPECT_NE(fromSource(source).fault, "") << source;
  }
}

}  // namespace
}  // namespace zqtool
