#include "zqcore27/core/memory.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "zqcore27/core/heap_chunk.h"
#include "zqcore27/errors/mem_error.h"

inline namespace zqcore27 {

void* orlanNew(std::size_t n) { return std::malloc(n); }

void orlanDelete(void* p) { std::free(p); }

void* FromLibraryHeap::operator new(std::size_t n) {
  if (void* p = orlanNew(n)) return p;
  throw std::bad_alloc();
}

void FromLibraryHeap::operator delete(void* p) noexcept { orlanDelete(p); }

bool MemAllocator::same(const void* a, const void* b, unsigned int n) { return n == 0 || std::memcmp(a, b, n) == 0; }

void MemAllocator::zero(void* p, unsigned int n) { fill(p, 0, n); }

void MemAllocator::fill(void* p, unsigned char value, unsigned int n) {
  if (n != 0) std::memset(p, value, n);
}

void MemAllocator::copy(void* to, const void* from, unsigned int n) {
  if (n != 0) std::memcpy(to, from, n);
}

void MemAllocator::move(void* to, const void* from, unsigned int n) {
  if (n != 0) std::memmove(to, from, n);
}

unsigned char* MemAllocator::allocate(unsigned int n) {
  return static_cast<unsigned char*>(orlanNew(n != 0 ? heapChunk(n) : 0));
}

void MemAllocator::deallocate(void* p) { orlanDelete(p); }

namespace {

/// A block of `size` bytes, not cleared; null only for size 0.
unsigned char* allocateOrThrow(unsigned int size) {
  if (size == 0) return nullptr;
  if (unsigned char* block = MemAllocator::allocate(size)) return block;
  throw MemError(MemError::HEAP_EXHAUSTED, true);
}

}  // namespace

MemResizable::MemResizable(unsigned int size) : fSize(size), fData(allocateOrThrow(size)) {}

MemResizable::MemResizable(const MemResizable& other)
    : FromLibraryHeap(), fSize(other.fSize), fData(allocateOrThrow(other.fSize)) {
  MemAllocator::copy(fData, other.fData, fSize);
}

MemResizable::MemResizable(MemResizable&& other) noexcept
    : fSize(std::exchange(other.fSize, 0)), fData(std::exchange(other.fData, nullptr)) {}

MemResizable& MemResizable::operator=(const MemResizable& other) {
  if (this != &other) *this = MemResizable(other);
  return *this;
}

MemResizable& MemResizable::operator=(MemResizable&& other) noexcept {
  std::swap(fSize, other.fSize);
  std::swap(fData, other.fData);
  return *this;
}

MemResizable::~MemResizable() {
  if (fSize != 0) MemAllocator::deallocate(fData);
}

MemResizable& MemResizable::resize(unsigned int size) {
  if (size == fSize) return *this;
  if (size == 0) {
    MemAllocator::deallocate(fData);
    fData = nullptr;
  } else {
    // An object of size 0 doesn't own what fData points at.
    if (fSize == 0 || heapChunk(size) != heapChunk(fSize)) {
      void* block = fSize != 0 ? std::realloc(fData, heapChunk(size)) : std::calloc(heapChunk(size), 1);
      if (block == nullptr) throw MemError(MemError::HEAP_EXHAUSTED, true);
      fData = static_cast<unsigned char*>(block);
    }
    if (fSize != 0 && size > fSize) MemAllocator::zero(fData + fSize, size - fSize);
  }
  fSize = size;
  return *this;
}

}  // namespace zqcore27
