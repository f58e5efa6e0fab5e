#pragma once

#include <cstdint>

#include "zqcore27/blocks/callable_class.h"
#include "zqcore27/platform/export.h"

inline namespace zqcore27 {

class SupaBlock;

/// What a store tells its callback. It lives as long as the call; whoever wants it later copies it.
/// Threads: the one that changes the store; a copy belongs to whoever made it.
class ZQCORE27_EXPORT SupaBlockEvent {
 public:
  /// Distinct bits.
  enum Kind : std::uint32_t {
    /// Blocks fIndex to fLastIndex may lie elsewhere from now on: indexes and contents are as before, pointers are
    /// stale.
    /// fLastIndex is the last index of the superblock concerned; one below fIndex, nothing has moved.
    SB_EVENT_IMPACT = 1,
    /// fIndex is the index of a new block; what stood there and behind it is one higher. Its bytes aren't written yet.
    SB_EVENT_INSERT = 2,
    /// fIndex is the index that a deleted block had; what stood behind it is one lower.
    SB_EVENT_DELETE = 4
  };

  SupaBlockEvent() = default;

  SupaBlock* fSource = nullptr;  // the store that sends the event
  std::uint32_t fKind = 0;       // one of Kind
  std::int32_t fIndex = 0;
  std::int32_t fLastIndex = 0;  // of impacts only
};

extern template class ZQCORE27_EXPORT CallableClass<SupaBlockEvent>;

}  // namespace zqcore27
