#pragma once

// Internal: what the system refused, as the error that hosts get.

#include "zqcore27/threads/jtc.h"
#include "zqcore27/threads/thread_error.h"

inline namespace zqcore27 {

/// ThreadError SYSTEM_CALL_FAILED with its two inserts.
ThreadError systemCallError(const JTCSystemCallException& e);

}  // namespace zqcore27
