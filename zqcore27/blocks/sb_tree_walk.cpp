// The moves of an SBTreeIterator.

#include <algorithm>

#include "zqcore27/blocks/child_runs.h"
#include "zqcore27/blocks/sb_tree.h"
#include "zqcore27/blocks/sb_tree_iterator.h"

inline namespace zqcore27 {

namespace {

constexpr std::uint32_t IDX_NONE = SBTree::IDX_NONE;

}  // namespace

std::uint32_t SBTreeIterator::nextDFNode(bool stopOnAscent) {
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

/// Moves to `child` of the current node, and returns it; IDX_NONE, and nothing moves, if that is no node.
std::uint32_t SBTreeIterator::go_down(std::uint32_t child) {
  if (!SBTree::names_a_node(child)) return IDX_NONE;
  top().fRun = 0;
  push_idx(child);
  return child;
}

/// The same to a sibling.
std::uint32_t SBTreeIterator::go_across(std::uint32_t sibling) {
  if (!SBTree::names_a_node(sibling)) return IDX_NONE;
  SBTreeIteratorStackFrame& frame = top();
  unsigned char* next = sibling == frame.fIndex + 1 ? fTree->next_block(frame.fHeader, frame.fIndex, fNear) : nullptr;
  replace_top_idx(sibling);
  frame.fHeader = next;
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
