#include "zqcore27/threads/pool.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <limits>
#include <new>
#include <system_error>
#include <thread>

#include "zqcore27/threads/request_queue.h"
#include "zqcore27/threads/submitted_job_list.h"
#include "zqcore27/threads/system_call_error.h"
#include "zqcore27/threads/worker_thread.h"

inline namespace zqcore27 {

namespace {

constexpr std::uint16_t STANDING_WORKERS = 20;
constexpr std::uint16_t QUEUE_CAPACITY = 10;

// How often somebody looks, and lets others run in between, before he sleeps: a few microseconds, in which a short job
// ends or the next one comes, where a sleep and the wake would cost more.
constexpr int LOOKS = 16;

/// What the pool calls for a submitted job.
void* runSubmittedJob(FlaggedArg* record) {
  SubmittedJob* const job = static_cast<SubmittedJob*>(record->arg);
  delete record;
  job->run();
  job->drop_handle();  // the request's; the worker has one of its own
  return nullptr;
}

}  // namespace

/// A call that the destructor waits for.
class ThreadPool::Guest {
 public:
  explicit Guest(ThreadPool& pool) : fPool(pool) {
    const OrlanSynchronized hold(fPool.fPoolMutex);
    ++fPool.fGuests;
  }
  ~Guest() {
    const OrlanSynchronized hold(fPool.fPoolMutex);
    fPool.leave_guest();
  }
  Guest(const Guest&) = delete;
  Guest& operator=(const Guest&) = delete;

 private:
  ThreadPool& fPool;
};

/// Whom a worker wakes when it has given the pool's mutex up.
struct ThreadPool::Wakes {
  bool worker = false;
  bool client = false;
};

ThreadPool::ThreadPool() : ThreadPool(STANDING_WORKERS, QUEUE_CAPACITY) {}

ThreadPool::ThreadPool(std::uint16_t numThreads, std::uint16_t queueSize) { create_pool(numThreads, queueSize); }

// Nobody else knows of the workers and their number yet, so that no lock is needed.
void ThreadPool::create_pool(std::uint16_t numThreads, std::uint16_t queueSize) ZQCORE27_NO_THREAD_SAFETY_ANALYSIS {
  fQueue = std::make_unique<RequestQueue>(std::max<std::uint16_t>(queueSize, 1));
  fNumDefThreads = numThreads;
  fQueueEmpty = std::make_unique<OrlanCondition>(&fPoolMutex);
  fWorkReady = std::make_unique<OrlanCondition>(&fPoolMutex);
  fRoomReady = std::make_unique<OrlanCondition>(&fPoolMutex);
  fThreadsDown = std::make_unique<OrlanCondition>(&fThreadMutex);
  try {
    if (numThreads == 0) fWorkers.push_back(JTCHandleT<WorkerThread>(new WorkerThread(this)));  // for run_here
    fWorkers.resize(fWorkers.size() + numThreads);
    for (; fNumThreads < numThreads; ++fNumThreads, ++fTakers) {
      fWorkers[fNumThreads] = JTCHandleT<WorkerThread>(new WorkerThread(this, fNumThreads, false));
    }
  } catch (const JTCSystemCallException& e) {
    end_workers();
    throw systemCallError(e);
  } catch (...) {
    end_workers();
    throw;
  }
}

// The members go in the order opposite to their declaration: the conditions before the mutexes that they are on.
ThreadPool::~ThreadPool() {
  drain();
  end_workers();
}

std::uint32_t ThreadPool::addRequestToPool(Request::Function func, FlaggedArg* arg, const ThreadRequester* requester,
                                           Request::Cleanup cleanup, void* cleanupArg) {
  assert(func != nullptr && arg != nullptr);
  return add_request(Request(func, arg, requester, cleanup, cleanupArg));
}

std::uint32_t ThreadPool::add_job(SubmittedJob& job, const ThreadRequester* requester) {
  auto record = std::make_unique<FlaggedArg>(&job);
  Request request(runSubmittedJob, record.get(), requester, nullptr, nullptr);
  request.fJob = &job;
  job.add_handle();  // the request's
  try {
    const std::uint32_t id = add_request(request);
    if (id != 0) {
      record.release();
    } else {
      job.drop_handle();
    }
    return id;
  } catch (...) {
    job.drop_handle();
    throw;
  }
}

std::uint32_t ThreadPool::add_request(const Request& request) {
  std::uint32_t id = 0;
  {
    const OrlanSynchronized hold(fPoolMutex);
    wait_for_room();
    if (fClosing) return 0;
    id = fQueue->put(request);
    if (!claim_idle_worker()) return id;
    ++fGuests;
  }
  fWorkReady->signal();  // behind the mutex, which the worker needs at once
  const OrlanSynchronized hold(fPoolMutex);
  leave_guest();
  return id;
}

void ThreadPool::wait_for_room() {
  if (!fQueue->Full()) return;
  ++fGuests;
  look_out([this] { return fQueue->count() <= fQueue->capacity() / 4; });  // for a run of submits, if it comes soon
  leave_guest();
  while (fQueue->Full() && !fClosing) {
    grow();
    ++fGuests;
    ++fWaitingClients;
    fRoomReady->wait();
    --fWaitingClients;
    if (fWokenClients != 0) --fWokenClients;
    leave_guest();
  }
}

template <class Came>
void ThreadPool::look_out(Came came) {
  fPoolMutex.unlock();
  for (int i = 0; i < LOOKS && !came(); ++i) std::this_thread::yield();
  fPoolMutex.lock();
}

void ThreadPool::grow() {
  // Whoever runs nothing now comes to the queue: if those are more than the clients that wait already, one of them will
  // make room for this client.
  if (fTakers - getNumActThreads() > fWaitingClients || fTakers >= getMaxNumThreads()) return;
  try {
    add_extra_worker();
  } catch (const JTCSystemCallException& e) {
    if (fTakers == 0) throw systemCallError(e);
  } catch (const std::bad_alloc&) {
    if (fTakers == 0) throw;
  }
}

// The new thread waits for the pool's mutex before it can leave again: its handle exists by then.
void ThreadPool::add_extra_worker() {
  const OrlanSynchronized hold(fThreadMutex);
  // Those on their way out count here, not against the ceiling.
  if (fNumThreads == std::numeric_limits<std::uint16_t>::max()) {
    throw JTCSystemCallException(static_cast<int>(std::errc::resource_unavailable_try_again));
  }
  if (fWorkers.size() == fWorkers.capacity()) fWorkers.reserve(2 * fWorkers.size() + 1);
  fWorkers.push_back(JTCHandleT<WorkerThread>(new WorkerThread(this, fNumThreads, true)));
  ++fNumThreads;
  ++fTakers;
}

void ThreadPool::ClearRequests(ThreadRequester* requester) {
  if (requester == nullptr) return;
  const Guest guest(*this);
  SubmittedJobList dropped;
  remove_from_queue([&] { fQueue->remove_requests(requester, dropped); });
  dropped.abandonAll();
  stop_running([&](WorkerThread& worker) ZQCORE27_NO_THREAD_SAFETY_ANALYSIS { return worker.workingFor(requester); });
}

void ThreadPool::ClearThisRequest(std::uint32_t id) {
  if (id == 0) return;
  const Guest guest(*this);
  SubmittedJobList dropped;
  bool removed = false;
  remove_from_queue([&] { removed = fQueue->remove_request(id, dropped); });
  dropped.abandonAll();
  if (removed) return;
  stop_running([&](WorkerThread& worker) ZQCORE27_NO_THREAD_SAFETY_ANALYSIS { return worker.doingRequest(id); });
}

// A destructor that waits for the queue to be empty hears of it from the caller, who is its guest.
template <class Remove>
void ThreadPool::remove_from_queue(Remove remove) {
  const OrlanSynchronized hold(fPoolMutex);
  const std::uint16_t before = fQueue->count();
  remove();
  for (int freed = before - fQueue->count(); freed > 0 && claim_waiting_client(); --freed) fRoomReady->signal();
}

template <class Matches>
void ThreadPool::stop_running(Matches matches) {
  SubmittedJobList stopped;
  {
    const OrlanSynchronized hold(fThreadMutex);
    for (const auto& worker : fWorkers) worker->lockHandle();
    for (const auto& worker : fWorkers) {
      if (matches(*worker)) {
        worker->stopItNow(true);
        worker->give_job_to(stopped);
      }
      worker->unlockHandle();
    }
  }
  stopped.stopAll();
}

// Under the pool's mutex, in one hold of which a worker takes a request and says so.
std::uint16_t ThreadPool::num_queued(const ThreadRequester* requester) {
  const OrlanSynchronized hold(fPoolMutex);
  return fQueue->numRequests(requester);
}

std::uint16_t ThreadPool::num_running(const ThreadRequester* requester) ZQCORE27_NO_THREAD_SAFETY_ANALYSIS {
  const OrlanSynchronized hold(fThreadMutex);
  std::uint16_t found = 0;
  for (const auto& worker : fWorkers) {
    worker->lockHandle();
    if (worker->workingFor(requester)) ++found;
    worker->unlockHandle();
  }
  return found;
}

bool ThreadPool::next_request(WorkerThread& worker, Request& request) {
  Wakes wakes;
  bool taken = false;
  {
    const OrlanSynchronized hold(fPoolMutex);
    taken = take_request(worker, request, wakes);
  }
  // Behind the mutex, which those who wake need at once.
  if (wakes.worker) fWorkReady->signal();
  if (wakes.client) fRoomReady->signal();
  if (!taken && worker.fExtra) remove_worker(worker);
  return taken;
}

bool ThreadPool::take_request(WorkerThread& worker, Request& request, Wakes& wakes) {
  if (worker.fExtra && fQueue->Empty()) {
    if (--fTakers == 0) {
      // Nobody is left to wake the waiting clients one by one.
      fWokenClients = fWaitingClients;
      fRoomReady->broadcast();
    }
    return false;
  }
  while (!fStopped && fQueue->Empty()) wait_for_work();
  if (fStopped) return false;
  request = fQueue->GetRequest();
  ++fNumActThreads;
  if (fClosing && fQueue->Empty()) fQueueEmpty->signal();
  wakes.client = claim_waiting_client();
  wakes.worker = !fQueue->Empty() && claim_idle_worker();
  worker.begin(request);
  return true;
}

void ThreadPool::wait_for_work() {
  ++fLookingWorkers;
  look_out([this] { return !fQueue->Empty(); });
  --fLookingWorkers;
  if (fStopped || !fQueue->Empty()) return;
  ++fIdleWorkers;
  fWorkReady->wait();
  --fIdleWorkers;
  if (fWokenWorkers != 0) --fWokenWorkers;
}

// The last that an extra worker does with its pool. Each joins the one that left before it and the destructor the last
// one, so that behind the destructor none of their threads runs the library's code.
void ThreadPool::remove_worker(WorkerThread& worker) {
  JTCHandleT<WorkerThread> before;
  {
    const OrlanSynchronized hold(fThreadMutex);
    const auto own = std::ranges::find(fWorkers, &worker, [](const auto& handle) { return handle.get(); });
    before = std::exchange(fLastLeaver, *own);
    fWorkers.erase(own);
    if (--fNumThreads == fNumDefThreads) fThreadsDown->signal();
  }
  if (before) before->join(nullptr);
}

// One worker at a time is on its way to the queue, and wakes the next one if it leaves requests behind. As long as
// requests are queued and workers idle, there is one.
bool ThreadPool::claim_idle_worker() {
  if (fIdleWorkers == 0 || fWokenWorkers != 0 || fLookingWorkers != 0) return false;
  ++fWokenWorkers;
  return true;
}

bool ThreadPool::claim_waiting_client() {
  if (fWaitingClients == fWokenClients) return false;
  ++fWokenClients;
  return true;
}

void ThreadPool::leave_guest() {
  if (--fGuests == 0 && fClosing) fQueueEmpty->signal();
}

// Clients that wait for room are let go at once, those among them that are jobs of this pool as well: the queue could
// not drain behind them.
void ThreadPool::drain() {
  const OrlanSynchronized hold(fPoolMutex);
  assert(!fClosing && !fStopped);
  fClosing = true;
  fWokenClients = fWaitingClients;
  fRoomReady->broadcast();
  while (!fQueue->Empty()) {
    if (fTakers != 0) {
      fQueueEmpty->wait();
      continue;
    }
    bool refused = false;
    try {
      add_extra_worker();
    } catch (...) {
      refused = true;
    }
    if (refused) run_here();  // outside the handler: what the host's job does is its own
  }
}

// Where no thread is to be had, the destructor's own does, as the worker that was made without one.
void ThreadPool::run_here() {
  JTCHandleT<WorkerThread> worker;
  {
    const OrlanSynchronized hold(fThreadMutex);
    worker = fWorkers.front();
  }
  const Request request = fQueue->GetRequest();
  ++fNumActThreads;
  worker->begin(request);
  fPoolMutex.unlock();
  worker->run_request(request);
  fPoolMutex.lock();
}

void ThreadPool::end_workers() {
  {
    const OrlanSynchronized hold(fPoolMutex);
    fStopped = true;
    fWorkReady->broadcast();
  }
  std::size_t left = 0;
  JTCHandleT<WorkerThread> leaver;
  {
    const OrlanSynchronized hold(fThreadMutex);
    while (fNumThreads > fNumDefThreads) fThreadsDown->wait();
    left = fWorkers.size();
    leaver = std::move(fLastLeaver);
  }
  if (leaver) leaver->join(nullptr);
  while (left != 0) {
    JTCHandleT<WorkerThread> last;
    {
      const OrlanSynchronized hold(fThreadMutex);
      last = fWorkers[--left];
    }
    if (last) last->join(nullptr);  // without the mutex: a running job may be about to cancel something
  }
  const OrlanSynchronized hold(fPoolMutex);
  while (fGuests != 0) fQueueEmpty->wait();
}

}  // namespace zqcore27
