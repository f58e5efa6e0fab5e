#include "zqcore27/threads/condition.h"

#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "tests/threads/host_thread.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

TEST(OrlanConditionTest, SignalWakesOneAndBroadcastAll) {
  static constexpr int WAITERS = 4;
  OrlanMutex mutex;
  OrlanCondition condition(&mutex);
  int waiting = 0;
  std::atomic<int> woken{0};
  std::uint64_t sleeps[WAITERS];
  std::deque<HostThread> threads;
  const auto inside = [&] {
    const OrlanSynchronized hold(mutex);
    return waiting;
  };
  for (int i = 0; i < WAITERS; ++i) {
    threads.emplace_back([&, i] {
      const OrlanSynchronized hold(mutex);
      ++waiting;
      condition.wait();
      sleeps[i] = UINT64_MAX;
      ++woken;
    });
    while (inside() != i + 1) std::this_thread::yield();
    sleeps[i] = threads.back().waitUntilAsleep();
  }
  const auto undisturbed = [&](int expected) {  // those that sleep as they did at first
    while (woken != WAITERS - expected) std::this_thread::yield();
    const OrlanSynchronized hold(mutex);
    int n = 0;
    for (std::size_t i = 0; i < WAITERS; ++i) n += ThreadProbe::of(threads[i].id()).sleeps == sleeps[i] ? 1 : 0;
    EXPECT_EQ(n, expected);
  };
  condition.signal();  // without the mutex
  undisturbed(3);
  mutex.lock();
  condition.signal();
  mutex.unlock();
  undisturbed(2);
  condition.broadcast();
}

TEST(OrlanConditionTest, TimedWaitTakesItsTimeAndHoldsTheMutexAgain) {
  OrlanMutex mutex;
  OrlanCondition condition(&mutex);
  for (const std::int32_t timeout : {30, 0, -1, INT32_MIN}) {
    SCOPED_TRACE(timeout);
    condition.signal();  // nobody waits for it: it is forgotten
    condition.broadcast();
    int value = 0;
    const auto start = steady_clock::now();
    mutex.lock();
    condition.wait(timeout);
    EXPECT_GE(steady_clock::now() - start, milliseconds(timeout));
    HostThread other([&] {
      const OrlanSynchronized hold(mutex);
      value = 1;
    });
    other.waitUntilAsleep();
    EXPECT_EQ(value, 0);
    mutex.unlock();
    other.join();
    EXPECT_EQ(value, 1);
  }
}

TEST(OrlanConditionTest, WaiterTakesTheMonitorBeforeItGivesTheMutexUp) {
  for (const bool timed : {false, true}) {
    SCOPED_TRACE(timed);
    OrlanMutex mutex;
    OrlanCondition condition(&mutex);
    std::atomic<bool> got{false};
    std::optional<HostThread> waiter, third;
    {
      const OrlanSynchronized monitor(condition);
      waiter.emplace([&] {
        const OrlanSynchronized hold(mutex);
        timed ? condition.wait(INT32_MAX) : condition.wait();
      });
      waiter->waitUntilAsleep();  // for the monitor
      third.emplace([&] {
        const OrlanSynchronized hold(mutex);
        got = true;
      });
      third->waitUntilAsleepOr(got);
      EXPECT_FALSE(got);
    }
    third->join();
    condition.signal();
  }
}

TEST(JTCMonitorTest, WaitGivesUpALockHeldTwiceAndHoldsItTwiceAgain) {
  for (const bool timed : {false, true}) {
    SCOPED_TRACE(timed);
    JTCMonitor monitor;
    bool waiting = false;
    HostThread waiter([&]() ZQCORE27_NO_THREAD_SAFETY_ANALYSIS {
      monitor.lock(false);
      monitor.lock(false);
      waiting = true;
      timed ? monitor.wait(INT32_MAX) : monitor.wait();
      monitor.unlock();
      std::atomic<bool> got{false};
      HostThread other([&] {
        const OrlanSynchronized hold(monitor);
        got = true;
      });
      other.waitUntilAsleepOr(got);
      EXPECT_FALSE(got);
      monitor.unlock();
    });
    for (bool seen = false; !seen; std::this_thread::yield()) {
      const OrlanSynchronized hold(monitor);
      seen = waiting;
      if (seen) monitor.notify();
    }
  }
}

TEST(JTCMonitorTest, WaiterWhoseTimeIsUpLeavesTheNotifyToOthers) {
  JTCMonitor monitor;
  std::atomic<int> waiting{0};
  bool lateIsOut = false;
  HostThread late([&] {
    const OrlanSynchronized hold(monitor);
    ++waiting;
    monitor.wait(200);
    lateIsOut = true;
  });
  while (waiting != 1) std::this_thread::yield();
  const std::uint64_t sleeps = late.waitUntilAsleep();
  HostThread other([&] {
    const OrlanSynchronized hold(monitor);
    ++waiting;
    monitor.wait();
  });
  while (waiting != 2) std::this_thread::yield();
  const OrlanSynchronized hold(monitor);
  if (!lateIsOut) late.waitUntilAsleep(sleeps);  // its time is up, and it sleeps for the lock, the first in the list
  monitor.notify();                              // `other` hangs where this goes to the late one
}

TEST(OrlanConditionTest, LosesNoWakeUpAndNeverDeadlocks) {
  static constexpr int ITEMS = 5000, PRODUCERS = 2, CONSUMERS = 3;
  OrlanMutex mutex;
  OrlanCondition filled(&mutex), emptied(&mutex);  // two on one mutex
  std::deque<int> queue;
  std::int64_t sum = 0;
  int taken = 0;
  std::deque<HostThread> threads;
  for (int p = 0; p < PRODUCERS; ++p) {
    threads.emplace_back([&] {
      for (int i = 0; i < ITEMS; ++i) {
        const OrlanSynchronized hold(mutex);
        while (queue.size() >= 2) emptied.wait();
        queue.push_back(i);
        filled.signal();  // with the mutex held, while a waiter may be on its way back to it
      }
    });
  }
  for (int c = 0; c < CONSUMERS; ++c) {
    threads.emplace_back([&, c] {
      for (bool last = false; !last; emptied.signal()) {
        const OrlanSynchronized hold(mutex);
        while (queue.empty() && taken < PRODUCERS * ITEMS) c == 0 ? filled.wait(INT32_MAX) : filled.wait();
        last = taken == PRODUCERS * ITEMS;
        if (last) continue;
        sum += queue.front();
        queue.pop_front();
        if (++taken == PRODUCERS * ITEMS) filled.broadcast();
      }
    });
  }
  threads.clear();
  EXPECT_EQ(sum, std::int64_t{PRODUCERS} * ITEMS * (ITEMS - 1) / 2);
}

TEST(CondArgsTest, HandsAFlagOver) {
  CondArgs args;
  args.lock();
  HostThread setter([&] {
    args.lock();
    args.setFlag(true);
    args.unlock();
    args.signal();
  });
  while (!args.flag()) args.wait();
  args.unlock();
}

}  // namespace
