#include "zqcore27/blocks/sb_tree_error.h"

inline namespace zqcore27 {

SBTreeError::SBTreeError(std::uint32_t code, bool fatal) : Error(code, fatal) {}
SBTreeError::SBTreeError(const SBTreeError&) = default;
SBTreeError& SBTreeError::operator=(const SBTreeError&) = default;
SBTreeError::~SBTreeError() = default;

const char* SBTreeError::module() const { return "Super Block Tree"; }

}  // namespace zqcore27
