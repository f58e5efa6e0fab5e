#pragma once

#include <cstddef>
#include <cstdint>

inline namespace zqcore27 {
namespace platform {

/// How a file is opened.
struct OpenFlags {
  bool read = false;
  bool write = false;
  bool create = false;    // make a missing file
  bool truncate = false;  // empty an existing file
  bool append = false;    // every write goes to the end
  bool binary = false;    // no translation of line ends, on platforms that have one
};

/// Where an offset counts from; the numbers are those of the interfaces above.
enum SeekOrigin : int { SEEK_ORIGIN_START = 0, SEEK_ORIGIN_CURRENT = 1, SEEK_ORIGIN_END = 2 };

// Files by descriptor. Every operation goes on after an interruption by a signal. Offsets and sizes have 64 bits.
// Threads: any; two operations on one descriptor share its position.

/// Opens a file by its native path and returns its descriptor, or -1. A directory is refused, also behind a link. A new
/// file may be read and written as the process's umask allows. The descriptor isn't inherited by started programs.
int openFile(const char* path, OpenFlags flags);

/// Gives the descriptor back, whatever the result. False if the platform reports that something was lost.
bool closeFile(int descriptor);

/// Reads until `n` bytes are there, the file ends or a read fails. True if all `n` bytes were read.
bool readFile(int descriptor, void* to, std::size_t n);

/// Reads what one read of the platform gives, at most `n` bytes: 0 at the end of the file, -1 on failure.
std::int64_t readFileSome(int descriptor, void* to, std::size_t n);

/// Writes until `n` bytes are stored or a write fails. Returns the number of bytes stored.
std::size_t writeFile(int descriptor, const void* from, std::size_t n);

/// Moves the position and returns it, counted from the start, or -1: outside the file's range, an origin other than
/// the three, or a file without positions, such as a pipe.
std::int64_t seekFile(int descriptor, std::int64_t offset, int origin);

/// The size in bytes, or -1 for a file without positions. The position stays.
std::int64_t fileSize(int descriptor);

}  // namespace platform
}  // namespace zqcore27
