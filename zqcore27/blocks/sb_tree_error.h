#pragma once

#include "zqcore27/errors/error.h"

inline namespace zqcore27 {

/// For hosts' own failures around a tree. The library raises none: nodes that can't be placed and iterators that are no
/// longer good raise a SupaBlockError.
class ZQCORE27_EXPORT SBTreeError : public Error {
 public:
  SBTreeError(std::uint32_t code, bool fatal);
  SBTreeError(const SBTreeError& e);
  SBTreeError& operator=(const SBTreeError& e);
  ~SBTreeError() override;
  const char* module() const override;
};

}  // namespace zqcore27
