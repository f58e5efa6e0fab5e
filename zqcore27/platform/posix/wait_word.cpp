#include "zqcore27/platform/wait_word.h"

#include <linux/futex.h>
#include <linux/time_types.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

inline namespace zqcore27 {

namespace {

static_assert(sizeof(std::atomic<std::uint32_t>) == 4 && std::atomic<std::uint32_t>::is_always_lock_free,
              "the kernel compares the word itself");

/// `deadline` is of the kernel's own type: the C runtime's has 64-bit seconds where a 32-bit build asks for them, which
/// this call doesn't read.
long futex(const std::atomic<std::uint32_t>& word, int operation, std::uint32_t value,
           const __kernel_old_timespec* deadline) {
  return syscall(SYS_futex, &word, operation | FUTEX_PRIVATE_FLAG, value, deadline, nullptr, FUTEX_BITSET_MATCH_ANY);
}

}  // namespace

void waitOnWord(const std::atomic<std::uint32_t>& word, std::uint32_t expected) noexcept {
  const int saved = errno;
  futex(word, FUTEX_WAIT_BITSET, expected, nullptr);
  errno = saved;
}

bool waitOnWordUntil(const std::atomic<std::uint32_t>& word, std::uint32_t expected,
                     std::chrono::steady_clock::time_point deadline) noexcept {
  using namespace std::chrono;
  const int saved = errno;
  const auto whole = time_point_cast<seconds>(deadline);
  __kernel_old_timespec at{};
  at.tv_sec = static_cast<__kernel_old_time_t>(whole.time_since_epoch().count());
  at.tv_nsec = static_cast<__kernel_long_t>(duration_cast<nanoseconds>(deadline - whole).count());
  // The bitset form takes a point in time on the monotonic clock, which steady_clock is.
  const bool timedOut = futex(word, FUTEX_WAIT_BITSET, expected, &at) != 0 && errno == ETIMEDOUT;
  errno = saved;
  return !timedOut;
}

void wakeOneOnWord(const std::atomic<std::uint32_t>& word) noexcept {
  const int saved = errno;
  futex(word, FUTEX_WAKE, 1, nullptr);
  errno = saved;
}

void spinHint() noexcept {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#elif defined(__aarch64__)
  asm volatile("yield");
#else
  sched_yield();
#endif
}

}  // namespace zqcore27
