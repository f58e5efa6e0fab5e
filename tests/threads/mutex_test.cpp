#include "zqcore27/threads/mutex.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <vector>

#include "tests/threads/host_thread.h"
#include "zqcore27/threads/flag.h"

namespace {

TEST(OrlanMutexTest, IsFreeForOthersOnlyAfterAsManyUnlocksAsLocks) {
  OrlanMutex mutex;
  int held = 3;
  const auto lockOnce = [&]() ZQCORE27_NO_THREAD_SAFETY_ANALYSIS { mutex.lock(); };
  const auto unlockOnce = [&]() ZQCORE27_NO_THREAD_SAFETY_ANALYSIS {
    --held;
    mutex.unlock();
  };
  for (int i = 0; i < 3; ++i) lockOnce();
  int seen = -1;
  HostThread other([&] {
    const OrlanSynchronized hold(mutex);
    seen = held;
  });
  for (int i = 0; i < 3; ++i) {
    other.waitUntilAsleep();
    unlockOnce();
  }
  other.join();
  EXPECT_EQ(seen, 0);
}

TEST(OrlanMutexTest, KeepsThreadsApart) {
  static constexpr int THREADS = 4, ROUNDS = 20000;
  OrlanMutex mutex;
  std::uint64_t count = 0;  // a plain variable: the thread sanitizer watches it
  {
    std::vector<std::unique_ptr<HostThread>> threads;
    for (int t = 0; t < THREADS; ++t) {
      threads.push_back(std::make_unique<HostThread>([&] {
        for (int i = 0; i < ROUNDS; ++i) {
          const OrlanSynchronized hold(mutex);
          ++count;
        }
      }));
    }
  }
  EXPECT_EQ(count, std::uint64_t{THREADS} * ROUNDS);
}

/// True if another thread gets `lock` while this one waits for that thread.
template <class Lock>
bool isFree(Lock& lock) {
  bool got = false;
  HostThread([&] {
    const OrlanSynchronized hold(lock);
    got = true;
  }).join();
  return got;
}

TEST(OrlanSynchronizedTest, ReleasesEveryKindOfLockOnEveryWayOut) {
  OrlanMutex mutex;
  const JTCMonitor monitor;
  const JTCRecursiveMutex recursive;
  const auto holdAndThrow = [](auto& lock) {
    const OrlanSynchronized outer(lock);
    throw std::runtime_error("on the way out");
  };
  EXPECT_THROW(holdAndThrow(mutex), std::runtime_error);
  EXPECT_THROW(holdAndThrow(monitor), std::runtime_error);
  EXPECT_THROW(holdAndThrow(recursive), std::runtime_error);
  EXPECT_TRUE(isFree(mutex));
  EXPECT_TRUE(isFree(monitor));
  EXPECT_TRUE(isFree(recursive));
}

TEST(FlagTest, IsReadUnderTheMutexAndSetWithoutIt) {
  OrlanMutex mutex;
  Flag flag(&mutex, false);
  std::unique_ptr<HostThread> reader;
  bool seen = false;
  {
    const OrlanSynchronized hold(mutex);
    reader = std::make_unique<HostThread>([&] { seen = flag.value(); });
    reader->waitUntilAsleep();
    flag.set(true);
  }
  reader->join();
  EXPECT_TRUE(seen);

  OrlanMutex otherMutex;
  Flag other(&otherMutex, false);
  other = flag;
  EXPECT_TRUE(other.value());
  const OrlanSynchronized hold(otherMutex);  // no longer the one that it reads under
  bool copied = false;
  HostThread([&] { copied = other.value(); }).join();
  EXPECT_TRUE(copied);
}

}  // namespace
