#pragma once

#include <cstdint>
#include <memory>

#include "zqcore27/platform/export.h"
#include "zqcore27/platform/thread_annotations.h"
#include "zqcore27/threads/flag.h"
#include "zqcore27/threads/mutex.h"
#include "zqcore27/threads/request.h"
#include "zqcore27/threads/submitted_job.h"
#include "zqcore27/threads/thread.h"

inline namespace zqcore27 {

class SubmittedJobList;
class ThreadPool;

/// A thread of a ThreadPool, made by it. Whom it works for, its request and the stop flag's value change together under
/// its handle mutex: who looks under that mutex sees the old request, none, or the new one whole.
/// Threads: any, as each operation says.
class ZQCORE27_EXPORT WorkerThread final : public OrlanThread {
 public:
  /// Starts the thread before it returns. `index` is what thisThread gives. An `extra` worker leaves the pool when it
  /// finds the queue empty. Errors: JTCSystemCallException where the system has no thread to give; std::bad_alloc.
  WorkerThread(ThreadPool* pool, std::uint16_t index, bool extra);
  ~WorkerThread() override;

  /// Runs requests of the pool until it leaves the pool or the pool has stopped. Returns null.
  void* work(void*) override;

  // Requires, for the three: the caller holds the handle.

  /// True if it runs a request of `r`; for null, if it is idle.
  bool workingFor(const ThreadRequester* r) const ZQCORE27_REQUIRES(fHandleMutex) { return fRequester == r; }
  /// True if it runs request `id`; for 0, if it is idle.
  bool doingRequest(std::uint32_t id) const ZQCORE27_REQUIRES(fHandleMutex) { return fRequestId == id; }
  /// Sets the stop flag of the running job.
  void stopItNow(bool stop) ZQCORE27_REQUIRES(fHandleMutex) { fStopFlag->set(stop); }

  void lockHandle() ZQCORE27_ACQUIRE(fHandleMutex) { fHandleMutex.lock(); }
  void unlockHandle() ZQCORE27_RELEASE(fHandleMutex) { fHandleMutex.unlock(); }
  /// Its number in the pool. Of extra workers, two living ones can have the same.
  std::uint16_t thisThread() const { return fIndex; }

 private:
  friend class ThreadPool;

  /// One without a thread: what `pool` runs on the thread of its destructor, it runs as this worker.
  explicit WorkerThread(ThreadPool* pool);

  void begin(const Request& request);
  void run_request(const Request& request);
  void end_job();
  void give_job_to(SubmittedJobList& stopped) ZQCORE27_REQUIRES(fHandleMutex);

  ThreadPool* const fPool;  // not owned; there until the thread has ended
  const std::uint16_t fIndex;
  const ThreadRequester* fRequester ZQCORE27_GUARDED_BY(fHandleMutex) = nullptr;  // null: idle
  std::uint32_t fRequestId ZQCORE27_GUARDED_BY(fHandleMutex) = 0;                 // 0: idle
  OrlanMutex fHandleMutex;
  const std::unique_ptr<Flag> fStopFlag;  // on fHandleMutex
  const bool fExtra;
  JTCHandleT<SubmittedJob> fJob ZQCORE27_GUARDED_BY(fHandleMutex);  // while it runs, until a stop is requested
};

}  // namespace zqcore27
