#include "zqcore27/threads/system_call_error.h"

inline namespace zqcore27 {

ThreadError systemCallError(const JTCSystemCallException& e) {
  ThreadError error(ThreadError::SYSTEM_CALL_FAILED, false);
  String number;
  number.build("%d", e.getError());
  error.addInsert(number);
  error.addInsert(String(e.getMessage()));
  return error;
}

}  // namespace zqcore27
