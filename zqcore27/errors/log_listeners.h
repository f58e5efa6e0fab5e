#pragma once

#include <cstdint>
#include <ostream>
#include <vector>

#include "zqcore27/errors/log.h"
#include "zqcore27/platform/thread_annotations.h"
#include "zqcore27/threads/mutex.h"

inline namespace zqcore27 {

class CStr;

/// Base of the ready listeners: keeps messages whose level isn't above getVerbosity, as lines such as
///
///   2026-02-03T04:05:06.789Z 8 the text
///
/// with the time in UTC and the level. Control characters become `#` and three octal digits, so that a message is one
/// line. An error is worded by `words`, which may be null and must outlive the listener, and followed by its code.
/// Threads: any number may log at once, each error by one of them, and `words` must bear that; the lines stand in the
/// order of their times as far as the clock isn't set back.
class ZQCORE27_EXPORT LineLogListener : public LogListener {
 public:
  ~LineLogListener() override;

  /// Errors of both: MemError, and what take_line raises; the message isn't kept then.
  void log(const Error& e, LogVerbosityCode v) override;
  void log(const String& s, LogVerbosityCode v) override;

 protected:
  LineLogListener(CStr* words, unsigned int verbosity);

  /// Takes a line without its end. The listener's lock is held.
  virtual void take_line(String&& line) ZQCORE27_REQUIRES(fMutex) = 0;

  OrlanMutex fMutex;  // guards what subclasses keep; no other lock is taken under it

 private:
  CStr* fWords;  // not owned
};

/// Base of those that write their lines somewhere at once. What can't be written is counted, and told in a line of its
/// own as soon as there is room again: nothing is missing unseen. Threads: as LineLogListener.
class ZQCORE27_EXPORT WritingLogListener : public LineLogListener {
 public:
  ~WritingLogListener() override;

  /// Messages that could not be written as a whole since the listener was made.
  std::uint32_t lost();

 protected:
  WritingLogListener(CStr* words, unsigned int verbosity);

  void take_line(String&& line) override ZQCORE27_REQUIRES(fMutex);
  /// Writes `n` bytes, a line with its end, and returns how many are stored. When it was some but not all, or it threw,
  /// the next line begins with a line end of its own.
  virtual std::size_t write_bytes(const char* bytes, std::size_t n) ZQCORE27_REQUIRES(fMutex) = 0;

 private:
  bool write_line(const String& line) ZQCORE27_REQUIRES(fMutex);

  std::uint32_t fLost ZQCORE27_GUARDED_BY(fMutex) = 0;
  std::uint32_t fUntold ZQCORE27_GUARDED_BY(fMutex) = 0;  // of them, those that no line has told of yet
  bool fTorn ZQCORE27_GUARDED_BY(fMutex) = false;         // the last line may lack its end
};

/// Writes lines in UTF-8 to a stream of the host's, and flushes it after each one. Once the stream has failed, messages
/// are lost until the host clears its state; what the stream took of a line by then stays, and the next line begins
/// a fresh one, behind an empty line if there was nothing. Threads: as LineLogListener; nobody else uses the stream
/// meanwhile.
class ZQCORE27_EXPORT StreamLogListener : public WritingLogListener {
 public:
  /// `stream` must outlive the listener.
  explicit StreamLogListener(std::ostream& stream, CStr* words = nullptr, unsigned int verbosity = VERBOSITY_DEBUG);
  ~StreamLogListener() override;

 protected:
  std::size_t write_bytes(const char* bytes, std::size_t n) override ZQCORE27_REQUIRES(fMutex);

 private:
  std::ostream& fOut;
};

/// Appends lines in UTF-8 to a file, each with one write, so that several processes may share it. Threads: as
/// LineLogListener.
class ZQCORE27_EXPORT FileLogListener : public WritingLogListener {
 public:
  /// Opens the file, or makes it. Look at isOpen: without a file every message is lost.
  explicit FileLogListener(const String& path, CStr* words = nullptr, unsigned int verbosity = VERBOSITY_DEBUG);
  ~FileLogListener() override;

  bool isOpen() const { return fDescriptor >= 0; }

 protected:
  std::size_t write_bytes(const char* bytes, std::size_t n) override ZQCORE27_REQUIRES(fMutex);

 private:
  const int fDescriptor;  // -1: none
};

/// Keeps the last lines in memory, for the report after a crash. It locks and allocates: collect the report from a
/// thread, not in a signal handler. Threads: as LineLogListener, and while others log.
class ZQCORE27_EXPORT RecentLogListener : public LineLogListener {
 public:
  /// Keeps `capacity` lines; with 0 none. Their memory is taken as they come.
  explicit RecentLogListener(std::uint32_t capacity, CStr* words = nullptr, unsigned int verbosity = VERBOSITY_DEBUG);
  ~RecentLogListener() override;

  /// Lines kept at present, 0 to the capacity.
  std::uint32_t count();
  /// The lines, the oldest first, each with a line feed. Errors: MemError.
  String text();

 protected:
  void take_line(String&& line) override ZQCORE27_REQUIRES(fMutex);

 private:
  const std::uint32_t fCapacity;
  std::vector<String> fLines ZQCORE27_GUARDED_BY(fMutex);  // a ring once it is full
  std::uint32_t fOldest ZQCORE27_GUARDED_BY(fMutex) = 0;   // where the next line goes then
};

}  // namespace zqcore27
