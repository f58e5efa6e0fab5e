// load_host PLUGIN LIBRARY: loads a module that is linked with the library, uses it, and gives both back, again and
// again. Threads go with each round, and memory stays what it was.

#include <dlfcn.h>

#include "tests/long/long_run.h"

namespace {

// What a load leaves: the thread layer's objects and the name of the user's language, which are never freed.
constexpr std::size_t KEPT_OF_A_LOAD = 256;
constexpr std::size_t TOLERANCE = 32 * 1024;  // bytes: what the runtime keeps, whatever the number of loads

void loadAndUse(const char* plugin, const char* library, const std::string& directory) {
  void* const module = dlopen(plugin, RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) std::puts(dlerror());
  require(module != nullptr, "it can be loaded");
  using Use = void (*)(const char*);
  reinterpret_cast<Use>(dlsym(module, "useTheLibrary"))(directory.c_str());
  dlclose(module);  // at once: none of its threads may run the library's code any more
  require(dlopen(plugin, RTLD_NOW | RTLD_NOLOAD) == nullptr, "the module has gone");
  require(dlopen(library, RTLD_NOW | RTLD_NOLOAD) == nullptr, "the library has gone");
  awaitEndOfThreads();
}

}  // namespace

int main(int, char** argv) {
  const LongRunFiles files;
  loadAndUse(argv[1], argv[2], files.directory());
  const std::uint32_t loads = rounds(20, 1000);
  const std::size_t before = bytesInUse();
  for (std::uint32_t i = 0; i < loads; ++i) loadAndUse(argv[1], argv[2], files.directory());
  const std::size_t after = bytesInUse();
  std::printf("%u loads: %zu bytes before, %zu after\n", loads, before, after);
  require(after <= before + loads * KEPT_OF_A_LOAD + TOLERANCE, "memory stays what it was");
  return 0;
}
