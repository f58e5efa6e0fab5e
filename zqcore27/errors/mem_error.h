#pragma once

#include "zqcore27/errors/error.h"

inline namespace zqcore27 {

/// Memory can't be had. The object that asked for it is as before. Threads: as Error.
class ZQCORE27_EXPORT MemError : public Error {
 public:
  /// The heap is exhausted; fatal. Remedy: give the process more memory, or less to do.
  static constexpr std::uint32_t HEAP_EXHAUSTED = 0xC2000101;
  /// More bytes or bits than a 32-bit size can count. Remedy: split the work.
  static constexpr std::uint32_t TOO_LARGE = 0xC2000102;

  MemError(std::uint32_t code, bool fatal);
  MemError(const MemError& e);
  MemError& operator=(const MemError& e);
  ~MemError() override;
  const char* module() const override;
};

}  // namespace zqcore27
