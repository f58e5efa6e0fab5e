#pragma once

#include <algorithm>
#include <cstdint>

inline namespace zqcore27 {

/// The largest body and the largest rounded size, in bytes. Internal to the block store.
constexpr std::uint64_t LARGEST_BODY = 0xFFFFFFFC;

/// `n` rounded up to a multiple of 4, at most LARGEST_BODY: a block so large fits no body with its size word.
constexpr std::uint32_t roundedUp(std::uint64_t n) {
  return static_cast<std::uint32_t>((std::min(n, LARGEST_BODY) + 3) / 4 * 4);
}

}  // namespace zqcore27
