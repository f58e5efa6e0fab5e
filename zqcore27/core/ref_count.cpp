#include "zqcore27/core/ref_count.h"

inline namespace zqcore27 {

RefCount::RefCount() = default;

RefCount::~RefCount() = default;

void RefCount::use() {
  const OrlanSynchronized hold(fMutex);
  ++fCount;
}

bool RefCount::unuse() {
  bool last = false;
  {
    const OrlanSynchronized hold(fMutex);
    last = --fCount < 0;
  }
  if (last) delete this;
  return last;
}

}  // namespace zqcore27
