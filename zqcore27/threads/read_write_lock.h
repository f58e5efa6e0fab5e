#pragma once

#include <atomic>
#include <cstdint>

#include "zqcore27/platform/export.h"
#include "zqcore27/threads/condition.h"
#include "zqcore27/threads/mutex.h"

inline namespace zqcore27 {

/// Many readers or one writer. No owner: what one thread locked, another may unlock. Not recursive: a thread that holds
/// the read lock and asks for the write lock, or holds the write lock and asks for either, waits for ever.
///              read_lock      read_unlock        write_lock   write_unlock
///   free       readers 1      no change          writing      no change
///   readers n  readers n + 1  n - 1, free at 0   waits        no change
///   writing    waits          no change          waits        free
/// Nobody is favoured. A waiting writer holds no reader back: a steady flow of readers can keep it out for ever. When a
/// writer leaves, all who wait compete.
/// Threads: every operation, from any thread, while the object lives. Errors: none once constructed.
class ZQCORE27_EXPORT ReadWriteLock {
 public:
  /// Errors: std::bad_alloc.
  ReadWriteLock();
  ReadWriteLock(const ReadWriteLock&) = delete;
  ReadWriteLock& operator=(const ReadWriteLock&) = delete;
  ~ReadWriteLock();

  void read_lock() { enter(WRITING, 1); }
  /// With no read lock held, nothing happens.
  void read_unlock() {
    std::uint64_t state = fState.load(std::memory_order_relaxed);
    while ((state & READERS) != 0) {
      if ((state & READERS) == 1 && (state & WAITERS) != 0) return leave_to_writer();
      if (change(state, state - 1)) return;
    }
  }
  void write_lock() { enter(READERS | WRITING, WRITING); }
  void write_unlock() {
    std::uint64_t state = fState.load(std::memory_order_relaxed);
    while ((state & WAITERS) == 0) {
      if (change(state, state & ~WRITING)) return;
    }
    leave_to_all();
  }
  /// True while some thread, not always the caller, holds the write lock. Takes no lock: the answer may be old.
  bool hasWriteLock() const { return (fState.load(std::memory_order_relaxed) & WRITING) != 0; }

 private:
  // The bits of fState. Without WAITERS an operation is one exchange; with it, it runs under fMutex.
  static constexpr std::uint64_t READERS = 0xFFFFFFFF;              // bits 31 to 0: read locks held
  static constexpr std::uint64_t WRITING = std::uint64_t{1} << 32;  // the write lock is held
  static constexpr std::uint64_t WAITERS = std::uint64_t{1} << 33;  // fWaiting isn't 0

  /// Tries to change fState from `state`; on failure `state` is what it holds now.
  bool change(std::uint64_t& state, std::uint64_t to) {
    return fState.compare_exchange_weak(state, to, std::memory_order_acq_rel, std::memory_order_relaxed);
  }
  /// Adds `added` to fState as soon as none of `blockers` is set.
  void enter(std::uint64_t blockers, std::uint64_t added) {
    std::uint64_t state = fState.load(std::memory_order_relaxed);
    while ((state & blockers) == 0) {
      if (change(state, state + added)) return;
    }
    wait_behind(blockers, added);
  }
  void wait_behind(std::uint64_t blockers, std::uint64_t added);
  void leave_to_writer();
  void leave_to_all();

  OrlanMutex fMutex;           // guards fWaiting and each change of fState to or from WAITERS
  OrlanCondition* fCondition;  // owned, on fMutex and deleted before it; readers and writers wait here
  std::atomic<std::uint64_t> fState{0};
  std::uint32_t fWaiting ZQCORE27_GUARDED_BY(fMutex) = 0;  // threads in wait_behind
};

/// Holds a read lock from its construction to its end.
class ZQCORE27_EXPORT OrlanSynchronizedRead {
 public:
  explicit OrlanSynchronizedRead(ReadWriteLock& lock) : fLock(&lock) { lock.read_lock(); }
  OrlanSynchronizedRead(const OrlanSynchronizedRead&) = delete;
  /// Copies the pointer alone: nothing is locked or unlocked. The old lock stays held, and the other one's lock is
  /// given up by both guards; it is for the caller to even that out.
  OrlanSynchronizedRead& operator=(const OrlanSynchronizedRead&) = default;
  ~OrlanSynchronizedRead() { fLock->read_unlock(); }

 private:
  ReadWriteLock* fLock;
};

/// Holds the write lock from its construction to its end.
class ZQCORE27_EXPORT OrlanSynchronizedWrite {
 public:
  explicit OrlanSynchronizedWrite(ReadWriteLock& lock) : fLock(&lock) { lock.write_lock(); }
  OrlanSynchronizedWrite(const OrlanSynchronizedWrite&) = delete;
  /// As OrlanSynchronizedRead's.
  OrlanSynchronizedWrite& operator=(const OrlanSynchronizedWrite&) = default;
  ~OrlanSynchronizedWrite() { fLock->write_unlock(); }

 private:
  ReadWriteLock* fLock;
};

}  // namespace zqcore27
