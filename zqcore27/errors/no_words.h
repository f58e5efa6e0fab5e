#pragma once

// Internal: what a description is when there is no memory for one.

#include <cstdint>

#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

/// Leaves `description` unworded, so that a later call tries again, and returns the words of a failed description,
/// which live as long as the library.
const std::uint16_t* withoutWords(String& description) noexcept;

}  // namespace zqcore27
