#include "zqcore27/threads/condition.h"

#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <memory>
#include <vector>

#include "tests/threads/host_thread.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// Threads that wait on one condition, each of them asleep there when the constructor returns.
class Waiters {
 public:
  explicit Waiters(int number) : fDisturbed(static_cast<std::size_t>(number)) {
    for (int i = 0; i < number; ++i) {
      fThreads.push_back(std::make_unique<HostThread>([this, i] {
        const OrlanSynchronized hold(fMutex);
        ++fWaiting;
        fCondition.wait();
        fDisturbed[static_cast<std::size_t>(i)] = true;
        fWokenSeen.store(++fWoken);
        fWokenSeen.notify_all();
      }));
      const std::uint32_t id = fThreads.back()->id();
      while (waiting() != i + 1) std::this_thread::yield();
      fSleeps.push_back(waitUntilAsleep(id));
    }
  }
  ~Waiters() { fCondition.broadcast(); }

  OrlanMutex& mutex() { return fMutex; }
  OrlanCondition& condition() { return fCondition; }
  void waitForWoken(int number) {
    for (int seen = fWokenSeen; seen < number; seen = fWokenSeen) fWokenSeen.wait(seen);
  }
  /// How many sleep as they did at first, not woken since.
  int undisturbed() {
    const OrlanSynchronized hold(fMutex);
    int n = 0;
    for (std::size_t i = 0; i < fThreads.size(); ++i) {
      n += !fDisturbed[i] && ThreadProbe::of(fThreads[i]->id()).sleeps == fSleeps[i];
    }
    return n;
  }

 private:
  int waiting() {
    const OrlanSynchronized hold(fMutex);
    return fWaiting;
  }

  OrlanMutex fMutex;
  OrlanCondition fCondition{&fMutex};
  int fWaiting = 0, fWoken = 0;
  std::atomic<int> fWokenSeen{0};
  std::vector<char> fDisturbed;
  std::vector<std::uint64_t> fSleeps;
  std::vector<std::unique_ptr<HostThread>> fThreads;
};

TEST(OrlanConditionTest, SignalWakesOneAndBroadcastAll) {
  Waiters waiters(4);
  waiters.condition().signal();  // without the mutex
  waiters.waitForWoken(1);
  EXPECT_EQ(waiters.undisturbed(), 3);
  {
    const OrlanSynchronized hold(waiters.mutex());
    waiters.condition().signal();
  }
  waiters.waitForWoken(2);
  EXPECT_EQ(waiters.undisturbed(), 2);
  waiters.condition().broadcast();
  waiters.waitForWoken(4);
}

TEST(OrlanConditionTest, ForgetsASignalThatNobodyWaitedFor) {
  OrlanMutex mutex;
  OrlanCondition condition(&mutex);
  condition.signal();
  condition.broadcast();
  const OrlanSynchronized hold(mutex);
  const auto start = steady_clock::now();
  condition.wait(30);
  EXPECT_GE(steady_clock::now() - start, milliseconds(30));
}

TEST(OrlanConditionTest, TimedWaitHoldsTheMutexAgainOnReturn) {
  OrlanMutex mutex;
  OrlanCondition condition(&mutex);
  for (const std::int32_t timeout : {0, -1, INT32_MIN, 1}) {
    SCOPED_TRACE(timeout);
    int value = 0;
    mutex.lock();
    condition.wait(timeout);
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

TEST(OrlanConditionTest, SignalEndsATimedWaitEarly) {
  OrlanMutex mutex;
  OrlanCondition condition(&mutex);
  bool ready = false;
  HostThread waiter([&] {
    const OrlanSynchronized hold(mutex);
    while (!ready) condition.wait(INT32_MAX);  // three weeks
  });
  waiter.waitUntilAsleep();
  {
    const OrlanSynchronized hold(mutex);
    ready = true;
  }
  condition.signal();
  waiter.join();
}

TEST(OrlanConditionTest, WaiterTakesTheMonitorBeforeItGivesTheMutexUp) {
  for (const bool timed : {false, true}) {
    SCOPED_TRACE(timed);
    OrlanMutex mutex;
    OrlanCondition condition(&mutex);
    std::atomic<bool> got{false};
    std::unique_ptr<HostThread> waiter, third;
    {
      const OrlanSynchronized monitor(condition);
      waiter = std::make_unique<HostThread>([&] {
        const OrlanSynchronized hold(mutex);
        timed ? condition.wait(INT32_MAX) : condition.wait();
      });
      waiter->waitUntilAsleep();  // for the monitor
      third = std::make_unique<HostThread>([&] {
        const OrlanSynchronized hold(mutex);
        got = true;
      });
      third->waitUntilAsleepOr(got);
      EXPECT_FALSE(got);
    }
    third->join();
    condition.signal();
    waiter->join();
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
      other.join();
    });
    for (bool seen = false; !seen; std::this_thread::yield()) {
      const OrlanSynchronized hold(monitor);
      seen = waiting;
      if (seen) monitor.notify();
    }
    waiter.join();
  }
}

TEST(JTCMonitorTest, WaiterWhoseTimeIsUpLeavesTheNotifyToOthers) {
  JTCMonitor monitor;
  int waiting = 0;
  bool lateIsOut = false;
  const auto waitFor = [&](int number) {
    for (int seen = 0; seen < number; std::this_thread::yield()) {
      const OrlanSynchronized hold(monitor);
      seen = waiting;
    }
  };
  HostThread late([&] {
    const OrlanSynchronized hold(monitor);
    ++waiting;
    monitor.wait(200);
    lateIsOut = true;
  });
  waitFor(1);
  const std::uint64_t sleeps = late.waitUntilAsleep();
  HostThread other([&] {
    const OrlanSynchronized hold(monitor);
    ++waiting;
    monitor.wait();
  });
  waitFor(2);
  {
    const OrlanSynchronized hold(monitor);
    if (!lateIsOut) late.waitUntilAsleep(sleeps);  // its time is up, and it sleeps for the lock, the first in the list
    monitor.notify();
  }
  other.join();  // hangs where the notify went to the late one
}

TEST(OrlanConditionTest, LosesNoWakeUpAndNeverDeadlocks) {
  static constexpr int ITEMS = 5000, PRODUCERS = 2, CONSUMERS = 3;
  OrlanMutex mutex;
  OrlanCondition filled(&mutex), emptied(&mutex);  // two on one mutex
  std::deque<int> queue;
  std::int64_t sum = 0;
  int taken = 0;
  {
    std::vector<std::unique_ptr<HostThread>> threads;
    for (int p = 0; p < PRODUCERS; ++p) {
      threads.push_back(std::make_unique<HostThread>([&] {
        for (int i = 0; i < ITEMS; ++i) {
          const OrlanSynchronized hold(mutex);
          while (queue.size() >= 2) emptied.wait();
          queue.push_back(i);
          filled.signal();  // with the mutex held, while a waiter may be on its way back to it
        }
      }));
    }
    for (int c = 0; c < CONSUMERS; ++c) {
      threads.push_back(std::make_unique<HostThread>([&] {
        for (;;) {
          mutex.lock();
          while (queue.empty() && taken < PRODUCERS * ITEMS) filled.wait();
          if (taken == PRODUCERS * ITEMS) {
            mutex.unlock();
            return;
          }
          sum += queue.front();
          queue.pop_front();
          const bool last = ++taken == PRODUCERS * ITEMS;
          mutex.unlock();
          emptied.signal();
          if (last) filled.broadcast();
        }
      }));
    }
  }
  EXPECT_EQ(sum, std::int64_t{PRODUCERS} * ITEMS * (ITEMS - 1) / 2);
}

TEST(CondArgsTest, HandsAFlagOver) {
  CondArgs args;
  args.lock();
  EXPECT_FALSE(args.flag());
  args.unlock();
  HostThread setter([&] {
    args.lock();
    args.setFlag(true);
    args.unlock();
    args.signal();
  });
  args.lock();
  while (!args.flag()) args.wait();
  EXPECT_TRUE(args.flag());
  args.unlock();
}

}  // namespace
