#include "zqcore27/threads/mutex.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>

#include "tests/threads/host_thread.h"
#include "zqcore27/threads/condition.h"
#include "zqcore27/threads/flag.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

TEST(OrlanMutexTest, IsFreeForOthersOnlyAfterAsManyUnlocksAsLocks) {
  OrlanMutex mutex;
  int held = 0;
  const auto lock = [&]() ZQCORE27_NO_THREAD_SAFETY_ANALYSIS { mutex.lock(), ++held; };
  const auto unlock = [&]() ZQCORE27_NO_THREAD_SAFETY_ANALYSIS { --held, mutex.unlock(); };
  while (held != 3) lock();
  HostThread other([&] {
    const OrlanSynchronized hold(mutex);
    EXPECT_EQ(held, 0);
  });
  for (int i = 0; i < 3; ++i) {
    other.waitUntilAsleep();
    unlock();
  }
}

TEST(OrlanSynchronizedTest, ReleasesEveryKindOfLockOnEveryWayOut) {
  OrlanMutex mutex;
  const JTCMonitor monitor;
  const JTCRecursiveMutex recursive;
  const auto releases = [](auto& lock) {
    try {
      const OrlanSynchronized hold(lock);
      throw 1;
    } catch (int) {
    }
    HostThread([&] { const OrlanSynchronized hold(lock); }).join();  // hangs where it is still held
  };
  releases(mutex);
  releases(monitor);
  releases(recursive);
}

TEST(FlagTest, IsReadUnderTheMutexAndSetWithoutIt) {
  OrlanMutex mutex;
  Flag flag(&mutex, false);
  {
    std::optional<HostThread> reader;
    const OrlanSynchronized hold(mutex);
    reader.emplace([&] { EXPECT_TRUE(flag.value()); });
    reader->waitUntilAsleep();
    flag.set(true);
  }

  OrlanMutex otherMutex;
  Flag other(&otherMutex, false);
  other = flag;
  EXPECT_TRUE(other.value());
  const OrlanSynchronized hold(otherMutex);  // no longer the one that it reads under
  HostThread([&] { EXPECT_TRUE(other.value()); }).join();
}

TEST(OrlanConditionTest, TimedWaitTakesItsTimeAndHoldsTheMutexAgain) {
  OrlanMutex mutex;
  OrlanCondition condition(&mutex);
  for (const std::int32_t timeout : {30, 0, -1, INT32_MIN}) {
    SCOPED_TRACE(timeout);
    condition.signal();  // nobody waits for it: it is forgotten
    condition.broadcast();
    const auto start = steady_clock::now();
    mutex.lock();
    condition.wait(timeout);
    EXPECT_GE(steady_clock::now() - start, milliseconds(timeout));
    HostThread other([&] { const OrlanSynchronized hold(mutex); });
    EXPECT_TRUE(other.isHeldUp());
    mutex.unlock();
  }
}

TEST(OrlanConditionTest, WaiterTakesTheMonitorBeforeItGivesTheMutexUp) {
  for (const bool timed : {false, true}) {
    SCOPED_TRACE(timed);
    OrlanMutex mutex;
    OrlanCondition condition(&mutex);
    std::optional<HostThread> waiter, third;
    {
      const OrlanSynchronized monitor(condition);
      waiter.emplace([&] {
        const OrlanSynchronized hold(mutex);
        timed ? condition.wait(INT32_MAX) : condition.wait();
      });
      waiter->waitUntilAsleep();  // for the monitor
      third.emplace([&] { const OrlanSynchronized hold(mutex); });
      EXPECT_TRUE(third->isHeldUp());
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
      HostThread other([&] { const OrlanSynchronized hold(monitor); });
      EXPECT_TRUE(other.isHeldUp());
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
