#include "zqcore27/threads/thread_error.h"

inline namespace zqcore27 {

ThreadError::ThreadError(std::uint32_t code, bool fatal) : Error(code, fatal) {}
ThreadError::ThreadError(const ThreadError& e) = default;
ThreadError& ThreadError::operator=(const ThreadError& e) = default;
ThreadError::~ThreadError() = default;
const char* ThreadError::module() const { return "Threads"; }

}  // namespace zqcore27
