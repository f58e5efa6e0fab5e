// Puts a socket of its own in the place of the system logger's, which only the library's objects allow.

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "tests/support/temp_dir.h"
#include "zqcore27/errors/log.h"
#include "zqcore27/platform/posix/system_calls.h"

namespace {

using posix::gSystemCalls;

class LogEventTest : public testing::Test {
 protected:
  LogEventTest() : fLogger(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sAddress = {};
    sAddress.sun_family = AF_UNIX;
    const std::string path = dir / "log";
    std::strncpy(sAddress.sun_path, path.c_str(), sizeof sAddress.sun_path - 1);
    EXPECT_EQ(::bind(fLogger, reinterpret_cast<const sockaddr*>(&sAddress), sizeof sAddress), 0) << path;
    sMost = SIZE_MAX;
    sInterruptions = 0;
    sLogger.clear();
    gSystemCalls.sendmsg = [](int descriptor, const msghdr* message, int flags) -> ssize_t {
      sLogger = static_cast<const sockaddr_un*>(message->msg_name)->sun_path;
      if (sInterruptions-- > 0) return errno = EINTR, -1;
      std::size_t size = 0;
      for (std::size_t i = 0; i < message->msg_iovlen; ++i) size += message->msg_iov[i].iov_len;
      if (size > sMost) return errno = EMSGSIZE, -1;
      msghdr here = *message;
      here.msg_name = &sAddress;
      here.msg_namelen = sizeof sAddress;
      return ::sendmsg(descriptor, &here, flags);
    };
  }
  ~LogEventTest() override {
    gSystemCalls = posix::SystemCalls();
    ::close(fLogger);
  }

  /// The next datagram, or "none".
  std::string received() {
    std::string bytes(1 << 18, '\0');
    const ssize_t n = ::recv(fLogger, bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (n < 0) return "none";
    bytes.resize(static_cast<std::size_t>(n));
    return bytes;
  }

  TempDir dir;
  int fLogger;
  static inline sockaddr_un sAddress;
  static inline std::size_t sMost;  // bytes that the logger takes
  static inline int sInterruptions;
  static inline std::string sLogger;  // the address that was meant
};

/// Splits "<11>Nov  3 08:15:00 tag[123]: text"; false if it has another form.
bool split(const std::string& datagram, int& priority, std::string& tag, std::string& text) {
  char month[4], name[64];
  int day, hour, minute, second, process, end = 0;
  std::sscanf(datagram.c_str(), "<%d>%3[A-Za-z] %2d %2d:%2d:%2d %63[^][ :][%d]:%n", &priority, month, &day, &hour,
              &minute, &second, name, &process, &end);
  if (end == 0) return false;
  char header[128];
  std::snprintf(header, sizeof header, "<%d>%s %2d %02d:%02d:%02d %s[%d]: ", priority, month, day, hour, minute, second,
                name, getpid());
  tag = name;
  text = datagram.substr(std::min(std::strlen(header), datagram.size()));
  return datagram.starts_with(header) && std::strstr("Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec", month);
}

TEST_F(LogEventTest, TheLoggerGetsOneWellFormedMessage) {
  static const struct {
    int line;
    String message, source;
    unsigned short category;
    std::uint32_t type;
    unsigned short id;
    int priority;
    std::string tag, text;
  } ROWS[] = {
      {__LINE__, "down", "server", 3, 1, 17, LOG_USER | LOG_ERR, "server", "[category 3, event 17] down"},
      {__LINE__, "", "a", 0, 2, 0, LOG_USER | LOG_WARNING, "a", "[category 0, event 0] "},
      {__LINE__, "100%s %n", "a", 65535, 4, 65535, LOG_USER | LOG_INFO, "a", "[category 65535, event 65535] 100%s %n"},
      {__LINE__, "m", "a", 1, 8, 2, LOG_AUTH | LOG_NOTICE, "a", "[category 1, event 2] m"},
      {__LINE__, "m", "a", 1, 16, 2, LOG_AUTH | LOG_WARNING, "a", "[category 1, event 2] m"},
      {__LINE__, "m", "a", 1, 0, 2, LOG_USER | LOG_INFO, "a", "[category 1, event 2] m"},
      {__LINE__, "m", "a", 1, 3, 2, LOG_USER | LOG_INFO, "a", "[category 1, event 2] m"},
      {__LINE__, "m", "a", 1, 0x10001, 2, LOG_USER | LOG_ERR, "a", "[category 1, event 2] m"},  // 16 bits count
      {__LINE__, "a\r\n<0>b\t\x1B[2J\x7F", "a", 1, 4, 2, LOG_USER | LOG_INFO, "a",
       "[category 1, event 2] a#015#012<0>b#011#033[2J#177"},
      {__LINE__, String(u"z\0z \u009B\u00E9\u20AC"), "a", 1, 4, 2, LOG_USER | LOG_INFO, "a", "[category 1, event 2] z"},
      {__LINE__, String(std::u16string_view(u"z\0z \u009B\u00E9\u20AC", 7)), "a", 1, 4, 2, LOG_USER | LOG_INFO, "a",
       "[category 1, event 2] z#000z #233\xC3\xA9\xE2\x82\xAC"},
      {__LINE__, "m", "my [big]\n server:1", 1, 4, 2, LOG_USER | LOG_INFO, "my__big___server_1",
       "[category 1, event 2, source my [big]#012 server:1] m"},
      {__LINE__, "m", "", 1, 4, 2, LOG_USER | LOG_INFO, "-", "[category 1, event 2, source ] m"},
      {__LINE__, "m", "0123456789abcdef0123456789abcdefX", 1, 4, 2, LOG_USER | LOG_INFO,
       "0123456789abcdef0123456789abcdef", "[category 1, event 2, source 0123456789abcdef0123456789abcdefX] m"},
      {__LINE__, "m", String(u"\u00E9"), 1, 4, 2, LOG_USER | LOG_INFO, "_", "[category 1, event 2, source \xC3\xA9] m"},
      {__LINE__, String(std::string(100000, 'x').c_str()), "a", 1, 4, 2, LOG_USER | LOG_INFO, "a",
       "[category 1, event 2] " + std::string(100000, 'x')},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    log_event(row.message, row.source, row.category, row.type, row.id);
    EXPECT_EQ(sLogger, "/dev/log");
    int priority = -1;
    std::string tag, text;
    const std::string datagram = received();
    ASSERT_TRUE(split(datagram, priority, tag, text)) << datagram;
    EXPECT_EQ(priority, row.priority);
    EXPECT_EQ(tag, row.tag);
    EXPECT_EQ(text, row.text);
    EXPECT_EQ(received(), "none");
  }
}

TEST_F(LogEventTest, AMessageTooLongForTheLoggerIsCutWithANote) {
  sMost = 2000;
  String message;
  for (int i = 0; i < 10000; ++i) message += u"\u20AC";
  log_event(message, "a", 1, 1, 2);
  int priority;
  std::string tag, text;
  ASSERT_TRUE(split(received(), priority, tag, text));
  const std::string lead = "[category 1, event 2] ", euro = "\xE2\x82\xAC";
  const std::size_t note = text.rfind(" [");
  ASSERT_TRUE(text.starts_with(lead + euro) && note > lead.size());
  EXPECT_EQ((note - lead.size()) % euro.size(), 0u);
  EXPECT_EQ(text.substr(note), " [" + std::to_string(lead.size() + 30000 - note) + " more bytes]");
  EXPECT_EQ(received(), "none");
}

TEST_F(LogEventTest, ListenersAndFrontsPassTheSameArguments) {
  struct Silent : LogListener {
    void log(const Error&, LogVerbosityCode) override {}
    void log(const String&, LogVerbosityCode) override {}
  };
  CoreLog log;
  log.setLog(new Silent);
  log.getListener()->setEventLog(false);  // which stops nothing
  log.eventlog("m", "a", 7, 2, 9);
  log.eventlog(String("m"), "a", 7, 2, 9);
  log.getListener()->informEvent("m", "a", 7, 2, 9);
  for (int i = 0; i < 3; ++i) {
    int priority = -1;
    std::string tag, text;
    ASSERT_TRUE(split(received(), priority, tag, text));
    EXPECT_EQ(priority, LOG_USER | LOG_WARNING);
    EXPECT_EQ(text, "[category 7, event 9] m");
  }
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

}  // namespace
