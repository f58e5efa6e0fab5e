#pragma once

#include <cstdint>
#include <memory>

#include "zqcore27/core/memory.h"
#include "zqcore27/files/file_locator.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/strings/string.h"
#include "zqcore27/threads/mutex.h"

inline namespace zqcore27 {

namespace platform {
class Stream;
}

/// A buffered file with text lines. Failures show in results; getError keeps the last error, which only open clears.
/// States: closed, from construction or close; open, from a successful open. On a closed file close is true, and all
/// else fails: false, -1 from getChr, 0 from size.
/// The path is opened in the platform's encoding: a character that this lacks becomes `?`. A path that holds a zero
/// unit is refused and, in a code page that isn't here, one with characters beyond ASCII: both would open another file.
/// Directories are refused. A new file may be read and written as the process's umask allows. The file isn't inherited
/// by programs started.
/// The process's `exit` stores what is buffered; for that it waits for a thread that is inside a write, were it one to
/// a full pipe. In a forked child it leaves out what the child inherited in the buffer. The child's own flush, close,
/// destructor, seek, size, read behind a write and full buffer store that too.
/// Errors: nothing of its own; MemError and StringError where said. Threads: lockedSeekAndRead from any number of
/// threads at once, with nothing else beside it; all else one at a time.
class ZQCORE27_EXPORT File {
 public:
  enum Error : int {
    FILE_ERR_NONE = 0,
    /// Not opened yet, or the file couldn't be opened; a byte could not be written by putChr or writeLine.
    FILE_ERR_ACCESS = 1,
    /// open was called with a bad mode.
    FILE_ERR_MODE = 2,
    /// A seek failed, or the size is unknown or above 32 bits.
    FILE_ERR_SEEK = 3
  };

  /// The access in the low four bits, or-ed with MODE_BINARY. Bits above are ignored.
  enum Mode : std::uint32_t {
    MODE_READ = 1,
    /// Makes or empties the file.
    MODE_WRITE = 2,
    /// Makes or empties the file.
    MODE_READ_WRITE = 3,
    /// Makes a missing file, unlike BasicFile. Every write goes to the end.
    MODE_APPEND = 4,
    /// The file must exist, unlike with BasicFile.
    MODE_UPDATE = 5,
    /// Without it the platform's translation of line ends applies, where it has one.
    MODE_BINARY = 16
  };
  friend constexpr Mode operator|(Mode a, Mode b) {
    return static_cast<Mode>(static_cast<std::uint32_t>(a) | static_cast<std::uint32_t>(b));
  }

  enum SeekMode : int { SEEK_FROM_START = 0, SEEK_FROM_CURRENT = 1, SEEK_FROM_END = 2 };

  /// Closed, with FILE_ERR_ACCESS.
  File();
  /// Closes; what close would report goes unheard.
  ~File();
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  /// Opens what `f` names. An open file is closed first, and if that fails so does open, with FILE_ERR_ACCESS. A
  /// locator with an empty name (an extension alone is none) gives FILE_ERR_ACCESS before the mode is looked at.
  /// Errors: MemError; the object is closed then, with FILE_ERR_ACCESS.
  bool open(const FileLocator& f, Mode m);
  /// False if something written could not be stored; closed in any case. The last error stays.
  bool close();

  /// True if all `n` bytes were read; those read stay in `p` otherwise.
  bool read(void* p, unsigned int n);
  /// True if all `n` bytes were taken. What the buffer can't store later shows in flush and close.
  bool write(const void* p, unsigned int n);
  /// Native text, up to the first zero unit. Errors: MemError, with nothing written.
  bool write(const String& s);
  /// The same and a line feed; true if both were taken. Errors: MemError, with nothing written.
  bool writeLine(const String& s);

  /// Reads one line of native text, without its end: LF, CR, CR LF or LF CR. The text ends at the line's first zero
  /// byte. `type` makes no difference.
  /// False if the end of the file was met, true otherwise: a last line comes with false, whether or not a line end
  /// closes it, so read until false and look at `out` each time. A failed read counts as the end of the file.
  /// On a file without positions, such as a pipe, a line end that isn't the second of a pair leaves FILE_ERR_SEEK; no
  /// byte is lost by it.
  /// Errors: StringError for bytes that aren't native text, after which the line is consumed; MemError, after which its
  /// rest may still be to be read.
  bool readLine(String& out, String::NativeType type);

  /// The next byte, 0 to 255, or -1 at the end and at a failure.
  std::int32_t getChr();
  /// Writes the low 8 bits.
  bool putChr(std::uint16_t c);

  /// `offset` is taken as a signed 32-bit number, on every platform. A position before the start is refused.
  bool seek(unsigned int offset, SeekMode m);
  /// Bytes in the file, 0 to 0xFFFFFFFF; 0 with FILE_ERR_SEEK if the file has no positions or is larger. The position
  /// stays.
  unsigned int size();
  bool flush();

  Error getError() { return fError; }

  /// Makes the work area of readLine at least `n` bytes large; it is made with 1000 when first needed, grows with the
  /// longest line and never shrinks. With 0 it is freed. The stream's own buffer isn't touched.
  /// Errors: MemError, with the area as it was.
  void hintBufferSize(unsigned int n);

  /// Seeks and reads as one step among threads. With `n` 0 the result of the seek.
  bool lockedSeekAndRead(unsigned int offset, SeekMode m, void* p, unsigned int n);

 private:
  unsigned int read_raw_line();
  void grow_line_buffer();

  platform::Stream* fFile = nullptr;  // owned; null when closed
  Error fError = FILE_ERR_ACCESS;
  bool fOpen = false;
  std::unique_ptr<MemResizable> fLineBuffer;  // work area of readLine; null until needed
  OrlanMutex fLock;                           // of lockedSeekAndRead alone
};

}  // namespace zqcore27
