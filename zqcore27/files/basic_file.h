#pragma once

#include <cstdint>

#include "zqcore27/core/memory.h"
#include "zqcore27/files/file_locator.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/threads/mutex.h"

inline namespace zqcore27 {

/// An unbuffered file on a descriptor. Failures show in results; getError keeps the last error, which only open clears.
/// States: closed, from construction or close; open, from a successful open. On a closed file close is true, and all
/// else fails: false, 0xFFFFFFFF from stell and size.
/// The path is opened in the platform's encoding: a character that this lacks becomes `?`. A path that holds a zero
/// unit is refused and, in a code page that isn't here, one with characters beyond ASCII: both would open another file.
/// Directories are refused. A new file may be read and written as the process's umask allows. The file isn't inherited
/// by programs started.
/// Errors: nothing but MemError from open, which leaves it closed with FILE_ERR_ACCESS. Threads: lockedSeekAndRead from
/// any number of threads at once, with nothing else beside it; all else one at a time.
class ZQCORE27_EXPORT BasicFile : public FromLibraryHeap {
 public:
  enum Error : int {
    FILE_ERR_NONE = 0,
    /// Not opened yet, or the file couldn't be opened.
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
    /// The file must exist, unlike with File. Every write goes to the end; no reading.
    MODE_APPEND = 4,
    /// Makes a missing file, unlike File; keeps what is there.
    MODE_UPDATE = 5,
    /// Without it the platform's translation of line ends applies, where it has one.
    MODE_BINARY = 16
  };
  friend constexpr Mode operator|(Mode a, Mode b) {
    return static_cast<Mode>(static_cast<std::uint32_t>(a) | static_cast<std::uint32_t>(b));
  }

  enum SeekMode : int { SEEK_FROM_START = 0, SEEK_FROM_CURRENT = 1, SEEK_FROM_END = 2 };

  /// Closed, with FILE_ERR_ACCESS.
  BasicFile();
  /// Closes.
  virtual ~BasicFile();
  BasicFile(const BasicFile&) = delete;
  BasicFile& operator=(const BasicFile&) = delete;

  /// Opens what `f` names and returns the descriptor, which the object keeps. -1 if `f` has an empty name (an extension
  /// alone is none) or it can't be opened. A bad mode gives 0, the number of an ordinary descriptor: look at
  /// getError. An open file is closed first, and if that fails the result is -1 with FILE_ERR_ACCESS.
  int open(const FileLocator& f, Mode m);
  /// False if the platform reports a loss; closed in any case. The last error stays.
  bool close();

  /// True if all `n` bytes were read, however many reads of the platform that takes.
  bool read(void* p, unsigned int n);
  /// True if all `n` bytes were stored.
  bool write(const void* p, unsigned int n);
  /// `offset` is taken as a signed 32-bit number, on every platform. A position before the start is refused.
  bool seek(std::uint32_t offset, SeekMode m);
  /// The position in bytes from the start; 0xFFFFFFFF if there is none or it doesn't fit.
  std::uint32_t stell();
  /// Bytes in the file, 0 to 0xFFFFFFFF; 0xFFFFFFFF with FILE_ERR_SEEK if the file has no positions or is larger.
  unsigned int size();

  Error getError() { return fError; }

  /// Seeks and reads as one step among threads.
  bool lockedSeekAndRead(unsigned int offset, SeekMode m, void* p, unsigned int n);

 private:
  std::int32_t fHandle = -1;  // the descriptor; -1 when closed
  Error fError = FILE_ERR_ACCESS;
  bool fOpen = false;
  OrlanMutex fLock;  // of lockedSeekAndRead alone
};

}  // namespace zqcore27
