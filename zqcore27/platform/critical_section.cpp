#include "zqcore27/platform/critical_section.h"

#include <cassert>

#include "zqcore27/platform/wait_word.h"

inline namespace zqcore27 {

namespace {

enum : std::uint32_t { FREE = 0, OWNED = 1, CONTENDED = 2 };

// Long enough for the usual short hold to end, short beside the cost of a sleep.
constexpr int SPINS = 64;

// Its address is the calling thread's mark: unlike any other living thread's, and had without a call.
[[gnu::tls_model("initial-exec")]] constinit thread_local char threadMark = 0;

}  // namespace

void CriticalSection::lock() noexcept {
  if (fOwner.load(std::memory_order_relaxed) == &threadMark) {
    ++fDepth;
    return;
  }
  std::uint32_t expected = FREE;
  if (!fState.compare_exchange_strong(expected, OWNED, std::memory_order_acquire, std::memory_order_relaxed)) {
    wait_for_lock();
  }
  fOwner.store(&threadMark, std::memory_order_relaxed);
}

void CriticalSection::unlock() noexcept {
  assert(isMine());
  if (fDepth != 0) {
    --fDepth;
    return;
  }
  fOwner.store(nullptr, std::memory_order_relaxed);
  if (fState.exchange(FREE, std::memory_order_release) == CONTENDED) wakeOneOnWord(fState);
}

bool CriticalSection::isMine() const noexcept { return fOwner.load(std::memory_order_relaxed) == &threadMark; }

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

}  // namespace zqcore27
