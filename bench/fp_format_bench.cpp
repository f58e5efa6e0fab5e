// A million stored values of each format and width, as one column and one by one, beside a plain loop that only swaps
// bytes: for the single values a loop that calls a function for each.

#include <benchmark/benchmark.h>

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "zqcore27/floatfmt/fp_format.h"

namespace {

constexpr std::size_t VALUES = 1 << 20;
constexpr unsigned char BIG_ENDIAN_CODE = 3;

/// Numbers that every format holds without loss, and no special values.
const std::vector<double>& numbers() {
  static const std::vector<double> made = [] {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> number(-1000, 1000);
    std::vector<double> values(VALUES);
    for (double& v : values) v = number(random);
    return values;
  }();
  return made;
}

std::vector<unsigned char> column(const FpFormat& format, std::size_t width) {
  std::vector<unsigned char> stored(VALUES * width);
  format.putHostValues(stored.data(), numbers().data(), VALUES, width);
  return stored;
}

std::uint64_t swapped(std::uint64_t word) { return __builtin_bswap64(word); }
std::uint32_t swapped(std::uint32_t word) { return __builtin_bswap32(word); }

template <typename Word>
using Number = std::conditional_t<sizeof(Word) == 8, double, float>;

template <typename Word>
inline double plainRead(const unsigned char* stored) {
  Word word;
  std::memcpy(&word, stored, sizeof word);
  return std::bit_cast<Number<Word>>(swapped(word));
}

template <typename Word>
inline void plainWrite(unsigned char* stored, double value) {
  const Word word = swapped(std::bit_cast<Word>(static_cast<Number<Word>>(value)));
  std::memcpy(stored, &word, sizeof word);
}

template <typename Word>
[[gnu::noinline]] double calledRead(const unsigned char* stored) {
  return plainRead<Word>(stored);
}

template <typename Word>
[[gnu::noinline]] void calledWrite(unsigned char* stored, double value) {
  plainWrite<Word>(stored, value);
}

/// What is measured: from one column to another, again and again.
template <typename From, typename To, typename Convert>
void convert(benchmark::State& state, const std::vector<From>& from, std::vector<To>& to, Convert conversion) {
  for (auto _ : state) {
    conversion();
    benchmark::DoNotOptimize(from.data());
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(VALUES));
}

void readArray(benchmark::State& state, const FpFormat& format, std::size_t width) {
  const auto stored = column(format, width);
  std::vector<double> out(VALUES);
  convert(state, stored, out, [&] { format.getHostValues(stored.data(), out.data(), VALUES, width); });
  if (out != numbers()) std::abort();
}

void writeArray(benchmark::State& state, const FpFormat& format, std::size_t width) {
  std::vector<unsigned char> stored(VALUES * width);
  convert(state, numbers(), stored, [&] { format.putHostValues(stored.data(), numbers().data(), VALUES, width); });
}

void readSingly(benchmark::State& state, const FpFormat& format, std::size_t width) {
  const auto stored = column(format, width);
  std::vector<double> out(VALUES);
  convert(state, stored, out, [&] {
    for (std::size_t i = 0; i < VALUES; ++i) out[i] = format.getHostValue(&stored[i * width]);
  });
  if (out != numbers()) std::abort();
}

void writeSingly(benchmark::State& state, const FpFormat& format, std::size_t width) {
  std::vector<unsigned char> stored(VALUES * width);
  const std::vector<double>& from = numbers();
  convert(state, from, stored, [&] {
    for (std::size_t i = 0; i < VALUES; ++i) format.putHostValue(&stored[i * width], from[i]);
  });
}

template <typename Word, double (*READ)(const unsigned char*)>
void plainReading(benchmark::State& state) {
  const auto stored = column(FpFormat(BIG_ENDIAN_CODE, sizeof(Word), nullptr), sizeof(Word));
  std::vector<double> out(VALUES);
  convert(state, stored, out, [&] {
    for (std::size_t i = 0; i < VALUES; ++i) out[i] = READ(&stored[i * sizeof(Word)]);
  });
  if (out != numbers()) std::abort();
}

template <typename Word, void (*WRITE)(unsigned char*, double)>
void plainWriting(benchmark::State& state) {
  std::vector<unsigned char> stored(VALUES * sizeof(Word));
  const std::vector<double>& from = numbers();
  convert(state, from, stored, [&] {
    for (std::size_t i = 0; i < VALUES; ++i) WRITE(&stored[i * sizeof(Word)], from[i]);
  });
  if (stored != column(FpFormat(BIG_ENDIAN_CODE, sizeof(Word), nullptr), sizeof(Word))) std::abort();
}

template <typename Word>
void registerWidth() {
  static constexpr struct {
    const char* name;
    unsigned char code;
  } FORMATS[] = {{"VAX", 1}, {"host order", 2}, {"swapped", BIG_ENDIAN_CODE}};
  constexpr std::size_t WIDTH = sizeof(Word);
  for (const auto& f : FORMATS) {
    const FpFormat format(f.code, WIDTH, nullptr);
    const std::string form = std::string(f.name) + (WIDTH == 8 ? " doubles" : " singles");
    const auto add = [&](const std::string& name, auto function, auto... arguments) {
      benchmark::RegisterBenchmark(("stored floats: " + name).c_str(), function, arguments...);
    };
    add("read an array of " + form + "/zqcore27", readArray, format, WIDTH);
    add("read an array of " + form + "/swap loop", plainReading<Word, plainRead<Word>>);
    add("write an array of " + form + "/zqcore27", writeArray, format, WIDTH);
    add("write an array of " + form + "/swap loop", plainWriting<Word, plainWrite<Word>>);
    add("read single " + form + "/zqcore27", readSingly, format, WIDTH);
    add("read single " + form + "/swap behind a call", plainReading<Word, calledRead<Word>>);
    add("write single " + form + "/zqcore27", writeSingly, format, WIDTH);
    add("write single " + form + "/swap behind a call", plainWriting<Word, calledWrite<Word>>);
  }
}

}  // namespace

int main(int argc, char** argv) {
  registerWidth<std::uint64_t>();
  registerWidth<std::uint32_t>();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
}
