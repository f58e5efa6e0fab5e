// A store that grows, beside a model of it, and a tree on a store of its own.

#include <cstring>
#include <memory>
#include <vector>

#include "tests/faults/fault_loop.h"
#include "zqcore27/blocks/sb_tree.h"
#include "zqcore27/blocks/supa_block.h"
#include "zqcore27/blocks/supa_block_iterator.h"
#include "zqcore27/blocks/tree_iterator.h"

namespace {

const unsigned char* bytesOf(const void* data) { return static_cast<const unsigned char*>(data); }

/// A store and what it should hold. Each operation happens wholly or not at all.
class Store {
 public:
  Store(const FaultRun& run, std::uint32_t blocks) : fRun(run) {
    SupaBlockHints hints;
    hints.fMaxBodySize = blocks * 30;
    hints.fAvgBlockSize = 20;
    hints.fMinBlocks = blocks / 5;
    hints.fMaxBlocks = blocks;
    hints.fDirShift = 1;
    hadMemory(run, [&] { fStore = std::make_unique<SupaBlock>(SupaBlock::SB_DIRECTORY, hints); });
  }
  bool made() const { return fStore != nullptr; }

  void grow() {
    std::uint32_t random = 1;
    for (int step = 0; step < 150; ++step) {
      random = random * 1664525 + 1013904223;
      change(step % 5, static_cast<std::size_t>(random >> 16) % (fModel.size() + 1), random >> 8);
      if (step % 8 == 0) walk();
    }
    check();
  }
  /// Until the list of superblocks has to grow for a division.
  void divide() {
    for (int step = 0; step < 40; ++step) change(0, fModel.size() / 2, 13);
    check();
  }

 private:
  void change(int kind, std::size_t at, std::uint32_t random) {
    const auto idx = static_cast<std::int32_t>(at);
    const bool there = at != fModel.size(), rewrite = kind == 3 && there;
    if (kind == 4 && there) {
      fStore->deleteBlock(idx);  // raises nothing
      fModel.erase(fModel.begin() + idx);
      return;
    }
    const unsigned int size = 4 + random % 14 * 4;
    unsigned char text[60];
    std::memset(text, static_cast<int>('a' + random % 26), size);
    if (!hadMemory(fRun, [&] {
          require(rewrite ? fStore->replace(idx, text, size) : fStore->insert(idx, text, size), "a block is put in");
        })) {
      return check();  // of which nothing has changed
    }
    const FaultPause pause;
    if (!rewrite) fModel.emplace(fModel.begin() + idx);
    fModel[at].assign(text, text + size);
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
  std::vector<std::vector<unsigned char>> fModel;
};

void useStores(const FaultRun& run) {
  run.start();
  Store grows(run, 20);
  if (grows.made()) grows.grow();
  Store divides(run, 5);
  if (divides.made()) divides.divide();
  run.stop();
}

constexpr std::uint32_t NODES = 41;  // a chain of parents, the even ones, each with a leaf beside it

bool hasNode(SBTree& tree, std::uint32_t idx) {
  SBTreeChildData data;
  return tree.treeData(idx, &data);
}

void check(SBTree& tree) {
  require(tree.getRootNodeIdx() == NODES - 1 && !hasNode(tree, NODES), "as many nodes as there should be");
  for (std::uint32_t i = 0; i < NODES; ++i) {
    SBTreeChildData data;
    require(tree.treeData(i, &data) && data.size() == (i % 2 == 0 && i != 0 ? 2u : 0u), "each node's runs");
    require(data.size() == 0 || (data.firstIndex()[0] == i - 2 && data.firstIndex()[1] == i - 1), "each run");
  }
}

/// False if it can't be finished.
bool build(const FaultRun& run, SBTree& tree) {
  for (std::uint32_t i = 0; i < NODES; ++i) {
    const std::uint32_t children[2] = {i - 2, i - 1};
    while (!hadMemory(run, [&] { tree.buildTreeNode(i, bytesOf(children), i % 2 == 0 && i != 0 ? 1 : 0); })) {
      require(!hasNode(tree, i), "a node that wasn't made isn't there");
      if (run.goes_on_failing()) return false;
    }
    tree.setRootNodeIdx(i);
  }
  check(tree);
  return true;
}

/// A step that fails is none.
void walk(const FaultRun& run, SBTree& tree) {
  std::unique_ptr<TreeIterator> it;
  if (!hadMemory(run, [&] { it.reset(tree.newIter()); })) return;
  std::uint32_t steps = 0;
  bool ended = false;
  for (std::uint32_t tries = 0; tries < 2 * NODES && !ended; ++tries) {
    steps += hadMemory(run, [&] { ended = it->nextDFNode(false) == SBTree::IDX_NONE; });
  }
  require(ended ? steps == NODES : run.goes_on_failing(), "a walk sees every node");
}

void useTree(const FaultRun& run) {
  SupaBlockHints hints;
  hints.fAvgRuns = 2;
  std::unique_ptr<SBTree> tree;
  run.start();
  if (hadMemory(run, [&] { tree = std::make_unique<SBTree>(hints); }) && build(run, *tree)) {
    walk(run, *tree);
    for (int round = 0; round < 12; ++round) {  // a leaf under the root: all other nodes are repaired, or stay
      if (hadMemory(run, [&] { tree->buildTreeNodeInsert(NODES - 2, nullptr, 0); })) {
        require(tree->getRootNodeIdx() == NODES && hasNode(*tree, NODES), "a node more");
        tree->deleteNode(NODES - 2);
      }
      check(*tree);
    }
    Bitmap bits;
    if (hadMemory(run, [&] { bits.set(3), tree->terminatorHints(bits), tree->cloneHints(bits); })) {
      require(!tree->indexIsAParent(3) && tree->indexIsAParent(4), "hints that were taken");
    }
    const bool emptied = hadMemory(run, [&] { tree->clearTreeNodes(); });
    emptied ? require(!hasNode(*tree, 0), "an empty tree") : check(*tree);
  }
  run.stop();
}

}  // namespace

int main(int argc, char** argv) { return faultLoop(argc, argv, {{"store", useStores}, {"tree", useTree}}); }
