#include "zqcore27/threads/read_write_lock.h"

#include <gtest/gtest.h>

#include <deque>

#include "tests/threads/host_thread.h"

namespace {

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
  std::uint64_t waitUntilBlocked() { return fThread.waitUntilAsleep(); }
  std::uint64_t sleeps() const { return ThreadProbe::of(fThread.id()).sleeps; }

  Gate entered, leave;

 private:
  HostThread fThread;
};

TEST(ReadWriteLockTest, WaitingWriterSleepsUntilTheLastReaderHasGoneAndHoldsNoReaderBack) {
  ReadWriteLock lock;
  lock.read_lock();
  Asking writer(lock, true);
  const std::uint64_t sleeps = writer.waitUntilBlocked();
  for (int i = 0; i < 3; ++i) lock.read_lock();  // hangs where the writer is favoured
  Asking(lock, false).entered.pass();
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(writer.sleeps(), sleeps);
    EXPECT_FALSE(writer.entered.isOpen());
    HostThread([&] { lock.read_unlock(); }).join();  // no owner: any thread may
  }
  writer.entered.pass();
}

TEST(ReadWriteLockTest, LastReaderWakesOneWriterAlone) {
  for (int round = 0; round < 20; ++round) {
    ReadWriteLock lock;
    lock.read_lock();
    Asking a(lock, true), b(lock, true);
    const std::uint64_t sleeps[] = {a.waitUntilBlocked(), b.waitUntilBlocked()};
    lock.read_unlock();
    while (!a.entered.isOpen() && !b.entered.isOpen()) std::this_thread::yield();
    std::this_thread::yield();
    Asking& first = a.entered.isOpen() ? a : b;
    Asking& other = a.entered.isOpen() ? b : a;
    EXPECT_EQ(other.sleeps(), sleeps[&other == &b]);  // not woken since
    EXPECT_FALSE(other.entered.isOpen());
    first.leave.open();
    other.entered.pass();
  }
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

TEST(ReadWriteLockTest, AssignmentOfAGuardCopiesThePointerAlone) {
  ReadWriteLock kept, other;
  kept.read_lock();
  {
    OrlanSynchronizedRead a(kept);
    other.read_lock();
    const OrlanSynchronizedRead b(other);
    a = b;  // both give up `other`
  }
  Asking(other, true).entered.pass();
  kept.read_unlock();
  Asking atKept(kept, true);
  atKept.waitUntilBlocked();
  EXPECT_FALSE(atKept.entered.isOpen());
  kept.read_unlock();
}

TEST(ReadWriteLockTest, KeepsWritersFromEverybody) {
  static constexpr int ROUNDS = 3000;
  ReadWriteLock lock;
  int a = 0, b = 0;  // equal whenever nobody writes
  std::atomic<int> torn{0};
  {
    std::deque<HostThread> threads;
    for (int t = 0; t < 6; ++t) {
      threads.emplace_back([&, t] {
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
    }
  }
  EXPECT_EQ(torn, 0);
  EXPECT_EQ(a, 6 * ROUNDS / 3);
  EXPECT_FALSE(lock.hasWriteLock());
}

}  // namespace
