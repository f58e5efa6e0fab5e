#pragma once

// What the library takes for granted of the machine and the compiler, checked in one place.

#include <climits>
#include <cstdint>
#include <limits>

static_assert(CHAR_BIT == 8);
static_assert(sizeof(unsigned short) == 2 && sizeof(int) == 4, "units of text and the described integers");
static_assert(sizeof(float) == 4 && sizeof(double) == 8 && std::numeric_limits<double>::is_iec559);
static_assert(static_cast<std::int32_t>(0xFFFFFFFFu) == -1, "two's complement");
static_assert(sizeof(std::size_t) >= 4);
