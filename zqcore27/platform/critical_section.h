#pragma once

#include <atomic>
#include <cassert>
#include <cstdint>

#include "zqcore27/platform/export.h"
#include "zqcore27/platform/single_threaded.h"

inline namespace zqcore27 {

/// The platform's re-entrant lock, the base of OrlanMutex and of the thread layer's monitors. Hosts use those.
/// The owner may lock it again and unlocks it as often. No order between waiters. Never throws, allocates nothing;
/// constant-initialised and trivially destroyed, so that a static one serves from load to the process's end. While the
/// process has one thread it goes through the same states by plain writes, which cost a tenth.
///              lock by owner   lock by another    unlock by owner
///   free       -               owned, depth 0     -
///   owned      depth + 1       waits              depth - 1, free when the depth was 0
/// Requires: unlock by the owner only; nobody owns it or waits when it is destroyed. The thread that unlocks it touches
/// it no more once another thread can have it, so that the next owner may destroy it.
/// Threads: any.
class ZQCORE27_EXPORT CriticalSection {
 public:
  constexpr CriticalSection() = default;
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;

  void lock() noexcept {
    if (isMine()) {
      ++fDepth;
      return;
    }
    std::uint32_t expected = FREE;
    if (isSingleThreaded() && fState.load(std::memory_order_relaxed) == FREE) {
      fState.store(OWNED, std::memory_order_relaxed);
    } else if (!fState.compare_exchange_strong(expected, OWNED, std::memory_order_acquire, std::memory_order_relaxed)) {
      wait_for_lock();
    }
    fOwner.store(&threadMark, std::memory_order_relaxed);
  }
  void unlock() noexcept {
    assert(isMine());
    if (fDepth != 0) {
      --fDepth;
      return;
    }
    fOwner.store(nullptr, std::memory_order_relaxed);
    if (isSingleThreaded()) {
      fState.store(FREE, std::memory_order_relaxed);
    } else if (fState.exchange(FREE, std::memory_order_release) == CONTENDED) {
      wake_one();
    }
  }
  /// True if the caller owns it.
  bool isMine() const noexcept { return fOwner.load(std::memory_order_relaxed) == &threadMark; }
  /// Unlocks as often as the caller has locked it; returns what relock() takes to restore that.
  std::uint32_t unlockAll() noexcept;
  void relock(std::uint32_t depth) noexcept;

 private:
  enum : std::uint32_t { FREE = 0, OWNED = 1, CONTENDED = 2 };

  void wait_for_lock() noexcept;
  void wake_one() noexcept;

  // Its address is the calling thread's mark: unlike any other living thread's, and had without a call.
  [[gnu::tls_model("initial-exec")]] static constinit thread_local char threadMark;

  std::atomic<std::uint32_t> fState{FREE};   // CONTENDED: owned, and somebody may be waiting
  std::uint32_t fDepth = 0;                  // of the owner alone: locks beyond the first
  std::atomic<const void*> fOwner{nullptr};  // only the owner itself ever finds its own mark here
};

}  // namespace zqcore27
