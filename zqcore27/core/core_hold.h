#pragma once

// Internal.

#include "zqcore27/platform/thread_annotations.h"
#include "zqcore27/threads/mutex.h"

inline namespace zqcore27 {

class OrlanCore;

/// Keeps the core from going, if there is one, while this object lives: for the steps of a thread that may outlive it.
/// Short steps only: the end of the process waits for them. The lock comes before the registry's.
class CoreHold {
 public:
  CoreHold();
  CoreHold(const CoreHold&) = delete;
  CoreHold& operator=(const CoreHold&) = delete;

  /// Null once the core has begun to go.
  OrlanCore* core() const { return fCore; }

 private:
  OrlanSynchronized fHold;
  OrlanCore* fCore;
};

}  // namespace zqcore27
