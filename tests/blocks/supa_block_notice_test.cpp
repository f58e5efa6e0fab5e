// Events, iterators and the division of superblocks.

#include <gtest/gtest.h>

#include <functional>
#include <limits>

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

/// The first byte of every block, ',' where a superblock ends.
std::string layout(SupaBlock& s) {
  std::string text;
  for (const auto& sb : Inspector::superBlocks(s)) {
    for (std::int32_t i = sb->fFirst; i <= sb->fLast; ++i) text += textAt(s, i).empty() ? '-' : textAt(s, i)[0];
    text += ',';
  }
  return text;
}

TEST(SupaBlockEventTest, SendsNoticesInTheOrderOfEachOperation) {
  // A target of 48 bytes; bodies grow to 100 and divide then. Five blocks of 8 bytes take 60.
  const auto fiveBlocks = hintsOf(100, 8, 4, 8, 0);
  const struct {
    int line;
    std::function<void(SupaBlock&)> change;
    const char *log, *layout;
  } ROWS[] = {
      {__LINE__, [](auto& s) { insertText(s, 5, "x"); }, "", "abcd,ex,"},
      {__LINE__, [](auto& s) { replaceText(s, 7, "x"); }, "", "abcd,e--x,"},
      {__LINE__, [](auto& s) { replaceText(s, 1, "12345678"); }, "", "a1cd,e,"},
      {__LINE__, [](auto& s) { s.deleteBlock(5); }, "", "abcd,e,"},
      {__LINE__, [](auto& s) { s.deleteBlock(1); }, "impact 1..3 (5); delete 1 (4); ", "acd,e,"},
      {__LINE__, [](auto& s) { s.deleteBlock(4); }, "impact 4..4 (5); delete 4 (4); ", "abcd,,"},
      {__LINE__, [](auto& s) { insertText(s, 4, "x"); }, "impact 4..4 (5); insert 4 (6); ", "abcd,xe,"},
      {__LINE__, [](auto& s) { insertText(s, 1, "x"); }, "impact 0..3 (5); impact 1..3 (5); insert 1 (6); ",
       "axbcd,e,"},  // grows first
      {__LINE__, [](auto& s) { replaceText(s, 1, "x"); }, "impact 2..3 (5); ", "axcd,e,"},
      {__LINE__, [](auto& s) { replaceText(s, 3, "x"); }, "impact 4..3 (5); ", "abcx,e,"},  // nothing lies behind it
      {__LINE__, [](auto& s) { replaceText(s, 1, std::string(32, 'x')); }, "impact 0..3 (5); impact 2..3 (5); ",
       "axcd,e,"},
      {__LINE__, [](auto& s) { insertText(s, 0, std::string(60, 'x')); },
       "impact 2..3 (5); impact 0..1 (5); impact 0..1 (5); insert 0 (6); ", "xab,cd,e,"},  // a tail of two, then grows
      {__LINE__, [](auto& s) { insertText(s, 2, std::string(60, 'x')); },
       "impact 2..3 (5); impact 2..3 (5); impact 2..3 (5); insert 2 (6); ", "ab,xcd,e,"},  // a head
      {__LINE__, [](auto& s) { replaceText(s, 0, std::string(64, 'x')); },
       "impact 1..3 (5); impact 0..0 (5); impact 1..0 (5); ", "x,bcd,e,"},  // beyond the limit: all behind it move
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    SupaBlock s(BOTH, fiveBlocks);
    fill(s, 5, 8);
    ASSERT_EQ(layout(s), "abcd,e,");
    Recorder recorder;
    recorder.look = [&](const SupaBlockEvent& event) {
      EXPECT_EQ(event.fSource, &s);
      return std::to_string(s.getSize());
    };
    s.registerCallback(&recorder, 0);
    row.change(s);
    EXPECT_EQ(recorder.log, "");  // switched off
    SupaBlock heard(BOTH, fiveBlocks);
    fill(heard, 5, 8);
    recorder.look = [&](const SupaBlockEvent&) { return std::to_string(heard.getSize()); };
    heard.registerCallback(&recorder, -1);
    row.change(heard);
    EXPECT_EQ(recorder.log, row.log);
    EXPECT_EQ(layout(heard), row.layout);
    EXPECT_EQ(layout(s), row.layout);
    EXPECT_NO_THROW(Inspector::handles(heard));
  }
}

TEST(SupaBlockEventTest, KeepsTheDivisionOfAReplaceThatFails) {
  SupaBlock s(BOTH, hintsOf(100, 8, 4, 8, 0));
  fill(s, 4, 8);
  const std::string large(64, 'x');
  EXPECT_EQ(storeErrorOf([&] { replaceText(s, 3, large); }), SupaBlockError::CANNOT_DIVIDE);
  EXPECT_EQ(layout(s), "abc,d,");
  EXPECT_EQ(textAt(s, 3), std::string(8, 'd'));
  EXPECT_TRUE(replaceText(s, 3, large));  // alone, it may grow
  EXPECT_EQ(textAt(s, 3), large);
  EXPECT_NO_THROW(Inspector::handles(s));
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

TEST(SupaBlockEventTest, LetsInsertEventsRewriteBytes) {
  SupaBlock s(BOTH, SupaBlockHints());
  fill(s, 3, 4);
  Recorder recorder;
  recorder.look = [&](const SupaBlockEvent& event) {
    if (event.fKind == SupaBlockEvent::SB_EVENT_INSERT) *s.getBlockData(s.getBlock(2), nullptr) = 'X';
    return textAt(s, 1);  // in the insert event the new block is there, but its bytes aren't written
  };
  s.registerCallback(&recorder, 1);
  insertText(s, 1, "new!");
  EXPECT_EQ(recorder.log, "impact 1..2 (bbbb); insert 1 (bbbb); ");
  EXPECT_EQ(textAt(s, 1) + textAt(s, 2), "new!Xbbb");
}

TEST(SupaBlockIteratorTest, KeepsItsPlaceThroughChanges) {
  const struct {
    int line;
    std::int32_t at;
    std::function<void(SupaBlock&)> change;
    const char* next;  // first bytes of the blocks from there on
  } ROWS[] = {
      {__LINE__, -1, [](auto&) {}, "abcde"},
      {__LINE__, 3, [](auto&) {}, "e"},
      {__LINE__, 2, [](auto& s) { insertText(s, 2, "x"); }, "de"},  // moves up with its block
      {__LINE__, 2, [](auto& s) { insertText(s, 3, "x"); }, "xde"},
      {__LINE__, 2, [](auto& s) { s.deleteBlock(4); }, "d"},
      {__LINE__, 2, [](auto& s) { s.deleteBlock(0); }, "de"},
      {__LINE__, 1, [](auto& s) { s.deleteBlock(1); }, "de"},      // the follower is passed over
      {__LINE__, 4, [](auto& s) { insertText(s, 5, "x"); }, "x"},  // from the end on
      {__LINE__, 4,
       [](auto& s) {
         s.deleteBlock(4);
         insertText(s, 4, "x");
         insertText(s, 5, "y");
       },
       "y"},
      {__LINE__, 1, [](auto& s) { replaceText(s, 0, std::string(90, 'x')); }, "cde"},  // divides
      {__LINE__, -2, [](auto&) {}, ""},
      {__LINE__, 7, [](auto& s) { insertText(s, 8, "x"); }, "x"},  // where there was no block
      {__LINE__, 7,
       [](auto& s) {
         s.deleteBlock(0);
         insertText(s, 7, "x");
       },
       "x"},
      {__LINE__, std::numeric_limits<std::int32_t>::max(), [](auto& s) { insertText(s, 0, "x"); }, ""},
      {__LINE__, std::numeric_limits<std::int32_t>::min(), [](auto& s) { s.deleteBlock(0); }, ""},
  };
  for (const auto& row : ROWS) {
    for (int flags = 0; flags < 4; ++flags) {
      SCOPED_TRACE(testing::Message() << "row of line " << row.line << ", flags " << flags);
      SupaBlock s(static_cast<SupaBlock::Flags>(flags), hintsOf(100, 8, 4, 8, 1));
      fill(s, 5, 8);
      SupaBlockIterator it(&s, row.at);
      row.change(s);
      std::string next;
      std::int32_t idx = -9;
      while (unsigned char* h = it.nextBlock(&idx)) {
        EXPECT_EQ(h, s.getBlock(idx));
        next += static_cast<char>(*s.getBlockData(h, nullptr));
      }
      EXPECT_EQ(next, row.next);
      EXPECT_EQ(it.nextBlock(nullptr), nullptr);
    }
  }
}

TEST(SupaBlockIteratorTest, ForgetsOnlyWhatMoved) {
  SupaBlock s(BOTH, hintsOf(400, 8, 4, 8, 0));
  fill(s, 5, 8);  // "abcd,e,"
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
