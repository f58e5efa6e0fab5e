#pragma once

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#endif

inline namespace zqcore27 {

/// True if the C runtime has started no thread but the caller's: what another could see needs no atomic change then.
/// False if the process may have others, or the platform doesn't tell. Threads that are made without the runtime, by a
/// bare system call or by a second runtime in a link namespace of its own, aren't known and must keep off the library.
/// Threads: any.
inline bool isSingleThreaded() {
#if __has_include(<sys/single_threaded.h>)
  return __libc_single_threaded;
#else
  return false;
#endif
}

}  // namespace zqcore27
