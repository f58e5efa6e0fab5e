#include "zqcore27/threads/request.h"

inline namespace zqcore27 {

void Request::run(Flag* stop) const noexcept {
  fArg->flag = stop;
  try {
    fFunc(fArg);
  } catch (...) {
    clean_up();
  }
}

void Request::clean_up() const noexcept {
  if (fCleanup == nullptr) return;
  try {
    fCleanup(fCleanupArg);
  } catch (...) {
    // A cleanup has nobody to report to.
  }
}

}  // namespace zqcore27
