// A stream of operations on a tree, beside plain lists of words that are repaired by the letter, and iterators beside
// plain paths. Half of the inputs keep to the order of the nodes, the other half writes any words.

#include <algorithm>
#include <memory>

#include "fuzz/support/fuzz.h"
#include "fuzz/support/plain_tree.h"
#include "zqcore27/errors/mem_error.h"

namespace {

using fuzz::require;
using Inspector = SBTreeInspector;

constexpr std::uint32_t NONE = SBTree::IDX_NONE;
constexpr std::uint32_t FULL = 40;  // nodes, above which they are only deleted

class Run {
 public:
  explicit Run(fuzz::Input& in) : fIn(in), fTree(SupaBlockHints()), fAnyWords(in.below(2) != 0) {
    const int flags = static_cast<int>(in.below(4));
    const std::uint32_t body = in.byte(), average = in.byte() % 64, min = in.byte() % 8, max = in.byte() % 64;
    Inspector::useStore(fTree, flags, hintsOf(body < 0xF0 ? body * 8 : 0x40000000, average, min, max, in.byte() % 6));
  }

  void step() {
    const std::uint32_t kind = fIn.below(10);
    const std::uint32_t idx = index();
    if (kind < 6 && size() <= FULL) {
      write(kind < 3, idx);
    } else if (kind < 7) {
      remove(idx);
    } else if (kind == 7) {
      change_hints(idx);
    } else if (kind == 8) {
      add_walker(idx % 2 != 0);
    } else {
      for (Walker& walker : fWalkers) move(walker, idx);
    }
    check();
  }

 private:
  struct Walker {
    std::unique_ptr<SBTreeIterator> it;
    Words path;
    bool
        exact;  // the path is known: that of an iterator in any words isn't, nor behind a node that lists a child twice
  };

  std::uint32_t size() const { return fPlain.size(); }
  std::uint32_t index() {
    const std::uint8_t b = fIn.byte();
    return b < 0xF0 ? b % (size() + 1) : b < 0xFC ? size() + b % 4 : b == 0xFC ? NONE : 0x80000000U - (b & 1);
  }
  Words some_runs(std::uint32_t idx) {
    Words words;
    for (std::uint32_t count = fIn.below(5); count != 0; --count) {
      const std::uint8_t first = fIn.byte(), length = fIn.byte();
      if (fAnyWords) {
        words.insert(words.end(), {first < 0xF0 ? first % (FULL + 9) : NONE - first % 2, length % (FULL + 9)});
      } else if (idx != 0 && idx <= size()) {
        words.insert(words.end(), {first % idx, std::min(first % idx + length % 8, idx - 1)});
      }
    }
    return words;
  }

  void write(bool inserts, std::uint32_t idx) {
    const Words runs = some_runs(idx);
    try {
      inserts ? fTree.buildTreeNodeInsert(idx, bytesOf(runs), runsIn(runs)) : put(fTree, idx, runs);
    } catch (const SupaBlockError&) {
      return extend_to(std::max(size(), static_cast<std::uint32_t>(Inspector::store(fTree)->getSize())));
    }
    if (idx >= 0x7FFFFFFF) return;  // names no node
    if (idx >= size()) {
      extend_to(idx + 1);
    } else if (inserts) {
      fPlain.insert(idx);
      for (Walker& w : fWalkers) {
        for (std::uint32_t& i : w.path) i += i >= idx ? 1 : 0;
      }
    }
    fPlain.nodes[idx] = runs;
    if (!inserts) forget([idx](const Words& path) { return std::ranges::find(path, idx) != path.end(); });
  }
  void extend_to(std::uint32_t count) {
    if (count == size()) return;
    fPlain.nodes.resize(count);
    fTree.setRootNodeIdx(fPlain.root = fAnyWords && fIn.below(3) == 0 ? count + fIn.below(4) - 2 : count - 1);
  }
  void remove(std::uint32_t idx) {
    fTree.deleteNode(idx);
    if (idx >= size()) return;
    fPlain.erase(idx);
    forget([idx](const Words& path) {
      return !path.empty() && std::find(path.begin(), path.end() - 1, idx) != path.end() - 1;
    });
    for (Walker& w : fWalkers) {
      for (std::uint32_t& i : w.path) i -= i > idx ? 1 : 0;
    }
  }
  /// Of a node that was rewritten or went, how many runs are passed can't be told from the path.
  template <class Test>
  void forget(Test test) {
    for (Walker& w : fWalkers) w.exact = w.exact && !test(w.path);
  }

  void change_hints(std::uint32_t idx) {
    Bitmap bits(size());
    for (std::uint32_t i = 0; i < size(); ++i) {
      if ((i * 7 + idx) % 5 == 0) bits.set(i);
    }
    if (fPlain.root >= 0x1000) return;
    if (fIn.below(2) != 0) return fTree.cloneHints(bits);
    fTree.terminatorHints(bits);
    fPlain.terminators = bits;
    fPlain.terminators.clear(fPlain.root);
  }

  void add_walker(bool copies) {
    if (fWalkers.size() > 3) fWalkers.erase(fWalkers.begin());
    fWalkers.push_back({std::make_unique<SBTreeIterator>(&fTree), {}, !fAnyWords});
    Walker& first = fWalkers.front();
    if (!copies || !first.it->testIter(false)) return;
    *fWalkers.back().it = *first.it;
    require(*fWalkers.back().it == *first.it, "an iterator takes a place over");
    fWalkers.back().path = first.path;
    fWalkers.back().exact = first.exact;
  }

  void move(Walker& w, std::uint32_t idx) {
    SBTreeIterator& it = *w.it;
    const std::uint32_t kind = fIn.below(8);
    const Words before = Inspector::path(it);
    if (before.size() > 60) return it.invalidate();  // moves to a child follow circles
    std::uint32_t reached = NONE;
    try {
      reached = kind < 3    ? it.nextDFNode(kind == 2)
                : kind == 3 ? it.firstChildNode()
                : kind == 4 ? it.lastChildNode()
                : kind == 5 ? it.nextSibling()
                : kind == 6 ? it.prevSibling()
                            : it.parentNode();
    } catch (const SupaBlockError& e) {
      return require(!it.testIter(false) && e.code() == 0xc2000690, "only an invalid iterator raises");
    }
    const Words path = Inspector::path(it);
    require(reached == NONE || (!path.empty() && path.back() == reached), "a step tells where it leads");
    require(it.getNodeIndex() == (path.size() < 2 ? NONE : path.back()), "an iterator names its node");
    require(it.getNodeDepth() + 1 == path.size(), "the depth is that of the path");
    it.isAClone();
    it.isAParent();
    const std::size_t kept = std::min(before.size(), path.size());
    require(kind < 3 || kept == 0 ||
                std::equal(path.begin(), path.begin() + static_cast<std::ptrdiff_t>(kept) - 1, before.begin()),
            "a step to a neighbour keeps the path above");
    require(it.isADescendant(static_cast<std::int32_t>(idx)) == (std::ranges::find(path, idx) != path.end()),
            "a node is below those of the path");
    w.exact = w.exact && fPlain.lists_once(w.path);
    if (!w.exact) return;
    const std::uint32_t expected = kind < 3   ? fPlain.walk(w.path, kind == 2)
                                   : kind < 5 ? fPlain.down(w.path, kind == 3)
                                   : kind < 7 ? fPlain.across(w.path, kind == 5 ? 1 : -1)
                                              : fPlain.up(w.path);
    require(reached == expected, "a step leads where a plain path leads");
  }

  /// A walk from the root, against a recursion; both stop after some nodes, since paths multiply.
  void check_walk() {
    const std::unique_ptr<TreeIterator> it(fTree.newIter());
    std::size_t left = 100;
    walk_below(*it, fPlain.root, left);
    require(left == 0 || it->nextDFNode(false) == NONE, "a walk ends behind the last node");
  }
  void walk_below(TreeIterator& it, std::uint32_t node, std::size_t& left) {
    if (fPlain.terminators.state(node)) return;
    for (const std::uint32_t child : fPlain.children(node)) {
      if (left == 0) return;
      --left;
      require(it.nextDFNode(false) == child, "a walk goes depth first");
      walk_below(it, child, left);
    }
  }

  /// A walk over any words, which must not go on below the second place of a node in a circle.
  void check_circles() {
    SBTreeIterator it(&fTree);
    for (int left = 50; left != 0 && it.nextDFNode(false) != NONE; --left) {
      const Words path = Inspector::path(it);
      for (std::size_t d = 1; d + 1 < path.size(); ++d) {
        const auto place = path.begin() + static_cast<std::ptrdiff_t>(d);
        require(place[0] < place[-1] || std::find(path.begin(), place, *place) == place, "a walk leaves a circle");
      }
    }
  }

  void check() {
    require(fTree.getRootNodeIdx() == fPlain.root, "the root moves with the nodes");
    const std::vector<const unsigned char*> handles = SupaBlockInspector::handles(*Inspector::store(fTree));
    require(handles.size() == fPlain.nodes.size(), "a tree has as many nodes as its model");
    for (std::uint32_t i = 0; i < size(); ++i) {
      require(SupaBlockInspector::sizeAt(handles[i]) == fPlain.nodes[i].size() * 4, "a node has its runs");
      require(std::equal(fPlain.nodes[i].begin(), fPlain.nodes[i].end(),
                         reinterpret_cast<const std::uint32_t*>(handles[i] + 4)),
              "runs are repaired");
    }
    for (const Walker& w : fWalkers) {
      require(Inspector::knowsRight(*w.it, handles), "a frame's handle is right");
      require(!w.exact || Inspector::path(*w.it) == w.path, "an iterator keeps its path");
    }
    if (!fAnyWords && size() != 0 && fPlain.root + 1 == size()) check_walk();
    if (fAnyWords) check_circles();
  }

  fuzz::Input& fIn;
  SBTree fTree;
  bool fAnyWords;
  fuzz::PlainTree fPlain;
  std::vector<Walker> fWalkers;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input in(data, size);
  Run run(in);
  for (int steps = 0; steps < 100 && !in.empty(); ++steps) run.step();
  return 0;
}
