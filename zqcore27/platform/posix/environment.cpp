#include "zqcore27/platform/environment.h"

#include <cstdlib>

inline namespace zqcore27 {
namespace platform {

const char* environmentValue(const char* name) { return std::getenv(name); }

}  // namespace platform
}  // namespace zqcore27
