#pragma once

#include <cstdint>
#include <future>
#include <type_traits>
#include <utility>

#include "zqcore27/core/memory.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/threads/jtc.h"
#include "zqcore27/threads/request.h"
#include "zqcore27/threads/submitted_job.h"

inline namespace zqcore27 {

class ThreadPool;

/// A client of a ThreadPool: it submits jobs, and cancels one of them or all of them. A client is its address: a copy
/// is another client of the same pool, without requests. The pool must outlive it.
/// Threads: any, jobs included.
class ZQCORE27_EXPORT ThreadRequester : public FromLibraryHeap {
 public:
  /// `pool` must not be null.
  explicit ThreadRequester(ThreadPool* pool) : fPool(pool) {}
  ThreadRequester(const ThreadRequester& other);
  /// From now on a client of the other one's pool. What was submitted before stays with the old pool and can be
  /// cancelled there; call clearRequests first.
  ThreadRequester& operator=(const ThreadRequester& other);
  /// As clearRequests: what still runs isn't waited for.
  virtual ~ThreadRequester();

  /// As ThreadPool::addRequestToPool.
  std::uint32_t request(Request::Function func, FlaggedArg* arg, Request::Cleanup cleanup, void* cleanupArg);
  /// As ThreadPool::ClearRequests.
  void clearRequests();
  /// As ThreadPool::ClearThisRequest, of this or any other client of the pool.
  void clearSingleRequest(std::uint32_t id);

  /// Submits any callable, copied or moved in, and returns a future of its result or exception. A callable that takes a
  /// std::stop_token is called with one on which a stop is requested when the running job is cancelled. A job cancelled
  /// in the queue, either way, or refused because the pool is closing completes its future with RequestCancelled.
  /// `id`, if it isn't null, gets the request's id, 0 when it was refused. Blocks as `request`. The callable is called
  /// as an rvalue, once, and destroyed on a thread of the pool or of the canceller, perhaps after the future is
  /// complete. Errors: those of addRequestToPool, std::bad_alloc, and what copying the callable throws; then nothing is
  /// queued.
  template <class F>
  std::future<typename CallableJob<std::decay_t<F>>::Result> submit(F&& callable, std::uint32_t* id = nullptr) {
    const JTCHandleT<CallableJob<std::decay_t<F>>> job(new CallableJob<std::decay_t<F>>(std::forward<F>(callable)));
    auto future = job->future();
    const std::uint32_t taken = submit_job(*job);
    if (taken == 0) job->abandon();
    if (id != nullptr) *id = taken;
    return future;
  }

  // A request that a worker takes between two calls of these can be counted by both, never by neither, if the queued
  // ones are asked for first.

  /// How many requests of this client are queued. Waits for a cleanup that runs at a cancel. May be old when it
  /// arrives.
  std::uint16_t numQueuedRequests() const;
  /// How many requests of this client are running. May be old when it arrives.
  std::uint16_t numRunningRequests() const;

 private:
  std::uint32_t submit_job(SubmittedJob& job);

  ThreadPool* fPool;  // not owned
};

}  // namespace zqcore27
