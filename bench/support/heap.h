#pragma once

#include <malloc.h>

#include <cstddef>

/// Bytes that malloc has given out, with its own words for each block.
inline std::size_t heapInUse() {
  const struct mallinfo2 heap = mallinfo2();
  return heap.uordblks + heap.hblkhd;
}
