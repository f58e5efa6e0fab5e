#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <regex>
#include <string>
#include <thread>
#include <utility>

#include "tests/support/at_once.h"
#include "tests/support/text.h"
#include "zqcore27/core/bitmap.h"
#include "zqcore27/core/core.h"
#include "zqcore27/core/memory.h"
#include "zqcore27/errors/mem_error.h"
#include "zqcore27/strings/string.h"

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
  atOnce(4, [&](int) {
    for (int n = 0; n < 5000; ++n) {
      object->use();
      last += object->unuse();
    }
    last += object->unuse();
  });
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
  gCore = new OrlanCore;
  gCore->use();
  gCore->use();
  EXPECT_FALSE(gCore->unuse());
  EXPECT_TRUE(gCore->unuse());
  EXPECT_EQ(std::exchange(gCore, seenByStaticObject), nullptr);
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
  EXPECT_TRUE(gCore->fPlatform->fDirSep == u'/' && gCore->fPlatform->fExtSep == u'.');
}

/// Shows what a derived class does with its block.
class Block : public MemResizable {
 public:
  using MemResizable::MemResizable;
  void pointAt(const char* constant) { fData = reinterpret_cast<unsigned char*>(const_cast<char*>(constant)); }
  /// Requires: it has no block.
  void set(const char* bytes) {
    fSize = static_cast<unsigned>(std::strlen(bytes));
    fData = MemAllocator::allocate(fSize);
    std::memcpy(fData, bytes, fSize);
  }
  std::string bytes() const { return {reinterpret_cast<const char*>(fData), fSize}; }
};

TEST(MemResizableTest, KeepsWhatFitsAndShowsZerosBehindIt) {
  Block block;
  EXPECT_EQ(block.size(), 0u);
  EXPECT_EQ(*block, nullptr);
  block.set("abcdefghi");
  const std::pair<unsigned, std::string> ROWS[] = {{12, std::string("abcdefghi\0\0\0", 12)},
                                                   {3, "abc"},
                                                   {6, std::string("abc\0\0\0", 6)},  // never what stood there
                                                   {0, ""},
                                                   {4, std::string(4, 0)}};
  for (const auto& [size, expected] : ROWS) {
    EXPECT_EQ(&block.resize(size), &block);
    EXPECT_EQ(block.size(), size);
    EXPECT_EQ(block.bytes(), expected);
  }
}

TEST(MemResizableTest, LeavesConstantStorageAlone) {
  static const char CONSTANT[] = "constant";
  {
    Block block;
    block.pointAt(CONSTANT);
    EXPECT_EQ(block.resize(0).size(), 0u);
    Block copy(block), assigned(8);
    assigned = block;
    EXPECT_EQ(copy.size() + assigned.size(), 0u);
    EXPECT_EQ(block.resize(4)[0], 0) << "not copied either";
  }
  EXPECT_STREQ(CONSTANT, "constant");
}

TEST(MemResizableTest, CopiesOwnTheirBlocksAndMovesTakeThem) {
  Block a, b;
  a.set("first");
  b = a;
  b[0] = 'F';
  a = *&a;
  EXPECT_EQ(a.bytes() + b.bytes(), "firstFirst");
  Block c(std::move(a));
  EXPECT_EQ(c.bytes() + a.bytes(), "first");
  c = std::move(b);
  c = std::move(*&c);
  EXPECT_EQ(c.bytes(), "First");
}

/// The first `n` bits, bit 0 first.
std::string bits(const Bitmap& b, unsigned int n) {
  std::string text;
  for (unsigned int i = 0; i < n; ++i) text += b.state(i) ? '1' : '0';
  return text;
}

/// Where the words lie: the first field.
const void* words(const Bitmap& b) {
  const void* first;
  std::memcpy(&first, &b, sizeof first);
  return first;
}

TEST(BitmapTest, ReadsTextAndGrowsToWhatIsWritten) {
  static constexpr const char* ROWS[][2] = {{"0101", "010100"}, {"x1", "010000"}, {"", "000000"}};
  for (const auto& [text, expected] : ROWS) EXPECT_EQ(bits(Bitmap(String(text)), 6), expected);
  Bitmap b;
  b.clear(40);  // 41 bits: the combination below reaches the second word
  b |= Bitmap(64, true);
  EXPECT_EQ(bits(b, 42), std::string(41, '1') + "0");
  b.toggle(41);  // a spare bit that was set comes into view, inverted
  b.set(200);
  EXPECT_TRUE(!b.state(41) && b.state(200) && !b.state(199) && b.state(40));
}

TEST(BitmapTest, SpareBitsComeIntoView) {
  Bitmap full(5, true);
  const void* before = words(full);
  full.set(6);
  EXPECT_EQ(words(full), before);  // no copy within a word
  EXPECT_EQ(bits(full, 8), "11111110");
  full.clear();
  full.set(7);
  EXPECT_EQ(bits(full, 9), "000000010");
  full.set();
  EXPECT_EQ(bits(full, 9), "111111110");
  Bitmap toggled(5);
  toggled.toggle();
  Bitmap copy(toggled), assigned;
  assigned = toggled;
  for (Bitmap* b : {&toggled, &copy, &assigned}) {
    b->clear(6);
    EXPECT_EQ(bits(*b, 8), "11111100");
  }
  EXPECT_THROW(copy.set(0xFFFFFFFF), MemError);
  EXPECT_EQ(bits(copy, 8), "11111100");
}

TEST(BitmapTest, CombinesTheWordsThatBothHave) {
  Bitmap a(64, true), b(32);
  b.set(3);
  a &= b;
  EXPECT_EQ(bits(a, 64), "0001" + std::string(28, '0') + std::string(32, '1'));
  b ^= Bitmap(64, true);
  EXPECT_EQ(bits(b, 64), "1110" + std::string(28, '1') + std::string(32, '0'));  // no size changes
}

TEST(BitmapTest, CopiesAreTheirOwn) {
  Bitmap a(String("101")), b(a);
  b.set(1);
  Bitmap& self = a;
  a = self;
  EXPECT_EQ(bits(a, 3), "101");
  Bitmap moved(std::move(b));
  b = moved;
  EXPECT_EQ(bits(b, 3), "111");
  a = std::move(b);
  EXPECT_EQ(words(b), nullptr);  // left empty, not with the words that `a` had
  a = std::move(self);
  EXPECT_EQ(bits(a, 3), "111");
}

}  // namespace
