#include "zqcore27/threads/mutex.h"

inline namespace zqcore27 {

namespace {

// A host whose compiler doesn't inline the two finds them in the library.
[[gnu::used]] void (OrlanMutex::*const kept[])() = {&OrlanMutex::lock, &OrlanMutex::unlock};

}  // namespace

}  // namespace zqcore27
