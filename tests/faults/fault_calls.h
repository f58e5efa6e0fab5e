#pragma once

// What a test asks of the object that stands between a program and the C runtime (fault_calls.cpp). The program gets it
// by LD_PRELOAD, or is linked with it where a sanitizer has the runtime's heap. Without it the functions are null.

#include <cstdint>

/// What calls there are, one bit each.
enum FaultKind : std::uint32_t {
  FAULT_HEAP = 1,     // malloc, calloc, realloc, posix_memalign
  FAULT_OPEN = 2,     // open, opendir, iconv_open
  FAULT_READ = 4,     // read, readdir
  FAULT_WRITE = 8,    // write, sendmsg
  FAULT_SEEK = 16,    // lseek
  FAULT_CLOSE = 32,   // close, closedir: the descriptor is gone all the same
  FAULT_STATUS = 64,  // fstat, readlink
  FAULT_THREAD = 128  // pthread_create
};

/// What happens to the n-th call that is counted.
enum class FaultMode : int {
  NONE,         // nothing: calls are counted
  ONCE,         // it fails
  FROM_THEN,    // it fails, and so do all later ones
  INTERRUPTED,  // only those to open, read, write and close count: it is interrupted by a signal
  SHORT         // only read and write count: it moves a single byte
};

struct FaultsSeen {
  std::uint32_t calls;      // counted
  std::uint32_t delivered;  // that failed, or were interrupted or cut short
  std::uint32_t kinds;      // of those
  std::uint64_t read;       // bytes that read gave
  std::uint32_t live;       // blocks taken between the marks, by anybody but the dynamic linker, and not freed yet
};

extern "C" {
/// From here on the calls of all threads count.
[[gnu::weak]] void faultsStart(std::uint32_t n, FaultMode mode);
/// No further call counts or fails. Blocks that are still to be freed go on being known.
[[gnu::weak]] void faultsStop();
[[gnu::weak]] FaultsSeen faultsSeen();
/// By 1: calls of this thread don't count until -1. Pauses nest.
[[gnu::weak]] void faultsPause(int by);
}

/// The test's own work between the marks.
class FaultPause {
 public:
  FaultPause() { faultsPause(1); }
  ~FaultPause() { faultsPause(-1); }
  FaultPause(const FaultPause&) = delete;
  FaultPause& operator=(const FaultPause&) = delete;
};
