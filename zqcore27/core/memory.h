#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

#include "zqcore27/platform/export.h"

inline namespace zqcore27 {

class CoreLog;

/// Allocates `n` bytes from the library's heap, not cleared. Returns null when the heap is exhausted. The caller owns
/// the block and gives it back with orlanDelete. Threads: any, as malloc.
ZQCORE27_EXPORT void* orlanNew(std::size_t n);

/// Frees a block of orlanNew or of MemAllocator::allocate. Null is ignored. Threads: any, as free.
ZQCORE27_EXPORT void orlanDelete(void* p);

/// Base of classes with a virtual destructor: a plain `new` in a host takes their memory from the library's heap, to
/// which `delete`, which runs in the library, returns it. `new` throws std::bad_alloc at exhaustion.
class ZQCORE27_EXPORT FromLibraryHeap {
 public:
  static void* operator new(std::size_t n);
  static void* operator new(std::size_t n, const std::nothrow_t&) noexcept { return orlanNew(n); }
  static void* operator new(std::size_t, void* place) noexcept { return place; }
  static void operator delete(void* p) noexcept;
  static void operator delete(void* p, const std::nothrow_t&) noexcept { orlanDelete(p); }
  static void operator delete(void*, void*) noexcept {}

 protected:
  FromLibraryHeap() = default;
  ~FromLibraryHeap() = default;
};

/// Memory operations over the platform's heap, all static. No pool and no accounting stands behind them: `usage`,
/// `dump` and `checkAll` do nothing and are kept for callers that have them. Threads: any, each operation by itself;
/// the memory passed belongs to the caller.
class ZQCORE27_EXPORT MemAllocator {
 public:
  /// True if `n` bytes are equal. With 0 bytes true, and neither pointer is read.
  static bool same(const void* a, const void* b, unsigned int n);
  /// Clears `n` bytes.
  static void zero(void* p, unsigned int n);
  /// Sets `n` bytes to `value`.
  static void fill(void* p, unsigned char value, unsigned int n);
  /// Copies `n` bytes forward. The regions must not overlap.
  static void copy(void* to, const void* from, unsigned int n);
  /// Copies `n` bytes; the regions may overlap.
  static void move(void* to, const void* from, unsigned int n);
  /// Always 0.
  static std::uint32_t usage() { return 0; }
  /// As orlanNew: null at exhaustion, not cleared.
  static unsigned char* allocate(unsigned int n);
  /// As orlanDelete.
  static void deallocate(void* p);
  /// Does nothing.
  static void dump(unsigned int, CoreLog*) {}
  /// Does nothing.
  static void checkAll() {}
};

/// A byte block of exact size, the base of the string classes and a plain work area elsewhere.
/// Sizes are in bytes, 0 to 0xFFFFFFFF. The destructor frees the block exactly when the size isn't 0, so that a derived
/// class may point an object of size 0 at constant storage.
/// Errors: MemError::HEAP_EXHAUSTED from all that allocates; the object keeps its old contents.
/// Threads: one at a time.
class ZQCORE27_EXPORT MemResizable : public FromLibraryHeap {
 public:
  MemResizable() = default;
  /// A block of `size` bytes, not cleared.
  explicit MemResizable(unsigned int size);
  MemResizable(const MemResizable& other);
  /// Takes the block over; `other` has none afterwards. Move assignment exchanges the two.
  MemResizable(MemResizable&& other) noexcept;
  MemResizable& operator=(const MemResizable& other);
  MemResizable& operator=(MemResizable&& other) noexcept;
  virtual ~MemResizable();

  unsigned int size() const { return fSize; }
  unsigned char* operator*() { return fData; }
  const unsigned char* operator*() const { return fData; }
  /// Byte `i`, unchecked.
  unsigned char& operator[](unsigned int i) { return fData[i]; }
  const unsigned char& operator[](unsigned int i) const { return fData[i]; }
  /// Makes the block exactly `size` bytes long, without slack in either direction. The bytes that fit stay, bytes
  /// behind them are 0. With 0 the object owns no block.
  MemResizable& resize(unsigned int size);

 protected:
  std::uint32_t fSize = 0;         // bytes owned; 0: no block is owned, whatever fData holds
  unsigned char* fData = nullptr;  // from MemAllocator::allocate when fSize isn't 0
};

}  // namespace zqcore27
