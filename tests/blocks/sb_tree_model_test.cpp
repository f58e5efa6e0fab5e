#include <gtest/gtest.h>

#include <random>

#include "tests/support/tree_text.h"

namespace {

using Inspector = SBTreeInspector;

constexpr std::uint32_t NONE = SBTree::IDX_NONE;
constexpr int TREE_LIFE = 500;  // operations

/// A tree beside a graph of node objects that don't know their numbers, with iterators beside plain paths.
class TreeRun {
 public:
  TreeRun(int flags, const SupaBlockHints& hints, std::uint32_t seed) : fTree(SupaBlockHints()), fRandom(seed) {
    Inspector::useStore(fTree, flags, hints);
  }

  void step() {
    const int kind = pick(0, 99);
    if (kind < (size() > 60 ? 10 : 30)) {
      insert();
    } else if (kind < 45) {
      write();
    } else if (kind < (size() > 60 ? 65 : 55)) {
      remove(pick(0, size()));
    } else if (kind < 60) {
      change_walkers();
    } else {
      for (int n = 0; n < 3; ++n) {
        for (Walker& w : fWalkers) move(w, pick(0, 9));
      }
    }
    check();
  }

 private:
  struct Node {
    std::vector<std::vector<Node*>> runs;
    std::uint32_t index = 0;
  };
  struct Walker {
    std::unique_ptr<SBTreeIterator> it;
    Words path;
  };

  std::uint32_t pick(std::uint32_t low, std::uint32_t high) {
    return std::uniform_int_distribution<std::uint32_t>(low, high)(fRandom);
  }
  std::uint32_t size() const { return static_cast<std::uint32_t>(fNodes.size()); }
  std::uint32_t root() const { return size() - 1; }

  /// Runs below `idx` that don't overlap, in any order.
  Words some_runs(std::uint32_t idx) {
    std::vector<std::pair<std::uint32_t, std::uint32_t>> runs;
    for (std::uint32_t at = pick(0, 9); at < idx && runs.size() < 5; at += pick(1, 8)) {
      runs.emplace_back(at, std::min(at + pick(0, 3) * pick(0, 2), idx - 1));
      at = runs.back().second;
    }
    std::shuffle(runs.begin(), runs.end(), fRandom);
    Words words;
    for (const auto& [first, last] : runs) words.insert(words.end(), {first, last});
    return words;
  }

  void set_runs(std::uint32_t idx, const Words& words) {
    fNodes[idx]->runs.clear();
    for (std::size_t w = 0; w < words.size(); w += 2) {
      std::vector<Node*>& run = fNodes[idx]->runs.emplace_back();
      for (std::uint32_t i = words[w]; i <= words[w + 1]; ++i) run.push_back(fNodes[i].get());
    }
  }
  void renumber() {
    for (std::uint32_t i = 0; i < size(); ++i) fNodes[i]->index = i;
  }
  void extend_to(std::uint32_t count) {
    while (size() < count) fNodes.push_back(std::make_unique<Node>());
    renumber();
    fTree.setRootNodeIdx(root());
  }

  void insert() {
    const std::uint32_t idx = pick(0, 4) == 0 ? size() + pick(0, 3) : pick(0, size());
    const Words runs = some_runs(idx);
    const std::uint32_t error = storeErrorOf([&] { fTree.buildTreeNodeInsert(idx, bytesOf(runs), runsIn(runs)); });
    if (idx >= size()) {
      extend_to(error == 0 ? idx + 1 : static_cast<std::uint32_t>(Inspector::store(fTree)->getSize()));
    } else if (error == 0) {
      // The new node becomes a child where its neighbours are next to each other in one run.
      auto fresh = std::make_unique<Node>();
      for (const auto& node : fNodes) {
        for (auto& run : node->runs) {
          const auto behind = std::find(run.begin(), run.end(), fNodes[idx].get());
          if (behind != run.begin() && behind != run.end()) run.insert(behind, fresh.get());
        }
      }
      fNodes.insert(fNodes.begin() + idx, std::move(fresh));
      renumber();
      for (Walker& w : fWalkers) {
        for (std::uint32_t& i : w.path) i += i >= idx ? 1 : 0;
      }
    }
    if (error == 0) set_runs(idx, runs);
  }

  void write() {
    const std::uint32_t idx = pick(0, size());
    const Words runs = some_runs(idx);
    const std::uint32_t error = storeErrorOf([&] { put(fTree, idx, runs); });
    if (idx == size()) extend_to(static_cast<std::uint32_t>(Inspector::store(fTree)->getSize()));
    if (error != 0) return;
    set_runs(idx, runs);
    drop_walkers([idx](const Words& path) { return std::ranges::find(path, idx) != path.end(); });
  }

  void remove(std::uint32_t idx) {
    fTree.deleteNode(idx);
    if (idx >= size()) return;
    drop_walkers([idx](const Words& path) {
      return !path.empty() && std::find(path.begin(), path.end() - 1, idx) != path.end() - 1;
    });
    for (const auto& node : fNodes) {
      for (auto& run : node->runs) std::erase(run, fNodes[idx].get());
      std::erase_if(node->runs, [](const auto& run) { return run.empty(); });
    }
    fNodes.erase(fNodes.begin() + idx);
    renumber();
    for (Walker& w : fWalkers) {
      for (std::uint32_t& i : w.path) i -= i > idx ? 1 : 0;
    }
  }

  /// Of a node that was rewritten or went, how many runs are passed can't be told from the path.
  template <class Test>
  void drop_walkers(Test test) {
    std::erase_if(fWalkers, [&test](const Walker& w) { return test(w.path); });
  }

  void change_walkers() {
    if (fWalkers.size() > 3) fWalkers.erase(fWalkers.begin());
    fWalkers.push_back({std::make_unique<SBTreeIterator>(&fTree), {}});
    *fWalkers.back().it = *fWalkers.front().it;
    fWalkers.back().path = fWalkers.front().path;
    EXPECT_TRUE(*fWalkers.back().it == *fWalkers.front().it);
  }

  Words children(std::uint32_t idx) const {
    Words all;
    if (idx >= size()) return all;
    for (const auto& run : fNodes[idx]->runs) {
      for (const Node* child : run) all.push_back(child->index);
    }
    return all;
  }
  std::uint32_t down(Words& path, bool first) const {
    const Words below = path.empty() ? Words() : children(path.back());
    if (below.empty()) return NONE;
    path.push_back(first ? below.front() : below.back());
    return path.back();
  }
  std::uint32_t across(Words& path, int by) const {
    if (path.size() < 2) return NONE;
    const Words all = children(path[path.size() - 2]);
    const auto at = std::ranges::find(all, path.back()) - all.begin() + by;
    if (at - by == std::ssize(all) || at < 0 || at >= std::ssize(all)) return NONE;
    return path.back() = all[static_cast<std::size_t>(at)];
  }
  std::uint32_t walk(Words& path, bool stops) const {
    if (path.empty()) {
      if (size() != 0) path.push_back(root());
      return path.empty() ? NONE : root();
    }
    std::uint32_t reached = down(path, true);
    while (reached == NONE && (reached = across(path, 1)) == NONE) {
      if (path.size() == 1) return NONE;
      path.pop_back();
      if (stops) reached = path.back();
    }
    return reached;
  }

  void move(Walker& w, std::uint32_t kind) {
    SBTreeIterator& it = *w.it;
    Words& path = w.path;
    if (kind < 4) {
      EXPECT_EQ(it.nextDFNode(kind == 3), walk(path, kind == 3));
    } else if (kind < 6) {
      EXPECT_EQ(kind == 4 ? it.firstChildNode() : it.lastChildNode(), down(path, kind == 4));
    } else if (kind < 8) {
      EXPECT_EQ(kind == 6 ? it.nextSibling() : it.prevSibling(), across(path, kind == 6 ? 1 : -1));
    } else if (path.size() > 2) {
      path.pop_back();
      EXPECT_EQ(it.parentNode(), path.back());
    }
    EXPECT_EQ(it.getNodeIndex(), path.size() < 2 ? NONE : path.back());
    EXPECT_EQ(it.getNodeDepth(), static_cast<unsigned int>(path.size()) - 1);
    const std::uint32_t idx = pick(0, size());
    EXPECT_EQ(it.isADescendant(static_cast<std::int32_t>(idx)), std::ranges::find(path, idx) != path.end());
  }

  void check() {
    EXPECT_TRUE(size() == 0 || fTree.getRootNodeIdx() == root());
    std::vector<const unsigned char*> handles;
    try {
      handles = SupaBlockInspector::handles(*Inspector::store(fTree));
    } catch (const std::string& fault) {
      FAIL() << fault;
    }
    ASSERT_EQ(handles.size(), fNodes.size());
    for (std::uint32_t i = 0; i < size(); ++i) {
      Words runs;
      for (const auto& run : fNodes[i]->runs) runs.insert(runs.end(), {run.front()->index, run.back()->index});
      if (SupaBlockInspector::sizeAt(handles[i]) != runs.size() * 4) FAIL() << "number of runs of node " << i;
      if (!std::equal(runs.begin(), runs.end(), reinterpret_cast<const std::uint32_t*>(handles[i] + 4))) {
        FAIL() << "runs of node " << i;
      }
    }
    for (const Walker& w : fWalkers) {
      EXPECT_EQ(Inspector::path(*w.it), w.path);
      EXPECT_TRUE(Inspector::knowsRight(*w.it, handles));
    }
  }

  SBTree fTree;
  std::mt19937 fRandom;
  std::vector<std::unique_ptr<Node>> fNodes;  // in the order of their indexes; the last is the root
  std::vector<Walker> fWalkers;
};

TEST(SBTreeModelTest, FollowsAPlainGraph) {
  const SupaBlockHints HINTS[] = {
      hintsOf(0x40000000, 16, 8, 4000, 2),  // a tree's own
      hintsOf(200, 16, 2, 6, 0),            // divides all the time
      hintsOf(128, 8, 1, 4, 1),             // the same, with sparse directories
      hintsOf(64, 4, 3, 9, 2),              // and with nodes that don't fit
      hintsOf(30, 8, 1, 2, 0),
      hintsOf(1000, 40, 2, 9, 3),
      hintsOf(0, 4, 0, 3, 2),
      hintsOf(400, 1, 2, 40, 3),
  };
  for (const SupaBlockHints& hints : HINTS) {
    for (int flags = 0; flags < 4; ++flags) {
      for (int steps = modelSteps(500), done = 0; done < steps; done += TREE_LIFE) {
        const std::uint32_t seed = modelSeed() + static_cast<std::uint32_t>(flags + done);
        SCOPED_TRACE(testing::Message() << "hints " << &hints - HINTS << ", flags " << flags << ", seed " << seed);
        TreeRun run(flags, hints, seed);
        for (int n = 0; n < std::min(TREE_LIFE, steps - done); ++n) {
          run.step();
          if (testing::Test::HasFailure()) FAIL() << "at step " << n;
        }
      }
    }
  }
}

}  // namespace
