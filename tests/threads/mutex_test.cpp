#include "zqcore27/threads/mutex.h"

#include <gtest/gtest.h>

#include <optional>

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

}  // namespace
