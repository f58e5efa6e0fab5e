// What a tree does when its store tells of a change.

#include <algorithm>
#include <cstring>

#include "zqcore27/blocks/child_runs.h"
#include "zqcore27/blocks/sb_tree.h"
#include "zqcore27/blocks/sb_tree_iterator.h"

inline namespace zqcore27 {

namespace {

/// `index` after an insert at `idx`. "No node" stays what it is.
std::uint32_t after_insert(std::uint32_t index, std::uint32_t idx) {
  return index + static_cast<std::uint32_t>(index >= idx && index != SBTree::IDX_NONE);
}

/// The first block at `h` or behind it that isn't empty; `end` if there is none. Empty blocks are zero words, and
/// leaves stand in rows.
unsigned char* behind_empty_blocks(unsigned char* h, unsigned char* end) {
  std::uint64_t words[4];
  while (static_cast<std::size_t>(end - h) >= sizeof words) {
    std::memcpy(words, h, sizeof words);
    if ((words[0] | words[1] | words[2] | words[3]) != 0) break;
    h += sizeof words;
  }
  std::uint32_t size = 0;
  for (; h != end; h += sizeof size) {
    std::memcpy(&size, h, sizeof size);
    if (size != 0) break;
  }
  return h;
}

}  // namespace

bool SBTree::call(const SupaBlockEvent& event) {
  switch (event.fKind) {
    case SupaBlockEvent::SB_EVENT_IMPACT:
      call_sb_event_impact(event.fIndex, event.fLastIndex);
      return true;
    case SupaBlockEvent::SB_EVENT_INSERT:
      call_sb_event_insert(event.fIndex);
      return true;
    case SupaBlockEvent::SB_EVENT_DELETE:
      call_sb_event_delete(event.fIndex);
      return true;
    default:
      return false;
  }
}

void SBTree::call_sb_event_impact(std::int32_t first, std::int32_t last) {
  OrlanSynchronized lock(fMutex);
  for (SBTreeIterator* it : fIterators) it->impact_frames_in_range(first, last);
}

void SBTree::call_sb_event_insert(std::int32_t idx) {
  {
    OrlanSynchronized lock(fMutex);
    for (SBTreeIterator* it : fIterators) it->insert_into_frames(idx);
  }
  ++fRoot;
  fixup_tree_after_insert(idx);
}

void SBTree::call_sb_event_delete(std::int32_t idx) {
  {
    OrlanSynchronized lock(fMutex);
    for (SBTreeIterator* it : fIterators) it->delete_from_frames(idx);
  }
  --fRoot;
  fixup_tree_after_delete(idx);
}

/// Calls `repair` with handle and index of each node that has runs, from `from` up to the root, body by body and
/// without a look-up a node. It returns the bytes by which the block has become shorter; all behind it has moved by as
/// much.
template <class Repair>
void SBTree::for_each_parent(std::int64_t from, Repair repair) {
  if (fStore == nullptr || from < 0) return;
  const auto last = static_cast<std::int32_t>(std::min<std::int64_t>(fRoot, std::int64_t{fStore->getSize()} - 1));
  while (from <= last) {
    auto i = static_cast<std::int32_t>(from);
    const SupaBlock::BlockSpan span = fStore->blocks_from(i);
    if (span.begin == nullptr) return;
    unsigned char* h = span.begin;
    unsigned char* end = span.last > last ? fStore->getBlock(last + 1) : span.end;
    while (h != end) {
      unsigned char* block = behind_empty_blocks(h, end);
      i += static_cast<std::int32_t>((block - h) / 4);
      h = block;
      if (h == end) break;
      end -= repair(h, i);
      h = SupaBlock::next_block_from_hdr(h);
      ++i;
    }
    from = i;
  }
}

/// The new node itself has its final runs to come.
void SBTree::fixup_tree_after_insert(std::int32_t idx) {
  const auto inserted = static_cast<std::uint32_t>(idx);
  for_each_parent(std::int64_t{idx} + 1, [inserted](unsigned char* block, std::int32_t) -> std::uint32_t {
    ChildRuns runs(block);
    for (std::uint32_t r = 0; r < runs.count(); ++r) {
      const ChildRun run = runs[r];
      runs.set(r, {after_insert(run.first, inserted), after_insert(run.last, inserted)});
    }
    return 0;
  });
}

/// The node that followed has the index now, and is repaired too.
void SBTree::fixup_tree_after_delete(std::int32_t d) {
  const auto deleted = static_cast<std::uint32_t>(d);
  for_each_parent(
      d, [this, deleted](unsigned char* block, std::int32_t i) { return remove_from_runs(block, i, deleted); });
}

/// Repairs the runs of node `idx` after node `d` has gone. Returns the bytes of the runs that went with it.
std::uint32_t SBTree::remove_from_runs(unsigned char* block, std::int32_t idx, std::uint32_t d) {
  ChildRuns runs(block);
  std::uint32_t kept = 0;
  for (std::uint32_t r = 0; r < runs.count(); ++r) {
    const ChildRun run = runs[r];
    // The run (0, 0) has no last child in front of the deleted one, which no index could say.
    const std::int64_t last = std::int64_t{run.last} - (run.last >= d && run.last != IDX_NONE ? 1 : 0);
    const std::uint32_t first = run.first - (run.first > d && run.first != IDX_NONE ? 1 : 0);
    if (first <= last) runs.set(kept++, {first, static_cast<std::uint32_t>(last)});
  }
  const auto removed = static_cast<std::uint32_t>((runs.count() - kept) * sizeof(ChildRun));
  // Shortened in place: a repair mustn't fail, so it asks for no memory.
  if (removed != 0) fStore->resize_block_relative(fStore->get_SB_for_idx(idx), idx, -std::int64_t{removed});
  return removed;
}

}  // namespace zqcore27
