#include "zqcore27/blocks/supa_block.h"

#include <gtest/gtest.h>

#include "tests/support/store_model.h"

namespace {

using Inspector = SupaBlockInspector;

constexpr auto BOTH = static_cast<SupaBlock::Flags>(3);

TEST(SupaBlockTest, AdjustsItsHints) {
  const struct {
    int line;
    SupaBlockHints given;
    std::vector<std::uint32_t> expected;  // the hints, the mask of the directory, the target of a body
  } ROWS[] = {
      {__LINE__, hintsOf(0, 0, 0, 0, 0), {10668, 16, 50, 500, 0, 0, 4400}},
      {__LINE__, hintsOf(0, 16, 0, 0, 9), {10668, 16, 50, 500, 3, 7, 4400}},  // held against 0, not 500
      {__LINE__, hintsOf(0, 16, 900, 100, 5), {19200, 16, 100, 900, 5, 31, 8000}},
      {__LINE__, hintsOf(59, 16, 0, 0, 0), {59, 16, 1, 1, 0, 0, 16}},                     // no block fits
      {__LINE__, hintsOf(0, 16, 0, 100, 77), {2136, 16, 50, 100, 31, 0x7FFFFFFF, 1200}},  // no shift by 32 or more
      {__LINE__, hintsOf(0, 0xFFFFFFFF, 0, 0xFFFFFFFF, 0), {0xFFFFFFFC, 0xFFFFFFFF, 50, 0xFFFFFFFF, 0, 0, 0xFFFFFFFC}},
      {__LINE__, hintsOf(0xFFFFFFFF, 0xFFFFFFFF, 0, 0xFFFFFFFF, 0), {0xFFFFFFFF, 0xFFFFFFFF, 1, 1, 0, 0, 0xFFFFFFFC}},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    const SupaBlock s(BOTH, row.given);
    const SupaBlockHints& h = Inspector::hints(s);
    EXPECT_EQ((std::vector{h.fMaxBodySize, h.fAvgBlockSize, h.fMinBlocks, h.fMaxBlocks, h.fDirShift,
                           Inspector::directoryMask(s), Inspector::targetBody(s)}),
              row.expected);
  }
}

TEST(SupaBlockTest, AnswersReads) {
  for (int flags = 0; flags < 4; ++flags) {
    SCOPED_TRACE(testing::Message() << "flags " << flags);
    SupaBlock s(static_cast<SupaBlock::Flags>(flags), SupaBlockHints());
    SupaBlockDatum d;
    unsigned char mark = 0;
    d.fData = &mark;
    EXPECT_FALSE(s.getSize() != 0 || s.get(0, &d) || s.get(-1, &d) || s.getBlock(0) != nullptr);
    EXPECT_EQ(d.fData, &mark);  // untouched

    EXPECT_TRUE(insertText(s, 0, "abcde") && !insertText(s, 1, ""));
    EXPECT_EQ(textAt(s, 0), std::string("abcde\0\0\0", 8));
    EXPECT_FALSE(s.get(0, nullptr) || s.get(2, &d));
    EXPECT_TRUE(s.get(1, &d) && d.fData == nullptr && d.fSize == 0);

    unsigned int size = 1;
    ASSERT_NE(s.getBlock(1), nullptr);
    EXPECT_TRUE(s.getBlockData(s.getBlock(1), &size) == nullptr && size == 0);
    EXPECT_NE(s.getBlockData(s.getBlock(0), nullptr), nullptr);
    EXPECT_TRUE(s.getBlockData(nullptr, &size) == nullptr && size == 65535);

    const bool linear = (flags & SupaBlock::SB_LINEAR) != 0;
    EXPECT_TRUE(s.getBlock(-1) == nullptr && s.get(-1, &d) == !linear);
    EXPECT_EQ(d.fSize, linear ? 0u : SupaBlock::SB_NO_SIZE);
  }
}

TEST(SupaBlockTest, MakesRoomAndTellsOfIt) {
  const auto EASY = hintsOf(0, 16, 0, 0, 0), TO_384 = hintsOf(1000, 16, 0, 0, 0), LOW_96 = hintsOf(200, 16, 4, 8, 0),
             UP_TO_100 = hintsOf(100, 8, 4, 8, 0),  // a target of 48 bytes; bodies grow to 100 and divide then
      AT_101 = hintsOf(101, 8, 4, 6, 0);            // a target of 40, two thirds of it 28
  const std::string FIVE = "i0:8 i1:8 i2:8 i3:8 i4:8";
  const struct {
    int line;
    SupaBlockHints hints;
    std::string before, change, notes;
    std::string superblocks;  // of each the last index, used bytes / bytes of the body
  } ROWS[] = {
      {__LINE__, EASY, "", "r10:8", "", "10:52/4400"},
      {__LINE__, EASY, "", "i600:4", "", "274:1100/4400 549:1100/4400 600:208/4400"},
      {__LINE__, TO_384, "", "r2:380", "", "1:8/384 2:384/384"},               // two thirds of three
      {__LINE__, hintsOf(0, 1, 8, 12, 0), "", "i7:4", "", "7:36/36"},          // fillers outgrow the 12
      {__LINE__, TO_384, "i0:200", "i10:1 i12:1", "", "6:228/384 12:32/384"},  // the free bytes hold 11 of 16
      {__LINE__, AT_101, "i0:8", "r0:60 i20:4", "0..0(1) 1..0(1)",
       "6:88/1116 11:20/40 16:20/40 20:20/40"},                                                        // 6 at most
      {__LINE__, hintsOf(3000, 16, 4, 8, 0), "i0:88", "i0:8", "0..0(1) 0..0(1) +0(2)", "1:104/1140"},  // growth
      {__LINE__, LOW_96, "i0:88", "i0:8", "0..0(1) 0..0(1) +0(2)", "1:104/200"},  // that of an insert is capped
      {__LINE__, hintsOf(400, 8, 4, 8, 0), "i0:40 29*i1:8 i0:40", "i12:100", "13..30(31) 12..12(31) +12(32)",
       "1:88/400 13:236/400 31:216/216"},  // the moved bytes outgrow the target
      {__LINE__, UP_TO_100, FIVE, "i5:1", "", "3:48/48 5:20/48"},
      {__LINE__, UP_TO_100, FIVE, "d1", "1..3(5) -1(4)", "2:36/48 3:12/48"},
      {__LINE__, UP_TO_100, FIVE, "i1:1", "0..3(5) 1..3(5) +1(6)", "4:56/100 5:12/48"},  // grows first
      {__LINE__, UP_TO_100, FIVE, "r1:1", "2..3(5)", "3:44/48 4:12/48"},
      {__LINE__, UP_TO_100, FIVE, "r1:32", "0..3(5) 2..3(5)", "3:72/1096 4:12/48"},
      {__LINE__, UP_TO_100, FIVE, "i0:60", "2..3(5) 0..1(5) 0..1(5) +0(6)", "2:88/100 4:24/48 5:12/48"},  // a tail
      {__LINE__, UP_TO_100, FIVE, "i2:60", "2..3(5) 2..3(5) 2..3(5) +2(6)", "1:24/48 4:88/100 5:12/48"},  // a head
      {__LINE__, UP_TO_100, FIVE, "r0:64", "1..3(5) 0..0(5) 1..0(5)", "0:68/1128 3:36/48 4:12/48"},       // above 100
      {__LINE__, AT_101, "3*i0:8 i0:16 i0:8", "i1:40", "3..4(5) 1..2(5) +1(6)", "3:88/101 5:24/40"},      // keeps 28
      {__LINE__, AT_101, "i0:8 i0:60", "r1:36", "1..1(2) 2..1(2)", "0:64/101 1:40/40"},  // just the target
      {__LINE__, AT_101, "i0:8 i0:60", "r1:40 r1:40", "1..1(2) 1..1(2) 2..1(2) !295", "0:64/101 1:44/1096"},  // alone
      {__LINE__, hintsOf(100, 8, 4, 6, 0), "i0:8 r0:60 r1:44 r2:48", "i0:1200", "1..2(3) !295", "0:64/1116 2:100/100"},
      {__LINE__, AT_101, "i0:8 r0:60 r1:48 r2:48", "i0:1200", "!295", "2:168/1116"},  // 104 behind it, not 100
      {__LINE__, AT_101, "i0:8 r0:60 r1:100", "i1:1200", "1..1(2) !295", "0:64/1116 1:104/104"},  // 104 from it on
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    SupaBlock s(BOTH, row.hints);
    play(s, row.before);
    EventNotes notes([](const SupaBlockEvent& event) {
      new SupaBlockIterator(event.fSource, event.fIndex);  // knows no place yet, where one is about to change
      return std::to_string(event.fSource->getSize());
    });
    s.registerCallback(&notes, -1);
    notes.text += play(s, row.change);
    EXPECT_EQ(notes.text, row.notes.empty() ? "" : row.notes + " ");
    std::string found;
    for (const auto& sb : Inspector::superBlocks(s)) {
      found += (found.empty() ? "" : " ") + std::to_string(sb->fLast) + ":" + std::to_string(sb->fUsed) + "/" +
               std::to_string(sb->get_body_size());
    }
    EXPECT_EQ(found, row.superblocks);
    EXPECT_NO_THROW(Inspector::handles(s));
    s.registerCallback(&notes, 0);
    notes.text = "off";
    play(s, "d0");
    EXPECT_EQ(notes.text, "off");
  }
}

TEST(SupaBlockTest, RefusesBadWrites) {
  SupaBlock s(BOTH, SupaBlockHints());
  for (const char* text : {"aaaa", "bbbb", "cccc"}) insertText(s, s.getSize(), text);
  const auto refuses = [&s](std::int32_t idx, const unsigned char* data, unsigned int size) {
    return !s.insert(idx, data, size) && !s.replace(idx, data, size);
  };
  EXPECT_TRUE(refuses(INT32_MIN, bytesOf("1234"), 4) && refuses(INT32_MAX, bytesOf("1234"), 4));
  EXPECT_TRUE(refuses(1, nullptr, 4) && refuses(9, nullptr, 0xFFFFFFFF));
  EXPECT_EQ(textAt(s, 0) + textAt(s, 1) + textAt(s, 2) + std::to_string(s.getSize()), "aaaabbbbcccc3");
  EXPECT_FALSE(s.insert(1, nullptr, 0));  // made all the same
  EXPECT_FALSE(s.replace(3, nullptr, 0));
  EXPECT_EQ(textAt(s, 2) + textAt(s, 3) + std::to_string(s.getSize()), "bbbb4");
  EXPECT_FALSE(s.replace(0, s.getBlock(0) + 4, 5000));  // runs past its body: no bytes, but the room
  EXPECT_TRUE(textAt(s, 0).size() == 5000 && textAt(s, 0).starts_with("aaaa"));
}

TEST(SupaBlockTest, RaisesAnErrorForWhatIsTooLarge) {
  static constexpr std::uint32_t ROWS[][2] = {
      {1000, 1000}, {1000, 0xFFFFFFFC}, {1000, 0xFFFFFFFF}, {0xFFFFFFFF, 0xFFFFFFFF}};
  for (const auto& row : ROWS) {
    const std::uint32_t maxBody = row[0], size = row[1];
    SCOPED_TRACE(testing::Message() << size << " bytes in bodies of " << maxBody);
    SupaBlock s(BOTH, hintsOf(maxBody, 16, 4, 20, 1));
    for (char c = 'a'; c < 'z'; ++c) insertText(s, s.getSize(), std::string(16, c));
    const unsigned char* data = bytesOf("never read");
    EXPECT_EQ(storeErrorOf([&] { s.insert(5, data, size); }), SupaBlockError::CANNOT_DIVIDE);
    EXPECT_EQ(storeErrorOf([&] { s.replace(20, data, size); }), SupaBlockError::CANNOT_DIVIDE);
    EXPECT_EQ(storeErrorOf([&] { s.replace(0, data, size); }), SupaBlockError::CANNOT_DIVIDE);
    SupaBlockDatum own;
    s.get(3, &own);
    EXPECT_EQ(storeErrorOf([&] { s.replace(3, own.fData, size); }), SupaBlockError::CANNOT_DIVIDE);
    EXPECT_EQ(s.getSize(), 25);
    EXPECT_EQ(storeErrorOf([&] { s.insert(40, data, size); }), SupaBlockError::BLOCK_TOO_LARGE);
    EXPECT_GT(s.getSize(), 25);  // fillers made before the error stay
    EXPECT_LE(s.getSize(), 40);
    for (std::int32_t i = 0; i < s.getSize(); ++i) {
      EXPECT_EQ(textAt(s, i), i < 25 ? std::string(16, static_cast<char>('a' + i)) : "") << "block " << i;
    }
    EXPECT_NO_THROW(Inspector::handles(s));
  }
}

/// Blocks of `size` bytes, "aaaa.." and so on.
void fill(SupaBlock& s, int count, std::size_t size) {
  for (int i = 0; i < count; ++i) insertText(s, i, std::string(size, static_cast<char>('a' + i)));
}

TEST(SupaBlockEventTest, SurvivesACallbackThatBreaksTheRulesAndThrows) {
  for (int run = 0; run < 24; ++run) {
    SupaBlock s(static_cast<SupaBlock::Flags>(run % 4), hintsOf(300, 8, 4, 8, 1));
    fill(s, 8, 12);
    auto* it = new SupaBlockIterator(&s, -1);  // from the heap: the store deletes it
    int calls = 0, events = 0;
    EventNotes rude([&](const SupaBlockEvent& event) {
      std::string read;
      for (std::int32_t i = -1; i <= s.getSize(); ++i) read += textAt(s, i);
      std::int32_t idx = 0;
      const std::int32_t size = s.getSize();
      new SupaBlockIterator(&s, calls % 9);
      SupaBlockIterator(&s, 2).nextBlock(&idx);
      if (event.fKind == SupaBlockEvent::SB_EVENT_IMPACT) {
        EXPECT_EQ(it->nextBlock(&idx), nullptr);
        EXPECT_FALSE(insertText(s, 0, "no") || replaceText(s, 0, "no") || replaceText(s, size, "no"));
        s.deleteBlock(0);
        EXPECT_EQ(s.getSize(), size);
      } else {
        if (++calls < 40) {
          it->nextBlock(&idx);
          if (calls % 3 == 0) s.deleteBlock(event.fIndex);
          if (calls % 3 == 1) replaceText(s, event.fIndex, std::string(static_cast<std::size_t>(calls) * 3, 'r'));
          if (calls % 3 == 2) insertText(s, event.fIndex / 2, "i");
        }
        EXPECT_NO_THROW(Inspector::handles(s));  // an impact may come while bytes have moved and sizes not yet
      }
      return events++ % 10 < run / 4 ? throw events : read;
    });
    for (int i = 0; i < 30; ++i) {
      s.registerCallback(&rude, 1);
      try {
        insertText(s, i % 5, std::string(20, 'n'));
        replaceText(s, i % 6, std::string(static_cast<std::size_t>(i), 'm'));
        s.deleteBlock(i % 7);
      } catch (int) {
      }
      s.registerCallback(nullptr, 0);
      EXPECT_NO_THROW(Inspector::handles(s));
      EXPECT_TRUE(insertText(s, 1, "new!") && replaceText(s, s.getSize() - 1, "last"));
      EXPECT_EQ(textAt(s, 1) + textAt(s, s.getSize() - 1), "new!last");
    }
  }
}

TEST(SupaBlockEventTest, CopiesItsOwnBytesAsTheyWereBeforeAnInsertEvent) {
  SupaBlock s(BOTH, hintsOf(4000, 16, 4, 20, 1));
  fill(s, 20, 16);
  ASSERT_GT(Inspector::superBlocks(s).size(), 1u);
  EventNotes writes([&](const SupaBlockEvent& event) {
    if (event.fKind == SupaBlockEvent::SB_EVENT_INSERT) {
      EXPECT_EQ(textAt(s, 0), std::string(16, 'a'));  // the new block is there, but its bytes aren't written
      for (const int other : {1, 20}) *s.getBlockData(s.getBlock(other), nullptr) = 'X';  // within the rules
      replaceText(s, 20, std::string(3000, 'X'));  // against them: another body is reallocated
    }
    return std::string();
  });
  s.registerCallback(&writes, 1);
  EXPECT_TRUE(s.insert(0, s.getBlockData(s.getBlock(19), nullptr), 16));
  EXPECT_EQ(textAt(s, 0) + textAt(s, 1), std::string(16, 'a' + 19) + "X" + std::string(15, 'a'));
}

}  // namespace
