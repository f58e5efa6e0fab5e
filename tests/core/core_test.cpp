#include "zqcore27/core/core.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <regex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/text.h"

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

TEST(RefCountTest, TheLastHolderDestroysTheObject) {
  bool destroyed = false;
  auto* const object = new Counted(destroyed);
  std::atomic<int> last{0};
  for (int i = 0; i < 4; ++i) object->use();
  std::vector<std::jthread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int n = 0; n < 5000; ++n) {
        object->use();
        last += object->unuse();
      }
      last += object->unuse();
    });
  }
  threads.clear();
  EXPECT_EQ(last, 1);
  EXPECT_TRUE(destroyed);
}

OrlanCore* const seenByStaticObject = gCore;

TEST(OrlanCoreTest, IsReadyBeforeAnyCodeOfTheHost) {
  ASSERT_NE(seenByStaticObject, nullptr);
  const OrlanCore fresh;  // a core of its own: tests of this program may have used gCore's
  EXPECT_TRUE(fresh.fStringDirectory.size() == 0 && fresh.fCatalogues->empty());
  EXPECT_TRUE(!fresh.fCatalogueLock->hasWriteLock() && fresh.fMemory != nullptr);
  EXPECT_NE(fresh.fThreads, gCore->fThreads);
  EXPECT_EQ(gCore, seenByStaticObject);  // made by the library alone
}

TEST(OrlanCoreTest, ClearsGCoreWhenItGoes) {
  OrlanCore* const first = gCore;
  auto* const aside = new OrlanCore;
  aside->use();
  aside->unuse();
  EXPECT_EQ(gCore, first);
  gCore = new OrlanCore;
  gCore->use();
  gCore->use();
  EXPECT_FALSE(gCore->unuse());
  EXPECT_TRUE(gCore->unuse());
  EXPECT_EQ(std::exchange(gCore, first), nullptr);
  EXPECT_EQ(gCExceptionFielder, nullptr);  // the host's
}

/// Death tests run in a process of their own, which leaves threads that nobody had the time to join.
class OrlanCoreDeathTest : public testing::Test {
 protected:
  OrlanCoreDeathTest() {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const char* const options = std::getenv("TSAN_OPTIONS");
    setenv("TSAN_OPTIONS", (std::string(options != nullptr ? options : "") + " report_thread_leaks=0").c_str(), 1);
  }
};

/// What is written to the stream here arrives behind all exit steps, when the runtime flushes its streams.
[[noreturn]] void exitAndTellWhetherTheCoreIsThere(bool held) {
  if (held) gCore->use();
  cookie_io_functions_t functions{};
  functions.write = [](void*, const char*, std::size_t) -> ssize_t { _exit(gCore == nullptr ? 3 : 4); };
  std::fputs("late", fopencookie(nullptr, "w", functions));
  std::exit(0);
}

TEST_F(OrlanCoreDeathTest, ExitStepGivesUpTheFirstHoldAlone) {
  EXPECT_EXIT(exitAndTellWhetherTheCoreIsThere(false), testing::ExitedWithCode(3), "");
  EXPECT_EXIT(exitAndTellWhetherTheCoreIsThere(true), testing::ExitedWithCode(4), "");
}

// The child has none of the threads that hold locks.
[[noreturn]] void exitInAForkedChild() {
  std::thread([] { gCore->fCatalogueLock->read_lock(); }).join();
  const pid_t child = fork();
  if (child == 0) {
    alarm(60);
    std::exit(0);
  }
  int status = -1;
  waitpid(child, &status, 0);
  gCore->fCatalogueLock->read_unlock();
  std::exit(WIFEXITED(status) ? WEXITSTATUS(status) : 1);
}

TEST_F(OrlanCoreDeathTest, ForkedChildExitsWhateverIsLocked) {
  EXPECT_EXIT(exitInAForkedChild(), testing::ExitedWithCode(0), "");
}

TEST(VersionTest, WordsItsFields) {
  String text;
  Version("n", "1", "2", "B", "(note)", "Dec  7 2004", "23:46:10").get(text);
  EXPECT_EQ(utf8(text), "n 1.2B  (note) Dec  7 2004 23:46:10");
  const Version& own = *gCore->fVersion;
  EXPECT_STREQ(own.fFull, "2.7.A");
  own.get(text);
  EXPECT_EQ(utf8(text), std::string("zqcore 2.7A  ") + own.fBuild + " " + own.fDate + " " + own.fTime);
  EXPECT_TRUE(std::regex_match(own.fDate, std::regex("[A-Z][a-z]{2} [ 1-3]\\d \\d{4}"))) << own.fDate;
  EXPECT_TRUE(std::regex_match(own.fTime, std::regex("\\d\\d:\\d\\d:\\d\\d"))) << own.fTime;
  EXPECT_STREQ(gCore->fPlatform->fSystem, "Linux");
  EXPECT_TRUE(gCore->fPlatform->fDirSep == u'/' && gCore->fPlatform->fExtSep == u'.');
}

}  // namespace
