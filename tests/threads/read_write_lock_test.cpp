#include "zqcore27/threads/read_write_lock.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "tests/threads/host_thread.h"

namespace {

/// A thread that asks for the lock, and gives it up again when it has it.
class Asking {
 public:
  /// A reader stays until leave(), a writer only if it is told to.
  Asking(ReadWriteLock& lock, bool write, bool stay = false)
      : fThread([this, &lock, write, stay] {
          if (write) {
            const OrlanSynchronizedWrite hold(lock);
            enter();
            if (stay) fLeave.wait(false);
          } else {
            const OrlanSynchronizedRead hold(lock);
            enter();
            fLeave.wait(false);
          }
        }) {}
  ~Asking() { leave(); }
  bool entered() const { return fEntered; }
  void waitUntilEntered() { fEntered.wait(false); }
  std::uint64_t waitUntilBlocked(std::uint64_t sleeps = 0) { return fThread.waitUntilAsleep(sleeps); }
  std::uint64_t sleeps() const { return ThreadProbe::of(fThread.id()).sleeps; }
  void leave() {
    fLeave = true;
    fLeave.notify_all();
  }

 private:
  void enter() {
    fEntered = true;
    fEntered.notify_all();
  }

  std::atomic<bool> fEntered{false}, fLeave{false};
  HostThread fThread;
};

TEST(ReadWriteLockTest, WaitingWriterHoldsNoReaderBack) {
  ReadWriteLock lock;
  lock.read_lock();
  Asking writer(lock, true);
  writer.waitUntilBlocked();
  for (int i = 0; i < 3; ++i) lock.read_lock();  // hangs where the writer is favoured
  Asking(lock, false).waitUntilEntered();
  for (int i = 0; i < 4; ++i) {
    EXPECT_FALSE(writer.entered());
    lock.read_unlock();
  }
  writer.waitUntilEntered();
}

TEST(ReadWriteLockTest, WriterSleepsUntilTheLastReaderHasGone) {
  ReadWriteLock lock;
  lock.read_lock();
  lock.read_lock();
  Asking writer(lock, true);
  const std::uint64_t sleeps = writer.waitUntilBlocked();
  HostThread([&] { lock.read_unlock(); }).join();  // no owner: any thread may
  EXPECT_EQ(writer.sleeps(), sleeps);
  EXPECT_FALSE(writer.entered());
  lock.read_unlock();
  writer.waitUntilEntered();
}

TEST(ReadWriteLockTest, LastReaderWakesOneWriterAlone) {
  for (int round = 0; round < 20; ++round) {
    ReadWriteLock lock;
    lock.read_lock();
    Asking a(lock, true, true), b(lock, true, true);
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
  lock.write_lock();
  Asking a(lock, false), b(lock, false), c(lock, false);
  for (Asking* reader : {&a, &b, &c}) reader->waitUntilBlocked();
  HostThread([&] { lock.write_unlock(); }).join();
  for (Asking* reader : {&a, &b, &c}) reader->waitUntilEntered();  // all at once: none has left
}

TEST(ReadWriteLockTest, TellsWhetherSomebodyWrites) {
  ReadWriteLock lock;
  EXPECT_FALSE(lock.hasWriteLock());
  {
    const OrlanSynchronizedRead hold(lock);
    EXPECT_FALSE(lock.hasWriteLock());
  }
  const OrlanSynchronizedWrite hold(lock);
  bool seen = false;
  HostThread([&] { seen = lock.hasWriteLock(); }).join();
  EXPECT_TRUE(seen);
}

TEST(ReadWriteLockTest, SpareUnlocksChangeNothing) {
  ReadWriteLock lock;
  lock.read_unlock();
  lock.write_unlock();
  lock.read_lock();
  lock.write_unlock();  // nobody writes
  Asking writer(lock, true);
  writer.waitUntilBlocked();
  EXPECT_FALSE(writer.entered());
  lock.read_unlock();
  writer.waitUntilEntered();
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
  Asking atOther(other, true);
  atOther.waitUntilEntered();
  kept.read_unlock();
  Asking atKept(kept, true);
  atKept.waitUntilBlocked();
  EXPECT_FALSE(atKept.entered());
  kept.read_unlock();
  atKept.waitUntilEntered();
}

TEST(ReadWriteLockTest, KeepsWritersFromEverybody) {
  static constexpr int ROUNDS = 3000;
  ReadWriteLock lock;
  std::uint64_t a = 0, b = 0;  // equal whenever nobody writes
  std::atomic<int> torn{0};
  {
    std::vector<std::unique_ptr<HostThread>> threads;
    for (int t = 0; t < 6; ++t) {
      threads.push_back(std::make_unique<HostThread>([&, t] {
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
      }));
    }
  }
  EXPECT_EQ(torn, 0);
  EXPECT_EQ(a, std::uint64_t{6} * ROUNDS / 3);
  EXPECT_FALSE(lock.hasWriteLock());
}

}  // namespace
