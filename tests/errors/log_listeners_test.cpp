#include "zqcore27/errors/log_listeners.h"

#include <gtest/gtest.h>

#include <atomic>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/errors/log_lines.h"
#include "tests/support/temp_dir.h"
#include "tests/support/text.h"
#include "zqcore27/errors/cstr.h"
#include "zqcore27/errors/string_error.h"

namespace {

struct OneText : CStr {
  const std::uint16_t* get(std::uint32_t) override { return reinterpret_cast<const std::uint16_t*>(u"The\ntext"); }
};

TEST(StreamLogListenerTest, WritesTimeLevelAndText) {
  std::ostringstream out;
  OneText words;
  CoreLog log;
  log.setLog(new StreamLogListener(out, &words, VERBOSITY_INFORMATION));
  log.log("first", VERBOSITY_ALWAYS);
  log.log(String(u"\u20AC\n2026 forged\x1B[2J"), VERBOSITY_INFORMATION);
  log.log("too much detail", VERBOSITY_DETAIL);
  log.log(StringError(0xC2000122, false), VERBOSITY_DEBUG);
  log.log(StringError(0xC2000122, false), VERBOSITY_ERROR);
  log.log(StringError(0, false), VERBOSITY_ERROR);
  log.getListener()->setVerbosity(1);
  log.log("warning", VERBOSITY_WARNING);
  log.log("", VERBOSITY_ERROR);
  EXPECT_EQ(linesOf(out.str()), (Lines{"0 first", "8 \xE2\x82\xAC#0122026 forged#033[2J",
                                       "1 The#012text (error 0xc2000122)", "1 No Error code.", "1 "}));
}

TEST(StreamLogListenerTest, WordsErrorsWithoutACatalogueToo) {
  std::ostringstream out;
  StreamLogListener listener(out);
  listener.log(StringError(0xC2000122, false), VERBOSITY_DEBUG);
  EXPECT_EQ(linesOf(out.str()), Lines{"10 Could not obtain text from Error code. (error 0xc2000122)"});
}

TEST(StreamLogListenerTest, TellsWhatWasLost) {
  std::ostringstream out;
  StreamLogListener listener(out);
  out.setstate(std::ios::badbit);
  for (int i = 0; i < 3; ++i) listener.log(String("lost"), VERBOSITY_ALWAYS);
  EXPECT_EQ(listener.lost(), 3u);
  out.clear();
  listener.log(String("written"), VERBOSITY_ERROR);
  listener.log(String("again"), VERBOSITY_ERROR);
  out.setstate(std::ios::badbit);
  listener.log(String("lost"), VERBOSITY_ALWAYS);
  out.clear();
  listener.log(String("end"), VERBOSITY_ERROR);
  EXPECT_EQ(linesOf(out.str()), (Lines{"0 messages lost: 3", "1 written", "1 again", "0 messages lost: 1", "1 end"}));
  EXPECT_EQ(listener.lost(), 4u);
}

/// A stream buffer that takes nothing and says so by a throw.
struct ThrowingBuffer : std::streambuf {
  int_type overflow(int_type) override { throw std::runtime_error("full"); }
};

TEST(StreamLogListenerTest, AStreamThatThrowsLosesNoCount) {
  ThrowingBuffer buffer;
  std::ostream out(&buffer);
  out.exceptions(std::ios::badbit);
  StreamLogListener listener(out);
  EXPECT_THROW(listener.log(String("lost"), VERBOSITY_ALWAYS), std::runtime_error);
  EXPECT_EQ(listener.lost(), 1u) << "and the lock is free";
}

TEST(FileLogListenerTest, AppendsToItsFile) {
  const TempDir dir;
  const std::string path = dir.write("log", "old\n");
  {
    FileLogListener one(path.c_str()), two(path.c_str());
    ASSERT_TRUE(one.isOpen());
    one.log(String("one"), VERBOSITY_ALWAYS);
    two.log(String("two"), VERBOSITY_ALWAYS);
    one.log(String("three"), VERBOSITY_ALWAYS);
  }
  EXPECT_EQ(linesOf(dir.read("log")), (Lines{"no time: old", "0 one", "0 two", "0 three"}));
}

TEST(FileLogListenerTest, CountsWhatAFullDiskLoses) {
  const TempDir dir;
  for (const std::string& path : {std::string("/dev/full"), dir.path().string(), dir / "missing/log"}) {
    SCOPED_TRACE(path);
    FileLogListener listener(path.c_str());
    EXPECT_EQ(listener.isOpen(), path == "/dev/full");
    for (int i = 0; i < 5; ++i) listener.log(String("lost"), VERBOSITY_ALWAYS);
    EXPECT_EQ(listener.lost(), 5u);
  }
}

TEST(RecentLogListenerTest, KeepsTheLastLines) {
  static const struct {
    int line;
    std::uint32_t capacity;
    Lines kept;
  } ROWS[] = {
      {__LINE__, 0, {}},
      {__LINE__, 1, {"0 4"}},
      {__LINE__, 3, {"0 2", "0 3", "0 4"}},
      {__LINE__, 5, {"0 0", "0 1", "0 2", "0 3", "0 4"}},
      {__LINE__, 0xFFFFFFFF, {"0 0", "0 1", "0 2", "0 3", "0 4"}},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    RecentLogListener listener(row.capacity, nullptr, VERBOSITY_ERROR);
    EXPECT_EQ(utf8(listener.text()), "");
    for (int i = 0; i < 5; ++i) listener.log(String(std::to_string(i).c_str()), VERBOSITY_ALWAYS);
    listener.log(String("detail"), VERBOSITY_DETAIL);
    EXPECT_EQ(linesOf(utf8(listener.text())), row.kept);
    EXPECT_EQ(listener.count(), row.kept.size());
  }
}

TEST(LineLogListenerTest, ManyThreadsLogWholeLines) {
  constexpr int THREADS = 4, MESSAGES = 300;
  std::ostringstream out;
  StreamLogListener stream(out);
  RecentLogListener recent(THREADS * MESSAGES);
  std::atomic<int> waiting{THREADS};
  std::vector<std::thread> threads;
  for (int t = 0; t < THREADS; ++t) {
    threads.emplace_back([&, t] {
      --waiting;
      while (waiting > 0) std::this_thread::yield();  // so that all of them log at once
      for (int i = 0; i < MESSAGES; ++i) {
        const String text((std::to_string(t) + " " + std::to_string(i)).c_str());
        stream.setVerbosity(VERBOSITY_DEBUG);
        stream.log(text, VERBOSITY_DEBUG);
        recent.log(text, VERBOSITY_DEBUG);
        if (i % 64 != 0) continue;
        EXPECT_LE(recent.count(), static_cast<std::uint32_t>(THREADS * MESSAGES));
        EXPECT_NE(recent.text().size(), 0u);
        EXPECT_EQ(stream.lost(), 0u);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const std::string& log : {out.str(), utf8(recent.text())}) {
    const Lines lines = linesOf(log);
    EXPECT_EQ(lines.size(), static_cast<std::size_t>(THREADS * MESSAGES));
    std::vector<int> next(THREADS);
    for (const std::string& line : lines) {
      int level = 0, t = 0, i = -1;
      ASSERT_EQ(std::sscanf(line.c_str(), "%d %d %d", &level, &t, &i), 3) << line;
      ASSERT_EQ(i, next[static_cast<std::size_t>(t)]++) << line;
    }
  }
}

}  // namespace
