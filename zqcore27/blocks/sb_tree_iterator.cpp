#include "zqcore27/blocks/sb_tree_iterator.h"

#include <algorithm>
#include <utility>

#include "zqcore27/blocks/child_runs.h"
#include "zqcore27/blocks/sb_tree.h"

inline namespace zqcore27 {

namespace {

constexpr std::uint32_t IDX_NONE = SBTree::IDX_NONE;

}  // namespace

SBTreeIterator::SBTreeIterator(SBTree* tree) { initialise_iter(tree); }

SBTreeIterator::~SBTreeIterator() {
  if (fTree != nullptr) fTree->detach_iterator(this);
}

void SBTreeIterator::initialise_iter(SBTree* tree) {
  fFrames.clear();
  fFrames.reserve(10);
  fTop = -1;
  fCurrent = IDX_NONE;
  fNear = nullptr;
  attach_to(tree);
  OrlanSynchronized lock(fMutex);
  fValid = tree != nullptr;
}

/// Moves the attachment, if that can be done. `tree` may be null.
void SBTreeIterator::attach_to(SBTree* tree) {
  if (tree == fTree) return;
  if (tree != nullptr) tree->attach_iterator(this);
  if (fTree != nullptr) fTree->detach_iterator(this);
  fTree = tree;
}

TreeIterator& SBTreeIterator::operator=(TreeIterator& other) {
  testIter(true);
  if (const auto* from = dynamic_cast<SBTreeIterator*>(&other)) *this = std::as_const(*from);
  return *this;
}

SBTreeIterator& SBTreeIterator::operator=(const SBTreeIterator& other) {
  testIter(true);
  if (other.fTree == nullptr) return *this;
  fFrames.reserve(other.fFrames.size());  // what may fail comes first
  attach_to(other.fTree);
  fTop = other.fTop;
  fCurrent = other.fCurrent;
  fNear = other.fNear;
  fFrames = other.fFrames;
  return *this;
}

void SBTreeIterator::invalidate() {
  OrlanSynchronized lock(fMutex);
  fValid = false;
}

std::uint32_t SBTreeIterator::getNodeIndex() {
  testIter(true);
  return fTop < 1 ? IDX_NONE : this_idx();
}

unsigned int SBTreeIterator::getNodeDepth() {
  testIter(true);
  return static_cast<unsigned int>(fTop);
}

TreeIterator* SBTreeIterator::vConstruct() { return new SBTreeIterator(fTree); }

bool SBTreeIterator::operator==(TreeIterator& other) {
  testIter(true);
  const auto* it = dynamic_cast<SBTreeIterator*>(&other);
  if (it == nullptr || it->fTree != fTree || it->fTop != fTop) return false;
  return fTop < 1 || std::equal(fFrames.begin() + 1, fFrames.begin() + fTop + 1, it->fFrames.begin() + 1);
}

bool SBTreeIterator::isAParent() {
  testIter(true);
  if (fTree->fTerminators != nullptr) return fTop >= 0 && fTree->indexIsAParent(this_idx());
  return ChildRuns(this_node()).bytes() != 0;
}

bool SBTreeIterator::isAClone() {
  testIter(true);
  if (fTop < 0) return false;
  if (fTree->fClones == nullptr) return true;
  for (std::int32_t depth = fTop; depth > 0; --depth) {
    if (fTree->is_clone(frame(depth).fIndex)) return true;
  }
  return false;
}

bool SBTreeIterator::isADescendant(std::int32_t idx) {
  const auto wanted = static_cast<std::uint32_t>(idx);
  return std::any_of(fFrames.begin(), fFrames.begin() + (fTop + 1),
                     [wanted](const SBTreeIteratorStackFrame& f) { return f.fIndex == wanted; });
}

// Changes of the tree. fCurrent is read again from the top frame after an index has changed.

void SBTreeIterator::impact_frames_in_range(std::int32_t first, std::int32_t last) {
  for (SBTreeIteratorStackFrame& f : fFrames) {
    if (f.fIndex >= std::int64_t{first} && f.fIndex <= std::int64_t{last}) f.fHeader = nullptr;
  }
}

void SBTreeIterator::insert_into_frames(std::int32_t idx) {
  for (SBTreeIteratorStackFrame& f : fFrames) {
    if (f.fIndex < std::int64_t{idx}) continue;
    ++f.fIndex;
    f.fHeader = nullptr;
  }
  fCurrent = IDX_NONE;
}

void SBTreeIterator::delete_from_frames(std::int32_t idx) {
  for (SBTreeIteratorStackFrame& f : fFrames) {
    if (f.fIndex <= std::int64_t{idx}) continue;
    --f.fIndex;
    f.fHeader = nullptr;
    f.fRun = 0;
  }
  fCurrent = IDX_NONE;
}

/// For a store that is about to go: nothing of it is read again.
void SBTreeIterator::forget_blocks() {
  for (SBTreeIteratorStackFrame& f : fFrames) {
    f.fHeader = nullptr;
    f.fRun = 0;
  }
  fNear = nullptr;
}

}  // namespace zqcore27
