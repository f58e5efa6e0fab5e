#pragma once

#include <cstddef>

#include "zqcore27/platform/module.h"

inline namespace zqcore27 {
namespace platform {

/// Writes the path of the module's file, as the dynamic linker knows it, and a zero byte into `room` bytes at `out`.
/// Returns the length without the zero byte, or 0 if the path is unknown or doesn't fit: a path is never cut.
/// The path of a module that was loaded by a relative one is relative, too. Threads: any.
std::size_t modulePath(HINSTANCE module, char* out, std::size_t room);

}  // namespace platform
}  // namespace zqcore27
