// The locks beside those that a host would take instead: an empty section, by one thread and by two at once, and a turn
// that goes to another thread and back.

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <thread>

#include "bench/support/run.h"
#include "bench/support/section.h"
#include "zqcore27/threads/condition.h"
#include "zqcore27/threads/mutex.h"
#include "zqcore27/threads/read_write_lock.h"

#ifdef HAVE_QT
#include <QMutex>
#include <QReadWriteLock>
#endif

namespace {

struct Read {
  void lock() { l.read_lock(); }
  void unlock() { l.read_unlock(); }
  ReadWriteLock l;
};
struct StandardRead {
  void lock() { l.lock_shared(); }
  void unlock() { l.unlock_shared(); }
  std::shared_mutex l;
};
#ifdef HAVE_QT
struct QtRead {
  void lock() { l.lockForRead(); }
  void unlock() { l.unlock(); }
  QReadWriteLock l;
};
#endif

struct Turns {
  OrlanMutex mutex;
  OrlanCondition here{&mutex}, there{&mutex};
  void lock() { mutex.lock(); }
  void unlock() { mutex.unlock(); }
  void wait(OrlanCondition& c) { c.wait(); }
  void wake(OrlanCondition& c) { c.signal(); }
};
template <class Mutex, class Condition>
struct StandardTurns {
  Mutex mutex;
  Condition here, there;
  void lock() { mutex.lock(); }
  void unlock() { mutex.unlock(); }
  void wait(Condition& c) {
    std::unique_lock held(mutex, std::adopt_lock);
    c.wait(held);
    held.release();
  }
  void wake(Condition& c) { c.notify_one(); }
};

/// A turn to another thread and back.
template <class Subject>
void pingPong(benchmark::State& state) {
  Subject turns;
  enum { HERE, THERE, END } turn = HERE;
  std::thread other([&] {
    turns.lock();
    for (;;) {
      while (turn == HERE) turns.wait(turns.there);
      if (turn == END) break;
      turn = HERE;
      turns.wake(turns.here);
    }
    turns.unlock();
  });
  turns.lock();
  for (auto _ : state) {
    turn = THERE;
    turns.wake(turns.there);
    while (turn == THERE) turns.wait(turns.here);
  }
  turn = END;
  turns.wake(turns.there);
  turns.unlock();
  other.join();
}

template <class Lock>
void sections(const std::string& what, const std::string& who) {
  benchmark::RegisterBenchmark(("locks: " + what + ", alone/" + who).c_str(), section<Lock>);
  benchmark::RegisterBenchmark(("locks: " + what + ", two threads/" + who).c_str(), section<Lock>)
      ->Threads(2)
      ->UseRealTime();
}

template <class Subject>
void turns(const std::string& who) {
  benchmark::RegisterBenchmark(("locks: condition, there and back/" + who).c_str(), pingPong<Subject>)->UseRealTime();
}

}  // namespace

int main(int argc, char** argv) {
  sections<OrlanMutex>("mutex", "zqcore27");
  sections<std::recursive_mutex>("mutex", "std::recursive_mutex");
  sections<Read>("read lock", "zqcore27");
  sections<StandardRead>("read lock", "std::shared_mutex");
#ifdef HAVE_QT
  sections<QRecursiveMutex>("mutex", "QRecursiveMutex");
  sections<QtRead>("read lock", "QReadWriteLock");
#endif
  turns<Turns>("zqcore27");
  turns<StandardTurns<std::recursive_mutex, std::condition_variable_any>>("std::condition_variable_any");
  turns<StandardTurns<std::mutex, std::condition_variable>>("std::condition_variable");
  return runBenchmarks(argc, argv);
}
