// The library's own global operator new and delete, on the same heap as MemAllocator. The version script keeps them
// local: they serve the library's objects, and a host's replacement of them is never touched.

#include <new>

#include "zqcore27/core/memory.h"

void* operator new(std::size_t n) {
  if (void* p = orlanNew(n != 0 ? n : 1)) return p;
  throw std::bad_alloc();
}

void* operator new[](std::size_t n) { return operator new(n); }

void operator delete(void* p) noexcept { orlanDelete(p); }
void operator delete[](void* p) noexcept { orlanDelete(p); }
void operator delete(void* p, std::size_t) noexcept { orlanDelete(p); }
void operator delete[](void* p, std::size_t) noexcept { orlanDelete(p); }
