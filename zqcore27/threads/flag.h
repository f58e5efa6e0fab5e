#pragma once

#include "zqcore27/platform/export.h"
#include "zqcore27/platform/thread_annotations.h"
#include "zqcore27/threads/mutex.h"

inline namespace zqcore27 {

/// A bool that is read under a mutex which belongs to somebody else and must outlive the flag.
/// Threads: value from any; set and assignment as they say.
class ZQCORE27_EXPORT Flag {
 public:
  Flag(OrlanMutex* m, bool initial) : fValue(initial), fMutex(m) {}
  Flag(const Flag&) = default;
  /// Copies the value and the mutex to be used from now on, without a lock: nobody else may use either flag meanwhile.
  Flag& operator=(const Flag&) = default;
  ~Flag() {}

  /// Reads under the mutex.
  bool value() const {
    const OrlanSynchronized hold(*fMutex);
    return fValue;
  }
  /// Takes no lock. Requires: the caller holds the mutex.
  void set(bool value) ZQCORE27_NO_THREAD_SAFETY_ANALYSIS { fValue = value; }

 private:
  bool fValue;  // guarded by *fMutex
  OrlanMutex* fMutex;
};

}  // namespace zqcore27
