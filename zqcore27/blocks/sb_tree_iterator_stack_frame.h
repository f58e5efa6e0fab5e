#pragma once

#include <cstdint>

#include "zqcore27/platform/export.h"

inline namespace zqcore27 {

/// One node on the path of an SBTreeIterator. Threads: as the tree.
class ZQCORE27_EXPORT SBTreeIteratorStackFrame {
 public:
  /// By index alone.
  bool operator==(const SBTreeIteratorStackFrame& other) const { return fIndex == other.fIndex; }
  bool operator<(const SBTreeIteratorStackFrame& other) const { return fIndex < other.fIndex; }

  std::uint32_t fIndex = 0;
  std::uint32_t fRun = 0;            // runs of the node that are passed already, a hint; 0 is always safe
  unsigned char* fHeader = nullptr;  // handle of the node's block; null if it must be fetched
};

}  // namespace zqcore27
