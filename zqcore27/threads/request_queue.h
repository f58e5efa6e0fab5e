#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "zqcore27/platform/export.h"
#include "zqcore27/platform/thread_annotations.h"
#include "zqcore27/threads/mutex.h"
#include "zqcore27/threads/request.h"

inline namespace zqcore27 {

class SubmittedJobList;

/// A bounded ring of requests, the oldest first. All slots exist from the start: putting a request allocates nothing.
///
/// 1. fCount is at most fCapacity. fHead equals fTail both when the ring is empty and when it is full.
/// 2. The queued requests lie in ring order from fHead to the slot before fTail, wrapping at the end of fEntries.
/// 3. A slot without a queued request has fId 0 and fRequester null.
/// 4. Ids count 1, 2, ... 0xFFFFFFFF and then from 1 again; the id in the slot is the id that the caller got.
///
/// Threads: any. Every operation but Empty and Full holds the queue's mutex, and gives it up also when it throws.
class ZQCORE27_EXPORT RequestQueue {
 public:
  /// An empty ring of `capacity` slots. One without slots is both empty and full. Errors: std::bad_alloc.
  explicit RequestQueue(std::uint16_t capacity);
  RequestQueue(const RequestQueue&) = delete;
  RequestQueue& operator=(const RequestQueue&) = delete;
  /// Queued requests aren't run, and their records aren't freed.
  ~RequestQueue();

  // Both take no lock: the answer may be old.
  bool Empty() const { return fCount.load(std::memory_order_relaxed) == 0; }
  bool Full() const { return fCount.load(std::memory_order_relaxed) == fCapacity; }

  /// Adds a request behind the others and returns its id, never 0. The queue owns `arg` until the request leaves it.
  /// Errors: ThreadError QUEUE_FULL, with the queue unchanged and no id used up.
  std::uint32_t PutRequestInQueue(Request::Function func, FlaggedArg* arg, const ThreadRequester* requester,
                                  Request::Cleanup cleanup, void* cleanupArg);
  /// Takes the oldest request out. Errors: ThreadError QUEUE_EMPTY, with the queue unchanged.
  Request GetRequest();
  /// Takes the request out and frees its record. The others keep their order; no cleanup runs. False if there is none,
  /// and for 0. Errors: ThreadError AMBIGUOUS_REQUEST if several queued requests have the id, which takes 2^32 puts
  /// while one of them waits; the queue is unchanged.
  bool RemoveRequestFromQueue(std::uint32_t id);
  /// Takes all requests of `requester` out; for each, calls its cleanup and frees its record. In the place of each
  /// stands afterwards the newest request that was left: the order is not kept. A request has left the queue, and its
  /// slot is free, when its cleanup runs. The cleanups run with the queue's mutex held; they may remove requests, but
  /// must not put any, and not wait for anybody who needs the mutex.
  void RemoveRequestsFromQueue(ThreadRequester* requester);
  /// How many queued requests `requester` has.
  std::uint16_t numRequests(const ThreadRequester* requester) const;

 private:
  friend class ThreadPool;
  friend struct RequestQueueTestAccess;  // sets fNextId

  std::uint32_t put(const Request& request);
  // As the public ones; a submitted job goes, with its request's handle, to `dropped`.
  bool remove_request(std::uint32_t id, SubmittedJobList& dropped);
  void remove_requests(ThreadRequester* requester, SubmittedJobList& dropped);

  std::uint16_t count() const { return fCount.load(std::memory_order_relaxed); }
  std::uint16_t capacity() const { return fCapacity; }
  /// The slot of the queued request with `place` older ones before it.
  std::uint16_t slot(std::uint32_t place) const ZQCORE27_REQUIRES(fMutex) {
    return static_cast<std::uint16_t>((std::uint32_t{fHead} + place) % fCapacity);
  }
  void free_newest() ZQCORE27_REQUIRES(fMutex);

  std::uint16_t fHead ZQCORE27_GUARDED_BY(fMutex) = 0;        // the oldest request's slot
  std::uint16_t fTail ZQCORE27_GUARDED_BY(fMutex) = 0;        // the slot that the next request takes
  std::vector<Request> fEntries ZQCORE27_GUARDED_BY(fMutex);  // fCapacity slots, never resized
  const std::uint16_t fCapacity;
  std::atomic<std::uint16_t> fCount{0};                   // written under fMutex; Empty and Full read it without
  std::uint32_t fNextId ZQCORE27_GUARDED_BY(fMutex) = 0;  // the id given out last
  mutable OrlanMutex fMutex;
};

}  // namespace zqcore27
