#include "zqcore27/threads/jtc.h"

#include <cassert>
#include <cstring>
#include <system_error>

#include "zqcore27/platform/native_thread.h"

inline namespace zqcore27 {
namespace Thr1001203 {

namespace {

/// Holds the lock of a class that has no scoped guard below it.
class Hold {
 public:
  explicit Hold(CriticalSection& section) : fSection(section) { fSection.lock(); }
  ~Hold() { fSection.unlock(); }
  Hold(const Hold&) = delete;
  Hold& operator=(const Hold&) = delete;

 private:
  CriticalSection& fSection;
};

constinit std::atomic<JTCThreadGroup*> termGroup{nullptr};  // never destroyed
// In the block that each thread is started with: the dynamic model takes memory at the first use in a thread, and ends
// the process where there is none.
[[gnu::tls_model("initial-exec")]] constinit thread_local JTCThread* current = nullptr;

}  // namespace

JTCInterruptedException::JTCInterruptedException() = default;
JTCInterruptedException::JTCInterruptedException(const JTCInterruptedException&) = default;
JTCInterruptedException& JTCInterruptedException::operator=(const JTCInterruptedException&) = default;
JTCInterruptedException::~JTCInterruptedException() = default;
const char* JTCInterruptedException::what() const noexcept { return "interrupted"; }

JTCSystemCallException::JTCSystemCallException(int error) : fError(error) {
  systemErrorText(error, fMessage, sizeof fMessage);
}
JTCSystemCallException::JTCSystemCallException(const JTCSystemCallException&) = default;
JTCSystemCallException& JTCSystemCallException::operator=(const JTCSystemCallException&) = default;
JTCSystemCallException::~JTCSystemCallException() = default;
const char* JTCSystemCallException::what() const noexcept { return fMessage; }

JTCRefCount::JTCRefCount() = default;

JTCRefCount::~JTCRefCount() { assert(fHandles == 0 && !fPinned); }

void JTCRefCount::add_handle() {
  const Hold hold(fLock);
  ++fHandles;
  fWasHeld = true;
}

void JTCRefCount::drop_handle() {
  bool last = false;
  {
    const Hold hold(fLock);
    assert(fHandles != 0);
    last = --fHandles == 0 && !fPinned;
  }
  if (last) delete this;
}

void JTCRefCount::pin() {
  const Hold hold(fLock);
  fPinned = true;
}

void JTCRefCount::unpin() {
  bool abandoned = false;
  {
    const Hold hold(fLock);
    fPinned = false;
    abandoned = fWasHeld && fHandles == 0;
  }
  if (abandoned) delete this;
}

JTCThreadGroup::JTCThreadGroup() = default;
JTCThreadGroup::~JTCThreadGroup() = default;

JTCInitialize::JTCInitialize() {
  const JTCHandleT<JTCThreadGroup> group(new JTCThreadGroup);
  JTCThreadGroup* none = nullptr;
  group->add_handle();  // the one of termGroup
  if (!termGroup.compare_exchange_strong(none, group.get(), std::memory_order_acq_rel)) group->drop_handle();
}

JTCHandleT<JTCThreadGroup> JTCInitialize::getTermGroup() { return termGroup.load(std::memory_order_acquire); }

namespace {

/// Holds a monitor's lock.
class HoldMonitor {
 public:
  explicit HoldMonitor(const JTCMonitor& monitor) ZQCORE27_NO_THREAD_SAFETY_ANALYSIS : fMonitor(monitor) {
    fMonitor.lock(false);
  }
  ~HoldMonitor() ZQCORE27_NO_THREAD_SAFETY_ANALYSIS { fMonitor.unlock(); }
  HoldMonitor(const HoldMonitor&) = delete;
  HoldMonitor& operator=(const HoldMonitor&) = delete;

 private:
  const JTCMonitor& fMonitor;
};

}  // namespace

/// What the running thread still needs when its object is gone.
struct JTCThread::State {
  enum Phase { NEW, STARTING, RUNNING, ENDED };

  void enter(Phase next) {
    const HoldMonitor hold(monitor);
    phase = next;
    monitor.notifyAll();
  }

  JTCMonitor monitor;  // its lock guards the rest
  Phase phase = NEW;
  NativeThread native;     // has its handle from STARTING on
  std::uint32_t id = 0;    // from RUNNING on
  bool takenOver = false;  // somebody has joined or detached `native`, or is about to
  bool joined = false;
  char name[16] = "";
};

/// The time from a thread's first step to its last.
class JTCThread::Running {
 public:
  explicit Running(JTCThread* thread) : fThread(thread), fThreadState(thread->fState), fThreadGroup(thread->fGroup) {
    current = thread;
    if (fThreadState->name[0] != 0) nameCallingThread(fThreadState->name);
    const HoldMonitor hold(fThreadState->monitor);
    fThreadState->id = callingThreadId();
    fThreadState->enter(State::RUNNING);
  }
  ~Running() {
    current = nullptr;
    fThread->unpin();  // may destroy the object, which is touched no more
    fThreadState->enter(State::ENDED);
    if (fThreadGroup) --fThreadGroup->fActive;
  }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

 private:
  JTCThread* const fThread;
  const std::shared_ptr<State> fThreadState;
  const JTCHandleT<JTCThreadGroup> fThreadGroup;
};

JTCThread::JTCThread(JTCHandleT<JTCThreadGroup>& group, const char* name)
    : fState(std::make_shared<State>()), fGroup(group) {
  if (name != nullptr) std::strncpy(fState->name, name, sizeof fState->name - 1);
}

JTCThread::~JTCThread() {
  const HoldMonitor hold(fState->monitor);
  if (fState->phase != State::NEW && !fState->takenOver) {
    fState->takenOver = true;
    detachNativeThread(fState->native);
  }
}

void JTCThread::enter(void* thread) {
  const Running running(static_cast<JTCThread*>(thread));
  static_cast<JTCThread*>(thread)->run();
}

void JTCThread::start() {
  // The new thread waits for this lock before it runs; afterwards it may take the object along.
  const std::shared_ptr<State> state = fState;
  const HoldMonitor hold(state->monitor);
  if (state->phase != State::NEW) throw JTCSystemCallException(static_cast<int>(std::errc::invalid_argument));
  state->native.body = enter;
  state->native.arg = this;
  pin();
  if (fGroup) ++fGroup->fActive;
  if (const int error = startNativeThread(state->native); error != 0) {
    if (fGroup) --fGroup->fActive;
    unpin();
    throw JTCSystemCallException(error);
  }
  state->phase = State::STARTING;
}

void JTCThread::join() {
  const std::shared_ptr<State> state = fState;
  {
    const HoldMonitor hold(state->monitor);
    if (state->phase == State::NEW) return;
    if (current == this) throw JTCSystemCallException(static_cast<int>(std::errc::resource_deadlock_would_occur));
    while (state->takenOver && !state->joined) state->monitor.wait();
    if (state->joined) return;
    state->takenOver = true;
  }
  joinNativeThread(state->native);
  const HoldMonitor hold(state->monitor);
  state->joined = true;
  state->monitor.notifyAll();
}

bool JTCThread::isAlive() const {
  const HoldMonitor hold(fState->monitor);
  return fState->phase == State::STARTING || fState->phase == State::RUNNING;
}

JTCThread* JTCThread::currentThread() { return current; }

void JTCThread::setPriority(int priority) {
  const HoldMonitor hold(fState->monitor);
  while (fState->phase == State::STARTING) fState->monitor.wait();
  if (fState->phase != State::RUNNING) return;
  if (const int error = setThreadPriority(fState->id, priority); error != 0) throw JTCSystemCallException(error);
}

}  // namespace Thr1001203
}  // namespace zqcore27
