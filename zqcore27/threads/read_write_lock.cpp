#include "zqcore27/threads/read_write_lock.h"

inline namespace zqcore27 {

ReadWriteLock::ReadWriteLock() : fCondition(new OrlanCondition(&fMutex)) {}

ReadWriteLock::~ReadWriteLock() { delete fCondition; }

void ReadWriteLock::wait_behind(std::uint64_t blockers, std::uint64_t added) {
  const OrlanSynchronized hold(fMutex);
  ++fWaiting;
  // From here on nobody can end the block without fMutex, which is free again only when this thread waits.
  std::uint64_t state = fState.fetch_or(WAITERS, std::memory_order_acq_rel) | WAITERS;
  for (;;) {
    if ((state & blockers) != 0) {
      fCondition->wait();
      state = fState.load(std::memory_order_relaxed);
    } else if (change(state, state + added)) {
      break;
    }
  }
  if (--fWaiting == 0) fState.fetch_and(~WAITERS, std::memory_order_acq_rel);
}

/// The last reader leaves. One waiter is woken: a writer, since readers wait only while somebody writes.
void ReadWriteLock::leave_to_writer() {
  const OrlanSynchronized hold(fMutex);
  std::uint64_t state = fState.load(std::memory_order_relaxed);
  while ((state & READERS) != 0) {
    if (!change(state, state - 1)) continue;
    if ((state & READERS) == 1) fCondition->signal();
    return;
  }
}

/// The writer leaves. All are woken and compete.
void ReadWriteLock::leave_to_all() {
  const OrlanSynchronized hold(fMutex);
  fState.fetch_and(~WRITING, std::memory_order_acq_rel);
  fCondition->broadcast();
}

}  // namespace zqcore27
