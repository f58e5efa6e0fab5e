#pragma once

inline namespace zqcore27 {
namespace platform {

/// The value of an environment variable in native text, or null if it isn't set. The text belongs to the process and
/// is good until the variable changes. Threads: any, as long as none changes the environment.
const char* environmentValue(const char* name);

}  // namespace platform
}  // namespace zqcore27
