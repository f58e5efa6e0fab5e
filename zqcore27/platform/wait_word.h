#pragma once

// Internal: blocking on a 32-bit word until another thread changes it, the base of every lock and monitor here.

#include <atomic>
#include <chrono>
#include <cstdint>

inline namespace zqcore27 {

/// Blocks while `word` holds `expected`. May also return for no reason: callers look at the word again.
void waitOnWord(const std::atomic<std::uint32_t>& word, std::uint32_t expected) noexcept;

/// The same with an end. False once `deadline` has passed, otherwise true, whatever the word holds.
bool waitOnWordUntil(const std::atomic<std::uint32_t>& word, std::uint32_t expected,
                     std::chrono::steady_clock::time_point deadline) noexcept;

/// Wakes one thread that blocks on `word`. The word itself isn't read: it may be gone by the time of the call.
void wakeOneOnWord(const std::atomic<std::uint32_t>& word) noexcept;

/// Tells the processor that the caller spins.
void spinHint() noexcept;

}  // namespace zqcore27
