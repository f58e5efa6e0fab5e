// fault_load LIBRARY: a host that loads the library while calls fail, and unloads it.

#include <dlfcn.h>

#include "tests/faults/fault_loop.h"

namespace {

const char* gLibrary = nullptr;

/// False if it can't be loaded.
bool loadAndUnload(const FaultRun& run) {
  void* const library = dlopen(gLibrary, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return false;
  auto* const core = static_cast<void**>(dlsym(library, "_ZN8zqcore275gCoreE"));
  require(core != nullptr && (*core != nullptr || run.failed(FAULT_HEAP)), "a core, if there was memory for it");
  require(dlclose(library) == 0, "it goes");
  const FaultPause pause;
  require(dlopen(gLibrary, RTLD_NOW | RTLD_NOLOAD) == nullptr, "it has gone");
  dlerror();  // gives its text back
  return true;
}

void load(FaultRun& run) {
  run.start();
  const bool loaded = loadAndUnload(run);
  run.stop();
  require(loaded || run.failed(FAULT_HEAP), "a library that can be loaded");
  const FaultRun calm(0, FaultMode::SHORT);  // whatever failed, it is over
  require(loadAndUnload(calm), "it can be loaded again");
}

}  // namespace

int main(int argc, char** argv) {
  gLibrary = argv[1];
  // What stays: the thread layer's object and its group, for the life of the process.
  return faultLoop(argc - 1, argv + 1, {"load", load, [] {}, 2});
}
