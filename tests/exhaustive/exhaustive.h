#pragma once

#include <cstdint>
#include <cstdlib>

/// The step with which a whole space is walked: `whole` if the environment has ZQCORE27_EXHAUSTIVE, else `some`.
inline std::uint32_t exhaustive(std::uint32_t whole, std::uint32_t some) {
  static const bool asked = std::getenv("ZQCORE27_EXHAUSTIVE") != nullptr;
  return asked ? whole : some;
}
