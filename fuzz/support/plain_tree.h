#pragma once

#include <algorithm>
#include <cstdint>
#include <set>
#include <vector>

#include "tests/support/tree_text.h"
#include "zqcore27/core/bitmap.h"

namespace fuzz {

/// What a tree is to hold: the words of each node, repaired by the letter when a node comes or goes. "No node" stays.
class PlainTree {
 public:
  std::uint32_t root = 0;
  std::vector<Words> nodes;
  Bitmap terminators;

  std::uint32_t size() const { return static_cast<std::uint32_t>(nodes.size()); }
  /// Below the size.
  void insert(std::uint32_t idx) {
    nodes.insert(nodes.begin() + idx, Words());
    ++root;
    repair(idx + 1, [idx](Words& node) {
      for (std::uint32_t& w : node) w += w >= idx && w != SBTree::IDX_NONE ? 1 : 0;
    });
  }
  void erase(std::uint32_t idx) {
    nodes.erase(nodes.begin() + idx);
    --root;
    repair(idx, [idx](Words& node) {
      Words left;
      for (std::size_t w = 0; w < node.size(); w += 2) {
        const std::int64_t first = lowered(node[w], idx + 1), last = lowered(node[w + 1], idx);
        if (first <= last) {
          left.insert(left.end(), {static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(last)});
        }
      }
      node = left;
    });
  }

  Words children(std::uint32_t idx) const {
    Words all;
    for (std::size_t w = 0; idx < size() && w < nodes[idx].size(); w += 2) {
      for (std::uint64_t child = nodes[idx][w]; child <= nodes[idx][w + 1]; ++child) {
        all.push_back(static_cast<std::uint32_t>(child));
      }
    }
    return all;
  }

  // Moves along a path of indexes, the root's first, in a tree in order. IDX_NONE where there is nothing.

  /// True if no node above the last one lists a child twice: its runs tell which place is meant.
  bool lists_once(const Words& path) const {
    return std::all_of(path.begin(), path.end() - (path.empty() ? 0 : 1), [this](std::uint32_t idx) {
      const Words all = children(idx);
      return std::set(all.begin(), all.end()).size() == all.size();
    });
  }
  std::uint32_t down(Words& path, bool first) const {
    const Words below = path.empty() ? Words() : children(path.back());
    if (below.empty()) return SBTree::IDX_NONE;
    path.push_back(first ? below.front() : below.back());
    return path.back();
  }
  std::uint32_t across(Words& path, int by) const {
    if (path.size() < 2) return SBTree::IDX_NONE;
    const Words all = children(path[path.size() - 2]);
    const auto at = std::ranges::find(all, path.back()) - all.begin() + by;
    if (at - by == std::ssize(all) || at < 0 || at >= std::ssize(all)) return SBTree::IDX_NONE;
    return path.back() = all[static_cast<std::size_t>(at)];
  }
  std::uint32_t up(Words& path) const {
    if (path.size() < 3) return SBTree::IDX_NONE;
    path.pop_back();
    return path.back();
  }
  std::uint32_t walk(Words& path, bool stops) const {
    if (path.empty()) {
      if (size() != 0) path.push_back(root);
      return size() != 0 ? root : SBTree::IDX_NONE;
    }
    std::uint32_t reached = terminators.state(path.back()) ? SBTree::IDX_NONE : down(path, true);
    while (reached == SBTree::IDX_NONE && (reached = across(path, 1)) == SBTree::IDX_NONE) {
      if (path.size() == 1) return SBTree::IDX_NONE;
      path.pop_back();
      if (stops) reached = path.back();
    }
    return reached;
  }

 private:
  static std::int64_t lowered(std::uint32_t word, std::uint32_t from) {
    return std::int64_t{word} - (word >= from && word != SBTree::IDX_NONE ? 1 : 0);
  }
  template <class Change>
  void repair(std::uint32_t from, Change change) {
    for (std::uint64_t i = from; i <= root && i < size(); ++i) change(nodes[i]);
  }
};

}  // namespace fuzz
