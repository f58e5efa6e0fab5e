// The writer and the reader of catalogue files, against each other and against damaged bytes.

#include <gtest/gtest.h>

#include <random>

#include "tools/catalogue_reader.h"
#include "tools/catalogue_writer.h"

namespace zqtool {
namespace {

constexpr std::uint32_t H = 0xC2000100;

std::vector<CatalogueText> manyTexts(std::size_t count, std::uint32_t step, std::size_t length) {
  std::vector<CatalogueText> texts;
  for (std::size_t i = 0; i < count; ++i) {
    texts.push_back(
        {H + static_cast<std::uint32_t>(i) * step, std::u16string(length, static_cast<char16_t>(u'a' + i % 26))});
  }
  return texts;
}

std::uint32_t numberAt(const std::vector<std::uint8_t>& bytes, std::size_t at) {
  return bytes[at] | bytes[at + 1] << 8 | bytes[at + 2] << 16 | static_cast<std::uint32_t>(bytes[at + 3]) << 24;
}

TEST(CatalogueFileTest, LaysOutTheSmallestFileToTheByte) {
  const std::vector<CatalogueText> texts = {{H + 2,
                                             u"b\x0013"
                                             u"1"},
                                            {H, u"a"}};
  const auto bytes = writeCatalogue(texts, "2.7.A");
  ASSERT_EQ(bytes.size(), 2560u);
  const std::string header(bytes.begin(), bytes.begin() + 32);
  EXPECT_EQ(header, std::string("\x9E\x85\x0D\x0A\x54\x61\xFE\x56\x69\x07\x4F\0CONSTR\0\0"
                                "2.7.A\0WIN\0\0\0",
                                32));
  EXPECT_EQ(numberAt(bytes, 32), 1u);
  EXPECT_EQ(numberAt(bytes, 36), H);
  EXPECT_EQ(numberAt(bytes, 40), H + 2);
  const auto unit = [&](std::size_t u) { return bytes[2048 + 2 * u] | bytes[2049 + 2 * u] << 8; };
  EXPECT_EQ(unit(0), 'a');
  EXPECT_EQ(unit(2), 'b');
  EXPECT_EQ(unit(3), 0x13);
  EXPECT_EQ(unit(255), 253);  // three texts, one of them a gap
  EXPECT_EQ(unit(254), 1);    // the gap reads as empty: it is the terminator of the text before
  EXPECT_EQ(unit(253), 2);
}

TEST(CatalogueFileTest, ReadsBackWhatItWrote) {
  static constexpr struct {
    int line;
    std::size_t count;
    std::uint32_t step;
    std::size_t length, pages;
  } ROWS[] = {
      {__LINE__, 1, 1, 254, 1},      // the longest text of all
      {__LINE__, 502, 1, 254, 502},  // the largest file
      {__LINE__, 2, 1, 126, 1},      // two texts of 127 units and two units of table: a full page
      {__LINE__, 2, 1, 127, 2},      // one more doesn't fit
      {__LINE__, 85, 1, 1, 1},       // three units a text: 255
      {__LINE__, 86, 1, 1, 2},       //
      {__LINE__, 2, 251, 1, 1},      // a gap takes one unit a handle: 4 units of text, 252 of table
      {__LINE__, 2, 252, 1, 2},      //
      {__LINE__, 2, 256, 1, 2},      // out of a page's reach whatever the room
      {__LINE__, 3, 0x10000, 5, 3},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    const auto texts = manyTexts(row.count, row.step, row.length);
    const CatalogueImage image = readCatalogue(writeCatalogue(texts, "2.7.A"));
    EXPECT_EQ(image.faults, std::vector<std::string>());
    EXPECT_EQ(image.pages, row.pages);
    EXPECT_EQ(image.version, "2.7.A");
    EXPECT_EQ(image.lastHandle, texts.back().handle);
    EXPECT_TRUE(image.texts == texts);
  }
}

TEST(CatalogueFileTest, RefusesWhatAFileCannotHold) {
  const struct {
    int line;
    std::vector<CatalogueText> texts;
    std::size_t index;
    const char* words;
  } ROWS[] = {
      {__LINE__, {{H, u"a"}, {0, u"b"}}, 1, "the handle 0"},
      {__LINE__, {{0xE000FEDC, u"a"}}, 0, "reserved"},
      {__LINE__, {{0xE000FCDE, u"a"}}, 0, "reserved"},
      {__LINE__, {{H, u"a"}, {H + 1, u"b"}, {H, u"c"}}, 2, "twice"},
      {__LINE__, {{H, std::u16string(255, u'x')}}, 0, "255 characters"},
      {__LINE__, {{H, u""}}, 0, "no text"},
      {__LINE__,
       {{H,
         u"a\x0013"
         u"9"}},
       0,
       "mark"},
      {__LINE__, {{H, u"a\x0013"}}, 0, "mark"},
      {__LINE__, {{H, std::u16string(u"a\0b", 3)}}, 0, "zero"},
      {__LINE__, manyTexts(503, 1, 254), 502, "502 pages"},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    const auto faults = findFaults(row.texts);
    ASSERT_EQ(faults.size(), 1u);
    EXPECT_EQ(faults[0].index, row.index);
    EXPECT_NE(faults[0].words.find(row.words), std::string::npos) << faults[0].words;
    EXPECT_THROW(writeCatalogue(row.texts, "2.7.A"), std::invalid_argument);
  }
  EXPECT_THROW(writeCatalogue({}, "2.7.A"), std::invalid_argument);
  EXPECT_THROW(writeCatalogue(manyTexts(1, 1, 1), "2.7.A.1"), std::invalid_argument);
}

TEST(CatalogueFileTest, TellsDamage) {
  const auto sound = writeCatalogue(manyTexts(3, 1, 200), "2.7.A");
  const struct {
    int line;
    std::size_t at;
    std::uint8_t value;
    const char* words;
  } ROWS[] = {
      {__LINE__, 0, 0, "signature"},
      {__LINE__, 12, 'X', "type"},
      {__LINE__, 19, 1, "type"},  // in its padding
      {__LINE__, 21, 0, "version"},
      {__LINE__, 26, 'X', "platform"},
      {__LINE__, 32, 0, "0 pages"},
      {__LINE__, 33, 2, "515 pages"},
      {__LINE__, 32, 4, "bytes"},
      {__LINE__, 39, 0xFF, "rise at page 1"},
      {__LINE__, 48, 0, "highest handle is below"},
      {__LINE__, 48, 9, "highest handle has no text"},
      {__LINE__, 2048 + 510, 0, "page 0: the table"},
      {__LINE__, 2048 + 511, 1, "page 0: the table"},
      {__LINE__, 2048 + 510, 200, "page 0: it has texts that belong to the next page"},
      {__LINE__, 2048 + 512 + 400, 1, "of 0xC2000101 doesn't end"},
      {__LINE__, 2048, 0x13, "of 0xC2000100 has a bad mark"},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    auto bytes = sound;
    bytes[row.at] = row.value;
    if (row.at == 2048 + 512 + 400) std::fill(bytes.begin() + 2560, bytes.begin() + 3070, std::uint8_t{1});
    const CatalogueImage image = readCatalogue(bytes);
    ASSERT_FALSE(image.faults.empty());
    EXPECT_NE(image.faults[0].find(row.words), std::string::npos) << image.faults[0];
  }
}

TEST(CatalogueFileTest, SurvivesAnyBytes) {
  std::mt19937 random(27);
  const auto sound = writeCatalogue(manyTexts(40, 3, 60), "2.7.A");
  std::size_t refused = 0;
  for (int round = 0; round < 3000; ++round) {
    auto bytes = sound;
    for (int hits = 1 + static_cast<int>(random() % 8); hits > 0; --hits) {
      bytes[random() % bytes.size()] = static_cast<std::uint8_t>(random());
    }
    if (round % 3 == 0) bytes.resize(random() % (bytes.size() + 600));
    const CatalogueImage image = readCatalogue(bytes);
    refused += image.faults.empty() ? 0 : 1;
    if (image.faults.empty() && !image.texts.empty()) {
      // Whatever is called sound can be written again as it is.
      EXPECT_TRUE(readCatalogue(writeCatalogue(image.texts, image.version)).texts == image.texts) << "round " << round;
    }
  }
  EXPECT_GT(refused, 1000u);
}

TEST(CatalogueTextTest, MarksAndBracesComeAndGo) {
  static const struct {
    int line;
    const char* source;
    const char16_t* text;  // null: refused
  } ROWS[] = {
      {__LINE__, "a {1} b {8}{1}",
       u"a \x0013"
       u"1 b \x0013"
       u"8\x0013"
       u"1"},
      {__LINE__, "{{1} }", u"{1} }"},
      {__LINE__, "é 語", u"é 語"},
      {__LINE__, "{0}", nullptr},
      {__LINE__, "{9}", nullptr},
      {__LINE__, "{12}", nullptr},
      {__LINE__, "a {", nullptr},
      {__LINE__, "{x}", nullptr},
      {__LINE__,
       "a\x13"
       "1",
       nullptr},
      {__LINE__, "\xF0\x9F\x98\x80", nullptr},  // beyond 16 bits
      {__LINE__, "\xC0\x80", nullptr},
      {__LINE__, "\xE2\x82", nullptr},
      {__LINE__, "\xED\xA0\x80", nullptr},  // half a surrogate pair
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line << ": " << row.source);
    const SourceText text = fromSource(row.source);
    EXPECT_EQ(text.fault.empty(), row.text != nullptr) << text.fault;
    if (row.text == nullptr) continue;
    EXPECT_EQ(utf8Of(text.text), utf8Of(row.text));
    EXPECT_EQ(toSource(text.text), row.source);
  }
}

}  // namespace
}  // namespace zqtool
