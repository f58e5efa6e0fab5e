#include "zqcore27/threads/mutex.h"

#include <gtest/gtest.h>

#include <deque>
#include <optional>
#include <stdexcept>

#include "tests/threads/host_thread.h"
#include "zqcore27/threads/flag.h"

namespace {

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

TEST(OrlanMutexTest, KeepsThreadsApart) {
  static constexpr int THREADS = 4, ROUNDS = 20000;
  OrlanMutex mutex;
  int count = 0;  // a plain variable: the thread sanitizer watches it
  {
    std::deque<HostThread> threads;
    for (int t = 0; t < THREADS; ++t) {
      threads.emplace_back([&] {
        for (int i = 0; i < ROUNDS; ++i) {
          const OrlanSynchronized hold(mutex);
          ++count;
        }
      });
    }
  }
  EXPECT_EQ(count, THREADS * ROUNDS);
}

TEST(OrlanSynchronizedTest, ReleasesEveryKindOfLockOnEveryWayOut) {
  OrlanMutex mutex;
  const JTCMonitor monitor;
  const JTCRecursiveMutex recursive;
  const auto holdAndThrow = [](auto& lock) {
    const OrlanSynchronized outer(lock);
    throw std::runtime_error("on the way out");
  };
  const auto releases = [&](auto& lock) {
    EXPECT_THROW(holdAndThrow(lock), std::runtime_error);
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

}  // namespace
