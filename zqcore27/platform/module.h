#pragma once

inline namespace zqcore27 {

/// An opaque handle of a loaded module: null is the running program, any other value is what dlopen gave.
using HINSTANCE = void*;

}  // namespace zqcore27
