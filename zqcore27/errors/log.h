#pragma once

#include <atomic>
#include <cstdint>
#include <ostream>
#include <sstream>
#include <utility>

#include "zqcore27/core/memory.h"
#include "zqcore27/errors/error.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

class LogListener;

/// The level that travels with a message. The library gives the six values no meaning; the names say what its own ready
/// listeners and most hosts take them for.
enum LogVerbosityCode : unsigned int {
  VERBOSITY_ALWAYS = 0,
  VERBOSITY_ERROR = 1,
  VERBOSITY_WARNING = 2,
  VERBOSITY_INFORMATION = 8,
  VERBOSITY_DETAIL = 9,
  VERBOSITY_DEBUG = 10
};

/// Reports one event to the system's logger under the name `source`; without a logger, or where it refuses, nothing
/// happens. Mind the order: category, type, id. `type` is 1 for an error, 2 a warning, 4 information, 8 and 16 audits
/// that succeeded and failed, of which 16 bits count; others are taken for information.
/// On Linux category and number lead the text, "[category 3, event 17] ...". A source that can't be the logger's tag as
/// it stands (longer than 32 characters, other than printable ASCII, blank or one of ":[]" in it) is told there too,
/// and the tag is made from it. Control characters arrive as `#` and three octal digits: a message is one line. Errors:
/// MemError from the conversion of the texts. Threads: any.
ZQCORE27_EXPORT void log_event(String message, String source, unsigned short category, std::uint32_t type,
                               unsigned short id);

/// The stream buffer of a listener. What is written is held until the next flush, which drops it: nothing reaches
/// LogListener::log this way. It is a string buffer with all of that class's operations; only an area of the host's
/// own, given by pubsetbuf, is ignored. Threads: one at a time.
class ZQCORE27_EXPORT LogListenerBuffer : public FromLibraryHeap, public std::basic_stringbuf<char> {
 public:
  LogListenerBuffer();
  ~LogListenerBuffer() override;

  /// The listener whose buffer it is; not owned, and not called.
  void setListener(LogListener* l) { fOwner = l; }
  /// Drops what was written, keeps the room. Returns 0.
  int sync() override;

 protected:
  std::basic_streambuf<char>* setbuf(char*, std::streamsize) override;

 private:
  LogListener* fOwner = nullptr;
};

/// Where messages go, and which of them are kept: a host derives from it. It is an output stream too, whose text is
/// dropped at each flush. log.h's CoreLog filters nothing: comparing a message's level with getVerbosity is up to the
/// subclass. Threads: setVerbosity, getVerbosity and informEvent any; log as the subclass says; the stream one at a
/// time.
class ZQCORE27_EXPORT LogListener : public FromLibraryHeap, public std::basic_ostream<char> {
 public:
  /// Verbosity 0.
  LogListener();
  ~LogListener() override;

  virtual void log(const Error& e, LogVerbosityCode v) = 0;
  virtual void log(const String& s, LogVerbosityCode v) = 0;
  virtual unsigned int getVerbosity();

  /// Any number; it isn't folded into the six levels.
  void setVerbosity(unsigned int n) { fVerbosity.store(n, std::memory_order_relaxed); }
  /// Kept for hosts: the library doesn't read it, and informEvent reports whatever it is.
  void setEventLog(bool b) { fEventLog = b; }
  /// log_event with the same arguments.
  void informEvent(const String& message, const String& source, unsigned short category, std::uint32_t type,
                   unsigned short id);

 private:
  std::atomic<std::uint32_t> fVerbosity{0};  // relaxed: it orders nothing else
  [[maybe_unused]] bool fEventLog = true;
  LogListenerBuffer fBuffer;
};

/// The front that a program logs through: it hands messages to one listener, or to none, at the cost of looking at a
/// pointer. What the listener raises passes through. Nothing in the library logs by itself.
/// Threads: calls that log as the listener allows; setLog not beside any other.
class ZQCORE27_EXPORT CoreLog {
 public:
  CoreLog() = default;
  CoreLog(const CoreLog&) = delete;
  CoreLog& operator=(const CoreLog&) = delete;
  /// Takes the listener over; `other` has none afterwards. Assignment deletes the listener that was here.
  CoreLog(CoreLog&& other) noexcept : fListener(std::exchange(other.fListener, nullptr)) {}
  CoreLog& operator=(CoreLog&& other) noexcept;
  /// Deletes the listener, the one that was set last.
  ~CoreLog();

  /// Takes the listener, made by `new`, into its ownership. It may be null. A former listener is neither deleted nor
  /// told: it is the caller's again.
  void setLog(LogListener* l) { fListener = l; }
  LogListener* getListener() const { return fListener; }

  void log(const String& s, LogVerbosityCode v) {
    if (fListener != nullptr) fListener->log(s, v);
  }
  void log(const Error& e, LogVerbosityCode v) {
    if (fListener != nullptr) fListener->log(e, v);
  }
  /// Native text, converted only if there is a listener. Errors: StringError.
  void log(const char* const s, LogVerbosityCode v) {
    if (fListener != nullptr) fListener->log(String(s), v);
  }

  /// LogListener::informEvent of the listener.
  void eventlog(const String& message, const String& source, unsigned short category, std::uint32_t type,
                unsigned short id) {
    if (fListener != nullptr) fListener->informEvent(message, source, category, type, id);
  }
  void eventlog(const char* const message, const String& source, unsigned short category, std::uint32_t type,
                unsigned short id) {
    if (fListener != nullptr) fListener->informEvent(String(message), source, category, type, id);
  }

  /// The level of a number: 0, 1, 2 and 9 as they are, 8 for 3 to 8, 10 for all above.
  static LogVerbosityCode intToVerbosityCode(unsigned int n);

 private:
  LogListener* fListener = nullptr;  // owned
};

}  // namespace zqcore27
