#pragma once

#include <concepts>
#include <cstdint>

#include "zqcore27/core/memory.h"
#include "zqcore27/platform/export.h"

inline namespace zqcore27 {

/// How a tree is walked, whatever it is kept in. A place is a path from the root, since a node may hang under several
/// parents. The root itself is hidden: it is the parent of the top level that a user sees. Nodes are named by their
/// index, 0xFFFFFFFF is none. SBTreeIterator says what each operation does. Threads: as the tree.
class ZQCORE27_EXPORT TreeIterator : public FromLibraryHeap {
 public:
  TreeIterator();
  TreeIterator(const TreeIterator&);
  TreeIterator& operator=(const TreeIterator&);

  virtual std::uint32_t getNodeIndex() = 0;
  virtual std::uint32_t nextDFNode(bool stopOnAscent) = 0;
  virtual unsigned int getNodeDepth() = 0;
  virtual std::uint32_t parentNode() = 0;
  virtual TreeIterator* vConstruct() = 0;
  virtual bool operator==(TreeIterator& other) = 0;
  virtual std::uint32_t firstChildNode() = 0;
  virtual std::uint32_t lastChildNode() = 0;
  virtual std::uint32_t nextSibling() = 0;
  virtual std::uint32_t prevSibling() = 0;
  virtual bool moveToDFIndex(std::uint32_t idx) = 0;
  virtual bool isAParent() = 0;
  virtual bool isAClone() = 0;
  virtual std::uint32_t nextClone() = 0;
  virtual ~TreeIterator();
};

/// Iterators of any two classes: the left one is asked. Where that is a plain TreeIterator& and the class of the right
/// one overrides operator==, SBTreeIterator apart, the language asks the right one; left.operator==(right) doesn't.
/// Threads: as the tree.
template <class Left, class Right>
requires std::convertible_to<Left*, TreeIterator*> && std::convertible_to<Right*, TreeIterator*>
bool operator==(Left& left, Right& right) { return static_cast<TreeIterator&>(left).operator==(right); }

}  // namespace zqcore27
