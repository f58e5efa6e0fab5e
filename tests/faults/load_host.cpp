// fault_load LIBRARY: a host that loads the library while calls fail, and unloads it.

#include <dlfcn.h>

#include "tests/faults/fault_loop.h"

namespace {

const char* gLibrary = nullptr;

void load(const FaultRun& run) {
  run.start();
  void* const library = dlopen(gLibrary, RTLD_NOW | RTLD_LOCAL);
  require(library != nullptr || run.failed(FAULT_HEAP), "it is loaded if there is memory");
  if (library == nullptr) return;
  auto* const core = static_cast<void**>(dlsym(library, "_ZN8zqcore275gCoreE"));
  require(core != nullptr && (*core != nullptr || run.failed(FAULT_HEAP)), "a core, if there was memory for it");
  require(dlclose(library) == 0, "it goes");
  run.stop();
  require(dlopen(gLibrary, RTLD_NOW | RTLD_NOLOAD) == nullptr, "it has gone");
  dlerror();  // gives its text back
}

}  // namespace

int main(int argc, char** argv) {
  gLibrary = argv[1];
  // What stays: the thread layer's object and its group, for the life of the process.
  return faultLoop(argc - 1, argv + 1, {{"load", load, [] {}, 2}});
}
