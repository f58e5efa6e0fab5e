// Events, iterators and the division of superblocks.

#include <gtest/gtest.h>

#include <functional>

#include "tests/support/store_model.h"

namespace {

using Inspector = SupaBlockInspector;

constexpr auto BOTH = static_cast<SupaBlock::Flags>(3);

/// Events as text, each with what `look` sees at the moment.
class Recorder : public CallableClass<SupaBlockEvent> {
 public:
  bool call(const SupaBlockEvent& event) override {
    const bool impact = event.fKind == SupaBlockEvent::SB_EVENT_IMPACT;
    log += impact ? "impact " : event.fKind == SupaBlockEvent::SB_EVENT_INSERT ? "insert " : "delete ";
    log += std::to_string(event.fIndex) + (impact ? ".." + std::to_string(event.fLastIndex) : "");
    if (look) log += " (" + look(event) + ")";
    log += "; ";
    return false;
  }
  std::string log;
  std::function<std::string(const SupaBlockEvent&)> look;
};

/// Blocks of `size` bytes, "aaaa.." and so on.
void fill(SupaBlock& s, int count, std::size_t size) {
  for (int i = 0; i < count; ++i) insertText(s, i, std::string(size, static_cast<char>('a' + i)));
}

TEST(SupaBlockEventTest, SurvivesACallbackThatBreaksTheRules) {
  for (int flags = 0; flags < 4; ++flags) {
    SCOPED_TRACE(testing::Message() << "flags " << flags);
    SupaBlock s(static_cast<SupaBlock::Flags>(flags), hintsOf(200, 8, 4, 8, 1));
    fill(s, 8, 12);
    auto* it = new SupaBlockIterator(&s, -1);  // from the heap: the store deletes it
    Recorder recorder;
    int calls = 0;
    recorder.look = [&](const SupaBlockEvent& event) {
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
      } else if (++calls < 40) {
        it->nextBlock(&idx);
        if (calls % 3 == 0) s.deleteBlock(event.fIndex);
        if (calls % 3 == 1) replaceText(s, event.fIndex, std::string(static_cast<std::size_t>(calls) * 3, 'r'));
        if (calls % 3 == 2) insertText(s, event.fIndex / 2, "i");
      }
      if (event.fKind != SupaBlockEvent::SB_EVENT_IMPACT) {
        EXPECT_NO_THROW(Inspector::handles(s));  // an impact may come while bytes have moved and sizes not yet
      }
      return std::to_string(total % 2);
    };
    for (int i = 0; i < 30; ++i) {
      s.registerCallback(&recorder, 1);
      insertText(s, i % 5, std::string(20, 'n'));
      s.deleteBlock(i % 7);
      EXPECT_NO_THROW(Inspector::handles(s));
    }
    EXPECT_GT(Inspector::iterators(s), 30u);
  }
}

TEST(SupaBlockEventTest, SurvivesExceptionsOutOfACallback) {
  static constexpr const char* CHANGES[] = {"d1", "i1:1", "i0:60", "i2:60", "r1:1", "r1:32", "r0:64"};
  for (std::size_t change = 0; change < std::size(CHANGES) * 4; ++change) {
    bool thrown = true;
    for (int at = 0; thrown; ++at) {
      SCOPED_TRACE(testing::Message() << "change " << change / 4 << ", flags " << change % 4 << ", event " << at);
      SupaBlock s(static_cast<SupaBlock::Flags>(change % 4), hintsOf(100, 8, 4, 8, 0));
      fill(s, 5, 8);
      s.getBlock(3);
      Recorder recorder;
      int event = 0;
      recorder.look = [&](const SupaBlockEvent&) {
        s.getBlock(3);
        return event++ == at ? throw at : std::string();
      };
      s.registerCallback(&recorder, 1);
      thrown = false;
      try {
        play(s, CHANGES[change / 4]);
      } catch (int) {
        thrown = true;
      }
      s.registerCallback(nullptr, 0);
      EXPECT_NO_THROW(Inspector::handles(s));
      EXPECT_TRUE(insertText(s, 1, "new!") && replaceText(s, s.getSize() - 1, "last"));
      EXPECT_EQ(textAt(s, 1) + textAt(s, s.getSize() - 1), "new!last");
      EXPECT_NO_THROW(Inspector::handles(s));
    }
  }
}

TEST(SupaBlockEventTest, KeepsDirectoriesAsPrefixes) {
  SupaBlock s(SupaBlock::SB_DIRECTORY, hintsOf(1000, 16, 4, 20, 1));
  fill(s, 9, 8);
  Recorder recorder;
  const auto entries = [](const SupaBlock& one) { return Inspector::superBlocks(one)[0]->fDirectory->size(); };
  recorder.look = [&](const SupaBlockEvent& event) { return std::to_string(entries(*event.fSource)); };
  unsigned char* last = s.getBlock(8);
  EXPECT_EQ(entries(s), 5u);
  unsigned char* first = s.getBlock(0);
  std::memset(first, 0, 4);
  EXPECT_EQ(s.getBlock(8), last);  // from its entry on, not from block 0
  *first = 8;
  s.registerCallback(&recorder, 1);
  s.deleteBlock(6);
  replaceText(s, 1, std::string(150, 'x'));  // grows, which forgets all, and looks block 1 up again
  EXPECT_EQ(recorder.log, "impact 6..8 (5); delete 6 (3); impact 0..7 (3); impact 2..7 (1); ");

  SupaBlock divides(SupaBlock::SB_DIRECTORY, hintsOf(200, 16, 10, 10, 1));
  fill(divides, 13, 8);
  divides.getBlock(12);
  recorder.log.clear();
  divides.registerCallback(&recorder, 1);
  replaceText(divides, 1, std::string(56, 'x'));  // the last two move, and all is forgotten
  EXPECT_EQ(recorder.log, "impact 11..12 (7); impact 0..10 (0); impact 2..10 (1); ");
}

TEST(SupaBlockEventTest, CopiesItsOwnBytesAsTheyWereBeforeAnInsertEvent) {
  SupaBlock s(BOTH, hintsOf(4000, 16, 4, 20, 1));
  fill(s, 20, 16);
  ASSERT_GT(Inspector::superBlocks(s).size(), 1u);
  Recorder recorder;
  recorder.look = [&](const SupaBlockEvent& event) {
    if (event.fKind == SupaBlockEvent::SB_EVENT_INSERT) {
      EXPECT_EQ(textAt(s, 0), std::string(16, 'a'));  // the new block is there, but its bytes aren't written
      for (const int other : {1, 20}) *s.getBlockData(s.getBlock(other), nullptr) = 'X';  // within the rules
      replaceText(s, 20, std::string(3000, 'X'));  // against them: another body is reallocated
    }
    return std::string();
  };
  s.registerCallback(&recorder, 1);
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
