#include "zqcore27/threads/mutex.h"

inline namespace zqcore27 {

void OrlanMutex::lock() { fSection.lock(); }

void OrlanMutex::unlock() { fSection.unlock(); }

}  // namespace zqcore27
