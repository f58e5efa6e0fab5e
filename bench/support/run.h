#pragma once

#include <benchmark/benchmark.h>

#include <thread>

/// The rest of a main() that has registered its benchmarks. Locks cost what they do in a process that has had threads,
/// whatever is run first: one without is spared the atomic instructions.
inline int runBenchmarks(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  std::thread([] {}).join();
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
