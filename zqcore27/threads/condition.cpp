#include "zqcore27/threads/condition.h"

inline namespace zqcore27 {

namespace {

/// Waits, whatever interrupts the wait.
template <class Wait>
void waitOut(Wait wait) {
  for (;;) {
    try {
      return wait();
    } catch (const JTCInterruptedException&) {
    }
  }
}

}  // namespace

OrlanCondition::OrlanCondition(OrlanMutex* m) : fMutex(m) {}

OrlanCondition::~OrlanCondition() = default;

void OrlanCondition::signal() {
  const OrlanSynchronized monitor(*this);
  notify();
}

void OrlanCondition::broadcast() {
  const OrlanSynchronized monitor(*this);
  notifyAll();
}

// The monitor is taken before the mutex is given up, so that no signal falls in between, and let go before the mutex is
// taken again, so that a signaller who holds the mutex never meets a waiter who holds the monitor.
void OrlanCondition::wait() ZQCORE27_NO_THREAD_SAFETY_ANALYSIS {
  {
    const OrlanSynchronized monitor(*this);
    fMutex->unlock();
    waitOut([this] { JTCMonitor::wait(); });
  }
  fMutex->lock();
}

void OrlanCondition::wait(std::int32_t timeout) ZQCORE27_NO_THREAD_SAFETY_ANALYSIS {
  {
    const OrlanSynchronized monitor(*this);
    fMutex->unlock();
    waitOut([this, timeout] { JTCMonitor::wait(timeout); });
  }
  fMutex->lock();
}

CondArgs::CondArgs() : fCondition(new OrlanCondition(&fMutex)) {}

CondArgs::~CondArgs() { delete fCondition; }

}  // namespace zqcore27
