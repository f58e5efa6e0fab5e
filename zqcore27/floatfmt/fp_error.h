#pragma once

#include "zqcore27/errors/error.h"

inline namespace zqcore27 {

/// A converter of stored floating-point values was used in a way that it can't serve.
class ZQCORE27_EXPORT FPError : public Error {
 public:
  /// A converter was set up for values of a width other than 4 and 8 bytes. Remedy: pass 4 or 8.
  static constexpr std::uint32_t BAD_WIDTH = 0xC200012A;
  /// There is no special double of this kind; fatal, since the kind is the program's own. Remedy: kinds 1 to 9.
  static constexpr std::uint32_t BAD_KIND = 0xC200012B;
  /// The converter isn't ready. Remedy: set it up with a known code and width first, and look at the result.
  static constexpr std::uint32_t NOT_READY = 0xC200012C;
  /// A value of kind 4 has no stored form. Remedy: store another special value in its place.
  static constexpr std::uint32_t NOT_STORABLE = 0xC200012D;

  FPError(std::uint32_t code, bool fatal);
  FPError(const FPError& e);
  FPError& operator=(const FPError& e);
  ~FPError() override;
  const char* module() const override;
};

}  // namespace zqcore27
