#include "zqcore27/core/core.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/text.h"
#include "zqcore27/threads/thread.h"

namespace {

class Counted : public RefCount {
 public:
  explicit Counted(bool& destroyed) : fDestroyed(destroyed) {}
  ~Counted() override {
    // Hangs where the count's mutex is held by the thread that destroys the object, and not by this one.
    std::thread([this] { const OrlanSynchronized hold(fMutex); }).join();
    fDestroyed = true;
  }

 private:
  bool& fDestroyed;
};

TEST(RefCountTest, DestroysTheObjectWithTheLastHolder) {
  bool destroyed = false;
  auto* const object = new Counted(destroyed);
  object->use();
  object->use();
  EXPECT_FALSE(object->unuse());
  EXPECT_FALSE(destroyed);
  EXPECT_TRUE(object->unuse());
  EXPECT_TRUE(destroyed);
}

TEST(RefCountTest, CountsHoldersOnManyThreads) {
  bool destroyed = false;
  auto* const object = new Counted(destroyed);
  std::atomic<int> last{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) object->use();
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int n = 0; n < 5000; ++n) {
        object->use();
        last += object->unuse();
      }
      last += object->unuse();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(last, 1);
  EXPECT_TRUE(destroyed);
}

OrlanCore* const seenByStaticObject = gCore;

TEST(OrlanCoreTest, IsReadyBeforeAnyCodeOfTheHost) {
  ASSERT_NE(seenByStaticObject, nullptr);
  EXPECT_EQ(gCore, seenByStaticObject);
  const OrlanCore fresh;  // a core of its own: tests of this program may have used gCore's
  EXPECT_EQ(fresh.fStringDirectory.size(), 0u);
  EXPECT_TRUE(fresh.fCatalogues->empty());
  EXPECT_FALSE(fresh.fCatalogueLock->hasWriteLock());
  EXPECT_NE(fresh.fMemory, nullptr);
  EXPECT_NE(fresh.fThreads, gCore->fThreads);
  EXPECT_EQ(gCore, seenByStaticObject);  // made by the library alone
}

TEST(OrlanCoreTest, ClearsGCoreWhenItGoes) {
  OrlanCore* const first = gCore;
  auto* const second = new OrlanCore;
  second->use();
  gCore = second;
  second->use();
  EXPECT_FALSE(second->unuse());
  EXPECT_EQ(gCore, second);
  EXPECT_TRUE(second->unuse());
  EXPECT_EQ(gCore, nullptr);
  gCore = first;
  auto* const aside = new OrlanCore;
  aside->use();
  aside->unuse();
  EXPECT_EQ(gCore, first);
}

TEST(OrlanCoreTest, ExceptionSlotBelongsToTheHost) {
  EXPECT_EQ(gCExceptionFielder, nullptr);
  gCExceptionFielder = &gCore;
  EXPECT_EQ(gCExceptionFielder, static_cast<HINSTANCE>(&gCore));
  gCExceptionFielder = nullptr;
}

class OutlivesTheCore : public OrlanThread {
 public:
  void* work(void*) override {
    fRuns.fetch_add(1);
    fRuns.notify_all();
    return nullptr;
  }
  static inline std::atomic<int> fRuns{0};
};

// Threads come and go on all sides while the exit step takes the core away.
[[noreturn]] void exitAmongThreads() {
  for (int i = 0; i < 3; ++i) {
    std::thread([] {
      for (;;) {
        const JTCHandleT<OutlivesTheCore> thread(new OutlivesTheCore);
        thread->start_undetached();
        thread->join(nullptr);
      }
    }).detach();
  }
  for (int runs = OutlivesTheCore::fRuns; runs < 20; runs = OutlivesTheCore::fRuns) OutlivesTheCore::fRuns.wait(runs);
  gCore->use();
  gCore->unuse();
  std::exit(0);
}

TEST(OrlanCoreDeathTest, ThreadsMayOutliveTheCore) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  // The child leaves threads that nobody had the time to join.
  const char* const options = std::getenv("TSAN_OPTIONS");
  setenv("TSAN_OPTIONS", (std::string(options != nullptr ? options : "") + " report_thread_leaks=0").c_str(), 1);
  EXPECT_EXIT(exitAmongThreads(), testing::ExitedWithCode(0), "");
}

TEST(VersionTest, WordsItsFields) {
  String text;
  const Version version("n", "1", "2", "B", "(note)", "Dec  7 2004", "23:46:10");
  version.get(text);
  EXPECT_EQ(utf8(text), "n 1.2B  (note) Dec  7 2004 23:46:10");
  EXPECT_STREQ(version.fFull, "2.7.A");
  const Version& own = *gCore->fVersion;
  own.get(text);
  EXPECT_EQ(utf8(text), std::string("zqcore 2.7A  ") + own.fBuild + " " + own.fDate + " " + own.fTime);
  char month[4];
  int day = 0, year = 0, hour = 0, minute = 0, second = 0;
  EXPECT_EQ(std::strlen(own.fDate), 11u) << own.fDate;  // a day below 10 has two blanks before it
  EXPECT_EQ(std::sscanf(own.fDate, "%3[A-Za-z] %2d %4d", month, &day, &year), 3) << own.fDate;
  EXPECT_EQ(std::strlen(own.fTime), 8u) << own.fTime;
  EXPECT_EQ(std::sscanf(own.fTime, "%2d:%2d:%2d", &hour, &minute, &second), 3) << own.fTime;
}

TEST(PlatformTest, DescribesThePlatformOfTheBuild) {
  const Platform& platform = *gCore->fPlatform;
  EXPECT_STREQ(platform.fSystem, "Linux");
  EXPECT_STRNE(platform.fProcessor, "");
  EXPECT_STREQ(platform.fVariant, "");
  EXPECT_EQ(platform.fDirSep, u'/');
  EXPECT_EQ(platform.fExtSep, u'.');
}

}  // namespace
