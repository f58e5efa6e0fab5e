#include <cassert>
#include <chrono>

#include "zqcore27/platform/wait_word.h"
#include "zqcore27/threads/jtc.h"

inline namespace zqcore27 {
namespace Thr1001203 {

/// One waiting thread. The links are guarded by the monitor's lock. The state is settled once, by whoever changes it
/// from WAITING: the notifier, or the waiter whose time is up.
struct JTCMonitor::Waiter {
  enum : std::uint32_t { WAITING, NOTIFIED, TIMED_OUT };

  bool settle(std::uint32_t as) {
    std::uint32_t expected = WAITING;
    return state.compare_exchange_strong(expected, as, std::memory_order_acq_rel);
  }
  bool isWaiting() const { return state.load(std::memory_order_acquire) == WAITING; }

  std::atomic<std::uint32_t> state{WAITING};
  Waiter* before = nullptr;
  Waiter* behind = nullptr;
  bool listed = false;
};

JTCMonitor::JTCMonitor() = default;

JTCMonitor::~JTCMonitor() { assert(fFirst == nullptr); }

void JTCMonitor::lock(bool) const { fLock.lock(); }

void JTCMonitor::unlock() const { fLock.unlock(); }

void JTCMonitor::notify() {
  assert(fLock.isMine());
  while (Waiter* const waiter = fFirst) {
    unlink(*waiter);
    if (waiter->settle(Waiter::NOTIFIED)) {
      wakeOneOnWord(waiter->state);  // still there: it needs the lock to leave
      return;
    }
  }
}

void JTCMonitor::notifyAll() {
  while (fFirst != nullptr) notify();
}

void JTCMonitor::wait() {
  assert(fLock.isMine());
  Waiter waiter;
  append(waiter);
  const std::uint32_t depth = fLock.unlockAll();
  while (waiter.isWaiting()) waitOnWord(waiter.state, Waiter::WAITING);
  fLock.relock(depth);
}

void JTCMonitor::wait(std::int32_t timeout) {
  assert(fLock.isMine());
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout > 0 ? timeout : 0);
  Waiter waiter;
  append(waiter);
  const std::uint32_t depth = fLock.unlockAll();
  while (waiter.isWaiting()) {
    if (!waitOnWordUntil(waiter.state, Waiter::WAITING, deadline)) waiter.settle(Waiter::TIMED_OUT);
  }
  fLock.relock(depth);
  if (waiter.listed) unlink(waiter);
}

void JTCMonitor::append(Waiter& waiter) {
  waiter.before = fLast;
  waiter.listed = true;
  (fLast != nullptr ? fLast->behind : fFirst) = &waiter;
  fLast = &waiter;
}

void JTCMonitor::unlink(Waiter& waiter) {
  (waiter.before != nullptr ? waiter.before->behind : fFirst) = waiter.behind;
  (waiter.behind != nullptr ? waiter.behind->before : fLast) = waiter.before;
  waiter.listed = false;
}

void JTCRecursiveMutex::lock() const { fSection.lock(); }

void JTCRecursiveMutex::unlock() const { fSection.unlock(); }

}  // namespace Thr1001203
}  // namespace zqcore27
