#include "zqcore27/blocks/supa_block_error.h"

inline namespace zqcore27 {

SupaBlockError::SupaBlockError(std::uint32_t code, bool fatal) : Error(code, fatal) {}
SupaBlockError::SupaBlockError(const SupaBlockError&) = default;
SupaBlockError& SupaBlockError::operator=(const SupaBlockError&) = default;
SupaBlockError::~SupaBlockError() = default;

const char* SupaBlockError::module() const { return "Super Block"; }

}  // namespace zqcore27
