#include "zqcore27/platform/critical_section.h"

#include "zqcore27/platform/wait_word.h"

inline namespace zqcore27 {

namespace {

// Pauses of the processor before each look at a lock that is taken, some microseconds together: short beside the cost
// of a sleep. Few looks, because each takes the lock's memory away from its owner, who meanwhile may well get through
// several short holds at the speed of one thread.
constexpr int PAUSES[] = {16, 32, 64, 64, 64};

}  // namespace

[[gnu::tls_model("initial-exec")]] constinit thread_local char CriticalSection::threadMark = 0;

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
  for (const int pause : PAUSES) {
    for (int i = 0; i < pause; ++i) spinHint();
    std::uint32_t state = fState.load(std::memory_order_relaxed);
    if (state == CONTENDED) break;
    if (state == FREE &&
        fState.compare_exchange_weak(state, OWNED, std::memory_order_acquire, std::memory_order_relaxed)) {
      return;
    }
  }
  // Whoever had to sleep marks the lock contended when it gets it: others may still be asleep.
  while (fState.exchange(CONTENDED, std::memory_order_acquire) != FREE) waitOnWord(fState, CONTENDED);
}

void CriticalSection::wake_one() noexcept { wakeOneOnWord(fState); }

}  // namespace zqcore27
