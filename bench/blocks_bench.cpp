// The block store beside the containers that a host would take instead, with a million blocks of 0 to 64 bytes. The
// counter bytes_a_block is what malloc gave.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "bench/support/heap.h"
#include "bench/support/run.h"
#include "zqcore27/blocks/supa_block.h"
#include "zqcore27/blocks/supa_block_iterator.h"

#ifdef HAVE_GLIB
#include <glib.h>
#endif

namespace {

constexpr int COUNT = 1'000'000;

const std::vector<std::string>& blocks() {
  static const std::vector<std::string> made = [] {
    std::mt19937 random(1);
    std::vector<std::string> all;
    for (int i = 0; i < COUNT; ++i) all.emplace_back(random() % 65, static_cast<char>(i));
    return all;
  }();
  return made;
}

unsigned int firstByteOf(std::string_view block) { return block.empty() ? 0 : static_cast<unsigned char>(block[0]); }

SupaBlockHints hints() {
  SupaBlockHints h;
  h.fAvgBlockSize = 32;
  h.fMinBlocks = 8;
  h.fMaxBlocks = 1000;
  h.fDirShift = 2;
  return h;
}

// Subjects: the store and the containers behind one set of operations. A subject has those that it is measured in.

struct Store {
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
  SupaBlock store{SupaBlock::SB_DIRECTORY, hints()};
};

struct VectorOfStrings {
  void append(const std::string& b) { strings.push_back(b); }
  unsigned int firstByte(int i) { return firstByteOf(strings[static_cast<std::size_t>(i)]); }
  unsigned int walk() {
    unsigned int sum = 0;
    for (const std::string& s : strings) sum += firstByteOf(s);
    return sum;
  }
  std::vector<std::string> strings;
};

struct FlatBytes {
  void append(const std::string& b) {
    bytes.insert(bytes.end(), b.begin(), b.end());
    begins.push_back(static_cast<std::uint32_t>(bytes.size()));
  }
  unsigned int firstByte(int i) {
    const auto at = static_cast<std::size_t>(i);
    return firstByteOf({bytes.data() + begins[at], begins[at + 1] - begins[at]});
  }
  unsigned int walk() {
    unsigned int sum = 0;
    for (int i = 0; i < COUNT; ++i) sum += firstByte(i);
    return sum;
  }
  std::vector<char> bytes;
  std::vector<std::uint32_t> begins{0};
};

#ifdef HAVE_GLIB
/// Strings of its own behind a balanced tree.
struct Sequence {
  Sequence() = default;
  Sequence(const Sequence&) = delete;
  Sequence& operator=(const Sequence&) = delete;
  ~Sequence() { g_sequence_free(strings); }
  static std::string* copy(const std::string& b) { return new std::string(b); }
  void append(const std::string& b) { g_sequence_append(strings, copy(b)); }
  void insert(int i, const std::string& b) {
    g_sequence_insert_before(g_sequence_get_iter_at_pos(strings, i), copy(b));
  }
  void erase(int i) { g_sequence_remove(g_sequence_get_iter_at_pos(strings, i)); }
  unsigned int walk() {
    unsigned int sum = 0;
    const auto add = [](gpointer s, gpointer to) {
      *static_cast<unsigned int*>(to) += firstByteOf(*static_cast<std::string*>(s));
    };
    g_sequence_foreach(strings, add, &sum);
    return sum;
  }
  GSequence* strings = g_sequence_new([](gpointer s) { delete static_cast<std::string*>(s); });
};
#endif

template <class Subject>
void fill(Subject& subject) {
  for (const std::string& b : blocks()) subject.append(b);
}

/// A filled subject that has the same bytes in the same order as every other.
template <class Subject>
struct Filled : Subject {
  Filled() {
    fill<Subject>(*this);
    unsigned int sum = 0;
    for (const std::string& b : blocks()) sum += firstByteOf(b);
    if (this->walk() != sum) std::abort();
  }
};

template <class Subject>
void append(benchmark::State& state) {
  blocks();
  for (auto _ : state) {
    const std::size_t before = heapInUse();
    Subject subject;
    fill(subject);
    state.PauseTiming();
    state.counters["bytes_a_block"] = static_cast<double>(heapInUse() - before) / COUNT;
    state.ResumeTiming();
  }
}

/// Each place depends on the byte before it, or look-ups may overlap.
template <class Subject, bool CHAINED>
void randomGet(benchmark::State& state, Subject& subject) {
  std::mt19937 random(2);
  std::vector<int> order(1 << 20);
  for (int& i : order) i = static_cast<int>(random() % COUNT);
  for (const int i : order) subject.firstByte(i);
  std::size_t n = 0;
  for (auto _ : state) {
    const unsigned int byte = subject.firstByte(order[n & 0xFFFFF]);
    benchmark::DoNotOptimize(byte);
    n += 1 + (CHAINED ? byte % 2 : 0);
  }
}

template <class Subject>
void walk(benchmark::State& state, Subject& subject) {
  for (auto _ : state) benchmark::DoNotOptimize(subject.walk());
}

template <class Subject>
void insertAndDelete(benchmark::State& state, Subject& subject) {
  std::mt19937 random(3);
  for (auto _ : state) {
    const int i = static_cast<int>(random() % COUNT);
    subject.insert(i, blocks()[static_cast<std::size_t>(i)]);
    subject.erase(static_cast<int>(random() % COUNT));
  }
}

void add(const std::string& work, const std::string& who, void (*run)(benchmark::State&)) {
  benchmark::RegisterBenchmark(("store: " + work + "/" + who).c_str(), run);
}

template <class Subject>
void addArray(const std::string& who) {
  static Filled<Subject> subject;  // made first, and stays: none lies in what another has left behind
  add("append a million blocks", who, append<Subject>);
  add("random get", who, [](auto& state) { randomGet<Subject, false>(state, subject); });
  add("random get, each behind the last", who, [](auto& state) { randomGet<Subject, true>(state, subject); });
  add("walk", who, [](auto& state) { walk<Subject>(state, subject); });
}

template <class Subject>
void addSequence(const std::string& who) {
  static Filled<Subject> subject;
  add("insert and delete anywhere", who, [](auto& state) { insertAndDelete<Subject>(state, subject); });
}

}  // namespace

int main(int argc, char** argv) {
  addArray<Store>("zqcore27");
  addArray<VectorOfStrings>("vector of strings");
  addArray<FlatBytes>("flat bytes and offsets");
  addSequence<Store>("zqcore27");
#ifdef HAVE_GLIB
  addSequence<Sequence>("GSequence");
#endif
  return runBenchmarks(argc, argv);
}
