// A module of a host, linked with the library: what it uses goes with it.

#include "tests/long/use_library.h"

extern "C" [[gnu::visibility("default")]] void useTheLibrary(const char* directory) { useAll(directory); }
