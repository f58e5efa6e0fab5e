#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>

#include "zqcore27/platform/critical_section.h"
#include "zqcore27/platform/descriptor_file.h"

inline namespace zqcore27 {
namespace platform {

/// A buffered file. Reads and writes may follow each other in any order. Interruptions by a signal don't show.
/// Bytes that were accepted and could not be stored afterwards are lost for good: from then on flush and the closing
/// report failure.
/// Bytes that are buffered still when the library's exit step comes are stored by it, and from then on every write is
/// stored at once. It waits for a thread that is storing bytes, such as in a write to a full pipe.
/// The exit step of a forked child leaves out the bytes that were in the buffer at the fork, for the parent has them
/// too; where there was no memory to register for forks at load it stores them again. Whatever else stores in the child
/// stores them as well, before its own: flush, close, seek, tell, a read behind a write, a buffer that fills up. A
/// parent that leaves by _exit counts on that.
/// Threads: one at a time; the exit step on any.
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
  int get() {
    const auto bytes = ahead();
    if (bytes.empty()) return -1;
    skip(1);
    return bytes[0];
  }
  bool put(unsigned char byte);
  /// Steps back before `byte`, which get has just returned. False on a stream without positions, such as a pipe; the
  /// byte is read again there, too.
  bool unget(unsigned char byte);
  /// The bytes that the next reads give, some at least unless the file has ended or fails: enough to look through
  /// before taking them with skip. Valid until the next operation.
  std::span<const unsigned char> ahead() {
    if (fDirection != Direction::READING || fNext == fEnd) return refilled();
    return {fBuffer.data() + fNext, fEnd - fNext};
  }
  /// Takes `n` of the bytes that ahead has just shown.
  void skip(std::size_t n) { fNext += n; }
  /// True once a read has met the end of the file or has failed, until the next seek.
  bool atEnd() const { return fEnded; }
  /// False as seekFile gives -1.
  bool seek(std::int64_t offset, int origin);
  /// The position, or -1 on a stream without positions.
  std::int64_t tell();
  bool flush();

 private:
  enum class Direction { NONE, READING, WRITING };

  static constexpr std::size_t BUFFER = 16384;  // bytes

  explicit Stream(OpenFlags flags) : fFlags(flags) {}
  ~Stream() = default;
  std::span<const unsigned char> refilled();
  bool start_reading();
  bool start_writing();
  std::size_t receive(unsigned char* to, std::size_t n);
  bool store(const unsigned char* from, std::size_t n);
  bool store_held();
  bool store_buffer();
  void enlist();
  void delist();
  void leave_to_parent();

  /// Stores what all streams hold when the library's static objects go.
  struct ExitStep {
    ExitStep();
    ~ExitStep();
  };
  static const ExitStep sExitStep;
  static constinit CriticalSection sListLock;  // of sWriting and every fNextWriting; taken before an fLock
  static constinit Stream* sWriting;           // those open for writing
  static constinit std::atomic<bool> sEnding;  // the exit step has come

  int fDescriptor = -1;
  OpenFlags fFlags;
  bool fSeekable = false;                  // has positions
  Direction fDirection = Direction::NONE;  // what fBuffer holds
  bool fEnded = false;                     // a read came up short since the last seek
  bool fAtEnd = false;                     // it was the end of the file; further reads don't ask again
  std::size_t fNext = 0;                   // reading: the first byte that isn't taken yet
  std::size_t fEnd = 0;                    // reading: behind the last byte that was read
  Stream* fNextWriting = nullptr;
  CriticalSection fLock;  // of the three below and of the bytes held; readers of a file that isn't written need none
  std::size_t fHeld = 0;  // bytes accepted and not stored yet, from the start of fBuffer
  std::size_t fInherited = 0;  // of these, the bytes that the parent of a forked child has, too
  bool fLost = false;          // accepted bytes could not be stored
  std::array<unsigned char, BUFFER> fBuffer;
};

}  // namespace platform
}  // namespace zqcore27
