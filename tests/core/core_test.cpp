#include "zqcore27/core/core.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <regex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/catalogue_builder.h"
#include "tests/support/temp_dir.h"
#include "tests/support/text.h"
#include "zqcore27/catalogue/cstr_enterprise.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/files/file_locator.h"
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

struct ShortThread : OrlanThread {
  void* work(void*) override { return nullptr; }
};

/// Death tests run in a process of their own, which leaves threads that nobody had the time to join.
class OrlanCoreDeathTest : public testing::Test {
 protected:
  OrlanCoreDeathTest() {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const char* const options = std::getenv("TSAN_OPTIONS");
    setenv("TSAN_OPTIONS", (std::string(options != nullptr ? options : "") + " report_thread_leaks=0").c_str(), 1);
  }
};

constexpr std::uint32_t WORDED = 0x04010001;
constexpr char WORDS[] = "words of a catalogue that must not go while they are read";

/// An error with words: the catalogue's, or the library's own where the core has gone.
void wordAnError(CStrEnterprise& texts) {
  const StringError error(WORDED, false);
  const std::string words = utf8(String(error.description(&texts)));
  if (words != WORDS && words != "Error in obtaining description of previous error.") std::abort();
}

void makeALocator() {
  const FileLocator locator(String("one/two.three"));
  if (utf8(locator.name()) != "two" || utf8(locator.extension()) != "three") std::abort();
}

void runAThread() {
  const JTCHandleT<ShortThread> thread(new ShortThread);
  thread->start_undetached();
  thread->join(nullptr);
}

// The host's threads go on with their work, and start others, while the core goes.
[[noreturn]] void exitAmongWorkingThreads() {
  static std::atomic<int> rounds[6];
  static CStrEnterprise& texts = *new CStrEnterprise(nullptr, String(), nullptr);
  for (std::atomic<int>& done : rounds) {
    std::thread([&done, kind = (&done - rounds) % 3] {
      for (;; done.fetch_add(1), done.notify_all()) {
        kind == 0 ? wordAnError(texts) : kind == 1 ? makeALocator() : runAThread();
      }
    }).detach();
  }
  for (std::atomic<int>& done : rounds) {
    for (int seen = done; seen < 20; seen = done) done.wait(seen);
  }
  gCore->use();
  gCore->unuse();
  std::exit(0);
}

TEST_F(OrlanCoreDeathTest, ThreadsMayWorkMeanwhile) {
  std::optional<TempDir> directory;
  if (std::getenv("tavio_language") == nullptr) {  // the child has it from its parent
    CatalogueBuilder catalogue;
    catalogue.texts[WORDED] = std::u16string(std::begin(WORDS), std::end(WORDS) - 1);
    directory.emplace().write("strings_401_.cst", catalogue.bytes());
    setenv("tavio_language", directory->path().c_str(), 1);
  }
  for (int run = 0; run < 20; ++run) {
    SCOPED_TRACE(run);
    ASSERT_EXIT(exitAmongWorkingThreads(), testing::ExitedWithCode(0), "");
  }
  unsetenv("tavio_language");
}

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
