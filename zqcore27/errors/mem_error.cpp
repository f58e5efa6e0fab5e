#include "zqcore27/errors/mem_error.h"

inline namespace zqcore27 {

MemError::MemError(std::uint32_t code, bool fatal) : Error(code, fatal) {}
MemError::MemError(const MemError&) = default;
MemError& MemError::operator=(const MemError&) = default;
MemError::~MemError() = default;

const char* MemError::module() const { return "Memory sub-system"; }

}  // namespace zqcore27
