#pragma once

#include <cstdint>

#include "zqcore27/blocks/supa_block.h"
#include "zqcore27/core/memory.h"
#include "zqcore27/platform/export.h"

inline namespace zqcore27 {

/// A place in a SupaBlock that survives every change of it. The index is the truth, the two pointers are caches of it:
///                      index          what the next step gives
///   insert at or below moves up       the block behind the one it stands on
///   delete of its own  stays          the block behind the one that followed: the step passes that one over
///   delete below       moves down     the block behind the one it stands on
///   anything above     stays          the block at index + 1, whatever it is by then
/// A step costs no look-up within a superblock as long as nothing in front of the next block changes.
///
/// Registered with its store from construction to destruction. A store deletes the iterators that it still has when it
/// dies: one that may outlive its store must come from `new`, and one on the stack must go first.
/// Threads: as the store.
class ZQCORE27_EXPORT SupaBlockIterator : public FromLibraryHeap {
 public:
  /// Stands on `idx`, so that the first step gives `idx` + 1; -1 is the place in front of block 0. An index that no
  /// block has, negative or large, is kept as any other; below -1 there is no next block.
  SupaBlockIterator(SupaBlock* store, std::int32_t idx);
  SupaBlockIterator(const SupaBlockIterator&) = delete;
  SupaBlockIterator& operator=(const SupaBlockIterator&) = delete;
  ~SupaBlockIterator();

  /// Steps and returns the handle of the block, for SupaBlock::getBlockData; `idx`, which may be null, receives its
  /// index. Null at the end, or while the store sends an impact event: then neither the iterator nor `*idx` changes,
  /// and a block appended later is found by a later call.
  unsigned char* nextBlock(std::int32_t* idx) {
    if (fHeader == nullptr || fIndex >= fSuperBlock->fLast || fStore->fImpacting) return next_by_look_up(idx);
    fHeader = SupaBlock::next_block_from_hdr(fHeader);
    __builtin_prefetch(fHeader + 384);  // a fifth off a walk: its steps wait for one size word after the other
    ++fIndex;
    if (idx != nullptr) *idx = fIndex;
    return fHeader;
  }

 protected:
  void check_for_impact(SupaBlockHeader& sb, unsigned char* at);

 private:
  friend class SupaBlock;
  friend class SupaBlockInspector;

  unsigned char* next_by_look_up(std::int32_t* idx);

  SupaBlock* fStore;                       // not owned
  SupaBlockHeader* fSuperBlock = nullptr;  // of the current block; null if not known
  unsigned char* fHeader = nullptr;        // handle of block fIndex in fSuperBlock; null if not known
  std::int32_t fIndex;                     // -1 in front of the first block
};

}  // namespace zqcore27
