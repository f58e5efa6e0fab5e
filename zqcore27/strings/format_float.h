#pragma once

// Internal: the layout of a floating-point number.

#include <cstdint>

#include "zqcore27/strings/digit_generator.h"
#include "zqcore27/strings/format_directive.h"

inline namespace zqcore27 {

/// The most units that a number can have.
inline constexpr std::int32_t FLOAT_UNITS = 32;

/// The units that may be written meanwhile.
inline constexpr std::int32_t FLOAT_ROOM = FLOAT_UNITS + DIGITS_STEP;

/// Writes the magnitude of `value` as the directive asks, one of %e %E %f %g %G, to `out`, without sign and terminator.
/// Returns the units written, 1 to FLOAT_UNITS; digits that find no room are dropped. An infinity is written as "inf",
/// what isn't a number as "nan", in capitals for %E and %G. Threads: any.
std::int32_t writeFloat(std::uint16_t* out, double value, const Directive& directive);

}  // namespace zqcore27
