#pragma once

// Internal: widening of text that may be long.

#include <cstddef>
#include <cstdint>

inline namespace zqcore27 {

/// As widenAscii, in registers twice as wide where the processor has them: half the time from some hundred bytes on.
std::size_t widenLongAscii(const unsigned char* in, std::size_t n, std::uint16_t* out);

}  // namespace zqcore27
