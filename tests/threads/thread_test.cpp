#include "zqcore27/threads/thread.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>

#include <cerrno>
#include <deque>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

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

TEST(OrlanThreadTest, MayDropItsOwnHandleWhileItRuns) {
  for (int i = 0; i < 50; ++i) {
    OrlanMutex mutex;
    JTCHandleT<TestThread> handle;
    Gate destroyed;
    const auto dropHandle = [&] {
      const OrlanSynchronized hold(mutex);
      handle = nullptr;
      EXPECT_FALSE(destroyed.isOpen());
    };
    {
      const OrlanSynchronized hold(mutex);
      handle = JTCHandleT<TestThread>(new TestThread(dropHandle, &destroyed));
      handle->start_undetached();
    }
    destroyed.pass();
  }
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

TEST(OrlanThreadTest, RunsWithoutACoreAndWithOneThatGoes) {
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

  gCore = core;
  TestThread goes([] { gCore = nullptr; });
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

/// Plays a script on a registry and notes after each step what it tells of the calling thread, as depth.value, with an
/// m for the main thread. r, L and P register, u and U unregister, + and - change the depth, a digit is attached as
/// value and context. What stands in brackets is played by another thread, of which the note is made behind them.
class RegistryPlayer {
 public:
  std::string play(const std::string& script) {
    std::string notes;
    for (std::size_t at = 0; at < script.size(); ++at) {
      std::uint32_t id = fRegistry.getThisId();
      if (script[at] == '(') {
        const std::size_t end = script.find(')', at);
        std::string other;
        HostThread thread([&] { other = play(script.substr(at + 1, end - at - 1)); });
        id = thread.id();
        thread.join();
        notes += "(" + other + ")";
        at = end;
      } else {
        step(script[at], at % 2 == 0 ? 0 : id);
        if (at % 2 == 0) id = 0;
      }
      const std::uint16_t value = fRegistry.getThisThreadPavo(id);
      notes += std::to_string(static_cast<std::int32_t>(fRegistry.depth(id))) + "." + std::to_string(value & 0xF) +
               (fRegistry.isMainThread(id) ? "m " : " ");
      EXPECT_EQ(fRegistry.getThisThreadContext(id), value == 0 ? nullptr : fValues + (value - 0xFFF0));
    }
    return notes;
  }

 private:
  void step(char kind, std::uint32_t id) {
    std::uint32_t registered = fRegistry.getThisId();
    if (kind == 'r') registered = fRegistry.registerThread();
    if (kind == 'L') registered = fRegistry.registerLIRAThread();
    if (kind == 'P') registered = fRegistry.registerPAVOThread();
    EXPECT_EQ(registered, fRegistry.getThisId());
    if (kind == 'u') fRegistry.unregisterThread(id);
    if (kind == 'U') fRegistry.unregisterLIRAThread(id);
    if (kind == '+') fRegistry.increaseDepth(id);
    if (kind == '-') fRegistry.decreaseDepth(id);
    if (kind < '0' || kind > '9') return;
    fRegistry.setThisThreadPavo(static_cast<std::uint16_t>(0xFFF0 + kind - '0'), id);
    fRegistry.setThisThreadContext(fValues + (kind - '0'), id);
  }

  ThreadRegistry fRegistry;
  char fValues[10];
};

TEST(ThreadRegistryTest, TellsOfEachThreadWhatItsRegistrationsMade) {
  static constexpr const char* ROWS[][2] = {
      // Of a thread that it doesn't know.
      {"5+-uU", "0.0 0.0 0.0 0.0 0.0 "},
      // What is attached stays without a registration.
      {"rr5uu-++r", "1.0 2.0 2.5 1.5 0.5 -1.5 0.5 1.5 2.5 "},
      // LIRA sets the depth, and its end forgets the thread.
      {"rrr7LUUL", "1.0 2.0 3.0 3.7 1.7 0.0 0.0 1.0 "},
      // The first PAVO caller is the main thread.
      {"(P)(PP)", "(1.0m )1.0m (1.0 2.0 )2.0 "},
      // A known thread gets a second entry, looked at first; LIRA sees the older one.
      {"rr5PPLUL", "1.0 2.0 2.5 1.0m 2.0m 2.0m 2.0 1.0 "},
      // A newcomer, perhaps in the block of the removed entry.
      {"PU(rP)", "1.0m 0.0 (1.0 1.0m )1.0m "},
  };
  for (const auto& [script, notes] : ROWS) EXPECT_EQ(RegistryPlayer().play(script), notes) << script;
}

}  // namespace
