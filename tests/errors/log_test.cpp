#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <numeric>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/at_once.h"
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
  CoreLog log;
  log.setLog(former);
  log.setLog(nullptr);
  log.log("\xFF is no text, and isn't converted", VERBOSITY_ALWAYS);
  log.log(String("text"), VERBOSITY_DEBUG);
  log.log(StringError(1, false), beyond);
  log.eventlog("\xFF", String("source"), 1, 2, 3);
  log.setLog(former);
  auto* const latter = new Recorder(second);
  log.setLog(latter);
  log.log("native \xC3\xA9", VERBOSITY_WARNING);
  log.log(String(u"text"), beyond);
  log.log(StringError(1, false), VERBOSITY_ERROR);
  EXPECT_THROW(log.log("\xFF", VERBOSITY_ALWAYS), StringError);
  EXPECT_THROW(log.log("throw", VERBOSITY_ALWAYS), std::runtime_error);
  EXPECT_EQ(first, Lines{}) << "neither told nor deleted";

  CoreLog other, &same = other;
  other.setLog(former);
  other = std::move(same);
  EXPECT_EQ(first, Lines{});
  other = std::move(log);
  EXPECT_EQ(first, Lines{"gone"});
  const CoreLog moved(std::move(other));
  EXPECT_TRUE(log.getListener() == nullptr && other.getListener() == nullptr && moved.getListener() == latter);
  EXPECT_EQ(second, (Lines{"text native \xC3\xA9 at 2", "text text at 77", "error 1 at 1"}));
}

TEST(CoreLogTest, NumbersFoldIntoLevels) {
  static constexpr unsigned int LEVELS[] = {0, 1, 2, 8, 8, 8, 8, 8, 8, 9, 10, 10};
  for (unsigned int n = 0; n < std::size(LEVELS); ++n) EXPECT_EQ(CoreLog::intToVerbosityCode(n), LEVELS[n]) << n;
}

TEST(LogListenerTest, IsAStreamThatDropsItsTextAtTheFlush) {
  Lines seen;
  Recorder listener(seen);
  auto& buffer = dynamic_cast<std::stringbuf&>(*listener.rdbuf());
  char area[64] = "";
  buffer.pubsetbuf(area, sizeof area);
  listener << "17 held ";
  int n = 0;
  EXPECT_TRUE(std::istream(&buffer) >> n && n == 17 && area[0] == '\0');  // the area isn't used
  listener << std::endl << std::flush;
  EXPECT_EQ(buffer.str(), "");
  EXPECT_TRUE(listener.good() && seen.empty());
}

/// A log with @ for each time.
std::string untimed(const std::string& log) {
  static const std::regex TIME(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z )");
  return std::regex_replace(log, TIME, "@");
}

struct OneText : CStr {
  const std::uint16_t* get(std::uint32_t) override { return text.begin(); }
  String text = "The\ntext";
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
  EXPECT_EQ(untimed(out.str()),
            "@0 first\n@8 \xE2\x82\xAC#0122026 forged#033[2J\n@1 The#012text (error 0xc2000122)\n@1 No Error code.\n"
            "@10 Could not obtain text from Error code. (error 0xc2000122)\n");
}

/// Takes as many bytes as there is room for, from one thread at a time.
struct SmallBuffer : std::stringbuf {
  std::streamsize xsputn(const char* bytes, std::streamsize n) override {
    EXPECT_FALSE(busy.exchange(true));
    std::this_thread::yield();  // would let others in
    const std::streamsize taken = std::stringbuf::xsputn(bytes, std::min(n, room));
    busy = false;
    if (taken < n && throws) throw std::runtime_error("full");
    return taken;
  }
  std::streamsize room = 1000;
  bool throws = false;
  std::atomic<bool> busy = false;
};

TEST(StreamLogListenerTest, TellsWhatWasLostOnAFreshLine) {
  SmallBuffer buffer;
  std::ostream out(&buffer);
  StreamLogListener listener(out);
  const auto log = [&](const char* text, int room) {
    buffer.room = room;
    out.clear();
    listener.log(String(text), VERBOSITY_ALWAYS);
  };
  log("whole", 1000);
  log("torn by a disk that is full", 30);
  log("lost", 0);
  log("written", 1000);
  EXPECT_EQ(listener.lost(), 2u);
  buffer.throws = true;
  out.exceptions(std::ios::badbit);
  EXPECT_THROW(log("torn as well", 30), std::runtime_error);
  EXPECT_EQ(listener.lost(), 3u) << "and the lock is free";
  log("end", 1000);
  EXPECT_EQ(untimed(buffer.str()),
            "@0 whole\n@0 tor\n@0 messages lost: 2\n@0 written\n@0 tor\n@0 messages lost: 1\n@0 end\n");
}

TEST(FileLogListenerTest, AppendsWholeLinesAndCountsWhatIsLost) {
  const TempDir dir;
  const std::string path = dir.write("log", "old\n");
  FileLogListener one(path.c_str()), two(path.c_str()), full("/dev/full"), closed((dir / "missing/log").c_str());
  for (FileLogListener* listener : {&one, &two, &one, &full, &closed}) listener->log(String("text"), VERBOSITY_ALWAYS);
  EXPECT_EQ(untimed(dir.read("log")), "old\n@0 text\n@0 text\n@0 text\n");
  EXPECT_TRUE(one.lost() == 0 && full.lost() == 1 && closed.lost() == 1);
  EXPECT_TRUE(one.isOpen() && !closed.isOpen());
}

TEST(RecentLogListenerTest, KeepsTheLastLines) {
  const std::string all = "@0 0\n@0 1\n@0 2\n@0 3\n@0 4\n";
  for (const std::uint32_t capacity : {0u, 1u, 3u, 5u, 0xFFFFFFFFu}) {
    RecentLogListener listener(capacity, nullptr, VERBOSITY_ERROR);
    EXPECT_EQ(utf8(listener.text()), "");
    for (int i = 0; i < 5; ++i) listener.log(String(std::to_string(i).c_str()), VERBOSITY_ALWAYS);
    listener.log(String("detail"), VERBOSITY_DETAIL);
    EXPECT_EQ(listener.count(), std::min(capacity, 5u));
    EXPECT_EQ(untimed(utf8(listener.text())), all.substr(5 * (5 - listener.count()))) << capacity;
  }
}

TEST(LineLogListenerTest, ManyThreadsLogWholeLines) {
  constexpr int THREADS = 4, MESSAGES = 100;
  SmallBuffer buffer;
  std::ostream out(&buffer);
  StreamLogListener stream(out);
  RecentLogListener recent(THREADS * MESSAGES);
  atOnce(THREADS, [&](int t) {
    for (int i = 0; i < MESSAGES; ++i) {
      const String text((std::to_string(t) + " " + std::to_string(i)).c_str());
      stream.setVerbosity(VERBOSITY_DEBUG);
      stream.log(text, VERBOSITY_DEBUG);
      recent.log(text, VERBOSITY_DEBUG);
      EXPECT_TRUE(i % 16 != 0 || (recent.text().size() != 0 && stream.lost() == 0));
    }
  });
  for (const std::string& log : {buffer.str(), utf8(recent.text())}) {
    int next[THREADS] = {}, t = 0, i = -1;
    std::istringstream in(untimed(log));
    for (std::string line; std::getline(in, line);) {
      ASSERT_EQ(std::sscanf(line.c_str(), "@10 %1d %d", &t, &i), 2) << line;
      ASSERT_TRUE(t < THREADS && i == next[t]++) << line;
    }
    EXPECT_EQ(std::accumulate(next, next + THREADS, 0), THREADS * MESSAGES);
  }
}

}  // namespace
