#include "zqcore27/threads/thread.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>

#include <cerrno>
#include <deque>
#include <functional>
#include <latch>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/text.h"
#include "tests/threads/host_thread.h"
#include "zqcore27/core/core.h"
#include "zqcore27/threads/condition.h"
#include "zqcore27/threads/thread_error.h"

namespace {

class TestThread : public OrlanThread {
 public:
  explicit TestThread(std::function<void()> body, Gate* destroyed = nullptr)
      : OrlanThread(this), fBody(std::move(body)), fDestroyed(destroyed) {}
  ~TestThread() override {
    if (fDestroyed != nullptr) fDestroyed->open();
  }
  void* work(void* arg) override {
    EXPECT_EQ(arg, this);
    fBody();
    return &fBody;
  }
  void* result() { return &fBody; }

 private:
  std::function<void()> fBody;
  Gate* fDestroyed;
};

TEST(JTCHandleTest, DestroysTheObjectWithTheLastHandle) {
  Gate destroyed;
  JTCHandleT<TestThread> first(new TestThread([] {}, &destroyed));
  {
    const JTCHandleT<JTCThread> asBase(first);
    JTCHandleT<TestThread> moved(std::move(first));
    EXPECT_FALSE(first);
    first = moved;
    moved = JTCHandleT<TestThread>();
    first = *&first;
    EXPECT_EQ(asBase.get(), first.get());
    first = nullptr;
    EXPECT_FALSE(destroyed.isOpen());
  }
  EXPECT_TRUE(destroyed.isOpen());
}

/// Starts in its own constructor, and takes its own handle out of the list while it runs.
struct SelfStarting : OrlanThread {
  SelfStarting(OrlanMutex& aMutex, std::vector<JTCHandleT<SelfStarting>>& aList, std::latch& aLatch)
      : mutex(aMutex), list(aList), destroyed(aLatch) {
    start_undetached();
  }
  ~SelfStarting() override { destroyed.count_down(); }
  void* work(void*) override {
    const OrlanSynchronized hold(mutex);
    std::erase_if(list, [this](const auto& handle) { return handle.get() == this; });
    EXPECT_EQ(self(), this);  // still there
    return nullptr;
  }

  OrlanMutex& mutex;
  std::vector<JTCHandleT<SelfStarting>>& list;
  std::latch& destroyed;
};

TEST(OrlanThreadTest, MayStartInItsConstructorAndDropItsOwnHandle) {
  static constexpr int THREADS = 50;
  OrlanMutex mutex;
  std::vector<JTCHandleT<SelfStarting>> list;
  std::latch destroyed(THREADS);
  for (int i = 0; i < THREADS; ++i) {
    const OrlanSynchronized hold(mutex);
    list.push_back(JTCHandleT<SelfStarting>(new SelfStarting(mutex, list, destroyed)));
  }
  destroyed.wait();
  EXPECT_TRUE(list.empty());
}

TEST(OrlanThreadTest, JoinServesAnyNumberOfCallersAndDoesNotNeedAStart) {
  Gate go;
  TestThread thread([&] { go.pass(); });
  thread.join(nullptr);
  EXPECT_FALSE(thread.isAlive());
  thread.set_priority(1);
  thread.start_undetached();
  EXPECT_TRUE(thread.isAlive());
  EXPECT_THROW(thread.start_undetached(), JTCSystemCallException);
  std::deque<HostThread> callers;
  for (int i = 0; i < 3; ++i) {
    callers.emplace_back([&] {
      thread.join(nullptr);
      EXPECT_FALSE(thread.isAlive());
    });
    callers.back().waitUntilAsleep();
  }
  go.open();
  callers.clear();
  thread.join(nullptr);
  thread.set_priority(1);
  EXPECT_THROW(thread.start_undetached(), JTCSystemCallException);
}

TEST(OrlanThreadTest, IsRegisteredWhileItRunsHoweverItEnds) {
  ThreadRegistry& registry = *gCore->fThreads;
  static constexpr void (*ENDS[])() = {[] { pthread_exit(nullptr); },
                                       [] { throw std::runtime_error("dropped by the thread layer"); },
                                       [] {
                                         try {
                                           static_cast<OrlanThread*>(OrlanThread::self())->join(nullptr);
                                           ADD_FAILURE() << "has waited for itself";
                                         } catch (const JTCSystemCallException& e) {
                                           EXPECT_EQ(e.getError(), EDEADLK);
                                           EXPECT_STRNE(e.getMessage(), "");
                                         }
                                       }};
  EXPECT_EQ(OrlanThread::self(), nullptr);
  for (const auto end : ENDS) {
    TestThread thread([&] {
      EXPECT_EQ(registry.depth(0), 1u);
      end();
    });
    EXPECT_EQ(thread.id(), 0u);
    thread.start_undetached();
    thread.join(nullptr);
    EXPECT_NE(thread.id(), 0u);
    EXPECT_EQ(registry.depth(thread.id()), 0u);
  }
}

TEST(OrlanThreadTest, RunPassesResultAndExceptionToADirectCaller) {
  ThreadRegistry& registry = *gCore->fThreads;
  const std::uint32_t depth = registry.depth(0);
  TestThread good([&] { EXPECT_EQ(registry.depth(0), depth + 1); });
  EXPECT_EQ(good.run_undetached(), good.result());
  good.run();
  EXPECT_EQ(good.id(), registry.getThisId());
  TestThread bad([] { throw 42; });
  EXPECT_THROW(bad.run(), int);
  EXPECT_THROW(bad.run_undetached(), int);
  EXPECT_EQ(registry.depth(0), depth);
}

TEST(OrlanThreadTest, RunsWithoutACoreAndWithOneThatComesOrGoes) {
  OrlanCore* const core = gCore;
  ThreadRegistry& registry = *core->fThreads;
  const std::uint32_t depth = registry.depth(0);

  gCore = nullptr;
  bool ran = false;
  TestThread without([&] { ran = true; });
  without.start_undetached();
  without.join(nullptr);
  EXPECT_TRUE(ran);
  EXPECT_EQ(without.id(), 0u);

  TestThread comes([&] { gCore = core; });
  comes.run();
  EXPECT_EQ(registry.depth(0), depth);  // never registered, nothing taken back

  TestThread goes([&] { gCore = nullptr; });
  goes.run();
  EXPECT_EQ(registry.depth(0), depth + 1);
  gCore = core;
  registry.unregisterThread(0);
}

TEST(OrlanThreadTest, SetsThePriorityAndReportsWhatTheSystemRefuses) {
  Gate in, go;
  TestThread thread([&] {
    in.open();
    go.pass();
  });
  thread.start_undetached();
  thread.set_priority(-7);  // lower: no right needed
  in.pass();
  EXPECT_EQ(getpriority(PRIO_PROCESS, thread.id()), 7);
  for (const int priority : {-20, 21, INT32_MIN, INT32_MAX}) {
    SCOPED_TRACE(priority);
    try {
      thread.set_priority(priority);
      ADD_FAILURE();
    } catch (ThreadError& e) {
      EXPECT_EQ(e.code(), 10u);
      EXPECT_FALSE(e.fatal());
      EXPECT_STREQ(e.module(), "Threads");
      ASSERT_EQ(e.numInserts(), 2);
      EXPECT_EQ(utf8(String(e.getInsert(0)->get(nullptr))), std::to_string(EINVAL));
      EXPECT_EQ(utf8(String(e.getInsert(1)->get(nullptr))), "Invalid argument");
    }
  }
  go.open();
  thread.join(nullptr);
}

}  // namespace
