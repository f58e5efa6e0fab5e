#pragma once

#include <cstdint>
#include <vector>

#include "tests/support/tree_text.h"

namespace fuzz {

/// What a tree is to hold: the words of each node, repaired by the letter when a node comes or goes. "No node" stays.
class PlainTree {
 public:
  std::uint32_t root = 0;
  std::vector<Words> nodes;

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
