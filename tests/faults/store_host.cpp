// A store that grows, beside a model of it, and a tree on a store of its own.

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "tests/faults/fault_loop.h"
#include "zqcore27/blocks/sb_tree.h"
#include "zqcore27/blocks/supa_block.h"
#include "zqcore27/blocks/supa_block_iterator.h"
#include "zqcore27/blocks/tree_iterator.h"

namespace {

const unsigned char* bytesOf(const std::string& text) { return reinterpret_cast<const unsigned char*>(text.data()); }

/// A store and what it should hold. Each operation happens wholly or not at all.
class Store {
 public:
  explicit Store(const FaultRun& run) : fRun(run) {}

  bool make(std::uint32_t blocks = 20) {
    SupaBlockHints hints;
    hints.fMaxBodySize = blocks * 30;
    hints.fAvgBlockSize = 20;
    hints.fMinBlocks = blocks / 5;
    hints.fMaxBlocks = blocks;
    hints.fDirShift = 1;
    return hadMemory(fRun, [&] { fStore = std::make_unique<SupaBlock>(SupaBlock::SB_DIRECTORY, hints); });
  }

  void grow() {
    std::uint32_t random = 1;
    for (int step = 0; step < 150; ++step) {
      random = random * 1664525 + 1013904223;
      const auto at = static_cast<std::size_t>(random >> 16) % (fModel.size() + 1);
      change(step % 5, at, text(random >> 8));
      if (step % 8 == 0) walk();
    }
    check();
    fModel.clear();
    if (make(5)) divide();
  }

  void check() {
    require(fStore->getSize() == static_cast<std::int32_t>(fModel.size()), "as many blocks as there should be");
    for (std::size_t i = 0; i < fModel.size(); ++i) {
      SupaBlockDatum datum;
      require(fStore->get(static_cast<std::int32_t>(i), &datum) && datum.fSize == fModel[i].size() &&
                  std::memcmp(datum.fData, fModel[i].data(), datum.fSize) == 0,
              "each block as it should be");
    }
  }

 private:
  static std::string text(std::uint32_t random) {
    const FaultPause pause;
    return std::string(4 + random % 14 * 4, static_cast<char>('a' + random % 26));
  }

  /// Until the list of superblocks has to grow for a division.
  void divide() {
    for (int step = 0; step < 40; ++step) change(0, fModel.size() / 2, text(13));
    check();
  }

  void change(int kind, std::size_t at, const std::string& text) {
    const auto idx = static_cast<std::int32_t>(at);
    const auto size = static_cast<unsigned int>(text.size());
    const bool there = at != fModel.size(), rewrite = kind == 3 && there;
    if (kind == 4 && there) {
      fStore->deleteBlock(idx);  // raises nothing
      fModel.erase(fModel.begin() + idx);
    } else if (!hadMemory(fRun, [&] {
                 require(rewrite ? fStore->replace(idx, bytesOf(text), size) : fStore->insert(idx, bytesOf(text), size),
                         "a block is put in");
               })) {
      check();  // of which nothing has changed
    } else {
      const FaultPause pause;
      rewrite ? void(fModel[at] = text) : void(fModel.insert(fModel.begin() + idx, text));
    }
  }

  /// Iterators see every block, whatever was changed before them.
  void walk() {
    hadMemory(fRun, [&] {
      const std::unique_ptr<SupaBlockIterator> it(new SupaBlockIterator(fStore.get(), -1));
      std::size_t seen = 0;
      while (it->nextBlock(nullptr) != nullptr) ++seen;
      require(seen == fModel.size(), "a walk passes all blocks");
    });
  }

  const FaultRun& fRun;
  std::unique_ptr<SupaBlock> fStore;
  std::vector<std::string> fModel;
};

/// Every node's runs, and a walk that is kept on the last node.
class Tree {
 public:
  explicit Tree(const FaultRun& run) : fRun(run) {}

  bool make() {
    SupaBlockHints hints;
    hints.fAvgRuns = 2;
    return hadMemory(fRun, [&] { fTree = std::make_unique<SBTree>(hints); });
  }

  /// A chain of NODES levels, each with a leaf beside it.
  void grow() {
    for (std::uint32_t i = 0; i < NODES; ++i) {
      const std::uint32_t runs[2] = {i < 2 ? 0 : i - 2, i < 2 ? 0 : i - 1};
      const unsigned int count = i % 2 == 0 && i != 0 ? 1 : 0;
      while (!hadMemory(fRun, [&] { fTree->buildTreeNode(i, reinterpret_cast<const unsigned char*>(runs), count); })) {
        require(!hasNode(i), "a node that wasn't made isn't there");
        if (fRun.goes_on_failing()) return;
      }
      fTree->setRootNodeIdx(i);
    }
    check(NODES);
    std::unique_ptr<TreeIterator> walk;
    const bool walks = hadMemory(fRun, [&] { walk.reset(fTree->newIter()); });
    // A step that fails is none.
    std::uint32_t steps = 0;
    bool ended = !walks;
    for (std::uint32_t tries = 0; tries < 2 * NODES && !ended; ++tries) {
      hadMemory(fRun, [&] {
        ended = walk->nextDFNode(false) == SBTree::IDX_NONE;
        if (!ended) ++steps;
      });
    }
    require(!walks || (ended ? steps == NODES - 1 : fRun.goes_on_failing()), "a walk sees every node");
    insertAndDelete();
  }

  bool hasNode(std::uint32_t idx) {
    SBTreeChildData data;
    return fTree->treeData(idx, &data);
  }

 private:
  static constexpr std::uint32_t NODES = 41;

  /// Puts a leaf in under the root and takes it away again: all other nodes are repaired, or stay.
  void insertAndDelete() {
    for (int round = 0; round < 12; ++round) {
      if (!hadMemory(fRun, [&] { fTree->buildTreeNodeInsert(NODES - 2, nullptr, 0); })) {
        check(NODES);
        continue;
      }
      require(fTree->getRootNodeIdx() == NODES && hasNode(NODES), "a node more");
      fTree->deleteNode(NODES - 2);
      check(NODES);
    }
    Bitmap bits;
    if (hadMemory(fRun, [&] { bits.set(3), fTree->terminatorHints(bits), fTree->cloneHints(bits); })) {
      require(!fTree->indexIsAParent(3) && fTree->indexIsAParent(4), "hints that were taken");
    }
    if (hadMemory(fRun, [&] { fTree->clearTreeNodes(); })) {
      require(!hasNode(0), "an empty tree");
    } else {
      check(NODES);
    }
  }

  void check(std::uint32_t nodes) {
    require(fTree->getRootNodeIdx() == nodes - 1 && !hasNode(nodes), "as many nodes as there should be");
    for (std::uint32_t i = 0; i < nodes; ++i) {
      SBTreeChildData data;
      require(fTree->treeData(i, &data), "each node");
      const bool parent = i % 2 == 0 && i != 0;
      require(data.size() == (parent ? 2u : 0u), "each node's runs");
      if (parent) require(data.firstIndex()[0] == i - 2 && data.firstIndex()[1] == i - 1, "each run");
    }
  }

  const FaultRun& fRun;
  std::unique_ptr<SBTree> fTree;
};

template <class Grown>
void grow(const FaultRun& run) {
  Grown grown(run);
  run.start();
  if (grown.make()) grown.grow();
  run.stop();
}

}  // namespace

int main(int argc, char** argv) {
  const int store = faultLoop(argc, argv, {"store", grow<Store>});
  return argc == 1 && store == 0 ? faultLoop(argc, argv, {"tree", grow<Tree>}) : store;
}
