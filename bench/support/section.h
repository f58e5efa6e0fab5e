#pragma once

#include <benchmark/benchmark.h>

/// A lock and what it guards, apart from the lock's own line.
template <class Lock>
struct Guarded {
  alignas(64) Lock lock;
  alignas(64) int value = 0;
};

/// An empty section, by all threads of the benchmark.
template <class Lock>
void section(benchmark::State& state) {
  static Guarded<Lock> guarded;
  for (auto _ : state) {
    guarded.lock.lock();
    benchmark::DoNotOptimize(guarded.value);
    guarded.lock.unlock();
  }
}
