// Columns of a million stored values, against a plain loop that only swaps bytes; and a log call that nobody hears.

#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

#include "zqcore27/errors/log.h"
#include "zqcore27/floatfmt/fp_format.h"

namespace {

constexpr std::size_t VALUES = 1 << 20;

/// Numbers around 1 in the given format, without special values.
std::vector<unsigned char> column(const FpFormat& format, std::size_t width) {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> number(-1000, 1000);
  std::vector<unsigned char> stored(VALUES * width);
  for (std::size_t i = 0; i < VALUES; ++i) format.putHostValue(&stored[i * width], number(random));
  return stored;
}

/// The floor: a loop that reverses the bytes of each value, and widens a float.
template <typename Word, typename Value>
void swapOnly(benchmark::State& state) {
  const FpFormat format(3, sizeof(Word), nullptr);
  const auto stored = column(format, sizeof(Word));
  std::vector<double> out(VALUES);
  for (auto _ : state) {
    for (std::size_t i = 0; i < VALUES; ++i) {
      Word word;
      std::memcpy(&word, &stored[i * sizeof word], sizeof word);
      if constexpr (sizeof word == 8) {
        word = __builtin_bswap64(word);
      } else {
        word = __builtin_bswap32(word);
      }
      Value value;
      std::memcpy(&value, &word, sizeof value);
      out[i] = value;
    }
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(VALUES));
}
BENCHMARK(swapOnly<std::uint64_t, double>);
BENCHMARK(swapOnly<std::uint32_t, float>);

void readArray(benchmark::State& state) {
  const auto width = static_cast<std::size_t>(state.range(1));
  const FpFormat format(static_cast<unsigned char>(state.range(0)), static_cast<unsigned char>(width), nullptr);
  const auto stored = column(format, width);
  std::vector<double> out(VALUES);
  for (auto _ : state) {
    format.getHostValues(stored.data(), out.data(), VALUES, width);
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(VALUES));
}
BENCHMARK(readArray)->ArgNames({"code", "width"})->ArgsProduct({{1, 2, 3}, {4, 8}});

void readSingly(benchmark::State& state) {
  const auto width = static_cast<std::size_t>(state.range(1));
  const FpFormat format(static_cast<unsigned char>(state.range(0)), static_cast<unsigned char>(width), nullptr);
  const auto stored = column(format, width);
  for (auto _ : state) {
    for (std::size_t i = 0; i < VALUES; ++i) benchmark::DoNotOptimize(format.getHostValue(&stored[i * width]));
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(VALUES));
}
BENCHMARK(readSingly)->ArgNames({"code", "width"})->ArgsProduct({{1, 2, 3}, {4, 8}});

void logToNobody(benchmark::State& state) {
  CoreLog log;
  for (auto _ : state) {
    benchmark::DoNotOptimize(log);
    log.log("a text that isn't converted", VERBOSITY_DEBUG);
  }
}
BENCHMARK(logToNobody);

}  // namespace

BENCHMARK_MAIN();
