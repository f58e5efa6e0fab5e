#include "zqcore27/platform/system_log.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/uio.h>
#include <sys/un.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "zqcore27/platform/posix/system_calls.h"

inline namespace zqcore27 {
namespace platform {

using posix::gSystemCalls;

namespace {

constexpr char LOGGER[] = "/dev/log";
constexpr timeval PATIENCE = {.tv_sec = 1, .tv_usec = 0};

// The numbers of RFC 3164: facility times 8, plus severity.
enum Facility : int { USER = 1, AUTH = 4 };
enum Severity : int { ERROR = 3, WARNING = 4, NOTICE = 5, INFORMATION = 6 };

constexpr int priority(Facility facility, Severity severity) { return facility * 8 + severity; }

int priorityOf(std::uint16_t type) {
  switch (type) {
    case EVENT_ERROR:
      return priority(USER, ERROR);
    case EVENT_WARNING:
      return priority(USER, WARNING);
    case EVENT_AUDIT_SUCCESS:
      return priority(AUTH, NOTICE);
    case EVENT_AUDIT_FAILURE:
      return priority(AUTH, WARNING);
    default:
      return priority(USER, INFORMATION);
  }
}

/// "<11>Nov  3 08:15:00 tag[123]: ". The month's name doesn't depend on the locale.
std::size_t makeHeader(char* out, std::size_t room, const char* tag, std::uint16_t type) {
  static constexpr char MONTHS[][4] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const std::time_t now = std::time(nullptr);
  tm t{};
  localtime_r(&now, &t);
  const int n = std::snprintf(out, room, "<%d>%s %2d %02d:%02d:%02d %s[%ld]: ", priorityOf(type), MONTHS[t.tm_mon],
                              t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec, tag, static_cast<long>(getpid()));
  return n < 0 ? 0 : static_cast<std::size_t>(n) < room ? static_cast<std::size_t>(n) : room - 1;
}

iovec piece(const char* bytes, std::size_t n) { return {const_cast<char*>(bytes), n}; }

/// Sends the pieces as one datagram. False only if it was too long.
bool sendDatagram(int descriptor, iovec* pieces, std::size_t n) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, LOGGER, sizeof LOGGER);
  msghdr message{};
  message.msg_name = &address;
  message.msg_namelen = sizeof address;
  message.msg_iov = pieces;
  message.msg_iovlen = n;
  // A signal starts the socket's patience anew, so a host with a timer would wait for ever: the whole has a limit, too.
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(PATIENCE.tv_sec);
  ssize_t sent;
  do {
    sent = gSystemCalls.sendmsg(descriptor, &message, MSG_NOSIGNAL);
  } while (sent < 0 && errno == EINTR && std::chrono::steady_clock::now() < limit);
  return sent >= 0 || errno != EMSGSIZE;
}

/// The most bytes of `text`, `n` at most, that don't end within a character of UTF-8.
std::size_t wholeCharacters(const char* text, std::size_t n) {
  while (n > 0 && (static_cast<unsigned char>(text[n]) & 0xC0) == 0x80) --n;
  return n;
}

void sendText(int descriptor, const char* header, std::size_t headerSize, const char* text, std::size_t n) {
  iovec pieces[3] = {piece(header, headerSize), piece(text, n)};
  if (sendDatagram(descriptor, pieces, 2)) return;
  for (std::size_t kept = wholeCharacters(text, n / 2); kept > 0; kept = wholeCharacters(text, kept / 2)) {
    char note[48];
    const int size = std::snprintf(note, sizeof note, " [%zu more bytes]", n - kept);
    pieces[1] = piece(text, kept);
    pieces[2] = piece(note, static_cast<std::size_t>(size));
    if (sendDatagram(descriptor, pieces, 3)) return;
  }
}

}  // namespace

void reportEvent(const char* tag, const char* text, std::size_t n, std::uint16_t type) {
  const int callersErrno = errno;
  const int descriptor = gSystemCalls.socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (descriptor >= 0) {
    setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &PATIENCE, sizeof PATIENCE);
    char header[128];
    sendText(descriptor, header, makeHeader(header, sizeof header, tag, type), text, n);
    gSystemCalls.close(descriptor);
  }
  errno = callersErrno;
}

}  // namespace platform
}  // namespace zqcore27
