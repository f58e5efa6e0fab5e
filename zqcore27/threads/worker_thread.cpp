#include "zqcore27/threads/worker_thread.h"

#include <utility>

#include "zqcore27/threads/pool.h"
#include "zqcore27/threads/submitted_job_list.h"

inline namespace zqcore27 {

WorkerThread::WorkerThread(ThreadPool* pool, std::uint16_t index, bool extra)
    : fPool(pool), fIndex(index), fStopFlag(new Flag(&fHandleMutex, false)), fExtra(extra) {
  start_undetached();
}

WorkerThread::WorkerThread(ThreadPool* pool)
    : fPool(pool), fIndex(0), fStopFlag(new Flag(&fHandleMutex, false)), fExtra(false) {}

WorkerThread::~WorkerThread() = default;

void* WorkerThread::work(void*) {
  Request request;
  while (fPool->next_request(*this, request)) run_request(request);
  return nullptr;
}

void WorkerThread::begin(const Request& request) {
  const OrlanSynchronized hold(fHandleMutex);
  fRequester = request.fRequester;
  fRequestId = request.fId;
  fJob = JTCHandleT<SubmittedJob>(request.fJob);
}

void WorkerThread::run_request(const Request& request) {
  request.run(fStopFlag.get());
  if (request.fJob != nullptr) end_job();
  --fPool->fNumActThreads;
  const OrlanSynchronized hold(fHandleMutex);
  fRequester = nullptr;
  fRequestId = 0;
  fStopFlag->set(false);
}

// While the worker still counts as running and with no lock held: what goes with the job is the host's.
void WorkerThread::end_job() {
  JTCHandleT<SubmittedJob> ended;
  const OrlanSynchronized hold(fHandleMutex);
  std::swap(ended, fJob);
}

void WorkerThread::give_job_to(SubmittedJobList& stopped) {
  if (!fJob) return;
  fJob->add_handle();
  stopped.append(fJob.get());
  fJob = nullptr;
}

}  // namespace zqcore27
