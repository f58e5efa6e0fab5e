#include "zqcore27/errors/log.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/text.h"
#include "zqcore27/errors/string_error.h"

namespace {

/// Writes down what reaches it and that it goes.
class Recorder : public LogListener {
 public:
  explicit Recorder(std::vector<std::string>& seen) : fSeen(seen) {}
  ~Recorder() override { fSeen.push_back("gone"); }
  void log(const Error& e, LogVerbosityCode v) override { note("error", std::to_string(e.code()), v); }
  void log(const String& s, LogVerbosityCode v) override { note("text", utf8(s), v); }

 private:
  void note(const std::string& kind, const std::string& text, LogVerbosityCode v) {
    fSeen.push_back(kind + " " + text + " at " + std::to_string(v));
  }
  std::vector<std::string>& fSeen;
};

using Seen = std::vector<std::string>;

TEST(CoreLogTest, WithoutListenerNothingHappens) {
  CoreLog log;
  EXPECT_EQ(log.getListener(), nullptr);
  log.log("\xFF is no text, and isn't converted", VERBOSITY_ALWAYS);
  log.log(String("text"), VERBOSITY_DEBUG);
  log.log(StringError(StringError::BAD_UTF8, false), static_cast<LogVerbosityCode>(77));
  log.eventlog("\xFF", String("source"), 1, 2, 3);
  log.eventlog(String("text"), String("source"), 1, 2, 3);
}

TEST(CoreLogTest, HandsMessagesToItsListener) {
  Seen seen;
  {
    CoreLog log;
    log.setLog(new Recorder(seen));
    log.log("native \xC3\xA9", VERBOSITY_WARNING);
    log.log(String(u"text"), static_cast<LogVerbosityCode>(77));  // nothing is filtered
    log.log(StringError(StringError::BAD_UTF8, false), VERBOSITY_ERROR);
    EXPECT_THROW(log.log("\xFF", VERBOSITY_ALWAYS), StringError);
  }
  EXPECT_EQ(seen, (Seen{"text native \xC3\xA9 at 2", "text text at 77",
                        "error " + std::to_string(StringError::BAD_UTF8) + " at 1", "gone"}));
}

TEST(CoreLogTest, OwnsTheListenerThatWasSetLast) {
  Seen first, second;
  Recorder* const former = new Recorder(first);
  {
    CoreLog log;
    log.setLog(former);
    log.setLog(new Recorder(second));
    log.log("to the second", VERBOSITY_ALWAYS);
    EXPECT_EQ(second.size(), 1u);
  }
  EXPECT_EQ(first, Seen{}) << "neither told nor deleted";
  EXPECT_EQ(second.back(), "gone");
  delete former;
  CoreLog log;
  log.setLog(nullptr);
  log.log("to nobody", VERBOSITY_ALWAYS);
}

TEST(CoreLogTest, MovesItsListener) {
  Seen first, second;
  CoreLog a, b;
  a.setLog(new Recorder(first));
  b.setLog(new Recorder(second));
  CoreLog& same = a;
  a = std::move(same);
  EXPECT_EQ(first, Seen{});
  a = std::move(b);
  EXPECT_EQ(first, Seen{"gone"});
  EXPECT_EQ(b.getListener(), nullptr);
  const CoreLog c(std::move(a));
  EXPECT_EQ(a.getListener(), nullptr);
  EXPECT_EQ(second, Seen{});
}

TEST(CoreLogTest, AListenerMayThrow) {
  struct Thrower : LogListener {
    void log(const Error&, LogVerbosityCode) override { throw std::runtime_error("error"); }
    void log(const String&, LogVerbosityCode) override { throw StringError(StringError::BAD_UTF8, true); }
  };
  CoreLog log;
  log.setLog(new Thrower);
  EXPECT_THROW(log.log("text", VERBOSITY_ALWAYS), StringError);
  EXPECT_THROW(log.log(StringError(1, false), VERBOSITY_ALWAYS), std::runtime_error);
  EXPECT_NE(log.getListener(), nullptr);
}

TEST(CoreLogTest, NumbersFoldIntoLevels) {
  static constexpr unsigned int LEVELS[] = {0, 1, 2, 8, 8, 8, 8, 8, 8, 9, 10, 10};
  for (unsigned int n = 0; n < std::size(LEVELS); ++n) EXPECT_EQ(CoreLog::intToVerbosityCode(n), LEVELS[n]) << n;
  EXPECT_EQ(CoreLog::intToVerbosityCode(0x80000000), 10u);
  EXPECT_EQ(CoreLog::intToVerbosityCode(0xFFFFFFFF), 10u);
}

TEST(LogListenerTest, KeepsItsVerbosityAsItIs) {
  Seen seen;
  Recorder listener(seen);
  EXPECT_EQ(listener.getVerbosity(), 0u);
  listener.setVerbosity(5);
  EXPECT_EQ(listener.getVerbosity(), 5u);
}

TEST(LogListenerTest, StreamedTextIsDroppedAtTheFlush) {
  Seen seen;
  Recorder listener(seen);
  const auto held = [&] { return dynamic_cast<std::stringbuf&>(*listener.rdbuf()).str(); };
  EXPECT_TRUE(listener.good());
  listener << "held " << 42;
  EXPECT_EQ(held(), "held 42");
  listener << std::endl;
  EXPECT_EQ(held(), "");
  listener << "again" << std::flush << std::flush;
  EXPECT_EQ(held(), "");
  std::string large;  // over many growths of the buffer, between flushes
  for (int i = 0; i < 30000; ++i) large += std::to_string(i);
  for (int round = 0; round < 2; ++round) {
    for (std::size_t at = 0; at < large.size(); at += 7) listener << large.substr(at, 7);
    EXPECT_EQ(held(), large);
    listener.flush();
  }
  EXPECT_TRUE(listener.good());
  EXPECT_EQ(seen, Seen{});
}

TEST(LogListenerTest, TheBufferIsAStringBuffer) {
  LogListenerBuffer buffer;
  EXPECT_EQ(buffer.sgetc(), std::char_traits<char>::eof());
  std::iostream stream(&buffer);
  stream << 17 << ' ';
  int n = 0;
  stream >> n;
  EXPECT_EQ(n, 17);
  for (int i = 0; i < 400; ++i) stream << i << ' ';  // the place of reading survives the growth
  for (int i = 0; i < 400 && stream >> n; ++i) EXPECT_EQ(n, i);
  char room[4];  // what lies in a host's area moves along
  buffer.pubsetbuf(room, sizeof room);
  stream.clear();
  stream << std::string(600, 'y');
  EXPECT_EQ(buffer.str(), std::string(600, 'y'));
  EXPECT_EQ(buffer.pubsync(), 0);
  EXPECT_EQ(buffer.str(), "");
}

}  // namespace
