#pragma once

#include <cstdint>

#include "zqcore27/blocks/supa_block_datum.h"
#include "zqcore27/core/memory.h"
#include "zqcore27/platform/export.h"

inline namespace zqcore27 {

/// The child runs of one node, as SBTree::treeData gives them: a view, not an owner, good until the next change.
/// Threads: as the tree.
class ZQCORE27_EXPORT SBTreeChildData : public SupaBlockDatum, public FromLibraryHeap {
 public:
  /// Null data, size 0.
  SBTreeChildData();
  SBTreeChildData(const SBTreeChildData& other);
  SBTreeChildData& operator=(const SBTreeChildData& other);
  virtual ~SBTreeChildData();

  /// The words of the runs: first, last, first, last and so on; both ends belong to a run. Null without children.
  std::uint32_t* firstIndex() const { return reinterpret_cast<std::uint32_t*>(fData); }
  /// Number of words, twice the number of runs.
  unsigned int size() const { return fSize / 4; }
};

}  // namespace zqcore27
