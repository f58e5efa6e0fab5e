#include "zqcore27/threads/thread_requester.h"

#include "zqcore27/threads/pool.h"

inline namespace zqcore27 {

ThreadRequester::ThreadRequester(const ThreadRequester& other) = default;
ThreadRequester& ThreadRequester::operator=(const ThreadRequester& other) = default;

ThreadRequester::~ThreadRequester() { fPool->ClearRequests(this); }

std::uint32_t ThreadRequester::request(Request::Function func, FlaggedArg* arg, Request::Cleanup cleanup,
                                       void* cleanupArg) {
  return fPool->addRequestToPool(func, arg, this, cleanup, cleanupArg);
}

void ThreadRequester::clearRequests() { fPool->ClearRequests(this); }

void ThreadRequester::clearSingleRequest(std::uint32_t id) { fPool->ClearThisRequest(id); }

std::uint16_t ThreadRequester::numQueuedRequests() const { return fPool->num_queued(this); }

std::uint16_t ThreadRequester::numRunningRequests() const { return fPool->num_running(this); }

std::uint32_t ThreadRequester::submit_job(SubmittedJob& job) { return fPool->add_job(job, this); }

}  // namespace zqcore27
