// The thread pool beside those that a host would take instead, these behind a semaphore that bounds what they have
// queued. Each round submits JOBS empty jobs, from one or two clients, and waits until all have run.

#include <benchmark/benchmark.h>
#include <semaphore.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "bench/support/run.h"
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
#ifdef HAVE_QT
#include <QThreadPool>
#endif
#ifdef HAVE_GLIB
#include <glib.h>
#endif

namespace {

constexpr std::uint32_t JOBS = 20'000;
constexpr std::uint16_t WORKERS = 2;

/// The jobs of one round that haven't run. All that a job does is to count.
std::atomic<std::uint32_t> jobsLeft{0};

void jobDone() {
  if (jobsLeft.fetch_sub(1, std::memory_order_acq_rel) == 1) jobsLeft.notify_all();
}

// Subjects: a place where jobs run, and a client of it that submits one.

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

/// What a peer lacks: at most so many jobs queued. By the C runtime's semaphore, as a wake-up may be lost by
/// std::counting_semaphore of g++ 12.
class Bound {
 public:
  explicit Bound(std::uint16_t queueSize) { sem_init(&fRoom, 0, queueSize); }
  Bound(const Bound&) = delete;
  Bound& operator=(const Bound&) = delete;
  ~Bound() { sem_destroy(&fRoom); }
  void submitted() {
    while (sem_wait(&fRoom) != 0) {  // by a signal
    }
  }
  void ran() {
    sem_post(&fRoom);
    jobDone();
  }

 private:
  sem_t fRoom;
};

/// A client of a peer, which has a `bound` and queues a function by `post`.
template <class Peer>
struct PeerClient {
  explicit PeerClient(Peer& p) : peer(p) {}
  void submit() {
    peer.bound.submitted();
    peer.post();
  }
  Peer& peer;
};

#ifdef HAVE_ASIO
struct Asio {
  explicit Asio(std::uint16_t queueSize) : bound(queueSize), pool(WORKERS) {}
  using Client = PeerClient<Asio>;
  void post() {
    boost::asio::post(pool, [this] { bound.ran(); });
  }
  Bound bound;
  boost::asio::thread_pool pool;
};
#endif

#ifdef HAVE_TBB
struct Tbb {
  explicit Tbb(std::uint16_t queueSize) : bound(queueSize) { arena.initialize(); }
  using Client = PeerClient<Tbb>;
  void post() {
    arena.enqueue([this] { bound.ran(); });
  }
  Bound bound;
  tbb::global_control threads{tbb::global_control::max_allowed_parallelism, WORKERS + 1u};  // and the client's
  tbb::task_arena arena{WORKERS, 0};
};
#endif

#ifdef HAVE_QT
struct QtPool {
  explicit QtPool(std::uint16_t queueSize) : bound(queueSize) {
    pool.setMaxThreadCount(WORKERS);
    pool.setExpiryTimeout(-1);
  }
  using Client = PeerClient<QtPool>;
  void post() {
    pool.start([this] { bound.ran(); });
  }
  Bound bound;
  QThreadPool pool;
};
#endif

#ifdef HAVE_GLIB
struct Glib {
  explicit Glib(std::uint16_t queueSize)
      : bound(queueSize), pool(g_thread_pool_new(run, this, WORKERS, TRUE, nullptr)) {}
  ~Glib() { g_thread_pool_free(pool, FALSE, TRUE); }
  Glib(const Glib&) = delete;
  Glib& operator=(const Glib&) = delete;
  using Client = PeerClient<Glib>;
  static void run(gpointer, gpointer peer) { static_cast<Glib*>(peer)->bound.ran(); }
  void post() { g_thread_pool_push(pool, this, nullptr); }
  Bound bound;
  GThreadPool* pool;
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

template <class Subject>
void emptyJobs(benchmark::State& state, std::uint16_t room, std::size_t number) {
  Subject subject(room);
  std::vector<typename Subject::Client> clients;
  clients.reserve(number);
  for (std::size_t i = 0; i < number; ++i) clients.emplace_back(subject);
  submitAndRun(clients);  // whatever is made at the first use is there
  for (auto _ : state) submitAndRun(clients);
  state.SetItemsProcessed(state.iterations() * JOBS);
}

template <class Subject>
void add(const std::string& who) {
  for (const std::uint16_t room : {10, 1000}) {
    for (const std::size_t clients : {1, 2}) {
      const std::string name =
          "pool: room for " + std::to_string(room) + (clients == 1 ? ", one client/" : ", two clients/") + who;
      benchmark::RegisterBenchmark(name.c_str(),
                                   [=](benchmark::State& state) { emptyJobs<Subject>(state, room, clients); })
          ->Unit(benchmark::kMillisecond)
          ->UseRealTime();
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  add<Pool>("zqcore27");
  add<PoolReadyRecords>("zqcore27, ready records");
  add<PoolThatGrows>("zqcore27, growing");
#ifdef HAVE_QT
  add<QtPool>("QThreadPool");
#endif
#ifdef HAVE_ASIO
  add<Asio>("asio");
#endif
#ifdef HAVE_TBB
  add<Tbb>("oneTBB");
#endif
#ifdef HAVE_GLIB
  add<Glib>("GThreadPool");
#endif
  return runBenchmarks(argc, argv);
}
