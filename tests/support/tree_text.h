#pragma once

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/store_model.h"
#include "zqcore27/blocks/sb_tree.h"
#include "zqcore27/blocks/sb_tree_iterator.h"

inline namespace zqcore27 {

/// Looks behind the interface of a tree and its iterators.
class SBTreeInspector {
 public:
  static SupaBlock* store(SBTree& tree) { return tree.fStore.get(); }
  /// Puts an empty store of other hints under an empty tree.
  static void useStore(SBTree& tree, int flags, const SupaBlockHints& hints) {
    tree.fStore = std::make_unique<SupaBlock>(static_cast<SupaBlock::Flags>(flags), hints);
    tree.fStore->registerCallback(&tree, 1);
  }
  static std::size_t iterators(SBTree& tree) {
    OrlanSynchronized lock(tree.fMutex);
    return tree.fIterators.size();
  }
  /// The indexes of the path, the root's first.
  static std::vector<std::uint32_t> path(const SBTreeIterator& it) {
    std::vector<std::uint32_t> indexes;
    for (std::int32_t depth = 0; depth <= it.fTop; ++depth) indexes.push_back(it.frame(depth).fIndex);
    return indexes;
  }
  /// True if each handle that a frame knows, a dead one's too, is the one in `all`.
  static bool knowsRight(const SBTreeIterator& it, const std::vector<const unsigned char*>& all) {
    return std::ranges::all_of(it.fFrames, [&all](const SBTreeIteratorStackFrame& f) {
      return f.fHeader == nullptr || (f.fIndex < all.size() && f.fHeader == all[f.fIndex]);
    });
  }
};

}  // namespace zqcore27

using Words = std::vector<std::uint32_t>;

inline const unsigned char* bytesOf(const Words& runs) { return reinterpret_cast<const unsigned char*>(runs.data()); }
inline unsigned int runsIn(const Words& runs) { return static_cast<unsigned int>(runs.size() / 2); }
inline void put(SBTree& tree, std::uint32_t idx, const Words& runs) {
  tree.buildTreeNode(idx, bytesOf(runs), runsIn(runs));
}

/// A number, or "." for none.
inline std::string indexText(std::uint32_t idx) { return idx == SBTree::IDX_NONE ? "." : std::to_string(idx); }

/// Nodes in the order of their indexes, each with its runs: "- - - 0:1 2:2,3:3". "-" has none, "." is IDX_NONE.
inline std::string treeText(SBTree& tree) {
  std::string text;
  SBTreeChildData data;
  for (std::uint32_t i = 0; tree.treeData(i, &data); ++i) {
    text += i == 0 ? "" : " ";
    if (data.size() == 0) text += "-";
    for (unsigned int w = 0; w < data.size(); ++w) {
      text += (w == 0 ? "" : w % 2 == 1 ? ":" : ",") + indexText(data.firstIndex()[w]);
    }
  }
  return text;
}

/// Makes the tree of such a text; the last node is the root.
inline void buildTree(SBTree& tree, const std::string& text) {
  std::istringstream nodes(text);
  std::uint32_t idx = 0;
  for (std::string node; nodes >> node; ++idx) {
    Words runs;
    std::istringstream ends(node);
    for (std::string end; node != "-" && std::getline(ends, end, runs.size() % 2 == 0 ? ':' : ',');) {
      runs.push_back(end == "." ? SBTree::IDX_NONE : static_cast<std::uint32_t>(std::stoul(end)));
    }
    put(tree, idx, runs);
  }
  tree.setRootNodeIdx(idx - 1);
}
