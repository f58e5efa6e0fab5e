// A pool under load: it grows, its clients wait for room, cancel and get results, and its jobs fail.

#include <atomic>
#include <cstdint>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "tests/faults/fault_loop.h"
#include "zqcore27/threads/pool.h"
#include "zqcore27/threads/thread_error.h"
#include "zqcore27/threads/thread_requester.h"

namespace {

struct Job {
  std::atomic<int> ran{0}, cleaned{0};
  bool accepted = false;
};

void* work(FlaggedArg* record) {
  Job& job = *static_cast<Job*>(record->arg);
  delete record;
  ++job.ran;
  return nullptr;
}

void* fail(FlaggedArg* record) {
  for (int i = 0; i < 20; ++i) std::this_thread::yield();  // so that the queue fills
  work(record);
  throw ThreadError(ThreadError::QUEUE_EMPTY, false);
}

void* cleanUp(void* job) {
  ++static_cast<Job*>(job)->cleaned;
  return nullptr;
}

/// False if there was no thread or no memory for it.
template <class Submit>
bool done(const FaultRun& run, Submit submit) {
  try {
    return hadMemory(run, submit);
  } catch (const ThreadError& e) {
    require(e.code() == ThreadError::SYSTEM_CALL_FAILED && !e.fatal(), "the error of a thread that can't be had");
    require(run.failed(FAULT_THREAD | FAULT_HEAP), "and it couldn't");
    return false;
  }
}

/// One client's jobs, and how they went.
class Client {
 public:
  void submitTo(const FaultRun& run, ThreadPool& pool, bool waits) {
    const auto submit = [&](Request::Function function, Job& job, const ThreadRequester* requester) {
      job.accepted = done(run, [&] {
        auto arg = std::make_unique<FlaggedArg>(&job);
        require(pool.addRequestToPool(function, arg.get(), requester, cleanUp, &job) != 0, "an open pool accepts");
        static_cast<void>(arg.release());
      });
    };
    for (std::size_t i = 0; i < JOBS; ++i) submit(throws(i) ? fail : work, fJobs[i], nullptr);
    ThreadRequester requester(&pool);
    submit(work, fLeft, &requester);
    requester.clearRequests();
    for (int i = 1; i <= 3; ++i) {
      done(run, [&] {
        std::future<int> result = requester.submit([i] { return 7 * i; });
        if (waits) require(result.get() == 7 * i, "a result");
      });
    }
  }

  void check() const {
    for (std::size_t i = 0; i < JOBS; ++i) {
      require(fJobs[i].ran == (fJobs[i].accepted ? 1 : 0), "what was accepted ran once, what wasn't didn't");
      require(fJobs[i].cleaned == (fJobs[i].accepted && throws(i) ? 1 : 0), "what threw was cleaned up");
    }
    require(fLeft.ran + fLeft.cleaned == (fLeft.accepted ? 1 : 0), "what was cancelled ran or was cleaned up");
  }

 private:
  static constexpr std::size_t JOBS = 24;
  static bool throws(std::size_t i) { return i % 6 == 4; }

  Job fJobs[JOBS];
  Job fLeft;
};

/// Two clients at a pool. With `standing` 0 it has the workers alone that it takes in need.
template <std::uint16_t standing>
void load(const FaultRun& run) {
  std::unique_ptr<ThreadPool> pool;
  Client here, there;
  std::atomic<bool> go{false};
  std::thread second([&] {
    go.wait(false);
    if (pool != nullptr) there.submitTo(run, *pool, standing != 0);
  });
  run.start();
  done(run, [&] { pool = std::make_unique<ThreadPool>(standing, 3); });
  if (pool != nullptr) pool->setMaxNumThreads(5);
  go = true;
  go.notify_one();
  if (pool != nullptr) here.submitTo(run, *pool, standing != 0);
  {
    const FaultPause pause;
    second.join();
  }
  require(pool != nullptr || run.failed(), "a pool");
  pool.reset();
  run.stop();
  here.check();
  there.check();
}

}  // namespace

int main(int argc, char** argv) { return faultLoop(argc, argv, {{"pool", load<2>}, {"workerless", load<0>}}); }
