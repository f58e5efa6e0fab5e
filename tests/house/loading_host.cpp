// loading_host LIBRARY: a host that loads the library and gives it back, again and again. Each load makes a core, each
// end of a load takes it away.

#include <dlfcn.h>
#include <malloc.h>

#include <cstdio>

namespace {

bool loadAndUnload(const char* path) {
  void* const library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return std::puts(dlerror()), false;
  auto* const core = static_cast<void**>(dlsym(library, "_ZN8zqcore275gCoreE"));
  if (core == nullptr || *core == nullptr) return std::puts("no core after the load"), false;
  dlclose(library);
  if (dlopen(path, RTLD_NOW | RTLD_NOLOAD) != nullptr) return std::puts("the library stays"), false;
  return true;
}

}  // namespace

int main(int, char** argv) {
  constexpr std::size_t ROUNDS = 50, FOR_THE_PROCESS = 256;  // what the thread layer keeps of each load, with room
  if (!loadAndUnload(argv[1])) return 1;
  const std::size_t before = mallinfo2().uordblks;
  for (std::size_t i = 0; i < ROUNDS; ++i) {
    if (!loadAndUnload(argv[1])) return 1;
  }
  const std::size_t kept = (mallinfo2().uordblks - before) / ROUNDS;
  std::printf("%zu bytes kept of each load\n", kept);
  return kept <= FOR_THE_PROCESS ? 0 : 1;
}
