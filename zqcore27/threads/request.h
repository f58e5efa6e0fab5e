#pragma once

#include <cstdint>

#include "zqcore27/core/memory.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/threads/flag.h"

inline namespace zqcore27 {

class SubmittedJob;
class ThreadRequester;

/// What a job is called with. The client makes one with `new` or in a block of orlanNew, and it is its client's again
/// when the pool refuses it. The pool frees the block, without a destructor, when it cancels the queued request; once
/// the job is called, the record belongs to the job. Threads: one at a time.
class ZQCORE27_EXPORT FlaggedArg : public FromLibraryHeap {
 public:
  explicit FlaggedArg(void* data) : arg(data) {}
  FlaggedArg(const FlaggedArg&) = default;
  FlaggedArg& operator=(const FlaggedArg&) = default;

  /// The worker's stop flag while the job runs, not owned; null before. A job that wants to be cancellable tests
  /// `flag->value()`. After the job's return the flag serves the worker's next one.
  Flag* flag = nullptr;
  void* arg;  // the client's data, not owned
};

/// One job, as it stands in a RequestQueue. Threads: one at a time.
struct ZQCORE27_EXPORT Request {
  /// A job. Its result is dropped. What it throws ends it and goes no further.
  using Function = void* (*)(FlaggedArg*);
  /// What runs in place of the rest of a job that threw, or of a job that was cancelled in the queue by its client.
  using Cleanup = void* (*)(void*);

  Request() = default;
  /// A request with no id yet.
  Request(Function func, FlaggedArg* arg, const ThreadRequester* requester, Cleanup cleanup, void* cleanupArg)
      : fFunc(func), fArg(arg), fCleanup(cleanup), fCleanupArg(cleanupArg), fRequester(requester) {}
  Request(const Request&) = default;
  Request& operator=(const Request&) = default;

  /// Calls the job with `stop` as its record's flag, and the cleanup if the job throws. The record is the job's then.
  void run(Flag* stop) const noexcept;
  /// Calls the cleanup, if there is one; what it throws is dropped.
  void clean_up() const noexcept;

  // Both compare fOrder alone.
  bool operator<(const Request& other) const { return fOrder < other.fOrder; }
  bool operator==(const Request& other) const { return fOrder == other.fOrder; }

  Function fFunc = nullptr;    // never null in a queue
  FlaggedArg* fArg = nullptr;  // never null in a queue
  Cleanup fCleanup = nullptr;  // may be null
  void* fCleanupArg = nullptr;
  const ThreadRequester* fRequester = nullptr;  // only compared, never followed
  std::uint32_t fId = 0;                        // 0: no request
  std::uint32_t fOrder = 0;                     // 0; the queue's order doesn't come from it
  SubmittedJob* fJob = nullptr;                 // one handle of it, for what ThreadRequester::submit made; else null
};

/// True for the requests of one client. Threads: one at a time.
class ZQCORE27_EXPORT RequesterMatcher {
 public:
  RequesterMatcher() = default;
  explicit RequesterMatcher(ThreadRequester* requester) : fHandle(requester) {}
  void setHandle(ThreadRequester* requester) { fHandle = requester; }
  bool operator()(const Request& request) const { return request.fRequester == fHandle; }

 private:
  ThreadRequester* fHandle = nullptr;  // not owned
};

/// True for the request of one id. Threads: one at a time.
class ZQCORE27_EXPORT ReqIdMatcher {
 public:
  ReqIdMatcher() = default;
  explicit ReqIdMatcher(std::uint32_t id) : fId(id) {}
  void setId(std::uint32_t id) { fId = id; }
  bool operator()(const Request& request) const { return request.fId == fId; }

 private:
  std::uint32_t fId = 0;
};

}  // namespace zqcore27
