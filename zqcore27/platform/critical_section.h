#pragma once

#include <atomic>
#include <cstdint>

inline namespace zqcore27 {

/// The platform's re-entrant lock, the base of OrlanMutex and of the thread layer's monitors. Hosts use those.
/// The owner may lock it again and unlocks it as often. No order between waiters. Never throws, allocates nothing;
/// constant-initialised and trivially destroyed, so that a static one serves from load to the process's end.
///              lock by owner   lock by another    unlock by owner
///   free       -               owned, depth 0     -
///   owned      depth + 1       waits              depth - 1, free when the depth was 0
/// Requires: unlock by the owner only; nobody owns it or waits when it is destroyed. The thread that unlocks it touches
/// it no more once another thread can have it, so that the next owner may destroy it.
/// Threads: any.
class CriticalSection {
 public:
  constexpr CriticalSection() = default;
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;

  void lock() noexcept;
  void unlock() noexcept;
  /// True if the caller owns it.
  bool isMine() const noexcept;
  /// Unlocks as often as the caller has locked it; returns what relock() takes to restore that.
  std::uint32_t unlockAll() noexcept;
  void relock(std::uint32_t depth) noexcept;

 private:
  void wait_for_lock() noexcept;

  std::atomic<std::uint32_t> fState{0};      // 0 free, 1 owned, 2 owned and somebody may be waiting
  std::uint32_t fDepth = 0;                  // of the owner alone: locks beyond the first
  std::atomic<const void*> fOwner{nullptr};  // only the owner itself ever finds its own mark here
};

}  // namespace zqcore27
