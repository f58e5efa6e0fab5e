#include "zqcore27/threads/read_write_lock.h"

#include <gtest/gtest.h>

#include <deque>

#include "tests/threads/host_thread.h"

namespace {

/// A thread that asks for the lock, and gives it up again when it is told to leave.
class Asking {
 public:
  Asking(ReadWriteLock& lock, bool write)
      : fThread([this, &lock, write] {
          if (write) {
            const OrlanSynchronizedWrite hold(lock);
            stay();
          } else {
            const OrlanSynchronizedRead hold(lock);
            stay();
          }
        }) {}
  ~Asking() { leave(); }
  bool entered() const { return fEntered.isOpen(); }
  void waitUntilEntered() { fEntered.pass(); }
  std::uint64_t waitUntilBlocked() { return fThread.waitUntilAsleep(); }
  std::uint64_t sleeps() const { return ThreadProbe::of(fThread.id()).sleeps; }
  void leave() { fLeave.open(); }

 private:
  void stay() {
    fEntered.open();
    fLeave.pass();
  }

  Gate fEntered, fLeave;
  HostThread fThread;
};

TEST(ReadWriteLockTest, WaitingWriterSleepsUntilTheLastReaderHasGoneAndHoldsNoReaderBack) {
  ReadWriteLock lock;
  lock.read_lock();
  Asking writer(lock, true);
  const std::uint64_t sleeps = writer.waitUntilBlocked();
  for (int i = 0; i < 3; ++i) lock.read_lock();  // hangs where the writer is favoured
  Asking(lock, false).waitUntilEntered();
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(writer.sleeps(), sleeps);
    EXPECT_FALSE(writer.entered());
    HostThread([&] { lock.read_unlock(); }).join();  // no owner: any thread may
  }
  writer.waitUntilEntered();
}

TEST(ReadWriteLockTest, LastReaderWakesOneWriterAlone) {
  for (int round = 0; round < 20; ++round) {
    ReadWriteLock lock;
    lock.read_lock();
    Asking a(lock, true), b(lock, true);
    const std::uint64_t sleeps[] = {a.waitUntilBlocked(), b.waitUntilBlocked()};
    lock.read_unlock();
    while (!a.entered() && !b.entered()) std::this_thread::yield();
    std::this_thread::yield();
    Asking& first = a.entered() ? a : b;
    Asking& other = a.entered() ? b : a;
    EXPECT_EQ(other.sleeps(), sleeps[&other == &b]);  // not woken since
    EXPECT_FALSE(other.entered());
    first.leave();
    other.waitUntilEntered();
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
  for (Asking* reader : {&a, &b, &c}) reader->waitUntilEntered();  // all at once: none has left
  EXPECT_FALSE(lock.hasWriteLock());
}

TEST(ReadWriteLockTest, SpareUnlocksChangeNothing) {
  ReadWriteLock lock;
  lock.read_unlock();
  lock.write_unlock();
  lock.read_lock();
  lock.write_unlock();  // nobody writes
  {
    Asking writer(lock, true);
    writer.waitUntilBlocked();
    EXPECT_FALSE(writer.entered());
    lock.read_unlock();
    writer.waitUntilEntered();
  }
  lock.write_lock();
  lock.read_unlock();  // nobody reads
  EXPECT_TRUE(lock.hasWriteLock());
  lock.write_unlock();
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
  Asking(other, true).waitUntilEntered();
  kept.read_unlock();
  Asking atKept(kept, true);
  atKept.waitUntilBlocked();
  EXPECT_FALSE(atKept.entered());
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
          if ((i + t) % 3 == 0) {
            const OrlanSynchronizedWrite hold(lock);
            ++a;
            if (i % 64 == 0) std::this_thread::yield();
            ++b;
          } else {
            const OrlanSynchronizedRead hold(lock);
            torn += a != b;
          }
        }
      });
    }
  }
  EXPECT_EQ(torn, 0);
  EXPECT_EQ(a, 6 * ROUNDS / 3);
  EXPECT_FALSE(lock.hasWriteLock());
}

}  // namespace
