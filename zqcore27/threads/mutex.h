#pragma once

#include "zqcore27/platform/critical_section.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/platform/thread_annotations.h"
#include "zqcore27/threads/jtc.h"

inline namespace zqcore27 {

/// A re-entrant lock: the owning thread may lock it again, and unlocks it as often. New, it is unlocked. No order
/// between waiters. A static one needs no initialisation at run time. Requires: unlock by the owner; unlocked when
/// destroyed. Errors: none. Threads: any.
class ZQCORE27_EXPORT ZQCORE27_CAPABILITY("mutex") OrlanMutex {
 public:
  constexpr OrlanMutex() = default;
  OrlanMutex(const OrlanMutex&) = delete;
  OrlanMutex& operator=(const OrlanMutex&) = delete;

  void lock() ZQCORE27_ACQUIRE() { fSection.lock(); }
  void unlock() ZQCORE27_RELEASE() { fSection.unlock(); }

 private:
  CriticalSection fSection;
};

/// Holds a lock from its construction to its end. The lock must outlive it. Threads: its maker's.
class ZQCORE27_EXPORT ZQCORE27_SCOPED_CAPABILITY OrlanSynchronized {
 public:
  explicit OrlanSynchronized(OrlanMutex& m) ZQCORE27_ACQUIRE(m) : fMutex(&m), fKind(MUTEX) { m.lock(); }
  explicit OrlanSynchronized(const JTCMonitor& m) ZQCORE27_ACQUIRE(m) : fMonitor(&m), fKind(MONITOR) { m.lock(false); }
  explicit OrlanSynchronized(const JTCRecursiveMutex& m) ZQCORE27_ACQUIRE(m) : fRecursive(&m), fKind(RECURSIVE) {
    m.lock();
  }
  OrlanSynchronized(const OrlanSynchronized&) = delete;
  OrlanSynchronized& operator=(const OrlanSynchronized&) = delete;
  ~OrlanSynchronized() ZQCORE27_RELEASE() {
    switch (fKind) {
      case MONITOR:
        fMonitor->unlock();
        break;
      case MUTEX:
        fMutex->unlock();
        break;
      case RECURSIVE:
        fRecursive->unlock();
        break;
    }
  }

 private:
  enum Kind : int { MONITOR = 0, MUTEX = 1, RECURSIVE = 2 };

  const JTCMonitor* fMonitor = nullptr;
  OrlanMutex* fMutex = nullptr;
  const JTCRecursiveMutex* fRecursive = nullptr;
  Kind fKind;  // which of the three is meant
};

}  // namespace zqcore27
