// Puts a socket of its own in the place of the system logger's, which only the library's objects allow.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <cstring>
#include <regex>
#include <string>

#include "tests/support/temp_dir.h"
#include "zqcore27/errors/log_listeners.h"
#include "zqcore27/platform/posix/system_calls.h"

namespace {

using posix::gSystemCalls;

class LogEventTest : public testing::Test {
 protected:
  LogEventTest() : fLogger(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sAddress = {AF_UNIX, {}};
    std::strncpy(sAddress.sun_path, (dir / "log").c_str(), sizeof sAddress.sun_path - 1);
    EXPECT_EQ(::bind(fLogger, reinterpret_cast<const sockaddr*>(&sAddress), sizeof sAddress), 0) << sAddress.sun_path;
    sMost = SIZE_MAX;
    sInterruptions = sInterrupted = 0;
    gSystemCalls.sendmsg = [](int descriptor, const msghdr* message, int flags) -> ssize_t {
      EXPECT_STREQ(static_cast<const sockaddr_un*>(message->msg_name)->sun_path, "/dev/log");
      if (sInterruptions-- > 0) return errno = EINTR, -1;
      std::size_t size = 0;
      for (std::size_t i = 0; i < message->msg_iovlen; ++i) size += message->msg_iov[i].iov_len;
      if (size > sMost) return errno = EMSGSIZE, -1;
      msghdr here = *message;
      here.msg_name = &sAddress;
      const ssize_t sent = ::sendmsg(descriptor, &here, flags);
      sInterrupted += sent < 0 && errno == EINTR;
      return sent;
    };
  }
  ~LogEventTest() override {
    gSystemCalls = posix::SystemCalls();
    ::close(fLogger);
  }

  /// The next datagram's "priority tag: text" after a header of the right form, or "none".
  std::string received() {
    static const std::regex HEADER(
        "<(\\d+)>(?:Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [ \\d]\\d (?:\\d\\d:){2}\\d\\d "
        "(.*)\\[(\\d+)\\]: ");
    std::string bytes(1 << 18, '\0');
    const ssize_t n = ::recv(fLogger, bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (n < 0) return "none";
    bytes.resize(static_cast<std::size_t>(n));
    std::smatch found;
    const auto lead = bytes.substr(0, bytes.find("]: ") + 3);
    if (!std::regex_match(lead, found, HEADER) || found[3] != std::to_string(getpid())) return "malformed: " + bytes;
    return found.str(1) + " " + found.str(2) + ": " + bytes.substr(lead.size());
  }

  TempDir dir;
  int fLogger;
  static inline sockaddr_un sAddress;
  static inline std::size_t sMost;   // bytes that the logger takes
  static inline int sInterruptions;  // pretended ones to come
  static inline int sInterrupted;    // real ones
};

TEST_F(LogEventTest, TheLoggerGetsOneWellFormedMessage) {
  static const struct {
    String message, source;
    unsigned short category;
    std::uint32_t type;
    unsigned short id;
    std::string expected;
  } ROWS[] = {
      {"down", "server", 3, 1, 17, "11 server: [category 3, event 17] down"},
      {"100%s %n", "a", 65535, 4, 65535, "14 a: [category 65535, event 65535] 100%s %n"},
      {"m", "a", 1, 8, 2, "37 a: [category 1, event 2] m"},
      {"m", "a", 1, 16, 2, "36 a: [category 1, event 2] m"},
      {"m", "a", 1, 0x10001, 2, "11 a: [category 1, event 2] m"},  // 16 bits count
      {"a\r\n<0>b\t\x1B[2J\x7F", "a", 1, 4, 2, "14 a: [category 1, event 2] a#015#012<0>b#011#033[2J#177"},
      {String(std::u16string_view(u"z\0z \u009B\u00E9\u20AC", 7)), "a", 1, 4, 2,
       "14 a: [category 1, event 2] z#000z #233\xC3\xA9\xE2\x82\xAC"},
      {"m", "my [big]\n server:1", 1, 4, 2,
       "14 my__big___server_1: [category 1, event 2, source my [big]#012 server:1] m"},
      {"m", "", 1, 4, 2, "14 -: [category 1, event 2, source ] m"},
      {"m", "0123456789abcdef0123456789abcdefX", 1, 4, 2,
       "14 0123456789abcdef0123456789abcdef: [category 1, event 2, source 0123456789abcdef0123456789abcdefX] m"},
      {String(std::string(100000, 'x').c_str()), "a", 1, 4, 2,
       "14 a: [category 1, event 2] " + std::string(100000, 'x')},
  };
  for (const auto& row : ROWS) {
    log_event(row.message, row.source, row.category, row.type, row.id);
    EXPECT_EQ(received(), row.expected);
    EXPECT_EQ(received(), "none");
  }
  CoreLog log;
  log.setLog(new RecentLogListener(1));
  log.getListener()->setEventLog(false);  // which stops nothing
  log.eventlog("m", "a", 7, 2, 9);
  log.eventlog(String("m"), "a", 7, 2, 9);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(received(), "12 a: [category 7, event 9] m");
}

TEST_F(LogEventTest, AMessageTooLongForTheLoggerIsCutWithANote) {
  String message;
  message.fill(10000, 0x20AC);
  sMost = 2000;
  log_event(message, "a", 12, 1, 2);  // the fourth half would end within a character
  const std::string lead = "11 a: [category 12, event 2] ", euro = "\xE2\x82\xAC";
  const std::string text = received();
  const std::size_t note = text.rfind(" [");
  ASSERT_TRUE(text.starts_with(lead + euro) && note > lead.size()) << text;
  EXPECT_EQ((note - lead.size()) % euro.size(), 0u);
  EXPECT_EQ(text.substr(note), " [" + std::to_string(lead.size() + 30000 - note) + " more bytes]");
  EXPECT_EQ(received(), "none");
}

TEST_F(LogEventTest, WithoutALoggerNothingHappens) {
  sInterruptions = 2;
  log_event("m", "a", 1, 1, 2);
  EXPECT_NE(received(), "none") << "signals don't count";
  std::filesystem::remove(dir / "log");
  errno = 33;
  log_event("m", "a", 1, 1, 2);
  gSystemCalls.socket = [](int, int, int) { return errno = EMFILE, -1; };
  log_event("m", "a", 1, 1, 2);
  EXPECT_EQ(errno, 33);
}

TEST_F(LogEventTest, AFullLoggerIsGivenUpThoughATimerInterrupts) {
  for (bool full = false; !full;) {  // a sender may have less room than the logger
    const int sender = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const auto send = [&] {
      return ::sendto(sender, "x", 1, 0, reinterpret_cast<const sockaddr*>(&sAddress), sizeof sAddress) == 1;
    };
    full = !send();
    while (send()) {
    }
    ::close(sender);
  }
  struct sigaction ticking = {}, before;
  ticking.sa_handler = [](int) {};
  ASSERT_EQ(::sigaction(SIGALRM, &ticking, &before), 0);
  const itimerval often = {{0, 20000}, {0, 20000}}, never = {};
  ASSERT_EQ(::setitimer(ITIMER_REAL, &often, nullptr), 0);
  errno = 33;
  log_event("m", "a", 1, 1, 2);
  EXPECT_EQ(errno, 33);
  ::setitimer(ITIMER_REAL, &never, nullptr);
  ::sigaction(SIGALRM, &before, nullptr);
  EXPECT_GT(sInterrupted, 0);
}

}  // namespace
