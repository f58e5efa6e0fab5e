#pragma once

#include <atomic>
#include <cstdint>

#include "zqcore27/platform/export.h"
#include "zqcore27/threads/jtc.h"

inline namespace zqcore27 {

/// Base of every thread that the library runs: a subclass overrides `work`, and while it runs the thread is registered
/// with the core's ThreadRegistry. One object is one run of one thread. An exception out of `work` ends the thread.
/// Made with `new` and kept in a JTCHandleT, it is destroyed when the last handle has gone and the thread has ended;
/// without a handle it belongs to its maker, who joins it before destroying it. A subclass may start itself as the last
/// step of its constructor.
/// Threads: start_undetached, join, set_priority and id from any.
class ZQCORE27_EXPORT OrlanThread : public JTCThread {
 public:
  /// A thread that doesn't run yet. `arg` is handed to `work`.
  explicit OrlanThread(void* arg = nullptr, JTCHandleT<JTCThreadGroup> group = JTCInitialize::getTermGroup());
  ~OrlanThread() override;

  /// Starts it. Errors: JTCSystemCallException where the system has no thread to give, or when it was started before.
  void start_undetached();
  /// The body of the new thread: registers it if there is a core, calls `work`, and takes the registration back. Called
  /// directly it does the same on the calling thread, and an exception out of `work` passes unchanged.
  void run() override;
  /// The same, returning what `work` returned.
  void* run_undetached();
  virtual void* work(void* arg) = 0;
  /// Waits until the thread has ended; returns at once if it never started. The argument is ignored. Any number of
  /// callers. Errors: JTCSystemCallException (EDEADLK) when a thread would wait for itself.
  void join(void*);
  /// The calling thread's object; null on a thread of the host.
  static JTCThread* self();
  /// The thread's id in the registry, from the time when it runs; 0 before, and when it started without a core or
  /// there was no memory to register it.
  std::uint32_t id() const { return fId.load(std::memory_order_relaxed); }
  /// 0 is normal, higher is more urgent, -19 to 20. No effect before the start and after the end. Errors: ThreadError
  /// SYSTEM_CALL_FAILED outside the range, and where the process lacks the right.
  void set_priority(int priority);

 private:
  class Registration;

  void* fArg;
  std::atomic<std::uint32_t> fId{0};
};

}  // namespace zqcore27
