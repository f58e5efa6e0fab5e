#include "zqcore27/errors/log.h"

#include <algorithm>
#include <new>

#include "zqcore27/errors/single_line.h"
#include "zqcore27/platform/system_log.h"
#include "zqcore27/strings/nat_string.h"

inline namespace zqcore27 {

namespace {

constexpr std::uint32_t MAX_TAG = 32;  // characters

bool mayStandInTag(std::uint16_t c) { return c > ' ' && c < 0x7F && c != ':' && c != '[' && c != ']'; }

/// `source` as the logger's tag. Both are equal if it can stand as it is.
String tagOf(const String& source) {
  if (source.size() == 0) return "-";
  String tag(source.begin(), std::min(source.size(), MAX_TAG));
  for (unsigned int i = 0; i < tag.size(); ++i) {
    if (!mayStandInTag(tag[i])) tag[i] = '_';
  }
  return tag;
}

bool same(const String& a, const String& b) {
  return std::equal(a.units().begin(), a.units().end(), b.units().begin(), b.units().end());
}

}  // namespace

void log_event(String message, String source, unsigned short category, std::uint32_t type, unsigned short id) {
  const String tag = tagOf(source);
  String text;
  text.build("[category %u, event %u", static_cast<unsigned int>(category), static_cast<unsigned int>(id));
  if (!same(tag, source)) {
    text += ", source ";
    text += singleLine(source);
  }
  text += "] ";
  text += singleLine(message);
  const NatString name(tag), native(text);
  platform::reportEvent(name.begin(), native.begin(), native.size() - 1, static_cast<std::uint16_t>(type));
}

// --- LogListenerBuffer ---

LogListenerBuffer::LogListenerBuffer() : std::basic_stringbuf<char>(std::ios_base::in | std::ios_base::out) {}

// The text is grown by the standard library or by a host, with the host's operator new, and the base's destructor would
// be compiled into this library, whose operator delete is another. So the text goes to a string buffer that the
// standard library destroys: by a virtual call, which the volatile keeps the compiler from seeing through.
LogListenerBuffer::~LogListenerBuffer() {
  alignas(std::stringbuf) unsigned char room[sizeof(std::stringbuf)];
  auto* const grave = new (room) std::stringbuf;
  std::stringbuf::swap(*grave);
  std::streambuf* const volatile unseen = grave;
  unseen->~basic_streambuf();
}

int LogListenerBuffer::sync() {
  setp(pbase(), epptr());
  setg(pbase(), pbase(), pbase());
  return 0;
}

// The base writes behind the end of its text when that is taken by a move while the host's area is in use.
std::streambuf* LogListenerBuffer::setbuf(char*, std::streamsize) { return this; }

// --- LogListener ---

// The stream stands before the buffer, so that it can take the buffer only now.
LogListener::LogListener() : std::basic_ostream<char>(nullptr) {
  rdbuf(&fBuffer);
  fBuffer.setListener(this);
}

LogListener::~LogListener() = default;

unsigned int LogListener::getVerbosity() { return fVerbosity.load(std::memory_order_relaxed); }

void LogListener::informEvent(const String& message, const String& source, unsigned short category, std::uint32_t type,
                              unsigned short id) {
  log_event(message, source, category, type, id);
}

// --- CoreLog ---

CoreLog& CoreLog::operator=(CoreLog&& other) noexcept {
  delete std::exchange(fListener, std::exchange(other.fListener, nullptr));  // with itself nothing happens
  return *this;
}

CoreLog::~CoreLog() { delete fListener; }

LogVerbosityCode CoreLog::intToVerbosityCode(unsigned int n) {
  if (n >= VERBOSITY_DEBUG) return VERBOSITY_DEBUG;
  if (n > VERBOSITY_WARNING && n <= VERBOSITY_INFORMATION) return VERBOSITY_INFORMATION;
  return static_cast<LogVerbosityCode>(n);
}

}  // namespace zqcore27
