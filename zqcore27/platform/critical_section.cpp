#include "zqcore27/platform/critical_section.h"

#include "zqcore27/platform/wait_word.h"

inline namespace zqcore27 {

namespace {

// Long enough for the usual short hold to end, short beside the cost of a sleep.
constexpr int SPINS = 64;

}  // namespace

constinit thread_local char CriticalSection::threadMark = 0;

std::uint32_t CriticalSection::unlockAll() noexcept {
  const std::uint32_t depth = fDepth;
  fDepth = 0;
  unlock();
  return depth;
}

void CriticalSection::relock(std::uint32_t depth) noexcept {
  lock();
  fDepth = depth;
}

void CriticalSection::wait_for_lock() noexcept {
  for (int i = 0; i < SPINS && fState.load(std::memory_order_relaxed) != CONTENDED; ++i) {
    std::uint32_t expected = FREE;
    if (fState.load(std::memory_order_relaxed) == FREE &&
        fState.compare_exchange_weak(expected, OWNED, std::memory_order_acquire, std::memory_order_relaxed)) {
      return;
    }
    spinHint();
  }
  // Whoever had to sleep marks the lock contended when it gets it: others may still be asleep.
  while (fState.exchange(CONTENDED, std::memory_order_acquire) != FREE) waitOnWord(fState, CONTENDED);
}

void CriticalSection::wake_one() noexcept { wakeOneOnWord(fState); }

}  // namespace zqcore27
