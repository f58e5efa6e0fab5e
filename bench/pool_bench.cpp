// The thread pool beside the peers that a host would take instead, these behind a semaphore that bounds what they have
// queued. Each round submits JOBS empty jobs, from one or two clients, and waits until all have run. The counters are
// the whole process's allocations and sleeps in one round.

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <semaphore>
#include <thread>
#include <vector>

#include "zqcore27/threads/pool.h"
#include "zqcore27/threads/request.h"
#include "zqcore27/threads/thread_requester.h"

#ifdef HAVE_ASIO
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#endif
#ifdef HAVE_TBB
#include <tbb/global_control.h>
#include <tbb/task_arena.h>
#endif

// All of the process's memory comes through here.
static constinit std::atomic<bool> counting{false};
static constinit std::atomic<std::uint64_t> allocations{0};

extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);

void* malloc(std::size_t size) {
  if (counting.load(std::memory_order_relaxed)) allocations.fetch_add(1, std::memory_order_relaxed);
  return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
  if (counting.load(std::memory_order_relaxed)) allocations.fetch_add(1, std::memory_order_relaxed);
  return __libc_calloc(count, size);
}
void* realloc(void* old, std::size_t size) {
  if (counting.load(std::memory_order_relaxed)) allocations.fetch_add(1, std::memory_order_relaxed);
  return __libc_realloc(old, size);
}
}

namespace {

constexpr std::uint32_t JOBS = 100'000;
constexpr std::uint16_t WORKERS = 2;

/// The jobs of one round that haven't run. All that a job does is to count.
std::atomic<std::uint32_t> jobsLeft{0};

void jobDone() {
  if (jobsLeft.fetch_sub(1, std::memory_order_acq_rel) == 1) jobsLeft.notify_all();
}

// Subjects: a place where jobs run, and a client of it that submits one.

/// No pool at all: the floor.
struct InPlace {
  explicit InPlace(std::uint16_t) {}
  struct Client {
    explicit Client(InPlace&) {}
    void submit() { jobDone(); }
  };
};

/// The pool with its standing workers, as a host uses it: each job gets a record of its own and deletes it.
struct Pool {
  explicit Pool(std::uint16_t queueSize) : pool(WORKERS, queueSize) { pool.setMaxNumThreads(WORKERS); }
  struct Client {
    explicit Client(Pool& p) : requester(&p.pool) {}
    void submit() {
      requester.request(
          [](FlaggedArg* record) -> void* {
            delete record;
            jobDone();
            return nullptr;
          },
          new FlaggedArg(nullptr), nullptr, nullptr);
    }
    ThreadRequester requester;
  };
  ThreadPool pool;
};

/// The same with records that the client has at hand.
struct PoolReadyRecords : Pool {
  using Pool::Pool;
  struct Client {
    explicit Client(PoolReadyRecords& p) : requester(&p.pool), records(JOBS, FlaggedArg(nullptr)) {}
    void submit() {
      requester.request(
          [](FlaggedArg*) -> void* {
            jobDone();
            return nullptr;
          },
          &records[next++ % JOBS], nullptr, nullptr);
    }
    ThreadRequester requester;
    std::vector<FlaggedArg> records;
    std::size_t next = 0;
  };
};

/// The same pool, allowed to grow where the others make their clients wait.
struct PoolThatGrows : Pool {
  explicit PoolThatGrows(std::uint16_t queueSize) : Pool(queueSize) { pool.setMaxNumThreads(50); }
  using Client = Pool::Client;
};

/// What a peer lacks: at most so many jobs queued.
class Bound {
 public:
  explicit Bound(std::uint16_t queueSize) : fRoom(queueSize) {}
  void submitted() { fRoom.acquire(); }
  void taken() { fRoom.release(); }

 private:
  std::counting_semaphore<UINT16_MAX> fRoom;
};

#ifdef HAVE_ASIO
struct Asio {
  explicit Asio(std::uint16_t queueSize) : bound(queueSize), pool(WORKERS) {}
  struct Client {
    explicit Client(Asio& p) : place(p) {}
    void submit() {
      place.bound.submitted();
      boost::asio::post(place.pool, [&place = place] {
        place.bound.taken();
        jobDone();
      });
    }
    Asio& place;
  };
  Bound bound;
  boost::asio::thread_pool pool;
};
#endif

#ifdef HAVE_TBB
struct Tbb {
  explicit Tbb(std::uint16_t queueSize) : bound(queueSize) { arena.initialize(); }
  struct Client {
    explicit Client(Tbb& p) : place(p) {}
    void submit() {
      place.bound.submitted();
      place.arena.enqueue([&place = place] {
        place.bound.taken();
        jobDone();
      });
    }
    Tbb& place;
  };
  Bound bound;
  tbb::global_control threads{tbb::global_control::max_allowed_parallelism, WORKERS + 1u};  // and the client's
  tbb::task_arena arena{WORKERS, 0};
};
#endif

template <class Client>
void submitJobs(Client& client, std::uint32_t number) {
  for (std::uint32_t i = 0; i < number; ++i) client.submit();
}

/// One round.
template <class Client>
void submitAndRun(std::vector<Client>& clients) {
  const std::uint32_t each = JOBS / static_cast<std::uint32_t>(clients.size());
  jobsLeft = JOBS;
  {
    std::vector<std::jthread> others;
    for (std::size_t i = 1; i < clients.size(); ++i) {
      others.emplace_back([&client = clients[i], each] { submitJobs(client, each); });
    }
    submitJobs(clients[0], each);
  }
  while (const std::uint32_t left = jobsLeft) jobsLeft.wait(left);
}

rusage usage() {
  rusage now{};
  getrusage(RUSAGE_SELF, &now);
  return now;
}

template <class Subject>
void EmptyJobs(benchmark::State& state) {
  Subject subject(static_cast<std::uint16_t>(state.range(1)));
  std::vector<typename Subject::Client> clients;
  clients.reserve(static_cast<std::size_t>(state.range(0)));
  for (std::int64_t i = 0; i < state.range(0); ++i) clients.emplace_back(subject);
  submitAndRun(clients);  // whatever is made at the first use is there
  for (auto _ : state) submitAndRun(clients);
  const rusage before = usage();
  allocations = 0;
  counting = true;
  submitAndRun(clients);
  counting = false;
  state.counters["allocations"] = static_cast<double>(allocations);
  state.counters["sleeps"] = static_cast<double>(usage().ru_nvcsw - before.ru_nvcsw);
  state.SetItemsProcessed(state.iterations() * JOBS);
}

/// What a pool takes that has run jobs and has nothing to do any more: counter cpu_us, of one second.
void IdlePool(benchmark::State& state) {
  Pool subject(10);
  std::vector<Pool::Client> clients;
  clients.emplace_back(subject);
  submitAndRun(clients);
  const auto microseconds = [](const timeval& t) { return static_cast<double>(t.tv_sec) * 1e6 + t.tv_usec; };
  rusage before{}, after{};
  for (auto _ : state) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));  // the last ones have gone to sleep
    before = usage();
    std::this_thread::sleep_for(std::chrono::seconds(1));
    after = usage();
  }
  state.counters["cpu_us"] = microseconds(after.ru_utime) + microseconds(after.ru_stime) -
                             microseconds(before.ru_utime) - microseconds(before.ru_stime);
  state.counters["sleeps"] = static_cast<double>(after.ru_nvcsw - before.ru_nvcsw);
}

#define POOL_BENCHMARK(subject)           \
  BENCHMARK(EmptyJobs<subject>)           \
      ->ArgNames({"clients", "queue"})    \
      ->ArgsProduct({{1, 2}, {10, 1000}}) \
      ->Unit(benchmark::kMillisecond)     \
      ->UseRealTime()

POOL_BENCHMARK(InPlace);
POOL_BENCHMARK(Pool);
POOL_BENCHMARK(PoolReadyRecords);
POOL_BENCHMARK(PoolThatGrows);
#ifdef HAVE_ASIO
POOL_BENCHMARK(Asio);
#endif
#ifdef HAVE_TBB
POOL_BENCHMARK(Tbb);
#endif
BENCHMARK(IdlePool)->Iterations(1)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
