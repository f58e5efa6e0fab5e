#pragma once

#include <cstdint>

#include "zqcore27/platform/export.h"

inline namespace zqcore27 {

/// How a store is to lay out its blocks. 0 asks for the default in every field. The store copies the hints and adjusts
/// its copy. Threads: one at a time, or any number that only read.
class ZQCORE27_EXPORT SupaBlockHints {
 public:
  /// Bytes to which the body of a superblock may grow before it is divided. Default: room for fMaxBlocks blocks of
  /// fAvgBlockSize bytes and a third more. A smaller value than that cuts the block counts to what fits.
  std::uint32_t fMaxBodySize = 0;
  /// Child runs expected in a node. Only the tree reads it.
  std::uint32_t fAvgRuns = 0;
  /// Bytes expected in a block. Default 16.
  std::uint32_t fAvgBlockSize = 0;
  /// The range of block counts that a new superblock is sized for: its middle counts. Defaults 50 and 500; swapped
  /// where they stand the wrong way round.
  std::uint32_t fMinBlocks = 0;
  std::uint32_t fMaxBlocks = 0;
  /// Base-2 logarithm of the spacing of directory entries, so 0 is an entry for every block. A value above fMaxBlocks
  /// as given counts as 3, one above 31 as 31.
  std::uint32_t fDirShift = 0;
};

}  // namespace zqcore27
