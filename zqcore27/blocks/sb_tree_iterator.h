#pragma once

#include <cstdint>
#include <vector>

#include "zqcore27/blocks/sb_tree_iterator_stack_frame.h"
#include "zqcore27/blocks/tree_iterator.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/platform/thread_annotations.h"
#include "zqcore27/threads/mutex.h"

inline namespace zqcore27 {

class SBTree;
class SupaBlockHeader;

/// A place in an SBTree: the path of nodes from the root down to the current one. Inserts and deletes in the tree
/// renumber the path:
///                              a node on the path
///   insert at or below it      moves up with its node
///   delete of itself           keeps the index, which is now that of the node that followed
///   delete below it            moves down with its node
///   its parent is rewritten    stays; if it is no longer among the parent's children, its level ends here
///
/// The depth of a node is the number of nodes above it on the path: 0 for the root, 1 for the top level that a user
/// sees. An operation that finds no node answers SBTree::IDX_NONE and moves nothing, walks excepted.
/// Where runs break the order of nodes: what they name is visited, whether it exists or not, up to index 0x7FFFFFFF.
/// nextDFNode, and what walks by it, doesn't go below a node that stands further up on the path already, where the last
/// step down to it didn't lower the index. So no circle is walked for ever, though a walk through nodes that all name
/// each other may take longer than anyone waits. The moves to a first or last child follow a circle as often as asked.
///
/// Attached to its tree from construction to destruction. A tree deletes the iterators that it still has when it dies:
/// one that may outlive its tree must come from `new`, and one on the stack must go first.
/// Errors: SupaBlockError::INVALID_ITERATOR after invalidate, from every operation but isADescendant, vConstruct,
/// testIter(false), invalidate and the destructor; std::bad_alloc from making one, from an assignment and from a step
/// down when the heap is exhausted, with the iterator where it was. Threads: invalidate and testIter any; all else as
/// the tree.
class ZQCORE27_EXPORT SBTreeIterator : public TreeIterator {
 public:
  /// Stands nowhere; the first nextDFNode puts it on the root. With a null `tree` it is invalid from the start.
  explicit SBTreeIterator(SBTree* tree);
  SBTreeIterator(const SBTreeIterator&) = delete;
  ~SBTreeIterator() override;
  /// Takes over tree and place of `other`; this iterator stays as valid as it is. Nothing happens if `other` isn't an
  /// SBTreeIterator or has no tree.
  TreeIterator& operator=(TreeIterator& other);
  SBTreeIterator& operator=(const SBTreeIterator& other);

  /// The current node; IDX_NONE on the root and nowhere.
  std::uint32_t getNodeIndex() override;
  /// One step of the depth-first walk, each parent before its children: first to the root, at the end IDX_NONE, and
  /// from there once more through the tree, without the root. With `stopOnAscent` the way up to a parent is a step too
  /// and gives that parent, the root included; it isn't remembered: the next nextDFNode goes down from there again, so
  /// go on with nextSibling or parentNode.
  std::uint32_t nextDFNode(bool stopOnAscent) override;
  /// 0xFFFFFFFF nowhere.
  unsigned int getNodeDepth() override;
  /// Up to the parent. Not from the top level to the root.
  std::uint32_t parentNode() override;
  /// A new iterator on the same tree, which stands nowhere. The caller owns it, until the tree dies.
  TreeIterator* vConstruct() override;
  /// True for the same path on the same tree, the root's index left out. False if `other` isn't an SBTreeIterator.
  bool operator==(TreeIterator& other) override;
  friend bool operator==(TreeIterator& left, SBTreeIterator& right) { return left.operator==(right); }
  /// Down to the first or last child; terminators are entered as well.
  std::uint32_t firstChildNode() override;
  std::uint32_t lastChildNode() override;
  /// Along the children of the parent on this path. nextSibling is of constant time, prevSibling scans the runs.
  std::uint32_t nextSibling() override;
  std::uint32_t prevSibling() override;
  /// Walks on, at least one step, until it reaches `idx`: true; false if the walk has ended. Never goes back first.
  bool moveToDFIndex(std::uint32_t idx) override;
  /// As SBTree::indexIsAParent of the current node; false nowhere.
  bool isAParent() override;
  /// True if a node of the path below the root has its bit in the clone hints; without hints true for every node, the
  /// root too, since each may be a clone. False nowhere.
  bool isAClone() override;
  /// Walks on to the next place of the current node. IDX_NONE: there is none, and the walk has ended.
  std::uint32_t nextClone() override;
  /// Always IDX_NONE: a walk can't go back.
  std::uint32_t prevClone();
  /// True if `idx` stands on the path: the current node is it or lies below it.
  bool isADescendant(std::int32_t idx);

  /// True if it is valid. Errors: INVALID_ITERATOR if it isn't and `raise` is true.
  bool testIter(bool raise) ZQCORE27_EXCLUDES(fMutex);
  /// For an owner that knows the tree is no longer fit to walk. It stays attached, and there is no way back.
  void invalidate() ZQCORE27_EXCLUDES(fMutex);

 protected:
  void initialise_iter(SBTree* tree);
  // What the tree calls at a change, while it holds its mutex. The frames above the top are dead, and adjusted as well.
  void impact_frames_in_range(std::int32_t first, std::int32_t last);
  void insert_into_frames(std::int32_t idx);
  void delete_from_frames(std::int32_t idx);
  void forget_blocks();

 private:
  friend class SBTree;
  friend class SBTreeInspector;  // of the tests

  std::uint32_t this_idx();
  unsigned char* block_of(SBTreeIteratorStackFrame& frame);
  unsigned char* this_node();
  unsigned char* parent_node();
  std::uint32_t first_child_idx();
  std::uint32_t last_child_idx();
  unsigned char* block_behind(const SBTreeIteratorStackFrame& frame, std::uint32_t idx) const;
  bool closes_a_circle();
  std::uint32_t next_sibling_idx();
  std::uint32_t prev_sibling_idx();
  std::uint32_t go_down(std::uint32_t child);
  std::uint32_t go_across(std::uint32_t sibling);
  void replace_top_idx(std::uint32_t idx);
  SBTreeIteratorStackFrame* push_frame();
  void push_idx(std::uint32_t idx);
  SBTreeIteratorStackFrame* pop_frame();
  std::uint32_t pop_idx();
  void attach_to(SBTree* tree);
  SBTreeIteratorStackFrame& top() { return fFrames[static_cast<std::size_t>(fTop)]; }
  const SBTreeIteratorStackFrame& frame(std::int32_t depth) const { return fFrames[static_cast<std::size_t>(depth)]; }

  SBTree* fTree = nullptr;                        // not owned
  std::int32_t fTop = -1;                         // position of the top frame; -1 for an empty stack
  std::uint32_t fCurrent;                         // index of the top frame, a cache; IDX_NONE: to be read from there
  std::vector<SBTreeIteratorStackFrame> fFrames;  // from the root down; only grows
  SupaBlockHeader* fNear = nullptr;               // superblock of the last node looked up; null if not known
  bool fValid ZQCORE27_GUARDED_BY(fMutex) = true;
  OrlanMutex fMutex;  // of fValid alone; never taken together with the tree's
};

}  // namespace zqcore27
