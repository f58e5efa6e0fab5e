#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "zqcore27/core/memory.h"
#include "zqcore27/platform/export.h"

inline namespace zqcore27 {

/// One superblock of a SupaBlock: a body in which blocks lie back to back, and their range of indexes.
///
/// A block is a size word of 32 bits, the number of data bytes behind it, always a multiple of 4, and the data.
/// Invariants:
///  1. fUsed <= the body's size, the capacity, and all bytes from fUsed on are 0: empty blocks at the end cost nothing
///     but a larger fUsed.
///  2. fLast - fFirst + 1 steps of 4 + size from the body's start end exactly at fUsed.
///  3. Entry k of the directory is the offset of block fFirst + (k << shift). The entries are a prefix: look-ups extend
///     it, changes cut it back. No entry means nothing is known yet.
/// Threads: as the store.
class ZQCORE27_EXPORT SupaBlockHeader {
 public:
  /// No body and no blocks. A search key, once fFirst is set.
  SupaBlockHeader();
  /// A body of `size` bytes, an unsigned number, all 0. Errors: MemError::HEAP_EXHAUSTED.
  explicit SupaBlockHeader(std::int32_t size);
  ~SupaBlockHeader();

  /// The capacity in bytes.
  unsigned int get_body_size() const { return fBody.size(); }
  unsigned int get_used_body_size() const { return fUsed; }
  unsigned int get_unused_body_size() const { return fUsed < fBody.size() ? fBody.size() - fUsed : 0; }
  /// Position of `idx` within the superblock.
  std::int32_t DIRIDX_ADJ(std::int32_t idx) const { return idx - fFirst; }
  /// True if `idx` lies in the range.
  bool holds(std::int32_t idx) const { return fFirst <= idx && idx <= fLast; }

  /// True if key.fFirst lies in the range.
  bool operator==(const SupaBlockHeader& key) const { return holds(key.fFirst); }
  bool operator!=(const SupaBlockHeader& key) const { return !holds(key.fFirst); }
  /// True if the range ends below key.fFirst.
  bool operator<(const SupaBlockHeader& key) const { return fFirst <= key.fFirst && fLast < key.fFirst; }

  std::int32_t fFirst = 0;  // index of the first block
  std::int32_t fLast = -1;  // index of the last block; fFirst - 1 when all blocks have been deleted
  std::uint32_t fUsed = 0;  // bytes of the body that blocks take
  std::unique_ptr<std::vector<std::uint32_t>> fDirectory;  // null when the store keeps none
  MemResizable fBody;
};

}  // namespace zqcore27
