#include "zqcore27/threads/thread.h"

#include "zqcore27/core/core.h"
#include "zqcore27/core/core_hold.h"
#include "zqcore27/threads/system_call_error.h"

inline namespace zqcore27 {

/// The registration of a running thread. The core may go, or come, while the thread runs.
class OrlanThread::Registration {
 public:
  explicit Registration(OrlanThread& thread) {
    const CoreHold hold;
    if (hold.core() == nullptr) return;
    try {
      fId = hold.core()->fThreads->registerThread();
      thread.fId.store(fId, std::memory_order_relaxed);
    } catch (...) {
      // No memory for an entry: the thread does its work unregistered.
    }
  }
  ~Registration() {
    if (fId == 0) return;
    const CoreHold hold;
    if (hold.core() != nullptr) hold.core()->fThreads->unregisterThread(fId);
  }
  Registration(const Registration&) = delete;
  Registration& operator=(const Registration&) = delete;

 private:
  std::uint32_t fId = 0;  // 0: never registered
};

OrlanThread::OrlanThread(void* arg, JTCHandleT<JTCThreadGroup> group) : JTCThread(group, nullptr), fArg(arg) {}

OrlanThread::~OrlanThread() = default;

void OrlanThread::start_undetached() { start(); }

void OrlanThread::run() { run_undetached(); }

void* OrlanThread::run_undetached() {
  const Registration registration(*this);
  return work(fArg);
}

void OrlanThread::join(void*) {
  do {
    try {
      JTCThread::join();
    } catch (const JTCInterruptedException&) {
    }
  } while (isAlive());
}

JTCThread* OrlanThread::self() { return currentThread(); }

void OrlanThread::set_priority(int priority) {
  try {
    setPriority(priority);
  } catch (const JTCSystemCallException& e) {
    throw systemCallError(e);
  }
}

}  // namespace zqcore27
