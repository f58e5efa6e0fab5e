#include "tests/support/store_model.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>

namespace {

constexpr int STORE_LIFE = 1000;  // operations

/// A store beside a plain vector of byte strings, with iterators beside their plain indexes.
class StoreRun {
 public:
  StoreRun(int flags, const SupaBlockHints& hints, std::uint32_t seed)
      : fStore(static_cast<SupaBlock::Flags>(flags), hints), fRandom(seed) {
    fStore.registerCallback(&fCache, 1);
  }

  void step() {
    fCache.events.clear();
    const int kind = pick(0, 99);
    const bool full = fModel.size() > 80;
    if (kind < (full ? 20 : 40)) {
      write(true);
    } else if (kind < 60) {
      write(false);
    } else if (kind < (full ? 92 : 78)) {
      remove();
    } else if (kind < 94) {
      walk_a_bit();
    } else {
      change_iterators();
    }
    check();
  }

 private:
  struct Walker {
    std::unique_ptr<SupaBlockIterator> it;
    std::int32_t index;
  };

  int pick(int low, int high) { return std::uniform_int_distribution<>(low, high)(fRandom); }
  std::int32_t size() const { return static_cast<std::int32_t>(fModel.size()); }

  std::string some_bytes() {
    const std::uint32_t max = SupaBlockInspector::hints(fStore).fMaxBodySize;
    const std::uint32_t target = SupaBlockInspector::targetBody(fStore);
    int length = pick(0, 24);
    switch (pick(0, 19)) {
      case 0:
        length = static_cast<int>(target) - pick(0, 8);
        break;
      case 1:
        length = static_cast<int>(max) + pick(-12, 4);
        break;
      case 2:
        length = pick(0, static_cast<int>(max));
        break;
      case 3:
        length = 0;
        break;
      default:
        break;
    }
    std::string bytes(static_cast<std::size_t>(std::max(length, 0)), static_cast<char>(pick(1, 255)));
    if (!bytes.empty()) bytes.back() = static_cast<char>(pick(1, 255));
    return bytes;
  }

  void write(bool inserts) {
    const bool behind = pick(0, 9) < 3;
    const std::int32_t idx = behind ? size() + (pick(0, 3) == 0 ? pick(0, 40) : 0) : pick(0, size());
    const std::string bytes = some_bytes();
    bool copied = false;
    const std::uint32_t error =
        storeErrorOf([&] { copied = inserts ? insertText(fStore, idx, bytes) : replaceText(fStore, idx, bytes); });
    SCOPED_TRACE(testing::Message() << (inserts ? "insert " : "replace ") << idx << ", " << bytes.size() << " bytes");
    if (error != 0) return after_error(error, idx, bytes.size());

    EXPECT_EQ(copied, !bytes.empty());
    const bool appends = idx >= size();
    expect_index_event(inserts && !appends ? std::uint32_t{SupaBlockEvent::SB_EVENT_INSERT} : 0, idx);
    if (appends) {
      EXPECT_TRUE(fCache.events.empty());
      fModel.resize(static_cast<std::size_t>(idx) + 1);
    } else if (inserts) {
      fModel.insert(fModel.begin() + idx, std::string());
      for (Walker& w : fWalkers) w.index += w.index >= idx ? 1 : 0;
    } else if (roundedSize(fModel[static_cast<std::size_t>(idx)].size()) == roundedSize(bytes.size())) {
      EXPECT_TRUE(fCache.events.empty());
    }
    fModel[static_cast<std::size_t>(idx)] = bytes;
  }

  void after_error(std::uint32_t error, std::int32_t idx, std::size_t length) {
    const std::uint32_t max = SupaBlockInspector::hints(fStore).fMaxBodySize;
    if (idx >= size()) {
      EXPECT_EQ(error, SupaBlockError::BLOCK_TOO_LARGE);
      EXPECT_GE(roundedSize(length), max);
      EXPECT_LE(fStore.getSize(), idx);
      EXPECT_TRUE(fCache.events.empty());
      fModel.resize(static_cast<std::size_t>(fStore.getSize()));  // the fillers stay
      return;
    }
    EXPECT_EQ(error, SupaBlockError::CANNOT_DIVIDE);
    expect_index_event(0, idx);
    // The store gave up only where nothing was left to divide, or a body had outgrown the largest that can move.
    const SupaBlockHeader* sb = SupaBlockInspector::holder(fStore, idx);
    EXPECT_TRUE(sb->fFirst == sb->fLast || sb->get_body_size() > max);
  }

  void remove() {
    const std::int32_t idx = pick(0, size() + 1);
    EXPECT_TRUE(fStore.deleteBlock(idx));
    if (idx >= size()) {
      EXPECT_TRUE(fCache.events.empty());
      return;
    }
    expect_index_event(SupaBlockEvent::SB_EVENT_DELETE, idx);
    fModel.erase(fModel.begin() + idx);
    for (Walker& w : fWalkers) w.index -= w.index > idx ? 1 : 0;
  }

  /// Impacts come first, the index event, if there is one, last and once.
  void expect_index_event(std::uint32_t kind, std::int32_t idx) {
    auto impacts = fCache.events;
    if (kind != 0) {
      ASSERT_FALSE(impacts.empty());
      EXPECT_EQ(impacts.back().fKind, kind);
      EXPECT_EQ(impacts.back().fIndex, idx);
      impacts.pop_back();
      EXPECT_FALSE(impacts.empty());
    }
    for (const SupaBlockEvent& event : impacts) {
      EXPECT_EQ(event.fKind, static_cast<std::uint32_t>(SupaBlockEvent::SB_EVENT_IMPACT));
      EXPECT_EQ(event.fSource, &fStore);
      EXPECT_LE(event.fIndex, event.fLastIndex + 1);
    }
  }

  void walk_a_bit() {
    for (Walker& w : fWalkers) {
      for (int n = pick(0, 3); n > 0; --n) {
        std::int32_t idx = -77;
        unsigned char* h = w.it->nextBlock(&idx);
        if (w.index + 1 < 0 || w.index + 1 >= size()) {
          EXPECT_EQ(h, nullptr);
          EXPECT_EQ(idx, -77);
        } else {
          EXPECT_EQ(idx, ++w.index);
          unsigned int length = 0;
          fStore.getBlockData(h, &length);
          EXPECT_EQ(length, roundedSize(fModel[static_cast<std::size_t>(idx)].size()));
        }
      }
    }
  }

  void change_iterators() {
    if (fWalkers.size() > 4) fWalkers.erase(fWalkers.begin() + pick(0, 3));
    const std::int32_t idx = pick(-3, size() + 3);
    fWalkers.push_back({std::unique_ptr<SupaBlockIterator>(new SupaBlockIterator(&fStore, idx)), idx});
  }

  void check() {
    std::vector<const unsigned char*> handles;
    try {
      handles = SupaBlockInspector::handles(fStore);
    } catch (const std::string& fault) {
      FAIL() << fault;
    }
    ASSERT_EQ(handles.size(), fModel.size());
    for (std::size_t i = 0; i < handles.size(); ++i) {  // plain tests: this loop is where the time goes
      const std::string& bytes = fModel[i];
      if (SupaBlockInspector::sizeAt(handles[i]) != roundedSize(bytes.size())) FAIL() << "size of block " << i;
      if (std::memcmp(handles[i] + 4, bytes.data(), bytes.size()) != 0) FAIL() << "bytes of block " << i;
    }
    for (std::size_t i = 0; i < fCache.handles.size(); ++i) {
      const unsigned char* known = fCache.handles[i];
      if (known != nullptr && known != handles[i]) FAIL() << "an event was missed for block " << i;
    }
    for (const Walker& w : fWalkers) ASSERT_EQ(SupaBlockInspector::index(*w.it), w.index);
    look_up_some(handles);
  }

  /// Not all: a look-up extends the directory, and changes must meet it in every state.
  void look_up_some(const std::vector<const unsigned char*>& handles) {
    for (int n = pick(0, 3); n > 0; --n) {
      const std::int32_t idx = pick(0, size());
      const unsigned char* expected = idx < size() ? handles[static_cast<std::size_t>(idx)] : nullptr;
      ASSERT_EQ(fStore.getBlock(idx), expected) << "block " << idx;
      if (expected != nullptr) fCache.remember(idx, expected);
    }
  }

  SupaBlock fStore;
  std::mt19937 fRandom;
  HandleCache fCache;
  std::vector<std::string> fModel;
  std::vector<Walker> fWalkers;
};

TEST(StoreModelTest, FollowsAPlainVector) {
  const struct {
    int line;
    SupaBlockHints hints;
  } ROWS[] = {
      {__LINE__, hintsOf(0, 16, 0, 0, 0)},         // all defaults
      {__LINE__, hintsOf(200, 16, 2, 6, 0)},       // divides all the time
      {__LINE__, hintsOf(100, 8, 1, 4, 1)},        // a directory entry for every second block
      {__LINE__, hintsOf(64, 4, 3, 9, 2)},         // small blocks, many to a superblock
      {__LINE__, hintsOf(4096, 16, 4, 8, 1)},      // bodies grow far above their target
      {__LINE__, hintsOf(300, 1, 2, 40, 3)},       // fillers take more than the expected size
      {__LINE__, hintsOf(50, 100, 0, 0, 0)},       // no block fits the largest body
      {__LINE__, hintsOf(0, 0, 0, 3, 2)},          // swapped counts, no expected size
      {__LINE__, hintsOf(61, 7, 2, 5, 40)},        // odd sizes, a shift out of range
      {__LINE__, hintsOf(1000, 16, 900, 100, 5)},  // counts cut to the largest body
  };
  for (const auto& row : ROWS) {
    for (int flags = 0; flags < 4; ++flags) {
      // Superblocks never go, so a long run takes a new store now and then.
      for (int steps = modelSteps(500), done = 0; done < steps; done += STORE_LIFE) {
        const std::uint32_t seed = modelSeed() + static_cast<std::uint32_t>(flags + done);
        SCOPED_TRACE(testing::Message() << "row of line " << row.line << ", flags " << flags << ", seed " << seed);
        StoreRun run(flags, row.hints, seed);
        for (int n = 0; n < std::min(STORE_LIFE, steps - done); ++n) {
          run.step();
          if (testing::Test::HasFailure()) FAIL() << "at step " << n;
        }
      }
    }
  }
}

}  // namespace
