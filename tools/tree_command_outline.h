#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zqtool {

/// One node of an outline, under the number that it has in a tree.
struct OutlineNode {
  std::string name;  // UTF-8; empty for the root
  bool terminator = false;
  std::uint32_t parents = 0;
  std::vector<std::uint32_t> children;  // in their order; all numbers are lower than the node's own

  /// The children as a tree stores them: first, last, first, last and so on.
  std::vector<std::uint32_t> runs() const;
};

/// A whole outline, or what is wrong with it.
struct TreeOutline {
  std::vector<OutlineNode> nodes;  // the root is the last one
  std::size_t faultLine = 0;       // from 1; 0 for a fault of the whole
  std::string fault;               // empty if all is well

  /// Places of the depth-first walk, the root's included; 0xFFFFFFFFFFFFFFFF for that many and more.
  std::uint64_t places() const;
};

/// Deeper levels are refused.
constexpr std::uint32_t MAX_OUTLINE_LEVELS = 1000;

/// Reads an outline: one node a line, its children indented below it. The numbers follow from the tree downwards, each
/// node's children in one row, so that they make one run; a node of several parents stands in the row of the parent
/// that is numbered last.
TreeOutline readTreeOutline(std::string_view text);

}  // namespace zqtool
