#pragma once

// Internal: what is asked of the heap for a block that a MemResizable may own.

#include <cstddef>
#include <limits>

#if defined(__SANITIZE_ADDRESS__)
#define ZQCORE27_ADDRESS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZQCORE27_ADDRESS_SANITIZER
#endif
#endif

inline namespace zqcore27 {

/// What is asked for a block of `size` bytes, not 0: all of the chunk that glibc's heap takes for them, in steps of 16
/// bytes less its own word. That costs no memory there, and a change of size inside the chunk needs no call, as
/// MemAllocator and MemResizable ask for every block by this. Where a sanitizer watches the bounds the request is
/// exact.
inline unsigned int heapChunk(unsigned int size) {
#ifdef ZQCORE27_ADDRESS_SANITIZER
  return size;
#else
  constexpr unsigned int STEP = 16, OWN = sizeof(std::size_t);
  if (size > std::numeric_limits<unsigned int>::max() - STEP - OWN) return size;
  return (size + OWN + STEP - 1) / STEP * STEP - OWN;
#endif
}

}  // namespace zqcore27
