// A module of a host, linked with the library: what it uses goes with it.

#include "tests/long/use_library.h"
#include "zqcore27/threads/pool.h"
#include "zqcore27/threads/thread_requester.h"

extern "C" [[gnu::visibility("default")]] void useTheLibrary(const char* directory) {
  readConfiguration(directory, true);
  readConfiguration(directory, false);
  lookUp(3);
  ThreadPool pool(2, 2);
  ThreadRequester requester(&pool);
  require(requester.submit([] { return 42; }).get() == 42, "a result");
}
