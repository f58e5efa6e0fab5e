#pragma once

#include <cstddef>
#include <cstdint>

#include "zqcore27/platform/descriptor_file.h"

inline namespace zqcore27 {
namespace platform {

/// A buffered file. Reads and writes may follow each other in any order. Interruptions by a signal don't show.
/// Bytes that were accepted and could not be stored afterwards are lost for good: from then on flush and the closing
/// report failure. Threads: one at a time.
class Stream {
 public:
  /// Opens as openFile does. Returns null on failure; the caller closes what it gets.
  static Stream* open(const char* path, OpenFlags flags);
  /// Writes what is buffered and deletes the stream, whatever the result. True if nothing was lost.
  static bool close(Stream* stream);

  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  /// True if all `n` bytes were read. What was read before the end or a failure is in `to`.
  bool read(void* to, std::size_t n);
  /// True if all `n` bytes were accepted.
  bool write(const void* from, std::size_t n);
  /// The next byte, or -1.
  int get();
  bool put(unsigned char byte);
  /// Steps back before `byte`, which get has just returned. False on a stream without positions, such as a pipe; the
  /// byte is read again there, too.
  bool unget(unsigned char byte);
  /// True once a read has met the end of the file or has failed, until the next seek.
  bool atEnd() const { return fEnded; }
  /// False as seekFile gives -1.
  bool seek(std::int64_t offset, int origin);
  /// The position, or -1 on a stream without positions.
  std::int64_t tell();
  bool flush();

 private:
  struct Cookie;
  enum class Direction { NONE, READING, WRITING };

  Stream() = default;
  ~Stream() = default;
  bool turn(Direction direction);
  bool canSeek();

  void* fStream = nullptr;  // the C runtime's stream
  int fDescriptor = -1;
  Direction fDirection = Direction::NONE;  // of the last operation since a seek
  bool fEnded = false;                     // a read came up short since the last seek
  bool fLost = false;                      // accepted bytes could not be stored
};

}  // namespace platform
}  // namespace zqcore27
