#pragma once

#include <cstdint>

#include "zqcore27/platform/export.h"

inline namespace zqcore27 {

/// A block as SupaBlock::get gives it: a view, not an owner, good until the next change of the store.
/// Threads: as the store.
class ZQCORE27_EXPORT SupaBlockDatum {
 public:
  unsigned char* fData = nullptr;  // null for a block of size 0
  std::uint32_t fSize = 0;         // bytes, a multiple of 4; SupaBlock::SB_NO_SIZE where there is no block
};

}  // namespace zqcore27
