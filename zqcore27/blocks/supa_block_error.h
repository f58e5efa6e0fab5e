#pragma once

#include "zqcore27/errors/error.h"

inline namespace zqcore27 {

/// A block can't be placed, or an iterator is no longer good. Never fatal. Threads: as Error.
class ZQCORE27_EXPORT SupaBlockError : public Error {
 public:
  /// A block behind the end isn't smaller than the largest body. Empty blocks made in front of it stay.
  /// Remedy: larger SupaBlockHints::fMaxBodySize, or smaller blocks.
  static constexpr std::uint32_t BLOCK_TOO_LARGE = 0xC2000126;
  /// A superblock is full and can't be divided: the block is the first one in it, or what would move is larger than the
  /// largest body. Every block is as it was. Remedy: as above.
  static constexpr std::uint32_t CANNOT_DIVIDE = 0xC2000127;
  /// A block below the size isn't found, in a store that searches by halves. The store is damaged.
  static constexpr std::uint32_t LOST_BLOCK = 0xC2000128;
  /// The same in a store with SupaBlock::SB_LINEAR.
  static constexpr std::uint32_t LOST_BLOCK_LINEAR = 0xC2000129;
  /// A tree iterator has been invalidated. Only destruction is left.
  static constexpr std::uint32_t INVALID_ITERATOR = 0xC2000690;

  SupaBlockError(std::uint32_t code, bool fatal);
  SupaBlockError(const SupaBlockError& e);
  SupaBlockError& operator=(const SupaBlockError& e);
  ~SupaBlockError() override;
  const char* module() const override;
};

}  // namespace zqcore27
