// The mutex in a process that has never had a second thread, where the runtime's locks are cheaper.

#include <benchmark/benchmark.h>

#include <mutex>

#include "bench/support/section.h"
#include "zqcore27/threads/mutex.h"

BENCHMARK(section<OrlanMutex>)->Name("locks: mutex, in a process of one thread/zqcore27");
BENCHMARK(section<std::recursive_mutex>)->Name("locks: mutex, in a process of one thread/std::recursive_mutex");

BENCHMARK_MAIN();
