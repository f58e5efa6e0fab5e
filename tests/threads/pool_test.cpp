#include "zqcore27/threads/pool.h"

#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

#include "tests/threads/host_thread.h"
#include "tests/threads/pool_job.h"
#include "zqcore27/threads/worker_thread.h"

inline namespace zqcore27 {

struct ThreadPoolTestAccess {
  /// False while no client waits.
  static bool countAClientAsWoken(ThreadPool& pool) {
    const OrlanSynchronized hold(pool.fPoolMutex);
    if (pool.fWaitingClients != 0) ++pool.fWokenClients;
    return pool.fWaitingClients != 0;
  }
  static std::uint16_t workers(ThreadPool& pool) {
    const OrlanSynchronized hold(pool.fThreadMutex);
    return pool.fNumThreads;
  }
};

}  // namespace zqcore27

namespace {

std::uint32_t threads() { return JTCInitialize::getTermGroup()->activeCount(); }

void waitForThreads(std::uint32_t count) {
  while (threads() != count) std::this_thread::yield();
}

std::uint16_t ownNumber() { return static_cast<WorkerThread*>(OrlanThread::self())->thisThread(); }

TEST(ThreadPoolTest, ServesIdleWorkersWithoutGrowing) {
  waitForThreads(0);                 // those of other tests
  std::vector<BusyStory> rounds[4];  // in the later ones the workers sleep, and wake one another
  std::set<std::uint16_t> numbers;
  std::set<std::uint32_t> ids;
  OrlanMutex mutex;
  {
    ThreadPool pool;
    EXPECT_TRUE(pool.getNumDefThreads() == 20 && pool.getMaxNumThreads() == 50);
    for (std::vector<BusyStory>& stories : rounds) {
      while (pool.getNumActThreads() != 0) std::this_thread::yield();
      for (const std::uint32_t id : ids) waitUntilAsleep(id, 0);
      stories = std::vector<BusyStory>(20);
      for (BusyStory& story : stories) {
        story.body = [&, busy = story.body](Flag& flag) {
          mutex.lock();
          numbers.insert(ownNumber());
          ids.insert(ThreadRegistry().getThisId());
          mutex.unlock();
          busy(flag);
        };
        EXPECT_NE(story.submitTo(pool, nullptr), 0u);
      }
      for (BusyStory& story : stories) story.begun.pass();
      EXPECT_EQ(pool.getNumActThreads(), 20);
      EXPECT_EQ(threads(), 20u);
      for (BusyStory& story : stories) story.go.open();
    }
  }
  EXPECT_TRUE(numbers.size() == 20 && *numbers.rbegin() == 19);
  waitForThreads(0);
}

TEST(ThreadPoolTest, GrowsWhileTheQueueIsFullAndShrinksAgain) {
  waitForThreads(0);
  BusyStory standing, oldest[2];
  Story newest[2], late[2];
  ThreadPool pool(1, 1);
  standing.begin(pool, nullptr);
  for (int round = 0; round < 2; ++round) {
    BusyStory& first = oldest[round];
    first.body = [busy = first.body](Flag& flag) {
      EXPECT_EQ(ownNumber(), 1);
      busy(flag);
    };
    EXPECT_NE(first.submitTo(pool, nullptr), 0u);
    EXPECT_NE(newest[round].submitTo(pool, nullptr), 0u);  // waits for the extra worker
    first.begun.pass();
    EXPECT_TRUE(newest[round].ran == 0 && pool.getNumActThreads() == 2);
    first.go.open();
    newest[round].waitUntilRun();
    waitForThreads(1);
  }
  pool.setMaxNumThreads(1);
  late[0].submitTo(pool, nullptr);
  HostThread client([&] { EXPECT_NE(late[1].submitTo(pool, nullptr), 0u); });
  client.waitUntilAsleep();
  EXPECT_EQ(threads(), 1u);
  standing.go.open();
  late[1].waitUntilRun();
}

TEST(ThreadPoolTest, GrowsOnlyForAClientThatNoFreeWorkerServes) {
  waitForThreads(0);
  BusyStory busy;
  Story queued, waiting, another;
  ThreadPool pool(1, 1);
  WorkerThread* worker = nullptr;
  busy.body = [&, body = busy.body](Flag& flag) {
    worker = static_cast<WorkerThread*>(OrlanThread::self());
    body(flag);
  };
  busy.begin(pool, nullptr);
  worker->lockHandle();  // keeps it on its way back to the queue
  busy.go.open();
  while (pool.getNumActThreads() != 0) std::this_thread::yield();
  queued.submitTo(pool, nullptr);
  HostThread client([&] { waiting.submitTo(pool, nullptr); });
  EXPECT_TRUE(client.isHeldUp());
  EXPECT_TRUE(threads() == 1 && queued.ran == 0);
  HostThread other([&] { another.submitTo(pool, nullptr); });  // the worker counts as the first one's
  queued.waitUntilRun();
  worker->unlockHandle();
}

// Clients are woken one by one, and one that is slow to come has nobody to wake the next when the last worker has gone.
TEST(ThreadPoolTest, LeavesNoClientAsleepBehindItsLastWorker) {
  BusyStory busy;
  Story queued, last;
  ThreadPool pool(0, 1);
  pool.setMaxNumThreads(1);
  busy.submitTo(pool, nullptr);
  queued.submitTo(pool, nullptr);
  busy.begun.pass();
  HostThread client([&] { EXPECT_NE(last.submitTo(pool, nullptr), 0u); });
  while (!ThreadPoolTestAccess::countAClientAsWoken(pool)) std::this_thread::yield();  // as though it were slow
  busy.go.open();
}

TEST(ThreadPoolTest, CancelsByRequestAndByClient) {
  BusyStory byId, byClient;
  Story dropped, cleaned, left, byCleanup;
  for (BusyStory* story : {&byId, &byClient}) {
    story->body = [story](Flag& flag) {
      story->begun.open();
      while (!flag.value()) std::this_thread::yield();
    };
  }
  left.body = [](Flag& flag) { EXPECT_FALSE(flag.value()); };
  {
    ThreadPool pool(1, 10);
    ThreadRequester a(&pool), b(&pool);
    byId.begin(pool, &a);
    left.submitTo(pool, &b);
    for (const std::uint32_t id : {0u, 77u}) pool.ClearThisRequest(id);
    b.clearSingleRequest(byId.id);  // whose ever it is
    left.waitUntilRun();            // with the flag down again
    b.clearSingleRequest(byId.id);  // which has ended

    byClient.begin(pool, &a);
    dropped.submitTo(pool, &a);
    cleaned.submitTo(pool, &a);
    byCleanup.submitTo(pool, &b);
    cleaned.cleanup = [&] {  // under the pool's locks
      b.clearSingleRequest(byCleanup.id);
      a.clearRequests();
    };
    EXPECT_TRUE(a.numQueuedRequests() == 2 && a.numRunningRequests() == 1);
    a.clearSingleRequest(dropped.id);
    EXPECT_EQ(a.numQueuedRequests(), 1);
    a.clearRequests();
    EXPECT_EQ(a.numQueuedRequests(), 0);
  }
  EXPECT_EQ(dropped.ran + dropped.cleaned + byCleanup.ran + byCleanup.cleaned, 0);
  EXPECT_TRUE(cleaned.ran == 0 && cleaned.cleaned == 1);
  for (Story* story : {&byId, &byClient}) EXPECT_TRUE(story->ran == 1 && story->cleaned == 0);
}

TEST(ThreadPoolTest, CountsARequestOnItsWayToTheWorker) {
  BusyStory story;
  Story first;
  ThreadPool pool(1, 10);
  ThreadRequester client(&pool);
  WorkerThread* worker = nullptr;
  first.body = [&](Flag&) { worker = static_cast<WorkerThread*>(OrlanThread::self()); };
  first.submitTo(pool, &client);
  first.waitUntilRun();
  for (worker->lockHandle(); !worker->doingRequest(0); worker->lockHandle()) worker->unlockHandle();
  HostThread submitter([&] { story.submitTo(pool, &client); });  // which the idle worker can take, but not begin
  while (pool.getNumActThreads() == 0) std::this_thread::yield();
  HostThread counter([&] { EXPECT_EQ(client.numQueuedRequests(), 0); });
  EXPECT_TRUE(counter.isHeldUp());  // it tells only when the request is on one side or the other
  worker->unlockHandle();
  counter.join();
  EXPECT_EQ(client.numRunningRequests(), 1);
  story.go.open();
}

TEST(ThreadPoolTest, EndsWithEverythingRunAndWaitingClientsRefused) {
  BusyStory busy;
  Story queued[3], refused, refusedInJob;
  std::vector<int> order;
  auto owner = std::make_unique<ThreadPool>(1, 3);
  ThreadPool& pool = *owner;
  pool.setMaxNumThreads(1);
  busy.begin(pool, nullptr);
  Gate known;
  const HostThread* end = nullptr;
  std::uint64_t sleeps = 0;
  for (int i = 0; i < 3; ++i) {
    queued[i].body = [&, i](Flag& flag) {
      order.push_back(i);
      EXPECT_FALSE(flag.value());
      if (i < 2) return;
      known.pass();
      end->waitUntilAsleep(sleeps);  // in the join of this thread
      EXPECT_EQ(refusedInJob.submitTo(pool, nullptr), 0u);
      ThreadRequester(&pool).clearRequests();
      pool.ClearThisRequest(77);
    };
    queued[i].submitTo(pool, nullptr);
  }
  HostThread client([&] { EXPECT_EQ(refused.submitTo(pool, nullptr), 0u); });
  client.waitUntilAsleep();
  HostThread destructor([&] { owner.reset(); });
  client.join();
  sleeps = destructor.waitUntilAsleep();
  end = &destructor;
  known.open();
  busy.go.open();
  destructor.join();
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(refused.ran + refused.cleaned + refusedInJob.ran, 0);
}

TEST(ThreadPoolTest, WakesWhomARemovalServes) {
  BusyStory busy;
  Story old[2], fresh[3];
  auto owner = std::make_unique<ThreadPool>(1, 2);
  ThreadPool& pool = *owner;
  pool.setMaxNumThreads(1);
  auto a = std::make_unique<ThreadRequester>(&pool), b = std::make_unique<ThreadRequester>(&pool);
  busy.begin(pool, nullptr);
  for (Story& story : old) story.submitTo(pool, a.get());
  {
    std::deque<HostThread> clients;
    for (int i = 0; i < 2; ++i) {
      clients.emplace_back([&, i] { EXPECT_NE(fresh[i].submitTo(pool, b.get()), 0u); }).waitUntilAsleep();
    }
    a->clearRequests();
  }
  {
    HostThread third([&] { EXPECT_NE(fresh[2].submitTo(pool, nullptr), 0u); });
    third.waitUntilAsleep();
    pool.ClearThisRequest(fresh[0].id);
  }
  a.reset();
  HostThread destructor([&] { owner.reset(); });
  destructor.waitUntilAsleep();
  b.reset();
  pool.ClearThisRequest(fresh[2].id);  // the queue is empty: the destructor waits for the job alone
  busy.go.open();
  destructor.join();
  EXPECT_EQ(fresh[0].ran + fresh[1].ran + fresh[2].ran + old[0].ran + old[1].ran, 0);
}

TEST(ThreadPoolTest, DeliversResultsOfCallables) {
  ThreadPool pool(2, 10);
  ThreadRequester client(&pool);
  EXPECT_EQ(*client.submit([made = std::make_unique<int>(7)]() mutable { return std::move(made); }).get(), 7);
  EXPECT_THROW(client.submit([] { throw std::out_of_range("x"); }).get(), std::out_of_range);

  Gate begun;
  std::future<int> stopped = client.submit([&](std::stop_token stop) {
    Gate asked;
    const std::stop_callback ask(stop, [&] { asked.open(); });
    begun.open();
    asked.pass();
    return 8;
  });
  begun.pass();
  client.clearRequests();
  EXPECT_EQ(stopped.get(), 8);
}

TEST(ThreadPoolTest, OutlivesACancelInTheHostsCode) {
  Gate reached, go;
  auto owner = std::make_unique<ThreadPool>(0, 1);  // nobody but the cancel to wait for
  ThreadPool& pool = *owner;
  auto client = std::make_unique<ThreadRequester>(&pool);
  std::shared_ptr<void> held(nullptr, [&](void*) {
    reached.open();
    go.pass();
  });
  std::uint32_t id = 0;
  std::future<void> cancelled = client->submit([held = std::move(held)] {}, &id);
  HostThread canceller([&] { pool.ClearThisRequest(id); });
  reached.pass();
  client.reset();
  HostThread destructor([&] { owner.reset(); });
  EXPECT_TRUE(destructor.isHeldUp());
  EXPECT_THROW(cancelled.get(), RequestCancelled);
  go.open();
}

// The library may be unloaded behind it.
TEST(ThreadPoolTest, OutlivesTheLastStepsOfExtraWorkers) {
  struct LastStep {
    Gate &reached, &go;
    ~LastStep() {
      reached.open();
      go.pass();
    }
  };
  Gate reached, go;
  auto owner = std::make_unique<ThreadPool>(0, 1);
  auto client = std::make_unique<ThreadRequester>(owner.get());
  (void)client->submit([&] { [[maybe_unused]] static thread_local const LastStep last{reached, go}; });
  (void)client->submit([] {});
  reached.pass();  // the first worker has left
  for (int i = 0; i < 2; ++i) (void)client->submit([] {});
  client.reset();
  while (ThreadPoolTestAccess::workers(*owner) != 0) std::this_thread::yield();  // and another one behind it
  HostThread destructor([&] { owner.reset(); });
  EXPECT_TRUE(destructor.isHeldUp());
  go.open();
}

}  // namespace
