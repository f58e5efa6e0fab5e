#pragma once

#include "zqcore27/errors/error.h"

inline namespace zqcore27 {

/// Text can't be converted. Threads: as Error.
class ZQCORE27_EXPORT StringError : public Error {
 public:
  /// A NativeType outside its two values; fatal. A mistake of the caller.
  static constexpr std::uint32_t BAD_NATIVE_TYPE = 0xC2000119;
  /// A format and its arguments don't go together; fatal. A mistake of the caller. Insert: the format.
  static constexpr std::uint32_t BAD_FORMAT = 0xC200011A;
  /// Ill-formed UTF-8.
  static constexpr std::uint32_t BAD_UTF8 = 0xC200011C;
  /// Bytes that the code page refuses.
  static constexpr std::uint32_t BAD_NATIVE_TEXT = 0xC2000122;
  /// A double-byte character cut off by the end of the text.
  static constexpr std::uint32_t CUT_OFF_CHARACTER = 0xC2000123;

  StringError(std::uint32_t code, bool fatal);
  StringError(const StringError& e);
  StringError& operator=(const StringError& e);
  ~StringError() override;
  const char* module() const override;
};

}  // namespace zqcore27
