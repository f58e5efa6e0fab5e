#pragma once

// Internal: the platform's threads.

#include <cstddef>
#include <cstdint>

inline namespace zqcore27 {

/// A thread of the platform: what it calls, and from its start on its handle, which is to be joined or detached once.
struct NativeThread {
  void (*body)(void*) = nullptr;
  void* arg = nullptr;
  std::uintptr_t handle = 0;
};

/// Starts a thread that calls `body(arg)`. `thread` must stay in its place until then. An exception out of `body` ends
/// the thread and is dropped. Returns 0, or the system error number, with no thread started.
int startNativeThread(NativeThread& thread);
/// Blocks until the thread has ended.
void joinNativeThread(const NativeThread& thread);
/// Gives the thread up: its end releases what it holds of the system.
void detachNativeThread(const NativeThread& thread);

/// The calling thread's numeric id, never 0; on Linux the kernel's own, which is reused some time after the thread's
/// end. In a forked child the thread that called fork has a new one.
std::uint32_t callingThreadId();

/// The process's id. A forked child has another.
std::uint32_t callingProcessId();

/// Sets the priority of the living thread `id` of this process. 0 is normal, higher is more urgent, -19 to 20. Returns
/// 0 or the system error number: EINVAL outside the range, EACCES or EPERM where the process lacks the right.
int setThreadPriority(std::uint32_t id, int priority);

/// The name that debuggers and process lists show, cut to what the platform takes.
void nameCallingThread(const char* name);

/// The system's English words for an error number, in ASCII whatever the locale, zero-terminated, cut to `room` bytes,
/// which must be at least 1.
void systemErrorText(int error, char* out, std::size_t room);

}  // namespace zqcore27
