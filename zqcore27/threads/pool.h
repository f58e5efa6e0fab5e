#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "zqcore27/platform/export.h"
#include "zqcore27/platform/thread_annotations.h"
#include "zqcore27/threads/condition.h"
#include "zqcore27/threads/jtc.h"
#include "zqcore27/threads/mutex.h"
#include "zqcore27/threads/request.h"

inline namespace zqcore27 {

class RequestQueue;
class SubmittedJob;
class SubmittedJobList;
class ThreadRequester;
class WorkerThread;

/// Standing worker threads and a bounded queue of short jobs for them. When the queue is full the pool grows by extra
/// workers up to a ceiling, 50 at first, while the client waits for room; an extra worker leaves when it finds the
/// queue empty. Clients submit and cancel through a ThreadRequester.
///
///              submit                  cancel by client                   cancel by id
///   queued     -                       cleanup runs, record freed         record freed, without the cleanup
///   running    -                       stop flag set                      stop flag set
///   ended      -                       nothing                            nothing
///   closing    0: the client keeps     as above                           as above
///              its record
///
/// Cancelling by client doesn't keep the order of the requests that are left, cancelling by id does. A job that throws
/// has its cleanup run, with no lock held, and that is all that its client hears of it. The record of a job that ran,
/// threw or was refused is never freed by the pool. A job must not end its thread: the process would end.
/// A pool without standing workers lets requests wait until the queue is full, and runs nothing while its ceiling is 0.
/// Threads: every operation but the destructor from any, jobs included; a cleanup at a cancel runs with the pool's
/// locks held and must not submit, and not wait for anybody who uses the pool. It may cancel; where it cancels its own
/// client, the cancels nest as deep as that client has requests queued.
class ZQCORE27_EXPORT ThreadPool {
 public:
  /// 20 standing workers and a queue for 10 requests.
  ThreadPool();
  /// `numThreads` standing workers, which start at once, and a queue for `queueSize` requests, 1 if it is 0.
  /// Errors: ThreadError SYSTEM_CALL_FAILED where the system has no thread to give; std::bad_alloc.
  ThreadPool(std::uint16_t numThreads, std::uint16_t queueSize);
  ThreadPool(const ThreadPool&) = delete;
  ThreadPool& operator=(const ThreadPool&) = delete;
  /// Accepts nothing more, runs everything that is queued, and waits for the running jobs, whose stop flags it leaves
  /// alone, and for the last steps of its threads: behind it none of them runs code of the library. A client that waits
  /// for room gets 0. What a pool without standing workers still has queued runs on the destructor's own thread where
  /// the system has no other to give. Other threads may be in a submit that waits or in a cancel, and jobs in any
  /// operation; apart from that nobody may use the pool. Not from a job of the pool or the end of a thread_local object
  /// of its threads, which would wait for itself; nor may such an object wait for that of another worker, since extra
  /// workers end one behind the other.
  ~ThreadPool();

  /// Submits `func`, to be called with `arg` on a worker; neither may be null. Returns the request's id, or 0 when the
  /// pool is closing: then the client keeps `arg`. Blocks while the queue is full. `requester`, which may be null for a
  /// request of nobody, is never followed. Allocates nothing unless the pool grows.
  /// Errors: ThreadError SYSTEM_CALL_FAILED or std::bad_alloc when the queue is full, no worker is left to empty it and
  /// none can be started; the client keeps `arg`. With a worker left, it waits for that one.
  std::uint32_t addRequestToPool(Request::Function func, FlaggedArg* arg, const ThreadRequester* requester,
                                 Request::Cleanup cleanup, void* cleanupArg);
  /// Cancels all requests of this client, without waiting for those that run. Null does nothing.
  void ClearRequests(ThreadRequester* requester);
  /// Cancels one request, whose ever. An id of no request, 0 among them, does nothing. Errors: as
  /// RequestQueue::RemoveRequestFromQueue.
  void ClearThisRequest(std::uint32_t id);

  // Snapshots, taken without a lock.

  std::uint16_t getMaxNumThreads() const { return fMaxNumThreads.load(std::memory_order_relaxed); }
  /// Standing workers.
  std::uint16_t getNumDefThreads() const { return fNumDefThreads; }
  /// Workers that run a request. It falls a little after the job's end.
  std::uint16_t getNumActThreads() const { return fNumActThreads.load(std::memory_order_relaxed); }
  /// The ceiling for growth, unchecked: of the workers that will look at the queue again; extra ones that are about to
  /// leave don't count. One below the present number of workers stops none. A higher one wakes no client that waits
  /// already: the pool grows with the next client that finds the queue full. There are 65535 threads at most.
  void setMaxNumThreads(std::uint16_t maximum) { fMaxNumThreads.store(maximum, std::memory_order_relaxed); }

 private:
  friend class ThreadRequester;
  friend class WorkerThread;
  friend struct ThreadPoolTestAccess;  // sets fWokenClients, reads fGuests

  class Guest;
  struct Wakes;

  void create_pool(std::uint16_t numThreads, std::uint16_t queueSize);

  // For clients.
  std::uint32_t add_request(const Request& request);
  std::uint32_t add_job(SubmittedJob& job, const ThreadRequester* requester);
  void wait_for_room() ZQCORE27_REQUIRES(fPoolMutex);
  template <class Came>
  void look_out(Came came) ZQCORE27_REQUIRES(fPoolMutex);  // gives the mutex up meanwhile
  void grow() ZQCORE27_REQUIRES(fPoolMutex);
  void add_extra_worker() ZQCORE27_REQUIRES(fPoolMutex);
  template <class Remove>
  void remove_from_queue(Remove remove);
  template <class Matches>
  void stop_running(Matches matches) ZQCORE27_NO_THREAD_SAFETY_ANALYSIS;  // holds every handle at once
  std::uint16_t num_queued(const ThreadRequester* requester);
  std::uint16_t num_running(const ThreadRequester* requester);

  // For workers.
  bool next_request(WorkerThread& worker, Request& request);
  bool take_request(WorkerThread& worker, Request& request, Wakes& wakes) ZQCORE27_REQUIRES(fPoolMutex);
  void wait_for_work() ZQCORE27_REQUIRES(fPoolMutex);
  void remove_worker(WorkerThread& worker);

  bool claim_idle_worker() ZQCORE27_REQUIRES(fPoolMutex);
  bool claim_waiting_client() ZQCORE27_REQUIRES(fPoolMutex);
  void leave_guest() ZQCORE27_REQUIRES(fPoolMutex);

  // For the destructor.
  void drain();
  void run_here() ZQCORE27_REQUIRES(fPoolMutex);
  void end_workers();

  OrlanMutex fPoolMutex;                         // guards the flags, the counts below them and the queue as a whole
  std::unique_ptr<OrlanCondition> fQueueEmpty;   // on fPoolMutex; for the destructor: the queue is empty, no guests
  std::unique_ptr<OrlanCondition> fWorkReady;    // on fPoolMutex; idle workers wait here
  std::unique_ptr<OrlanCondition> fRoomReady;    // on fPoolMutex; clients wait here for room in the queue
  OrlanMutex fThreadMutex;                       // guards fWorkers, fLastLeaver and fNumThreads
  std::unique_ptr<OrlanCondition> fThreadsDown;  // on fThreadMutex; for the destructor: no extra workers
  std::unique_ptr<RequestQueue> fQueue;
  std::uint16_t fNumDefThreads = 0;                                 // standing workers
  std::uint16_t fNumThreads ZQCORE27_GUARDED_BY(fThreadMutex) = 0;  // all workers
  std::atomic<std::uint16_t> fNumActThreads{0};  // workers running a request; falls outside fPoolMutex
  std::atomic<std::uint16_t> fMaxNumThreads{50};
  std::vector<JTCHandleT<WorkerThread>> fWorkers ZQCORE27_GUARDED_BY(fThreadMutex);
  JTCHandleT<WorkerThread> fLastLeaver ZQCORE27_GUARDED_BY(fThreadMutex);  // the extra worker that left last, unjoined
  bool fClosing ZQCORE27_GUARDED_BY(fPoolMutex) = false;                   // no request is accepted any more
  bool fStopped ZQCORE27_GUARDED_BY(fPoolMutex) = false;  // and the queue has drained: idle workers end

  // Who is where, so that a wake goes only to somebody who waits and isn't on his way already.
  std::uint32_t fTakers ZQCORE27_GUARDED_BY(fPoolMutex) = 0;          // workers that will look at the queue again
  std::uint32_t fIdleWorkers ZQCORE27_GUARDED_BY(fPoolMutex) = 0;     // in fWorkReady
  std::uint32_t fLookingWorkers ZQCORE27_GUARDED_BY(fPoolMutex) = 0;  // in look_out
  std::uint32_t fWokenWorkers ZQCORE27_GUARDED_BY(fPoolMutex) = 0;    // of the idle ones, signalled
  std::uint32_t fWaitingClients ZQCORE27_GUARDED_BY(fPoolMutex) = 0;  // in fRoomReady
  std::uint32_t fWokenClients ZQCORE27_GUARDED_BY(fPoolMutex) = 0;    // of the waiting ones, signalled
  std::uint32_t fGuests ZQCORE27_GUARDED_BY(fPoolMutex) = 0;          // clients' calls that the destructor sees out
};

}  // namespace zqcore27
