// Events, iterators and the division of superblocks.

#include <gtest/gtest.h>

#include "tests/support/store_model.h"

namespace {

using Inspector = SupaBlockInspector;

constexpr auto BOTH = static_cast<SupaBlock::Flags>(3);

/// Blocks of `size` bytes, "aaaa.." and so on.
void fill(SupaBlock& s, int count, std::size_t size) {
  for (int i = 0; i < count; ++i) insertText(s, i, std::string(size, static_cast<char>('a' + i)));
}

TEST(SupaBlockEventTest, SurvivesACallbackThatBreaksTheRulesAndThrows) {
  for (int run = 0; run < 24; ++run) {
    SCOPED_TRACE(testing::Message() << "run " << run);
    SupaBlock s(static_cast<SupaBlock::Flags>(run % 4), hintsOf(300, 8, 4, 8, 1));
    fill(s, 8, 12);
    auto* it = new SupaBlockIterator(&s, -1);  // from the heap: the store deletes it
    int calls = 0, events = 0;
    EventNotes rude([&](const SupaBlockEvent& event) {
      unsigned int total = 0;
      for (std::int32_t i = -1; i <= s.getSize(); ++i) {
        SupaBlockDatum d;
        if (!s.get(i, &d) || d.fSize == SupaBlock::SB_NO_SIZE) continue;
        for (std::uint32_t n = 0; n < d.fSize; ++n) total += d.fData[n];
      }
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
      return events++ % 10 < run / 4 ? throw events : std::to_string(total);
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

TEST(SupaBlockEventTest, KeepsDirectoriesAsPrefixes) {
  SupaBlock s(SupaBlock::SB_DIRECTORY, hintsOf(1000, 16, 4, 20, 1));
  fill(s, 9, 8);
  const auto entries = [](const SupaBlock& one) { return Inspector::superBlocks(one)[0]->fDirectory->size(); };
  EventNotes notes([&](const SupaBlockEvent& event) { return std::to_string(entries(*event.fSource)); });
  unsigned char* last = s.getBlock(8);
  EXPECT_EQ(entries(s), 5u);
  unsigned char* first = s.getBlock(0);
  std::memset(first, 0, 4);
  EXPECT_EQ(s.getBlock(8), last);  // from its entry on, not from block 0
  *first = 8;
  s.registerCallback(&notes, 1);
  s.deleteBlock(6);
  replaceText(s, 1, std::string(150, 'x'));  // grows, which forgets all, and looks block 1 up again
  EXPECT_EQ(notes.text, "6..8(5) -6(3) 0..7(3) 2..7(1) ");

  SupaBlock divides(SupaBlock::SB_DIRECTORY, hintsOf(200, 16, 10, 10, 1));
  fill(divides, 13, 8);
  divides.getBlock(12);
  notes.text.clear();
  divides.registerCallback(&notes, 1);
  replaceText(divides, 1, std::string(56, 'x'));  // the last two move, and all is forgotten
  EXPECT_EQ(notes.text, "11..12(7) 0..10(0) 2..10(1) ");
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

TEST(SupaBlockIteratorTest, ForgetsOnlyWhatMoved) {
  SupaBlock s(BOTH, hintsOf(400, 8, 4, 8, 0));
  fill(s, 5, 8);  // "abcd48 e48 "
  SupaBlockIterator front(&s, 0), on(&s, 1), behind(&s, 2), other(&s, 4);
  replaceText(s, 1, "x");
  EXPECT_NE(Inspector::handle(front), nullptr);
  EXPECT_NE(Inspector::handle(on), nullptr);
  EXPECT_EQ(Inspector::handle(behind), nullptr);
  EXPECT_NE(Inspector::superBlock(behind), nullptr);
  EXPECT_NE(Inspector::handle(other), nullptr);
  replaceText(s, 3, std::string(40, 'x'));  // grows the body
  for (const SupaBlockIterator* it : {&front, &on, &behind}) EXPECT_EQ(Inspector::superBlock(*it), nullptr);
  EXPECT_NE(Inspector::handle(other), nullptr);
}

}  // namespace
