#pragma once

#include <cstdint>

#include "zqcore27/platform/export.h"

inline namespace zqcore27 {

class SBTree;

/// Steps through the children of one node, without a path and without being told of changes: any change of the tree
/// ends its usefulness. It gives what the runs say, nodes that don't exist too. Threads: as the tree.
class ZQCORE27_EXPORT SBTreeChildIterator {
 public:
  /// Stands on the first child of node `idx`; at the end at once if the node has none or doesn't exist.
  SBTreeChildIterator(SBTree& tree, std::uint32_t idx);

  /// The child it stands on; SBTree::IDX_NONE at the end.
  std::uint32_t operator*() const { return fCurrent; }
  /// The next child. At the end it stays there. Both forms step and then return the iterator itself.
  SBTreeChildIterator& operator++();
  SBTreeChildIterator& operator++(int) { return ++*this; }

 private:
  std::uint32_t* fRun = nullptr;  // the current run, in the node's block
  std::uint32_t fCurrent;
  std::uint32_t fRemaining = 0;  // words from fRun to the end of the data
  SBTree* fTree;                 // not owned
};

}  // namespace zqcore27
