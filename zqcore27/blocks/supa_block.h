#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "zqcore27/blocks/supa_block_datum.h"
#include "zqcore27/blocks/supa_block_event.h"
#include "zqcore27/blocks/supa_block_header.h"
#include "zqcore27/blocks/supa_block_hints.h"
#include "zqcore27/core/memory.h"
#include "zqcore27/platform/export.h"

inline namespace zqcore27 {

class SupaBlockIterator;

/// An array of byte blocks of any length under the dense index 0 to getSize() - 1. An insert moves all later blocks up
/// by one index, a delete moves them down. The blocks lie packed in a chain of large bodies, the superblocks: no block
/// costs an allocation, an insert or delete moves bytes in one superblock only and renumbers the later ones.
///
///               cost (s: superblocks, b: blocks in one)     at an error
///   get         log s (SB_LINEAR: s, or 1 in the last hit)  raises none
///               + one directory spacing, or b without one
///   append      1                                           empty blocks in front of it stay
///   insert      that of get + a body's tail + s             every block is as it was
///   replace     that of get + a body's tail                 every block is as it was
///   deleteBlock that of get + a body's tail + s             raises none
///
/// Sizes are bytes, rounded up to a multiple of 4 on the way in, and readers get the rounded size: the store keeps no
/// other length, and the bytes between the two sizes hold whatever was there.
/// Invariants: fFirst of the first superblock is 0, that of any other is fLast + 1 of the one before it; superblocks
/// divide, but never merge, shrink or go. What holds in a superblock stands at SupaBlockHeader.
/// Errors: SupaBlockError as each operation says; MemError or std::bad_alloc when the heap is exhausted, with every
/// block as it was. Threads: one at a time, reads included, since look-ups write directories and a cache.
class ZQCORE27_EXPORT SupaBlock : public FromLibraryHeap {
 public:
  /// A bit set.
  enum Flags : int {
    SB_NONE = 0,
    SB_LINEAR = 1,    // superblocks are found by a scan with a cache of the last hit, not by halving
    SB_DIRECTORY = 2  // superblocks keep a directory; without one a look-up walks the body
  };
  friend constexpr Flags operator|(Flags a, Flags b) { return static_cast<Flags>(int{a} | int{b}); }

  /// The size that a look-up reports where there is no block. No block has it, for it isn't a multiple of 4.
  static constexpr std::uint32_t SB_NO_SIZE = 65535;

  /// An empty store. `hints` is copied and adjusted, see there; hints that leave no room for a block count as one block
  /// a superblock.
  SupaBlock(Flags flags, const SupaBlockHints& hints);
  SupaBlock(const SupaBlock&) = delete;
  SupaBlock& operator=(const SupaBlock&) = delete;
  /// Deletes the iterators that are still registered, so these must come from `new`. The callback hears nothing.
  virtual ~SupaBlock();

  /// Number of blocks.
  std::int32_t getSize() const { return fLasts.empty() ? 0 : fLasts.back() + 1; }

  /// Fills in `datum`. False, and nothing filled in, behind the end or with a null `datum`. A negative index of a store
  /// that isn't empty is true with null data and SB_NO_SIZE, with SB_LINEAR it is false.
  bool get(std::int32_t idx, SupaBlockDatum* datum);
  /// The handle of a block, good until the next change; null if no block has the index.
  unsigned char* getBlock(std::int32_t idx);
  /// Data and size of a handle; the data is null for a block of size 0. A null handle gives null and SB_NO_SIZE.
  /// `size` may be null.
  static unsigned char* getBlockData(unsigned char* block, unsigned int* size) {
    if (size != nullptr) *size = get_block_size_from_hdr(block);
    return get_block_data_from_hdr(block);
  }

  // The writing operations. `data` may be null if `size` is 0, and may point into this store. A size of 0 makes or
  // empties the block and answers false. Refused, with false and nothing changed: a negative index or 0x7FFFFFFF, a
  // store that is full at 0x7FFFFFFF blocks, null data with a size, and any write while an impact event is being sent.

  /// Puts a new block at `idx`; the block that stood there and all behind it move up by one. At or behind the end it
  /// extends the store, with blocks of size 0 in between, and sends no event. True once the data has been copied.
  /// Errors: BLOCK_TOO_LARGE behind the end, CANNOT_DIVIDE below it.
  bool insert(std::int32_t idx, const unsigned char* data, unsigned int size);
  /// Gives the block at `idx` a new size and new contents; no index moves. At or behind the end it acts as insert.
  /// Errors: as insert. A call that raised CANNOT_DIVIDE may have divided once, and succeed when it is repeated.
  bool replace(std::int32_t idx, const unsigned char* data, unsigned int size);
  /// Removes a block; all behind it move down by one. Always true; nothing happens if no block has the index, or while
  /// an impact event is being sent.
  bool deleteBlock(std::int32_t idx);

  /// Replaces the one callback of the store, which isn't owned. Events go out while `callback` isn't null and `on`
  /// isn't 0, on the thread that changes the store and before its operation returns. No exception should leave the
  /// callback: it breaks the operation off. What was done by then stays, and a new block has no data.
  ///   impact: it may only forget what it knew. Reads are safe, but while a block is being resized no block of its
  ///           superblock is found: getBlock gives null, get true with null data and SB_NO_SIZE. Writes are refused
  ///           and iterators don't step.
  ///   insert: it may read blocks and rewrite their bytes in place, but must not change sizes or indexes.
  ///   delete: it may do anything.
  void registerCallback(CallableClass<SupaBlockEvent>* callback, std::int32_t on);

 private:
  friend class SupaBlockIterator;
  friend class SBTree;              // passes over whole bodies, by blocks_from
  friend class SupaBlockInspector;  // of the tests: checks the invariants

  /// Blocks `first` to `last`, back to back, where `last` ends its superblock.
  struct BlockSpan {
    unsigned char* begin;
    unsigned char* end;
    std::int32_t last;
  };

  // Layout, search and reads.
  void adjust_hints();
  std::int32_t next_idx() const { return getSize(); }
  std::int32_t NEAR_DIR_IDX(std::int32_t i) const { return (i >> fHints.fDirShift) << fHints.fDirShift; }
  static unsigned int get_block_size_from_hdr(const unsigned char* h) {
    std::uint32_t size = SB_NO_SIZE;
    if (h != nullptr) std::memcpy(&size, h, 4);
    return size;
  }
  static unsigned char* get_block_data_from_hdr(unsigned char* h) {
    return h == nullptr || get_block_size_from_hdr(h) == 0 ? nullptr : h + 4;
  }
  static unsigned char* next_block_from_hdr(unsigned char* h) {
    return h == nullptr ? nullptr : h + 4 + get_block_size_from_hdr(h);
  }
  static void set_block_size(unsigned char* h, std::uint32_t size) { std::memcpy(h, &size, 4); }
  SupaBlockHeader* get_SB_for_idx(std::int32_t idx);
  SupaBlockHeader* linear_idx_search(std::int32_t idx);
  std::size_t position_at_or_behind(std::int32_t idx) const;
  std::size_t position_of(const SupaBlockHeader& sb) const;
  unsigned char* get_block_hdr(SupaBlockHeader* sb, std::int32_t idx);
  unsigned char* block_hdr_dir(SupaBlockHeader* sb, std::int32_t idx);
  unsigned char* find_behind_directory(SupaBlockHeader* sb, std::int32_t target);
  unsigned char* block_behind(unsigned char* h, std::uint32_t steps) const;
  unsigned int block_size(SupaBlockHeader* sb, std::int32_t idx);
  unsigned char* block_data(SupaBlockHeader* sb, std::int32_t idx);
  BlockSpan blocks_from(std::int32_t idx);

  // Changes.
  bool write_block(std::int32_t idx, const unsigned char* data, unsigned int size, bool inserts);
  std::uint32_t exposed_bytes(std::int32_t idx, const unsigned char* data, bool inserts);
  SupaBlockHeader* existing_SB_for_idx(std::int32_t idx);
  SupaBlockHeader* get_SB_for_insert(std::int32_t idx, unsigned int size);
  SupaBlockHeader* get_SB_for_idx_sized(std::int32_t idx, unsigned int size);
  void split_block(SupaBlockHeader* sb, std::int32_t idx, std::uint32_t size);
  void resize_block_relative(SupaBlockHeader* sb, std::int32_t idx, std::int64_t delta);
  void renumber(const SupaBlockHeader& sb, std::int32_t by);

  // Growth and division.
  SupaBlockHeader* append_blocks(std::int32_t idx, std::uint32_t size);
  SupaBlockHeader* insert_superblock(std::int32_t idx, std::uint32_t size);
  SupaBlockHeader* add_superblocks(std::int32_t idx, std::uint32_t size);
  SupaBlockHeader* divide_superblock(SupaBlockHeader* sb, std::int32_t idx, std::uint32_t size);
  void split_tail(SupaBlockHeader* sb, std::int32_t idx, unsigned char* h, std::int64_t delta);
  SupaBlockHeader* split_head(SupaBlockHeader* sb, std::int32_t idx, unsigned char* h, std::int64_t delta);
  std::uint32_t body_for_moved(std::uint32_t tail, std::uint64_t limit) const;
  SupaBlockHeader* move_to_new_superblock(SupaBlockHeader* sb, unsigned char* from, std::int32_t idx,
                                          std::uint32_t body);
  void grow_body(SupaBlockHeader* sb, std::uint64_t size);
  void commission_superblock(SupaBlockHeader* sb);
  void reserve_in_list();
  void list_superblock(std::size_t at, std::unique_ptr<SupaBlockHeader> sb);

  // Notices.
  void impact_all(SupaBlockHeader& sb, unsigned char* at, std::int32_t idx);
  void impact_directory(SupaBlockHeader& sb, unsigned char* at, std::int32_t idx);
  void impact_iterators(SupaBlockHeader& sb, unsigned char* at, std::int32_t idx);
  void iter_inserted_block(std::int32_t idx);
  void iter_deleted_block(std::int32_t idx);
  bool sends_events() const { return fCallback != nullptr && fCallbackOn != 0; }
  void send(SupaBlockEvent::Kind kind, std::int32_t idx, std::int32_t last);

  CallableClass<SupaBlockEvent>* fCallback = nullptr;  // not owned
  std::int32_t fCallbackOn = 0;                        // 0: no events
  Flags fFlags;
  SupaBlockHints fHints;                                       // adjusted
  std::uint32_t fDirMask = 0;                                  // (1 << fDirShift) - 1
  std::uint32_t fTargetBody = 0;                               // bytes in the body of a new superblock, a multiple of 4
  std::vector<std::unique_ptr<SupaBlockHeader>> fSuperBlocks;  // in index order
  std::vector<std::int32_t> fLasts;                            // fLast of each superblock: the search reads these alone
  SupaBlockHeader* fLastSB = nullptr;                          // last hit of the scan; a cache
  std::vector<SupaBlockIterator*> fIterators;                  // registered here
  SupaBlockHeader* fUnsettled = nullptr;  // during the impact of a resize: its sizes and bytes disagree
  bool fImpacting = false;                // an impact event is being sent
};

}  // namespace zqcore27
