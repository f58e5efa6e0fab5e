// What a tree does when its store tells of a change.

#include <algorithm>
#include <bit>
#include <cstring>

#include "zqcore27/blocks/child_runs.h"
#include "zqcore27/blocks/sb_tree.h"
#include "zqcore27/blocks/sb_tree_iterator.h"

inline namespace zqcore27 {

namespace {

template <class Word>
Word wordAt(const unsigned char* h) {
  Word word;
  std::memcpy(&word, h, sizeof word);
  return word;
}

/// The first block at `h` or behind it that isn't empty; `end` if there is none. Empty blocks are zero words, and
/// leaves stand in rows.
unsigned char* behind_empty_blocks(unsigned char* h, unsigned char* end) {
  using Wide = std::uint64_t;
  while (end - h >= 32 && (wordAt<Wide>(h) | wordAt<Wide>(h + 8) | wordAt<Wide>(h + 16) | wordAt<Wide>(h + 24)) == 0) {
    h += 32;
  }
  while (h != end && wordAt<std::uint32_t>(h) == 0) h += 4;
  return h;
}

/// What a change does to stored indexes: `from.first` is the lowest first child that changes by BY, `from.last` the
/// lowest last one. "No node" stays what it is.
struct AfterInsert {
  explicit AfterInsert(std::uint32_t inserted) : from{inserted, inserted} {}
  bool drops(ChildRun) const { return false; }

  static constexpr std::uint32_t BY = 1;
  ChildRun from;
};
struct AfterDelete {
  explicit AfterDelete(std::uint32_t deleted) : from{deleted + 1, deleted} {}
  /// True if first exceeds last afterwards. After the run (0, 0) no index could say so.
  bool drops(ChildRun run) const { return std::uint64_t{run.first} + (run.last == from.last ? 1 : 0) > run.last; }

  static constexpr std::uint32_t BY = ~0u;
  ChildRun from;
};

/// Both ends of a run at once: as one word, with the free top bits as a sign of what reaches the threshold. Requires:
/// the run isn't dropped.
template <class Change>
ChildRun repaired(ChildRun run, const Change& change) {
  constexpr std::uint64_t TOP_BITS = 0x8000000080000000, ONES = 0x0000000100000001;
  const auto ends = std::bit_cast<std::uint64_t>(run);
  if ((ends & TOP_BITS) == 0) {
    const std::uint64_t reached = ((ends | TOP_BITS) - std::bit_cast<std::uint64_t>(change.from)) >> 31 & ONES;
    return std::bit_cast<ChildRun>(Change::BY == 1 ? ends + reached : ends - reached);
  }
  const auto one = [](std::uint32_t index, std::uint32_t from) {
    return index < from || index == SBTree::IDX_NONE ? index : index + Change::BY;
  };
  return {one(run.first, change.from.first), one(run.last, change.from.last)};
}

/// Repairs the runs of a node. Those that are dropped go, the others move up. Returns the number that is left.
template <class Change>
std::uint32_t repair_runs(ChildRuns& runs, const Change& change) {
  if (runs.count() == 1) {  // most parents: no loop, which a compiler prepares for many rounds
    if (change.drops(runs[0])) return 0;
    runs.set(0, repaired(runs[0], change));
    return 1;
  }
  std::uint32_t kept = 0;
  for (std::uint32_t r = 0; r < runs.count(); ++r) {
    if (!change.drops(runs[r])) runs.set(kept++, repaired(runs[r], change));
  }
  return kept;
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

/// Repairs the nodes from `from` up to the root, body by body and without a look-up a node.
template <class Change>
void SBTree::repair_nodes(std::int64_t from, const Change& change) {
  if (fStore == nullptr || from < 0) return;
  const auto last = static_cast<std::int32_t>(std::min<std::int64_t>(fRoot, std::int64_t{fStore->getSize()} - 1));
  while (from <= last) {
    auto i = static_cast<std::int32_t>(from);
    const SupaBlock::BlockSpan span = fStore->blocks_from(i);
    if (span.begin == nullptr) return;
    unsigned char* h = span.begin;
    unsigned char* end = span.last > last ? fStore->getBlock(last + 1) : span.end;
    while (h != end) {
      ChildRuns runs(h);
      if (runs.bytes() == 0) {
        unsigned char* block = behind_empty_blocks(h + 4, end);
        i += static_cast<std::int32_t>((block - h) / 4);
        h = block;
      } else {
        const std::uint32_t kept = repair_runs(runs, change);
        unsigned char* next = h + 4 + runs.bytes();
        if (kept != runs.count()) {
          runs.close_gap(kept);
          const std::uint32_t gone = shorten(i, runs.count() - kept);
          next -= gone;
          end -= gone;
        }
        ++i;
        h = next;
      }
    }
    from = i;
  }
}

/// Takes `gone` runs off the end of a node, in place: a repair mustn't fail, so it asks for no memory. There is one
/// impact notice for each run. Returns the bytes by which all behind the node has moved down.
std::uint32_t SBTree::shorten(std::int32_t idx, std::uint32_t gone) {
  const auto bytes = static_cast<std::uint32_t>(gone * sizeof(ChildRun));
  SupaBlockHeader* sb = fStore->get_SB_for_idx(idx);
  fStore->resize_block_relative(sb, idx, -std::int64_t{bytes});
  while (--gone != 0) fStore->impact_all(*sb, SupaBlock::next_block_from_hdr(fStore->get_block_hdr(sb, idx)), idx + 1);
  return bytes;
}

/// The new node itself has its final runs to come. An event that a host made may name no node at all.
void SBTree::fixup_tree_after_insert(std::int32_t idx) {
  if (idx < 0) return;
  repair_nodes(std::int64_t{idx} + 1, AfterInsert(static_cast<std::uint32_t>(idx)));
}

/// The node that followed has the index now, and is repaired too.
void SBTree::fixup_tree_after_delete(std::int32_t d) { repair_nodes(d, AfterDelete(static_cast<std::uint32_t>(d))); }

}  // namespace zqcore27
