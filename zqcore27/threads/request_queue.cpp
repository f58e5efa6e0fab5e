#include "zqcore27/threads/request_queue.h"

#include <algorithm>

#include "zqcore27/threads/submitted_job_list.h"
#include "zqcore27/threads/thread_error.h"

inline namespace zqcore27 {

namespace {

/// What is done with a request that is taken out without being run.
void discard(const Request& request, SubmittedJobList& dropped) {
  if (request.fJob != nullptr) dropped.append(request.fJob);
  orlanDelete(request.fArg);
}

}  // namespace

RequestQueue::RequestQueue(std::uint16_t capacity) : fEntries(capacity), fCapacity(capacity) {}

RequestQueue::~RequestQueue() = default;

std::uint32_t RequestQueue::PutRequestInQueue(Request::Function func, FlaggedArg* arg, const ThreadRequester* requester,
                                              Request::Cleanup cleanup, void* cleanupArg) {
  return put(Request(func, arg, requester, cleanup, cleanupArg));
}

std::uint32_t RequestQueue::put(const Request& request) {
  const OrlanSynchronized hold(fMutex);
  if (count() == fCapacity) throw ThreadError(ThreadError::QUEUE_FULL, false);
  if (++fNextId == 0) fNextId = 1;
  Request& slot = fEntries[fTail];
  slot = request;
  slot.fId = fNextId;
  if (++fTail == fCapacity) fTail = 0;
  fCount.store(static_cast<std::uint16_t>(count() + 1), std::memory_order_relaxed);
  return fNextId;
}

Request RequestQueue::GetRequest() {
  const OrlanSynchronized hold(fMutex);
  if (count() == 0) throw ThreadError(ThreadError::QUEUE_EMPTY, false);
  Request& slot = fEntries[fHead];
  const Request request = slot;
  slot.fRequester = nullptr;
  slot.fId = 0;
  if (++fHead == fCapacity) fHead = 0;
  fCount.store(static_cast<std::uint16_t>(count() - 1), std::memory_order_relaxed);
  return request;
}

bool RequestQueue::RemoveRequestFromQueue(std::uint32_t id) {
  SubmittedJobList dropped;
  const bool removed = remove_request(id, dropped);
  dropped.abandonAll();
  return removed;
}

void RequestQueue::RemoveRequestsFromQueue(ThreadRequester* requester) {
  SubmittedJobList dropped;
  remove_requests(requester, dropped);
  dropped.abandonAll();
}

bool RequestQueue::remove_request(std::uint32_t id, SubmittedJobList& dropped) {
  if (id == 0) return false;
  const OrlanSynchronized hold(fMutex);
  const ReqIdMatcher matches(id);
  const auto found = std::count_if(fEntries.begin(), fEntries.end(), matches);
  if (found == 0) return false;
  if (found != 1) throw ThreadError(ThreadError::AMBIGUOUS_REQUEST, false);
  std::uint32_t place = 0;
  while (!matches(fEntries[slot(place)])) ++place;
  discard(fEntries[slot(place)], dropped);
  for (; place + 1 < count(); ++place) fEntries[slot(place)] = fEntries[slot(place + 1)];
  free_newest();
  return true;
}

void RequestQueue::remove_requests(ThreadRequester* requester, SubmittedJobList& dropped) {
  const OrlanSynchronized hold(fMutex);
  const RequesterMatcher matches(requester);
  for (std::uint32_t place = 0; place < count();) {
    Request& entry = fEntries[slot(place)];
    if (!matches(entry)) {
      ++place;
      continue;
    }
    // Out of the ring before the cleanup: one that cancels its own request again finds it gone.
    const Request removed = entry;
    entry = fEntries[slot(count() - 1u)];  // to be looked at in its turn
    free_newest();
    const std::uint16_t left = count();
    removed.clean_up();
    if (count() != left) place = 0;  // it cancelled others, and the holes took requests that weren't looked at yet
    discard(removed, dropped);
  }
}

std::uint16_t RequestQueue::numRequests(const ThreadRequester* requester) const {
  const OrlanSynchronized hold(fMutex);
  std::uint16_t found = 0;
  for (std::uint32_t place = 0; place < count(); ++place) {
    if (fEntries[slot(place)].fRequester == requester) ++found;
  }
  return found;
}

void RequestQueue::free_newest() {
  fTail = slot(count() - 1u);
  fEntries[fTail].fRequester = nullptr;
  fEntries[fTail].fId = 0;
  fEntries[fTail].fCleanup = nullptr;
  fCount.store(static_cast<std::uint16_t>(count() - 1), std::memory_order_relaxed);
}

}  // namespace zqcore27
