// Bytes as printable text and back, beside absl's Base64, which doesn't scramble, and beside a copy of the text.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "zqcore27/strings/armour.h"

#ifdef HAVE_ABSL
#include <absl/strings/escaping.h>
#endif

namespace {

using Bytes = std::vector<unsigned char>;

Bytes plainBytes(std::size_t n) {
  Bytes bytes(n);
  std::uint32_t random = 1;
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>((random = random * 1664525 + 1013904223) >> 24);
  return bytes;
}

Bytes textOf(const Bytes& plain) {
  Bytes text(LengthInAscii(static_cast<std::uint32_t>(plain.size())) + 4);
  auto length = static_cast<std::int32_t>(text.size());
  if (!StringInOut(plain.data(), static_cast<std::int32_t>(plain.size()), text.data(), &length)) std::abort();
  text.resize(static_cast<std::size_t>(length));
  return text;
}

void counted(benchmark::State& state, std::size_t n) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(n));
}

void write(benchmark::State& state, std::size_t n) {
  const Bytes plain = plainBytes(n);
  Bytes text(n / 3 * 4 + 16);
  for (auto _ : state) {
    auto length = static_cast<std::int32_t>(text.size());
    benchmark::DoNotOptimize(StringInOut(plain.data(), static_cast<std::int32_t>(n), text.data(), &length));
    benchmark::ClobberMemory();
  }
  counted(state, n);
}

void read(benchmark::State& state, std::size_t n) {
  const Bytes plain = plainBytes(n), text = textOf(plain);
  Bytes out(n + 3);
  for (auto _ : state) {
    auto length = static_cast<std::int32_t>(out.size());
    benchmark::DoNotOptimize(StringOutIn(text.data(), static_cast<std::int32_t>(text.size()), out.data(), &length));
    benchmark::ClobberMemory();
  }
  if (!std::equal(plain.begin(), plain.end(), out.begin())) std::abort();
  counted(state, n);
}

void copy(benchmark::State& state, std::size_t n) {
  const Bytes text = textOf(plainBytes(n));
  Bytes out(text.size());
  for (auto _ : state) {
    std::memcpy(out.data(), text.data(), text.size());
    benchmark::ClobberMemory();
  }
  counted(state, n);
}

#ifdef HAVE_ABSL
std::string asString(const Bytes& bytes) { return std::string(bytes.begin(), bytes.end()); }

void escape(benchmark::State& state, std::size_t n) {
  const std::string plain = asString(plainBytes(n));
  std::string text;
  for (auto _ : state) {
    absl::Base64Escape(plain, &text);
    benchmark::ClobberMemory();
  }
  counted(state, n);
}

void unescape(benchmark::State& state, std::size_t n) {
  const std::string plain = asString(plainBytes(n)), text = absl::Base64Escape(plain);
  std::string out;
  for (auto _ : state) {
    benchmark::DoNotOptimize(absl::Base64Unescape(text, &out));
    benchmark::ClobberMemory();
  }
  if (out != plain) std::abort();
  counted(state, n);
}
#endif

void registerSize(const char* name, std::size_t n) {
  const std::string there = std::string("armour: write ") + name, back = std::string("armour: read ") + name;
  benchmark::RegisterBenchmark((there + "/zqcore27").c_str(), write, n);
  benchmark::RegisterBenchmark((back + "/zqcore27").c_str(), read, n);
#ifdef HAVE_ABSL
  benchmark::RegisterBenchmark((there + "/absl::Base64Escape").c_str(), escape, n);
  benchmark::RegisterBenchmark((back + "/absl::Base64Unescape").c_str(), unescape, n);
#endif
  for (const std::string& area : {there, back}) {
    benchmark::RegisterBenchmark((area + "/limit: memcpy").c_str(), copy, n);
  }
}

}  // namespace

int main(int argc, char** argv) {
  registerSize("3 KiB", 3 << 10);
  registerSize("1 MiB", 1 << 20);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
