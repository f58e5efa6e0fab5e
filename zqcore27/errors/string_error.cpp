#include "zqcore27/errors/string_error.h"

inline namespace zqcore27 {

StringError::StringError(std::uint32_t code, bool fatal) : Error(code, fatal) {}
StringError::StringError(const StringError&) = default;
StringError& StringError::operator=(const StringError&) = default;
StringError::~StringError() = default;

const char* StringError::module() const { return "String System"; }

}  // namespace zqcore27
