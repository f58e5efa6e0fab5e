#include "zqcore27/blocks/supa_block.h"

#include <gtest/gtest.h>

#include "tests/support/store_model.h"

namespace {

using Inspector = SupaBlockInspector;

constexpr auto PLAIN = SupaBlock::SB_NONE;
constexpr auto BOTH = static_cast<SupaBlock::Flags>(3);

TEST(SupaBlockTest, AdjustsItsHints) {
  struct Adjusted {
    std::uint32_t maxBody, average, min, max, shift, mask, target;
    bool operator==(const Adjusted&) const = default;
  };
  const struct {
    int line;
    SupaBlockHints given;
    Adjusted expected;
  } ROWS[] = {
      {__LINE__, hintsOf(0, 16, 0, 0, 0), {10668, 16, 50, 500, 0, 0, 4400}},
      {__LINE__, hintsOf(0, 0, 0, 0, 0), {10668, 16, 50, 500, 0, 0, 4400}},
      {__LINE__, hintsOf(0x40000000, 16, 8, 4000, 2), {0x40000000, 16, 8, 4000, 2, 3, 32064}},
      {__LINE__, hintsOf(0, 16, 0, 0, 9), {10668, 16, 50, 500, 3, 7, 4400}},  // held against 0, not 500
      {__LINE__, hintsOf(0, 16, 900, 100, 5), {19200, 16, 100, 900, 5, 31, 8000}},
      {__LINE__, hintsOf(1000, 16, 0, 0, 0), {1000, 16, 16, 32, 0, 0, 384}},
      {__LINE__, hintsOf(59, 16, 0, 0, 0), {59, 16, 1, 1, 0, 0, 16}},  // no block fits
      {__LINE__, hintsOf(3, 16, 0, 0, 0), {3, 16, 1, 1, 0, 0, 4}},     // the target is cut, rounded up
      {__LINE__, hintsOf(0, 16, 0, 100, 77), {2136, 16, 50, 100, 31, 0x7FFFFFFF, 1200}},  // no shift by 32 or more
      {__LINE__,
       hintsOf(0, 0xFFFFFFFF, 0, 0xFFFFFFFF, 0),
       {0xFFFFFFFC, 0xFFFFFFFF, 50, 0xFFFFFFFF, 0, 0, 0xFFFFFFFC}},  // no sum wraps
      {__LINE__, hintsOf(0xFFFFFFFF, 0xFFFFFFFF, 0, 0xFFFFFFFF, 0), {0xFFFFFFFF, 0xFFFFFFFF, 1, 1, 0, 0, 0xFFFFFFFC}},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    const SupaBlock s(BOTH, row.given);
    const SupaBlockHints& h = Inspector::hints(s);
    const Adjusted adjusted{
        h.fMaxBodySize,          h.fAvgBlockSize, h.fMinBlocks, h.fMaxBlocks, h.fDirShift, Inspector::directoryMask(s),
        Inspector::targetBody(s)};
    EXPECT_TRUE(adjusted == row.expected)
        << testing::PrintToString(std::vector{adjusted.maxBody, adjusted.average, adjusted.min, adjusted.max,
                                              adjusted.shift, adjusted.mask, adjusted.target});
  }
}

TEST(SupaBlockTest, AnswersReads) {
  for (int flags = 0; flags < 4; ++flags) {
    SCOPED_TRACE(testing::Message() << "flags " << flags);
    SupaBlock s(static_cast<SupaBlock::Flags>(flags), SupaBlockHints());
    SupaBlockDatum d;
    unsigned char mark = 0;
    d.fData = &mark;
    EXPECT_EQ(s.getSize(), 0);
    EXPECT_FALSE(s.get(0, &d));
    EXPECT_FALSE(s.get(-1, &d));
    EXPECT_EQ(d.fData, &mark);  // untouched
    EXPECT_EQ(s.getBlock(0), nullptr);

    EXPECT_TRUE(insertText(s, 0, "abcde"));
    EXPECT_FALSE(insertText(s, 1, ""));
    EXPECT_EQ(textAt(s, 0), std::string("abcde\0\0\0", 8));
    EXPECT_FALSE(s.get(0, nullptr));
    EXPECT_FALSE(s.get(2, &d));
    EXPECT_TRUE(s.get(1, &d));
    EXPECT_EQ(d.fData, nullptr);
    EXPECT_EQ(d.fSize, 0u);

    unsigned int size = 1;
    ASSERT_NE(s.getBlock(1), nullptr);
    EXPECT_EQ(s.getBlockData(s.getBlock(1), &size), nullptr);
    EXPECT_EQ(size, 0u);
    EXPECT_NE(s.getBlockData(s.getBlock(0), nullptr), nullptr);
    EXPECT_EQ(s.getBlockData(nullptr, &size), nullptr);
    EXPECT_EQ(size, 65535u);

    EXPECT_EQ(s.getBlock(-1), nullptr);
    EXPECT_EQ(s.get(-1, &d), (flags & SupaBlock::SB_LINEAR) == 0);
    EXPECT_EQ(d.fSize, (flags & SupaBlock::SB_LINEAR) == 0 ? SupaBlock::SB_NO_SIZE : 0u);
  }
}

TEST(SupaBlockTest, RemembersTheLastHitOfAScan) {
  SupaBlock s(SupaBlock::SB_LINEAR, hintsOf(100, 16, 2, 4, 0));
  for (int i = 0; i < 20; ++i) insertText(s, i, "12345678");
  ASSERT_GT(Inspector::superBlocks(s).size(), 2u);
  s.getBlock(19);
  EXPECT_EQ(Inspector::lastHit(s), Inspector::superBlocks(s).back().get());
  s.getBlock(20);
  EXPECT_EQ(Inspector::lastHit(s), nullptr);
  s.getBlock(0);
  s.deleteBlock(1);
  EXPECT_EQ(Inspector::lastHit(s), nullptr);
}

TEST(SupaBlockTest, GrowsPastTheEnd) {
  struct Shape {
    std::int32_t last;
    std::uint32_t used, body;
    bool operator==(const Shape&) const = default;
  };
  const struct {
    int line;
    SupaBlockHints hints;
    std::int32_t idx;
    std::size_t size;
    std::vector<Shape> expected;
  } ROWS[] = {
      {__LINE__, hintsOf(0, 16, 0, 0, 0), 10, 8, {{10, 52, 4400}}},
      {__LINE__, hintsOf(0, 16, 0, 0, 0), 600, 4, {{274, 1100, 4400}, {549, 1100, 4400}, {600, 208, 4400}}},
      {__LINE__, hintsOf(1000, 16, 0, 0, 0), 0, 384, {{0, 388, 388}}},  // exactly the target: 4 bytes more are made
      {__LINE__, hintsOf(1000, 16, 0, 0, 0), 0, 996, {{0, 1000, 1000}}},
      {__LINE__,
       hintsOf(1000, 16, 0, 0, 0),
       2,
       380,
       {{1, 8, 384}, {2, 384, 384}}},  // two thirds of three, then the block
      {__LINE__, hintsOf(1000, 16, 0, 0, 0), 1, 996, {{0, 4, 384}, {1, 1000, 1000}}},
      {__LINE__, hintsOf(0, 1, 8, 12, 0), 7, 4, {{7, 36, 36}}},  // fillers outgrow the target of 12
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    SupaBlock s(BOTH, row.hints);
    HandleCache cache;
    s.registerCallback(&cache, 1);
    EXPECT_TRUE(replaceText(s, row.idx, std::string(row.size, 'x')));
    std::vector<Shape> shapes;
    for (const auto& sb : Inspector::superBlocks(s)) shapes.push_back({sb->fLast, sb->fUsed, sb->get_body_size()});
    EXPECT_TRUE(shapes == row.expected) << shapes.size() << " superblocks, the last one " << shapes.back().last << ' '
                                        << shapes.back().used << ' ' << shapes.back().body;
    EXPECT_NO_THROW(Inspector::handles(s));
    EXPECT_TRUE(cache.events.empty());
  }
}

TEST(SupaBlockTest, GrowsABodyByItsMargins) {
  const struct {
    int line;
    std::uint32_t maxBody;
    bool inserts;
    std::size_t size;
    std::uint32_t body;
  } ROWS[] = {{__LINE__, 3000, true, 8, 92 + 12 + 12 + 1024},
              {__LINE__, 200, true, 8, 200},  // capped
              {__LINE__, 3000, false, 100, 96 + 12 + 1024},
              {__LINE__, 200, false, 100, 96 + 12 + 1024}};  // not capped
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    SupaBlock s(BOTH, hintsOf(row.maxBody, 16, 4, 8, 0));  // a target of 96
    insertText(s, 0, std::string(88, 'a'));
    EXPECT_TRUE(row.inserts ? insertText(s, 0, std::string(row.size, 'b'))
                            : replaceText(s, 0, std::string(row.size, 'b')));
    ASSERT_EQ(Inspector::superBlocks(s).size(), 1u);
    EXPECT_EQ(Inspector::superBlocks(s)[0]->get_body_size(), row.body);
  }
}

TEST(SupaBlockTest, FillsTheLastBodyFirst) {
  SupaBlock s(PLAIN, hintsOf(1000, 16, 0, 0, 0));  // a target of 384
  insertText(s, 0, std::string(200, 'a'));
  insertText(s, 10, "b");  // 10 wanted, 11 fit, but 9 * 16 + 4 bytes are more than 180 - 11 * 4
  ASSERT_EQ(Inspector::superBlocks(s).size(), 2u);
  EXPECT_EQ(Inspector::superBlocks(s)[0]->fLast, 6);  // 10 / 3 * 2 fillers went there
  insertText(s, 12, "c");
  EXPECT_EQ(Inspector::superBlocks(s).size(), 2u);
  EXPECT_EQ(s.getSize(), 13);
  EXPECT_EQ(textAt(s, 11), "");
}

TEST(SupaBlockTest, ReusesAnEmptiedSuperblock) {
  for (int flags = 0; flags < 4; ++flags) {
    SCOPED_TRACE(testing::Message() << "flags " << flags);
    SupaBlock s(static_cast<SupaBlock::Flags>(flags), hintsOf(100, 16, 2, 4, 0));
    while (Inspector::superBlocks(s).size() < 3) insertText(s, s.getSize(), "12345678");
    const std::int32_t size = s.getSize();
    const std::int32_t middle = Inspector::superBlocks(s)[1]->fFirst;
    while (Inspector::superBlocks(s)[1]->holds(middle)) s.deleteBlock(middle);
    EXPECT_EQ(textAt(s, middle), "12345678");  // both searches pass the emptied one over
    while (Inspector::superBlocks(s)[2]->fLast >= middle) s.deleteBlock(middle);
    EXPECT_EQ(s.getSize(), middle);
    EXPECT_TRUE(s.deleteBlock(middle));
    insertText(s, middle + 1, "new");
    EXPECT_EQ(Inspector::superBlocks(s).size(), 3u);
    EXPECT_LT(s.getSize(), size);
    EXPECT_EQ(textAt(s, middle), "");  // a filler over bytes that had been used
    EXPECT_NO_THROW(Inspector::handles(s));
  }
}

TEST(SupaBlockTest, RefusesBadWrites) {
  const struct {
    int line;
    std::int32_t idx;
    bool hasData;
    unsigned int size;
  } ROWS[] = {{__LINE__, -1, true, 4},
              {__LINE__, std::numeric_limits<std::int32_t>::min(), true, 4},
              {__LINE__, std::numeric_limits<std::int32_t>::max(), true, 4},
              {__LINE__, 1, false, 4},
              {__LINE__, 9, false, 0xFFFFFFFF}};
  SupaBlock s(BOTH, SupaBlockHints());
  for (const char* text : {"aaaa", "bbbb", "cccc"}) insertText(s, s.getSize(), text);
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    const unsigned char* data = row.hasData ? bytesOf("1234") : nullptr;
    EXPECT_FALSE(s.insert(row.idx, data, row.size));
    EXPECT_FALSE(s.replace(row.idx, data, row.size));
    EXPECT_TRUE(s.deleteBlock(row.idx == 1 ? 7 : row.idx));
    EXPECT_EQ(textAt(s, 0) + textAt(s, 1) + textAt(s, 2), "aaaabbbbcccc");
    EXPECT_EQ(s.getSize(), 3);
  }
  EXPECT_FALSE(s.insert(1, nullptr, 0));  // made all the same
  EXPECT_EQ(s.getSize(), 4);
  EXPECT_FALSE(s.replace(3, nullptr, 0));
  EXPECT_EQ(textAt(s, 2) + textAt(s, 3), "bbbb");
}

TEST(SupaBlockTest, RaisesAnErrorForWhatIsTooLarge) {
  const struct {
    int line;
    std::uint32_t maxBody, size;
  } ROWS[] = {{__LINE__, 1000, 1000},       {__LINE__, 1000, 0xFFFF0000}, {__LINE__, 1000, 0xFFFFFFFC},
              {__LINE__, 1000, 0xFFFFFFFD}, {__LINE__, 1000, 0xFFFFFFFF}, {__LINE__, 0xFFFFFFFF, 0xFFFFFFFF}};
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    SupaBlock s(BOTH, hintsOf(row.maxBody, 16, 4, 20, 1));
    for (char c = 'a'; c < 'z'; ++c) insertText(s, s.getSize(), std::string(16, c));
    const unsigned char* data = bytesOf("never read");
    EXPECT_EQ(storeErrorOf([&] { s.insert(5, data, row.size); }), SupaBlockError::CANNOT_DIVIDE);
    EXPECT_EQ(storeErrorOf([&] { s.replace(20, data, row.size); }), SupaBlockError::CANNOT_DIVIDE);
    EXPECT_EQ(storeErrorOf([&] { s.replace(0, data, row.size); }), SupaBlockError::CANNOT_DIVIDE);
    EXPECT_EQ(s.getSize(), 25);
    EXPECT_EQ(storeErrorOf([&] { s.insert(40, data, row.size); }), SupaBlockError::BLOCK_TOO_LARGE);
    EXPECT_GT(s.getSize(), 25);  // fillers made before the error stay
    EXPECT_LE(s.getSize(), 40);
    for (std::int32_t i = 0; i < s.getSize(); ++i) {
      EXPECT_EQ(textAt(s, i), i < 25 ? std::string(16, static_cast<char>('a' + i)) : "") << "block " << i;
    }
    EXPECT_NO_THROW(Inspector::handles(s));
  }
}

TEST(SupaBlockTest, TakesItsOwnBytesAsSource) {
  SupaBlock s(BOTH, hintsOf(200, 16, 2, 6, 0));
  for (char c = 'a'; c < 'i'; ++c) insertText(s, s.getSize(), std::string(12, c));
  for (int round = 0; round < 30; ++round) {
    SupaBlockDatum d;
    ASSERT_TRUE(s.get(s.getSize() - 1, &d));
    EXPECT_TRUE(s.insert(s.getSize() - 2, d.fData, d.fSize));  // the source moves, is divided off or reallocated
    ASSERT_TRUE(s.get(s.getSize() - 2, &d));
    EXPECT_TRUE(s.replace(s.getSize() - 2, d.fData, round % 2 == 0 ? 4 : 8));
    EXPECT_EQ(textAt(s, s.getSize() - 3), std::string(12, 'h'));
    EXPECT_EQ(textAt(s, s.getSize() - 2), std::string(round % 2 == 0 ? 4 : 8, 'g'));
    s.deleteBlock(s.getSize() - 2);
    insertText(s, s.getSize() - 1, std::string(12, 'g'));
  }
}

}  // namespace
