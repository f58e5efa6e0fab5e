#include "zqcore27/platform/module_path.h"

#include <dlfcn.h>
#include <link.h>

#include <cstring>

#include "zqcore27/platform/posix/system_calls.h"

inline namespace zqcore27 {
namespace platform {

namespace {

std::size_t programPath(char* out, std::size_t room) {
  const ssize_t n = posix::gSystemCalls.readlink("/proc/self/exe", out, room);
  if (n <= 0 || static_cast<std::size_t>(n) >= room) return 0;
  out[n] = '\0';
  return static_cast<std::size_t>(n);
}

}  // namespace

std::size_t modulePath(HINSTANCE module, char* out, std::size_t room) {
  if (module == nullptr) return programPath(out, room);
  link_map* map = nullptr;
  if (dlinfo(module, RTLD_DI_LINKMAP, &map) != 0) return 0;
  if (*map->l_name == '\0') return programPath(out, room);  // the linker has no name for the program itself
  const std::size_t n = std::strlen(map->l_name);
  if (n >= room) return 0;
  std::memcpy(out, map->l_name, n + 1);
  return n;
}

}  // namespace platform
}  // namespace zqcore27
