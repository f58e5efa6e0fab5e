#pragma once

#include <atomic>
#include <cstdint>

#include "zqcore27/core/memory.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/threads/mutex.h"

inline namespace zqcore27 {

/// An object that counts its holders and destroys itself with the last one. A new object has no holder yet; its maker
/// takes the first hold with use(). Made with `new`, always. Threads: use and unuse from any.
class ZQCORE27_EXPORT RefCount : public FromLibraryHeap {
 public:
  RefCount();
  RefCount(const RefCount&) = delete;
  RefCount& operator=(const RefCount&) = delete;
  virtual ~RefCount();

  /// One holder more.
  void use();
  /// One holder less. True if that was the last one: the object is destroyed then and must not be touched.
  bool unuse();

 protected:
  OrlanMutex fMutex;                     // free while the object is destroyed
  std::atomic<std::int32_t> fCount{-1};  // holders minus one, changed under fMutex alone; the object dies below 0
};

}  // namespace zqcore27
