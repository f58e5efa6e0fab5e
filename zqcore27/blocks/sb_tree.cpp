#include "zqcore27/blocks/sb_tree.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "zqcore27/blocks/child_runs.h"
#include "zqcore27/blocks/sb_tree_iterator.h"

inline namespace zqcore27 {

namespace {

/// Bytes of `count` runs. More than 32 bits hold counts as a size that fits no store.
unsigned int bytesOfRuns(unsigned int count) {
  return count > std::numeric_limits<std::uint32_t>::max() / sizeof(ChildRun)
             ? std::numeric_limits<std::uint32_t>::max()
             : static_cast<unsigned int>(count * sizeof(ChildRun));
}

}  // namespace

SBTree::SBTree() { fIterators.reserve(1); }

SBTree::SBTree(const SupaBlockHints& hints) : fHints(hints) {
  fIterators.reserve(1);
  if (fHints.fAvgRuns == 0) fHints.fAvgRuns = 2;
  make_store();
}

SBTree::~SBTree() {
  while (!fIterators.empty()) delete fIterators.back();  // each takes itself off the list
}

/// Puts an empty store in place of the present one, if that can be done.
void SBTree::make_store() {
  SupaBlockHints hints;
  hints.fMaxBodySize = 0x40000000;
  hints.fAvgBlockSize = bytesOfRuns(fHints.fAvgRuns);
  hints.fMinBlocks = 8;
  hints.fMaxBlocks = 4000;
  hints.fDirShift = 2;
  auto fresh = std::make_unique<SupaBlock>(SupaBlock::SB_DIRECTORY, hints);
  fresh->registerCallback(this, 1);
  fStore = std::move(fresh);
}

/// For writing: a tree that has no store yet gets one.
SupaBlock& SBTree::store() {
  if (fStore == nullptr) make_store();
  return *fStore;
}

void SBTree::buildTreeNode(std::uint32_t idx, const unsigned char* runs, unsigned int count) {
  store().replace(block_idx(idx), runs, bytesOfRuns(count));
}

void SBTree::buildTreeNodeInsert(std::uint32_t idx, const unsigned char* runs, unsigned int count) {
  store().insert(block_idx(idx), runs, bytesOfRuns(count));
}

void SBTree::deleteNode(std::uint32_t idx) {
  if (fStore != nullptr) fStore->deleteBlock(block_idx(idx));
}

void SBTree::clearTreeNodes() {
  make_store();
  OrlanSynchronized lock(fMutex);
  for (SBTreeIterator* it : fIterators) it->forget_blocks();
}

bool SBTree::treeData(std::uint32_t idx, SBTreeChildData* data) {
  return fStore != nullptr && names_a_node(idx) && fStore->get(block_idx(idx), data);
}

bool SBTree::indexIsAParent(std::uint32_t idx) {
  if (!names_a_node(idx)) return false;
  if (fTerminators != nullptr) return !is_terminator(idx);
  SBTreeChildData data;
  return treeData(idx, &data) && data.firstIndex() != nullptr;
}

void SBTree::terminatorHints(const Bitmap& bits) { fTerminators = without_root(bits); }

void SBTree::cloneHints(const Bitmap& bits) { fClones = without_root(bits); }

std::unique_ptr<Bitmap> SBTree::without_root(const Bitmap& bits) const {
  auto copy = std::make_unique<Bitmap>(bits);
  if (names_a_node(fRoot)) copy->clear(fRoot);
  return copy;
}

TreeIterator* SBTree::newIter() {
  auto it = std::make_unique<SBTreeIterator>(this);
  it->nextDFNode(false);
  return it.release();
}

void SBTree::attach_iterator(SBTreeIterator* it) {
  OrlanSynchronized lock(fMutex);
  fIterators.push_back(it);
}

void SBTree::detach_iterator(SBTreeIterator* it) {
  OrlanSynchronized lock(fMutex);
  std::erase(fIterators, it);
}

}  // namespace zqcore27
