// The block store beside the containers that a host would take instead. Memory stands in the counter bytes_per_block:
// what malloc gave, over the rounded data of the blocks.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdint>
#include <deque>
#include <random>
#include <string>
#include <vector>

#include "zqcore27/blocks/supa_block.h"
#include "zqcore27/blocks/supa_block_iterator.h"

namespace {

constexpr int COUNT = 1'000'000;

std::vector<std::string> makeBlocks() {
  std::mt19937 random(1);
  std::vector<std::string> blocks;
  for (int i = 0; i < COUNT; ++i) blocks.emplace_back(random() % 65, static_cast<char>(i));
  return blocks;
}

const std::vector<std::string>& blocks() {
  static const std::vector<std::string> made = makeBlocks();
  return made;
}

std::size_t roundedData() {
  std::size_t sum = 0;
  for (const std::string& b : blocks()) sum += (b.size() + 3) / 4 * 4;
  return sum;
}

SupaBlockHints hints() {
  SupaBlockHints h;
  h.fAvgBlockSize = 32;
  h.fMinBlocks = 8;
  h.fMaxBlocks = 1000;
  h.fDirShift = 2;
  return h;
}

/// The store and the containers behind one set of operations.
struct Store {
  SupaBlock store{SupaBlock::SB_DIRECTORY, hints()};
  void insert(int i, const std::string& b) {
    store.insert(i, reinterpret_cast<const unsigned char*>(b.data()), static_cast<unsigned int>(b.size()));
  }
  void append(const std::string& b) { insert(store.getSize(), b); }
  void erase(int i) { store.deleteBlock(i); }
  unsigned int firstByte(int i) {
    SupaBlockDatum d;
    store.get(i, &d);
    return d.fSize == 0 ? 0 : *d.fData;
  }
  unsigned int walk() {
    unsigned int sum = 0, size = 0;
    SupaBlockIterator it(&store, -1);
    while (unsigned char* h = it.nextBlock(nullptr)) {
      const unsigned char* data = store.getBlockData(h, &size);
      if (data != nullptr) sum += *data;
    }
    return sum;
  }
};

template <class Container>
struct Standard {
  Container strings;
  void insert(int i, const std::string& b) { strings.insert(strings.begin() + i, b); }
  void append(const std::string& b) { strings.push_back(b); }
  void erase(int i) { strings.erase(strings.begin() + i); }
  unsigned int firstByte(int i) {
    const std::string& s = strings[static_cast<std::size_t>(i)];
    return s.empty() ? 0 : static_cast<unsigned char>(s[0]);
  }
  unsigned int walk() {
    unsigned int sum = 0;
    for (const std::string& s : strings) sum += s.empty() ? 0 : static_cast<unsigned char>(s[0]);
    return sum;
  }
};
using Vector = Standard<std::vector<std::string>>;
using Deque = Standard<std::deque<std::string>>;

template <class Subject>
void fill(Subject& subject) {
  for (const std::string& b : blocks()) subject.append(b);
}

template <class Subject>
void Append(benchmark::State& state) {
  blocks();
  for (auto _ : state) {
    const struct mallinfo2 before = mallinfo2();
    Subject subject;
    fill(subject);
    state.PauseTiming();
    const struct mallinfo2 after = mallinfo2();
    const double taken = static_cast<double>(after.uordblks + after.hblkhd - before.uordblks - before.hblkhd);
    state.counters["over_data_per_block"] = (taken - static_cast<double>(roundedData())) / COUNT;
    state.counters["data_per_block"] = static_cast<double>(roundedData()) / COUNT;
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * COUNT);
}

template <class Subject>
void RandomGet(benchmark::State& state) {
  Subject subject;
  fill(subject);
  subject.walk();
  std::mt19937 random(2);
  std::vector<int> order(1 << 20);
  for (int& i : order) i = static_cast<int>(random() % COUNT);
  for (const int i : order) subject.firstByte(i);
  // Each place depends on the byte before it: this is the time of one look-up, not of many that overlap.
  std::size_t n = 0;
  for (auto _ : state) n += 1 + subject.firstByte(order[n & 0xFFFFF]) % 2;
  benchmark::DoNotOptimize(n);
}

template <class Subject>
void RandomGetsThatOverlap(benchmark::State& state) {
  Subject subject;
  fill(subject);
  subject.walk();
  std::mt19937 random(2);
  std::vector<int> order(1 << 20);
  for (int& i : order) i = static_cast<int>(random() % COUNT);
  for (const int i : order) subject.firstByte(i);
  std::size_t n = 0;
  for (auto _ : state) benchmark::DoNotOptimize(subject.firstByte(order[n++ & 0xFFFFF]));
}

template <class Subject>
void Walk(benchmark::State& state) {
  Subject subject;
  fill(subject);
  for (auto _ : state) benchmark::DoNotOptimize(subject.walk());
  state.SetItemsProcessed(state.iterations() * COUNT);
}

template <class Subject>
void InsertAndDeleteInTheMiddle(benchmark::State& state) {
  Subject subject;
  fill(subject);
  std::mt19937 random(3);
  for (auto _ : state) {
    const int i = static_cast<int>(COUNT / 4 + random() % (COUNT / 2));
    subject.insert(i, blocks()[static_cast<std::size_t>(i)]);
    subject.erase(static_cast<int>(COUNT / 4 + random() % (COUNT / 2)));
  }
}

#define BLOCK_STORE_BENCHMARK(workload)                      \
  BENCHMARK(workload<Store>)->Unit(benchmark::kNanosecond);  \
  BENCHMARK(workload<Vector>)->Unit(benchmark::kNanosecond); \
  BENCHMARK(workload<Deque>)->Unit(benchmark::kNanosecond)

BLOCK_STORE_BENCHMARK(Append);
BLOCK_STORE_BENCHMARK(RandomGet);
BLOCK_STORE_BENCHMARK(RandomGetsThatOverlap);
BLOCK_STORE_BENCHMARK(Walk);
BLOCK_STORE_BENCHMARK(InsertAndDeleteInTheMiddle);

}  // namespace

BENCHMARK_MAIN();
