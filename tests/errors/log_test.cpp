#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/temp_dir.h"
#include "tests/support/text.h"
#include "zqcore27/errors/cstr.h"
#include "zqcore27/errors/log_listeners.h"
#include "zqcore27/errors/string_error.h"

namespace {

using Lines = std::vector<std::string>;

/// Writes down what reaches it and that it goes; throws at "throw".
class Recorder : public LogListener {
 public:
  explicit Recorder(Lines& seen) : fSeen(seen) {}
  ~Recorder() override { fSeen.push_back("gone"); }
  void log(const Error& e, LogVerbosityCode v) override { note("error " + std::to_string(e.code()), v); }
  void log(const String& s, LogVerbosityCode v) override {
    if (utf8(s) == "throw") throw std::runtime_error("thrown");
    note("text " + utf8(s), v);
  }

 private:
  void note(const std::string& text, LogVerbosityCode v) { fSeen.push_back(text + " at " + std::to_string(v)); }
  Lines& fSeen;
};

TEST(CoreLogTest, HandsEverythingToTheListenerThatWasSetLast) {
  Lines first, second;
  auto* const former = new Recorder(first);
  const auto beyond = static_cast<LogVerbosityCode>(77);  // nothing is filtered
  {
    CoreLog log;
    EXPECT_EQ(log.getListener(), nullptr);
    log.setLog(former);
    log.setLog(nullptr);
    log.log("\xFF is no text, and isn't converted", VERBOSITY_ALWAYS);
    log.log(String("text"), VERBOSITY_DEBUG);
    log.log(StringError(1, false), beyond);
    log.eventlog("\xFF", String("source"), 1, 2, 3);
    log.eventlog(String("text"), String("source"), 1, 2, 3);
    log.setLog(former);
    auto* const latter = new Recorder(second);
    log.setLog(latter);
    EXPECT_EQ(latter->getVerbosity(), 0u);
    latter->setVerbosity(5);
    EXPECT_EQ(latter->getVerbosity(), 5u) << "not folded";
    log.log("native \xC3\xA9", VERBOSITY_WARNING);
    log.log(String(u"text"), beyond);
    log.log(StringError(1, false), VERBOSITY_ERROR);
    EXPECT_THROW(log.log("\xFF", VERBOSITY_ALWAYS), StringError);
    EXPECT_THROW(log.log("throw", VERBOSITY_ALWAYS), std::runtime_error);
  }
  EXPECT_EQ(second, (Lines{"text native \xC3\xA9 at 2", "text text at 77", "error 1 at 1", "gone"}));
  EXPECT_EQ(first, Lines{}) << "neither told nor deleted";
  delete former;
}

TEST(CoreLogTest, MovesItsListener) {
  Lines first, second;
  CoreLog a, b;
  a.setLog(new Recorder(first));
  b.setLog(new Recorder(second));
  CoreLog& same = a;
  a = std::move(same);
  EXPECT_EQ(first, Lines{});
  a = std::move(b);
  EXPECT_EQ(first, Lines{"gone"});
  EXPECT_EQ(b.getListener(), nullptr);
  const CoreLog c(std::move(a));
  EXPECT_EQ(a.getListener(), nullptr);
  EXPECT_EQ(second, Lines{});
}

TEST(CoreLogTest, NumbersFoldIntoLevels) {
  static constexpr unsigned int LEVELS[] = {0, 1, 2, 8, 8, 8, 8, 8, 8, 9, 10, 10};
  for (unsigned int n = 0; n < std::size(LEVELS); ++n) EXPECT_EQ(CoreLog::intToVerbosityCode(n), LEVELS[n]) << n;
  EXPECT_EQ(CoreLog::intToVerbosityCode(0xFFFFFFFF), 10u);
}

TEST(LogListenerTest, IsAStreamThatDropsItsTextAtTheFlush) {
  Lines seen;
  Recorder listener(seen);
  auto& buffer = dynamic_cast<std::stringbuf&>(*listener.rdbuf());
  ASSERT_TRUE(listener.good());
  listener << "held " << 42;
  EXPECT_EQ(buffer.str(), "held 42");
  listener << std::endl << std::flush;
  EXPECT_EQ(buffer.str(), "");
  EXPECT_EQ(buffer.pubsync(), 0);
  std::iostream both(&buffer);
  both << 17 << ' ';
  int n = 0;
  EXPECT_TRUE(both >> n && n == 17);
  const std::string large(100000, 'x');  // what the standard library's class does with a text, ours survives
  std::stringbuf other("other");
  char room[64];
  for (int round = 0; round < 2; ++round) {
    listener << std::flush << large;
    EXPECT_EQ(buffer.str(), large);
    buffer.swap(other);
    EXPECT_EQ(std::move(other).str(), large);
    other.str("other");
    buffer.pubsetbuf(room, sizeof room);
    buffer.str(large);
    listener << "y" << std::string(2 * large.size(), 'y');
    EXPECT_EQ(std::move(buffer).str(), std::string(2 * large.size() + 1, 'y'));
  }
  listener << large;  // to be freed with the listener
  EXPECT_TRUE(listener.good());
  EXPECT_EQ(seen, Lines{});
}

/// The lines of a log without their times, which are tested for their form.
Lines linesOf(const std::string& log) {
  constexpr std::string_view TIME = "0000-00-00T00:00:00.000Z ";
  Lines lines;
  std::istringstream in(log);
  for (std::string line; std::getline(in, line);) {
    const auto like = [](char shape, char c) { return shape == '0' ? c >= '0' && c <= '9' : c == shape; };
    const bool timed = line.size() >= TIME.size() && std::equal(TIME.begin(), TIME.end(), line.begin(), like);
    lines.push_back(timed ? line.substr(TIME.size()) : "no time: " + line);
  }
  return lines;
}

struct OneText : CStr {
  const std::uint16_t* get(std::uint32_t) override { return reinterpret_cast<const std::uint16_t*>(u"The\ntext"); }
};

TEST(StreamLogListenerTest, WritesTimeLevelAndText) {
  std::ostringstream out;
  OneText words;
  StreamLogListener listener(out, &words, VERBOSITY_INFORMATION);
  listener.log(String("first"), VERBOSITY_ALWAYS);
  listener.log(String(u"\u20AC\n2026 forged\x1B[2J"), VERBOSITY_INFORMATION);
  listener.log(String("too much detail"), VERBOSITY_DETAIL);
  listener.log(StringError(0xC2000122, false), VERBOSITY_DEBUG);
  listener.log(StringError(0xC2000122, false), VERBOSITY_ERROR);
  listener.log(StringError(0, false), VERBOSITY_ERROR);
  listener.setVerbosity(1);
  listener.log(String("warning"), VERBOSITY_WARNING);
  StreamLogListener(out).log(StringError(0xC2000122, false), VERBOSITY_DEBUG);
  EXPECT_EQ(linesOf(out.str()),
            (Lines{"0 first", "8 \xE2\x82\xAC#0122026 forged#033[2J", "1 The#012text (error 0xc2000122)",
                   "1 No Error code.", "10 Could not obtain text from Error code. (error 0xc2000122)"}));
}

/// Takes as many bytes as there is room for.
struct SmallBuffer : std::stringbuf {
  std::streamsize xsputn(const char* bytes, std::streamsize n) override {
    const std::streamsize taken = std::stringbuf::xsputn(bytes, std::min(n, room));
    if (taken < n && throws) throw std::runtime_error("full");
    return taken;
  }
  std::streamsize room = 1000;
  bool throws = false;
};

/// Logs five messages, of which the second is torn and the third has no room at all.
void fill(WritingLogListener& listener, const auto& makeRoom) {
  const auto log = [&](const char* text, int room) {
    makeRoom(room);
    listener.log(String(text), VERBOSITY_ALWAYS);
  };
  log("whole", 1000);
  log("torn by a disk that is full", 30);
  log("lost", 0);
  EXPECT_EQ(listener.lost(), 2u);
  log("written", 1000);
  log("at the end", 1000);
  EXPECT_EQ(listener.lost(), 2u);
}
const Lines FILLED = {"0 whole", "0 tor", "0 messages lost: 2", "0 written", "0 at the end"};

TEST(StreamLogListenerTest, TellsWhatWasLostOnAFreshLine) {
  SmallBuffer buffer;
  std::ostream out(&buffer);
  StreamLogListener listener(out);
  fill(listener, [&](int room) { buffer.room = room, out.clear(); });
  EXPECT_EQ(linesOf(buffer.str()), FILLED);

  buffer.str("");
  out.setstate(std::ios::badbit);
  for (int i = 0; i < 3; ++i) listener.log(String("lost"), VERBOSITY_ALWAYS);
  out.clear();
  out.exceptions(std::ios::badbit);
  buffer.throws = true;
  listener.log(String("written"), VERBOSITY_ERROR);
  buffer.room = 30;
  EXPECT_THROW(listener.log(String("torn"), VERBOSITY_ALWAYS), std::runtime_error);
  EXPECT_EQ(listener.lost(), 6u) << "and the lock is free";
  buffer.room = 1000;
  out.clear();
  listener.log(String("end"), VERBOSITY_ERROR);
  EXPECT_EQ(linesOf(buffer.str()), (Lines{"0 messages lost: 3", "1 written", "0 tor", "0 messages lost: 1", "1 end"}));
}

TEST(FileLogListenerTest, TellsWhatWasLostOnAFreshLine) {
  const TempDir dir;
  const std::string path = dir / "log";
  FileLogListener listener(path.c_str());
  rlimit before;
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto handler = ::signal(SIGXFSZ, SIG_IGN);
  fill(listener, [&](int room) {
    const rlimit most = {std::filesystem::file_size(path) + static_cast<rlim_t>(room), before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &most), 0);
  });
  ::setrlimit(RLIMIT_FSIZE, &before);
  ::signal(SIGXFSZ, handler);
  EXPECT_EQ(linesOf(dir.read("log")), FILLED);
}

TEST(FileLogListenerTest, AppendsToItsFileOrCountsWhatIsLost) {
  const TempDir dir;
  const std::string path = dir.write("log", "old\n");
  FileLogListener one(path.c_str()), two(path.c_str());
  ASSERT_TRUE(one.isOpen());
  one.log(String("one"), VERBOSITY_ALWAYS);
  two.log(String("two"), VERBOSITY_ALWAYS);
  one.log(String("three"), VERBOSITY_ALWAYS);
  EXPECT_EQ(linesOf(dir.read("log")), (Lines{"no time: old", "0 one", "0 two", "0 three"}));
  for (const std::string& bad : {std::string("/dev/full"), dir.path().string(), dir / "missing/log"}) {
    SCOPED_TRACE(bad);
    FileLogListener listener(bad.c_str());
    EXPECT_EQ(listener.isOpen(), bad == "/dev/full");
    for (int i = 0; i < 5; ++i) listener.log(String("lost"), VERBOSITY_ALWAYS);
    EXPECT_EQ(listener.lost(), 5u);
  }
}

TEST(RecentLogListenerTest, KeepsTheLastLines) {
  const Lines all = {"0 0", "0 1", "0 2", "0 3", "0 4"};
  for (const std::uint32_t capacity : {0u, 1u, 3u, 5u, 0xFFFFFFFFu}) {
    SCOPED_TRACE(capacity);
    RecentLogListener listener(capacity, nullptr, VERBOSITY_ERROR);
    EXPECT_EQ(utf8(listener.text()), "");
    for (int i = 0; i < 5; ++i) listener.log(String(std::to_string(i).c_str()), VERBOSITY_ALWAYS);
    listener.log(String("detail"), VERBOSITY_DETAIL);
    EXPECT_EQ(linesOf(utf8(listener.text())), Lines(all.end() - std::min(capacity, 5u), all.end()));
    EXPECT_EQ(listener.count(), std::min(capacity, 5u));
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
        EXPECT_TRUE(i % 64 != 0 || (recent.count() != 0 && recent.text().size() != 0 && stream.lost() == 0));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const std::string& log : {out.str(), utf8(recent.text())}) {
    std::vector<int> next(THREADS);
    for (const std::string& line : linesOf(log)) {
      int level = 0, t = 0, i = -1;
      ASSERT_EQ(std::sscanf(line.c_str(), "%d %d %d", &level, &t, &i), 3) << line;
      ASSERT_EQ(i, next[static_cast<std::size_t>(t)]++) << line;
    }
    EXPECT_EQ(next, std::vector<int>(THREADS, MESSAGES));
  }
}

}  // namespace
