// A tree of a million nodes in runs of ten, beside the plain arrays of indexes that a host would keep instead, and
// GLib's tree where that is installed. Each peer has the same nodes with the same numbers.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "bench/support/heap.h"
#include "bench/support/run.h"
#include "zqcore27/blocks/sb_tree.h"
#include "zqcore27/blocks/sb_tree_iterator.h"

#ifdef HAVE_GLIB
#include <glib.h>
#endif

namespace {

constexpr std::uint32_t COUNT = 1'000'000;
constexpr std::uint32_t RUN = 10;

/// Node i, counted from the root downwards, has the children 10 i + 1 to 10 i + 10; as a tree numbers them, the other
/// way round, those are `first` to `last`. False if it has none.
bool childrenOf(std::uint32_t node, std::uint32_t& first, std::uint32_t& last) {
  const std::uint64_t i = COUNT - 1 - node;
  if (i * RUN + 1 >= COUNT) return false;
  last = static_cast<std::uint32_t>(COUNT - 1 - (i * RUN + 1));
  first = last >= RUN - 1 ? last - (RUN - 1) : 0;
  return true;
}

/// The middle of the numbers, where a run goes through: a new node there is a child of that run's parent.
std::uint32_t middle(std::mt19937& random) {
  std::uint32_t first = 0, last = 0;
  childrenOf(static_cast<std::uint32_t>(COUNT - 1 - (COUNT / 40 + random() % (COUNT / 20))), first, last);
  return first + 5;
}

struct Tree {
  Tree() {
    for (std::uint32_t node = 0; node < COUNT; ++node) {
      std::uint32_t run[2];
      const unsigned int count = childrenOf(node, run[0], run[1]) ? 1 : 0;
      tree.buildTreeNode(node, reinterpret_cast<const unsigned char*>(run), count);
    }
    tree.setRootNodeIdx(COUNT - 1);
  }
  void insert(std::uint32_t node) { tree.buildTreeNodeInsert(node, nullptr, 0); }
  void erase(std::uint32_t node) { tree.deleteNode(node); }
  std::uint64_t walk() {
    std::uint64_t sum = 0;
    SBTreeIterator it(&tree);
    for (std::uint32_t node; (node = it.nextDFNode(false)) != SBTree::IDX_NONE;) sum += node;
    return sum;
  }
  SBTree tree{SupaBlockHints()};
};

/// With the leaves marked, so that a walk doesn't read them.
struct HintedTree : Tree {
  HintedTree() {
    Bitmap leaves(COUNT);
    std::uint32_t first, last;
    for (std::uint32_t node = 0; node < COUNT; ++node) {
      if (!childrenOf(node, first, last)) leaves.set(node);
    }
    tree.terminatorHints(leaves);
  }
};

/// All children in one array, and where those of each node begin in another.
struct FlatArrays {
  FlatArrays() {
    begins.reserve(COUNT + 1);
    indexes.reserve(COUNT);
    for (std::uint32_t node = 0; node < COUNT; ++node) {
      begins.push_back(static_cast<std::uint32_t>(indexes.size()));
      std::uint32_t first, last;
      if (!childrenOf(node, first, last)) continue;
      for (std::uint32_t child = first; child <= last; ++child) indexes.push_back(child);
    }
    begins.push_back(static_cast<std::uint32_t>(indexes.size()));
  }
  std::pair<const std::uint32_t*, const std::uint32_t*> children(std::uint32_t node) const {
    return {indexes.data() + begins[node], indexes.data() + begins[node + 1]};
  }
  /// In front of `node`, under the same parent.
  void insert(std::uint32_t node) {
    const auto at = std::find(indexes.begin(), indexes.end(), node);
    const auto place = static_cast<std::uint32_t>(at - indexes.begin());
    for (std::uint32_t& index : indexes) index += index >= node ? 1 : 0;
    indexes.insert(at, node);
    begins.insert(begins.begin() + node, begins[node]);
    for (std::uint32_t& begin : begins) begin += begin > place ? 1 : 0;
  }
  void erase(std::uint32_t node) {
    const auto at = std::find(indexes.begin(), indexes.end(), node);
    const auto place = static_cast<std::uint32_t>(at - indexes.begin());
    indexes.erase(at);
    for (std::uint32_t& index : indexes) index -= index > node ? 1 : 0;
    begins.erase(begins.begin() + node);
    for (std::uint32_t& begin : begins) begin -= begin > place ? 1 : 0;
  }
  /// With a stack of spans.
  std::uint64_t walk() {
    const auto root = static_cast<std::uint32_t>(begins.size() - 2);
    std::uint64_t sum = root;
    std::vector<std::pair<const std::uint32_t*, const std::uint32_t*>> path{children(root)};
    while (!path.empty()) {
      auto& [next, end] = path.back();
      if (next == end) {
        path.pop_back();
        continue;
      }
      const std::uint32_t node = *next++;
      sum += node;
      if (const auto below = children(node); below.first != below.second) path.push_back(below);
    }
    return sum;
  }

  std::vector<std::uint32_t> begins, indexes;
};

#ifdef HAVE_GLIB
/// Nodes that point at each other and know their number; nothing has to be repaired, and no number finds a node.
struct GlibTree {
  GlibTree() : root(makeNode(COUNT - 1)) {
    std::vector<GNode*> level{root};
    while (!level.empty()) {
      std::vector<GNode*> below;
      for (GNode* parent : level) {
        std::uint32_t first, last;
        if (!childrenOf(GPOINTER_TO_UINT(parent->data), first, last)) continue;
        for (std::uint32_t child = last + 1; child-- > first;) below.push_back(g_node_prepend(parent, makeNode(child)));
      }
      level.swap(below);
    }
  }
  ~GlibTree() { g_node_destroy(root); }
  GlibTree(const GlibTree&) = delete;
  GlibTree& operator=(const GlibTree&) = delete;
  static GNode* makeNode(std::uint32_t node) { return g_node_new(GUINT_TO_POINTER(node)); }
  std::uint64_t walk() {
    std::uint64_t sum = 0;
    const auto add = [](GNode* node, gpointer to) -> gboolean {
      *static_cast<std::uint64_t*>(to) += GPOINTER_TO_UINT(node->data);
      return FALSE;
    };
    g_node_traverse(root, G_PRE_ORDER, G_TRAVERSE_ALL, -1, add, &sum);
    return sum;
  }
  GNode* root;
};
#endif

/// The walk first, so that what look-ups leave behind is counted, too.
template <class Subject>
void build(benchmark::State& state) {
  for (auto _ : state) {
    const std::size_t before = heapInUse();
    Subject subject;
    state.PauseTiming();
    benchmark::DoNotOptimize(subject.walk());
    state.counters["bytes_a_node"] = static_cast<double>(heapInUse() - before) / COUNT;
    state.ResumeTiming();
  }
}

template <class Subject>
void walk(benchmark::State& state, Subject& subject) {
  constexpr std::uint64_t SUM = std::uint64_t{COUNT} * (COUNT - 1) / 2;  // every node once
  for (auto _ : state) {
    if (subject.walk() != SUM) state.SkipWithError("the walk has lost its way");
  }
}

template <class Subject>
void insertAndDelete(benchmark::State& state) {
  Subject subject;
  const std::uint64_t sum = subject.walk();
  std::mt19937 random(1);
  for (auto _ : state) {
    const std::uint32_t node = middle(random);
    subject.insert(node);
    subject.erase(node);
  }
  if (subject.walk() != sum) state.SkipWithError("the tree isn't what it was");
}

/// What two repairs pass over, from one place to another: a size word a node, and the runs.
void copyTwice(benchmark::State& state) {
  std::size_t bytes = 0;
  std::uint32_t first, last;
  for (std::uint32_t node = 0; node < COUNT; ++node) bytes += childrenOf(node, first, last) ? 12 : 4;
  std::vector<unsigned char> from(bytes, 1), to(bytes);
  for (auto _ : state) {
    for (int i = 0; i < 2; ++i) {
      std::memcpy(to.data(), from.data(), bytes);
      benchmark::DoNotOptimize(to.data());
      benchmark::ClobberMemory();
    }
  }
}

void add(const std::string& work, const std::string& who, void (*run)(benchmark::State&)) {
  benchmark::RegisterBenchmark(("tree: " + work + "/" + who).c_str(), run);
}

template <class Subject>
void addTree(const std::string& who) {
  static Subject subject;  // made first, and stays: none lies in what another has left behind
  add("build a million nodes", who, build<Subject>);
  add("walk", who, [](benchmark::State& state) { walk<Subject>(state, subject); });
}

template <class Subject>
void addArray(const std::string& who) {
  addTree<Subject>(who);
  add("insert and delete of one node", who, insertAndDelete<Subject>);
}

}  // namespace

int main(int argc, char** argv) {
  addArray<Tree>("zqcore27");
  addTree<HintedTree>("zqcore27, leaves marked");
  addArray<FlatArrays>("index arrays");
  add("insert and delete of one node", "limit: memcpy of the nodes twice", copyTwice);
#ifdef HAVE_GLIB
  g_setenv("G_SLICE", "always-malloc", TRUE);  // so that its memory is seen
  addTree<GlibTree>("GNode");
#endif
  return runBenchmarks(argc, argv);
}
