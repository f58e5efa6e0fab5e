#include "zqcore27/floatfmt/fp_error.h"

inline namespace zqcore27 {

FPError::FPError(std::uint32_t code, bool fatal) : Error(code, fatal) {}
FPError::FPError(const FPError&) = default;
FPError& FPError::operator=(const FPError&) = default;
FPError::~FPError() = default;

const char* FPError::module() const { return "Floating Point"; }

}  // namespace zqcore27
