#include "zqcore27/platform/native_thread.h"

#include <cxxabi.h>
#include <pthread.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

inline namespace zqcore27 {

namespace {

static_assert(sizeof(pthread_t) == sizeof(std::uintptr_t));

constexpr int LOWEST_PRIORITY = -19;
constexpr int HIGHEST_PRIORITY = 20;

// The forced unwinding has no object that a reference could be bound to, at which the sanitizer would stop.
__attribute__((no_sanitize("undefined"))) void* threadEntry(void* arg) {
  const auto* thread = static_cast<const NativeThread*>(arg);
  try {
    thread->body(thread->arg);
  } catch (abi::__forced_unwind&) {
    throw;  // pthread_exit and pthread_cancel travel as an exception that must not be stopped
  } catch (...) {
  }
  return nullptr;
}

}  // namespace

int startNativeThread(NativeThread& thread) {
  pthread_t started{};
  const int error = pthread_create(&started, nullptr, threadEntry, &thread);
  if (error == 0) thread.handle = static_cast<std::uintptr_t>(started);
  return error;
}

void joinNativeThread(const NativeThread& thread) { pthread_join(static_cast<pthread_t>(thread.handle), nullptr); }

void detachNativeThread(const NativeThread& thread) { pthread_detach(static_cast<pthread_t>(thread.handle)); }

std::uint32_t callingThreadId() { return static_cast<std::uint32_t>(syscall(SYS_gettid)); }

std::uint32_t callingProcessId() { return static_cast<std::uint32_t>(getpid()); }

int setThreadPriority(std::uint32_t id, int priority) {
  if (priority < LOWEST_PRIORITY || priority > HIGHEST_PRIORITY) return EINVAL;  // the system would cut it silently
  return setpriority(PRIO_PROCESS, id, -priority) == 0 ? 0 : errno;
}

void nameCallingThread(const char* name) {
  char cut[16];  // the kernel's limit, terminator included
  std::snprintf(cut, sizeof cut, "%s", name);
  pthread_setname_np(pthread_self(), cut);
}

void systemErrorText(int error, char* out, std::size_t room) {
  const char* const words = strerrordesc_np(error);
  std::snprintf(out, room, "%s", words != nullptr ? words : "Unknown error");
}

}  // namespace zqcore27
