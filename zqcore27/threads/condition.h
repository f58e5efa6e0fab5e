#pragma once

#include <cstdint>

#include "zqcore27/platform/export.h"
#include "zqcore27/platform/thread_annotations.h"
#include "zqcore27/threads/jtc.h"
#include "zqcore27/threads/mutex.h"

inline namespace zqcore27 {

/// A place to wait for a change of what a mutex guards. Several conditions may share one mutex, which belongs to
/// somebody else and must outlive them. The monitor underneath has a lock of its own: it is taken behind the mutex,
/// never before.
///
/// A signal with nobody waiting does nothing and isn't remembered. A thread that changes the guarded state under the
/// mutex and then signals can't slip in between a waiter's look at the state and its sleep. A wake-up doesn't mean that
/// the awaited state holds: wait in a loop that tests it under the mutex.
/// Requires: nobody waits when it is destroyed. Errors: none. Threads: any.
class ZQCORE27_EXPORT OrlanCondition : public JTCMonitor {
 public:
  /// A condition on `m`.
  explicit OrlanCondition(OrlanMutex* m);
  ~OrlanCondition() override;

  /// Wakes one waiter. The caller may hold the mutex, or not.
  void signal();
  /// Wakes all waiters. The caller may hold the mutex, or not.
  void broadcast();
  /// Gives the mutex up, blocks until woken, and holds the mutex again on return.
  /// Requires: the caller holds the mutex exactly once; held twice it would stay locked during the wait.
  void wait();
  /// The same for at most `timeout` milliseconds. It doesn't tell a timeout from a wake-up: test the state.
  void wait(std::int32_t timeout);

 private:
  OrlanMutex* const fMutex;  // not owned
};

/// A mutex, a condition on it and a flag, for hosts. Threads: any; setFlag and flag take no lock.
class ZQCORE27_EXPORT CondArgs {
 public:
  /// The flag is false. Errors: std::bad_alloc.
  CondArgs();
  CondArgs(const CondArgs&) = delete;
  CondArgs& operator=(const CondArgs&) = delete;
  ~CondArgs();

  void lock() ZQCORE27_ACQUIRE(fMutex) { fMutex.lock(); }
  void unlock() ZQCORE27_RELEASE(fMutex) { fMutex.unlock(); }
  /// Requires: locked exactly once.
  void wait() ZQCORE27_REQUIRES(fMutex) { fCondition->wait(); }
  void signal() { fCondition->signal(); }
  void broadcast() { fCondition->broadcast(); }
  /// Requires: locked.
  void setFlag(bool flag) ZQCORE27_REQUIRES(fMutex) { fFlag = flag; }
  bool flag() const ZQCORE27_REQUIRES(fMutex) { return fFlag; }

 private:
  OrlanMutex fMutex;
  OrlanCondition* fCondition;  // owned, on fMutex and deleted before it
  bool fFlag ZQCORE27_GUARDED_BY(fMutex) = false;
};

}  // namespace zqcore27
