#include <gtest/gtest.h>

#include <chrono>
#include <optional>

#include "tests/support/at_once.h"
#include "tests/threads/host_thread.h"
#include "zqcore27/threads/condition.h"
#include "zqcore27/threads/flag.h"
#include "zqcore27/threads/read_write_lock.h"

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
  const auto releases = [](auto&& lock) {
    try {
      const OrlanSynchronized hold(lock);
      throw 1;
    } catch (int) {
    }
    HostThread([&] { const OrlanSynchronized hold(lock); }).join();  // hangs where it is still held
  };
  releases(OrlanMutex());
  releases(JTCMonitor());
  releases(JTCRecursiveMutex());
}

TEST(FlagTest, IsReadUnderTheMutexAndSetWithoutIt) {
  OrlanMutex mutex;
  Flag flag(&mutex, false);
  std::optional<HostThread> reader;
  const OrlanSynchronized hold(mutex);
  reader.emplace([&] { EXPECT_TRUE(flag.value()); });
  reader->waitUntilAsleep();
  flag.set(true);
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

/// A thread that asks for the lock, and gives it up again when it is told to leave.
class Asking {
 public:
  Asking(ReadWriteLock& lock, bool write)
      : fThread([this, &lock, write]() ZQCORE27_NO_THREAD_SAFETY_ANALYSIS {
          write ? lock.write_lock() : lock.read_lock();
          entered.open();
          leave.pass();
          write ? lock.write_unlock() : lock.read_unlock();
        }) {}
  ~Asking() { leave.open(); }
  void waitUntilBlocked() { fThread.waitUntilAsleep(); }

  Gate entered, leave;

 private:
  HostThread fThread;
};

TEST(ReadWriteLockTest, WaitingWriterEntersBehindTheLastReaderAndHoldsNoReaderBack) {
  ReadWriteLock lock;
  lock.read_lock();
  Asking writer(lock, true);
  writer.waitUntilBlocked();
  for (int i = 0; i < 3; ++i) lock.read_lock();  // hangs where the writer is favoured
  Asking(lock, false).entered.pass();
  for (int i = 0; i < 4; ++i) {
    EXPECT_FALSE(writer.entered.isOpen());
    HostThread([&] { lock.read_unlock(); }).join();  // no owner: any thread may
  }
  writer.entered.pass();
}

TEST(ReadWriteLockTest, AllWaitingReadersEnterWhenTheWriterLeaves) {
  ReadWriteLock lock;
  EXPECT_FALSE(lock.hasWriteLock());
  lock.write_lock();
  HostThread([&] { EXPECT_TRUE(lock.hasWriteLock()); }).join();
  Asking a(lock, false), b(lock, false), c(lock, false);
  for (Asking* reader : {&a, &b, &c}) reader->waitUntilBlocked();
  HostThread([&] { lock.write_unlock(); }).join();
  for (Asking* reader : {&a, &b, &c}) reader->entered.pass();  // all at once: none has left
  EXPECT_FALSE(lock.hasWriteLock());
}

TEST(ReadWriteLockTest, SpareUnlocksChangeNothing) {
  ReadWriteLock lock;
  lock.read_unlock();
  lock.write_unlock();
  lock.read_lock();
  lock.write_unlock();  // nobody writes
  Asking writer(lock, true);
  writer.waitUntilBlocked();
  EXPECT_FALSE(writer.entered.isOpen());
  lock.read_unlock();
  writer.entered.pass();
  lock.read_unlock();  // nobody reads
  EXPECT_TRUE(lock.hasWriteLock());
}

TEST(ReadWriteLockTest, KeepsWritersFromEverybody) {
  static constexpr int ROUNDS = 3000;
  ReadWriteLock lock;
  int a = 0, b = 0;  // equal whenever nobody writes
  std::atomic<int> torn{0};
  atOnce(6, [&](int t) {
    for (int i = 0; i < ROUNDS; ++i) {
      if ((i + t) % 3 != 0) {
        const OrlanSynchronizedRead hold(lock);
        torn += a != b;
        continue;
      }
      const OrlanSynchronizedWrite hold(lock);
      ++a;
      if (i % 64 == 0) std::this_thread::yield();
      ++b;
    }
  });
  EXPECT_EQ(torn, 0);
  EXPECT_EQ(a, 6 * ROUNDS / 3);
  EXPECT_FALSE(lock.hasWriteLock());
}

}  // namespace
