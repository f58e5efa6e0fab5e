// The moves of an SBTreeIterator, and what they take.

#include <algorithm>

#include "zqcore27/blocks/child_runs.h"
#include "zqcore27/blocks/sb_tree.h"
#include "zqcore27/blocks/sb_tree_iterator.h"
#include "zqcore27/blocks/supa_block_error.h"

inline namespace zqcore27 {

namespace {

constexpr std::uint32_t IDX_NONE = SBTree::IDX_NONE;

}  // namespace

// What a step asks of the tree, and the path. They stand in front of the moves, which the compiler makes them part of.

/// The handle of a node; null if there is none. `near` is the superblock of the last node that was looked up, or null:
/// neighbours on a walk seldom need a search. Superblocks live as long as their store. While blocks are about to move
/// there is none: a handle taken then would outlive its block.
unsigned char* SBTree::node_block(std::uint32_t idx, SupaBlockHeader*& near) {
  if (fStore == nullptr || fStore->fImpacting) return nullptr;
  if (near == nullptr || !near->holds(block_idx(idx))) near = fStore->get_SB_for_idx(block_idx(idx));
  return near == nullptr ? nullptr : fStore->get_block_hdr(near, block_idx(idx));
}

/// The handle of the node behind `idx`, whose own is `block`, if that is to be had without a look-up; null otherwise.
unsigned char* SBTree::next_block(unsigned char* block, std::uint32_t idx, const SupaBlockHeader* near) const {
  if (block == nullptr || near == nullptr || !near->holds(block_idx(idx)) || block_idx(idx) == near->fLast ||
      fStore->fImpacting) {
    return nullptr;
  }
  return SupaBlock::next_block_from_hdr(block);
}

std::uint32_t SBTree::node_first_child_idx(unsigned char* block) {
  const ChildRuns runs(block);
  return runs.count() == 0 ? IDX_NONE : runs[0].first;
}

std::uint32_t SBTree::node_last_child_idx(unsigned char* block) {
  const ChildRuns runs(block);
  return runs.count() == 0 ? IDX_NONE : runs[runs.count() - 1].last;
}

std::uint32_t SBTreeIterator::this_idx() {
  if (fCurrent == IDX_NONE && fTop >= 0) fCurrent = top().fIndex;
  return fCurrent;
}

unsigned char* SBTreeIterator::block_of(SBTreeIteratorStackFrame& frame) {
  if (frame.fHeader == nullptr) frame.fHeader = fTree->node_block(frame.fIndex, fNear);
  return frame.fHeader;
}

unsigned char* SBTreeIterator::this_node() {
  if (fTop < 0) return nullptr;
  this_idx();
  return block_of(top());
}

unsigned char* SBTreeIterator::parent_node() {
  return fTop < 1 ? nullptr : block_of(fFrames[static_cast<std::size_t>(fTop) - 1]);
}

std::uint32_t SBTreeIterator::first_child_idx() { return SBTree::node_first_child_idx(this_node()); }

std::uint32_t SBTreeIterator::last_child_idx() { return SBTree::node_last_child_idx(this_node()); }

void SBTreeIterator::replace_top_idx(std::uint32_t idx) {
  if (fTop < 0) return;
  SBTreeIteratorStackFrame& frame = top();
  frame.fIndex = idx;
  frame.fRun = 0;
  frame.fHeader = nullptr;
  fCurrent = idx;
}

SBTreeIteratorStackFrame* SBTreeIterator::push_frame() {
  if (static_cast<std::size_t>(fTop + 1) == fFrames.size()) fFrames.emplace_back();
  ++fTop;
  fCurrent = IDX_NONE;
  return &top();
}

void SBTreeIterator::push_idx(std::uint32_t idx) {
  push_frame();
  replace_top_idx(idx);
}

/// The bottom frame stays: null, and nothing moves.
SBTreeIteratorStackFrame* SBTreeIterator::pop_frame() {
  if (fTop < 1) return nullptr;
  --fTop;
  return &top();
}

std::uint32_t SBTreeIterator::pop_idx() {
  fCurrent = IDX_NONE;
  if (const SBTreeIteratorStackFrame* frame = pop_frame()) fCurrent = frame->fIndex;
  return fCurrent;
}

bool SBTreeIterator::testIter(bool raise) {
  OrlanSynchronized lock(fMutex);
  if (!fValid && raise) throw SupaBlockError(SupaBlockError::INVALID_ITERATOR, false);
  return fValid;
}

// The moves.

[[gnu::flatten]] std::uint32_t SBTreeIterator::nextDFNode(bool stopOnAscent) {
  testIter(true);
  if (this_idx() == IDX_NONE) {  // nowhere
    if (fTree->fStore == nullptr || fTree->fStore->getSize() == 0 || !SBTree::names_a_node(fTree->fRoot))
      return IDX_NONE;
    push_idx(fTree->fRoot);
    return fCurrent;
  }
  if (!fTree->is_terminator(top().fIndex)) {
    const std::uint32_t child = first_child_idx();
    if (SBTree::names_a_node(child) && !closes_a_circle()) return go_down(child);
  }
  while (true) {
    if (const std::uint32_t sibling = go_across(next_sibling_idx()); sibling != IDX_NONE) return sibling;
    if (pop_idx() == IDX_NONE) return IDX_NONE;
    if (stopOnAscent) return fCurrent;
  }
}

std::uint32_t SBTreeIterator::parentNode() {
  testIter(true);
  return fTop > 1 ? pop_idx() : IDX_NONE;
}

std::uint32_t SBTreeIterator::firstChildNode() {
  testIter(true);
  return go_down(first_child_idx());
}

std::uint32_t SBTreeIterator::lastChildNode() {
  testIter(true);
  return go_down(last_child_idx());
}

std::uint32_t SBTreeIterator::nextSibling() {
  testIter(true);
  return go_across(next_sibling_idx());
}

std::uint32_t SBTreeIterator::prevSibling() {
  testIter(true);
  return go_across(prev_sibling_idx());
}

bool SBTreeIterator::moveToDFIndex(std::uint32_t idx) {
  std::uint32_t reached;
  do {
    reached = nextDFNode(false);
  } while (reached != idx && reached != IDX_NONE);
  return reached != IDX_NONE;
}

std::uint32_t SBTreeIterator::nextClone() {
  const std::uint32_t idx = getNodeIndex();
  return moveToDFIndex(idx) ? idx : IDX_NONE;
}

std::uint32_t SBTreeIterator::prevClone() {
  testIter(true);
  return IDX_NONE;
}

/// True if the current node stands further up on the path already and its parent lists it. A tree in order has no such
/// path, since indexes fall with every step down; so this is looked for only where they don't, and every circle has
/// such a step. After the delete of a node its parent may have the same index, and that is no circle: it isn't listed.
/// A reversed run lists its two ends, by which it is entered.
bool SBTreeIterator::closes_a_circle() {
  if (fTop < 1 || frame(fTop).fIndex < frame(fTop - 1).fIndex) return false;
  const auto path = fFrames.begin();
  if (std::find(path, path + fTop, frame(fTop)) == path + fTop) return false;
  const ChildRuns runs(parent_node());
  const std::uint32_t child = frame(fTop).fIndex;
  for (std::uint32_t r = 0; r < runs.count(); ++r) {
    const ChildRun run = runs[r];
    if (run.first == child || run.last == child || (run.first < child && child < run.last)) return true;
  }
  return false;
}

/// The handle of node `idx` if that is the one behind the frame's and had without a look-up; null otherwise.
unsigned char* SBTreeIterator::block_behind(const SBTreeIteratorStackFrame& frame, std::uint32_t idx) const {
  return idx == frame.fIndex + 1 ? fTree->next_block(frame.fHeader, frame.fIndex, fNear) : nullptr;
}

/// Moves to `child` of the current node, and returns it; IDX_NONE, and nothing moves, if that is no node.
std::uint32_t SBTreeIterator::go_down(std::uint32_t child) {
  if (!SBTree::names_a_node(child)) return IDX_NONE;
  top().fRun = 0;
  // The level below was left at some node, which is often the one in front.
  unsigned char* next = nullptr;
  if (const auto below = static_cast<std::size_t>(fTop) + 1; below < fFrames.size())
    next = block_behind(fFrames[below], child);
  push_idx(child);
  top().fHeader = next;
  return child;
}

/// The same to a sibling.
std::uint32_t SBTreeIterator::go_across(std::uint32_t sibling) {
  if (!SBTree::names_a_node(sibling)) return IDX_NONE;
  unsigned char* const next = block_behind(top(), sibling);
  replace_top_idx(sibling);
  top().fHeader = next;
  return sibling;
}

std::uint32_t SBTreeIterator::next_sibling_idx() {
  if (fTop < 1) return IDX_NONE;
  this_idx();
  const ChildRuns runs(parent_node());
  std::uint32_t& passed = fFrames[static_cast<std::size_t>(fTop) - 1].fRun;
  const std::uint32_t child = top().fIndex;
  bool found = false;
  for (; passed < runs.count(); ++passed) {
    const ChildRun run = runs[passed];
    if (found) return run.first;
    if (run.first > child || child > run.last) continue;
    if (child != run.last) return child + 1;
    found = true;
  }
  return IDX_NONE;
}

std::uint32_t SBTreeIterator::prev_sibling_idx() {
  if (fTop < 1) return IDX_NONE;
  this_idx();
  const ChildRuns runs(parent_node());
  fFrames[static_cast<std::size_t>(fTop) - 1].fRun = 0;
  const std::uint32_t child = top().fIndex;
  bool found = false;
  for (std::uint32_t r = runs.count(); r-- > 0;) {
    const ChildRun run = runs[r];
    if (found) return run.last;
    if (run.first > child || child > run.last) continue;
    if (child != run.first) return child - 1;
    found = true;
  }
  return IDX_NONE;
}

}  // namespace zqcore27
