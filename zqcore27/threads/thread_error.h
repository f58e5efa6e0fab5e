#pragma once

#include "zqcore27/errors/error.h"

inline namespace zqcore27 {

/// Threads and their requests.
class ZQCORE27_EXPORT ThreadError : public Error {
 public:
  /// A system call on a thread failed; inserts: the system error number, the system's message. For instance a priority
  /// that the process may not set.
  static constexpr std::uint32_t SYSTEM_CALL_FAILED = 10;
  /// A request was put into a full queue. Remedy: submit through the pool, which waits for room.
  static constexpr std::uint32_t QUEUE_FULL = 0xC200012F;
  /// More than one queued request has the id that was to be removed.
  static constexpr std::uint32_t AMBIGUOUS_REQUEST = 0xC2000130;
  /// A request was asked of an empty queue.
  static constexpr std::uint32_t QUEUE_EMPTY = 0xC2000131;

  ThreadError(std::uint32_t code, bool fatal);
  ThreadError(const ThreadError& e);
  ThreadError& operator=(const ThreadError& e);
  ~ThreadError() override;
  const char* module() const override;
};

}  // namespace zqcore27
