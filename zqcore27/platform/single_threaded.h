#pragma once

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#endif

inline namespace zqcore27 {

/// True if the process certainly has no thread but the caller's: what another could see needs no atomic change then.
/// False if it may have others, or the platform doesn't tell. Threads: any.
inline bool isSingleThreaded() {
#if __has_include(<sys/single_threaded.h>)
  return __libc_single_threaded;
#else
  return false;
#endif
}

}  // namespace zqcore27
