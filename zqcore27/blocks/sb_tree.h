#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "zqcore27/blocks/callable_class.h"
#include "zqcore27/blocks/sb_tree_child_data.h"
#include "zqcore27/blocks/supa_block.h"
#include "zqcore27/blocks/supa_block_event.h"
#include "zqcore27/blocks/supa_block_hints.h"
#include "zqcore27/core/bitmap.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/platform/thread_annotations.h"
#include "zqcore27/threads/mutex.h"

inline namespace zqcore27 {

class SBTreeIterator;
class TreeIterator;

/// A tree, or more exactly a rooted graph in which a node may hang under several parents. Node i is block i of a
/// SupaBlock and lists its children as runs of consecutive indexes, so a wide level costs a few bytes:
///   run   first, last: two words of 32 bits, both ends belong to the run
///   node  its runs in the order of the children; none for a node without children
/// Invariant, the host's to keep: children have lower indexes than their parent, the root has the highest of all. So
/// nodes are written children first, and a repair rewrites nothing below the changed index.
///
///                        a node's own number         stored runs                         root
///   buildTreeNodeInsert  moves up from idx on        repaired: see there                 + 1, wherever it happens
///   deleteNode           moves down behind idx       repaired: see there                 - 1, wherever it happens
///   buildTreeNode        stays                       those of the node are replaced      stays
/// A repair is one pass over the nodes from the changed index to the root. Nodes above the root aren't repaired, and
/// the hint sets never are: after an insert or delete they name the wrong nodes until new ones are given.
///
/// Where an operation takes an index, one of 2^31 or more names no node: nothing is found, and nothing is written.
/// Errors: SupaBlockError as the store raises them; MemError or std::bad_alloc when the heap is exhausted. The repairs
/// raise none. Threads: attaching and detaching of iterators, any; all else one at a time, walks by iterators and reads
/// included, since look-ups write to the store.
class ZQCORE27_EXPORT SBTree : public CallableClass<SupaBlockEvent> {
 public:
  /// No node: the answer of what finds none.
  static constexpr std::uint32_t IDX_NONE = 0xFFFFFFFF;

  /// Without a store and with an fAvgRuns of 0. Set that through getSBHints and call clearTreeNodes; the first write
  /// makes the store otherwise.
  SBTree();
  /// An empty store for nodes of `hints.fAvgRuns` runs each, 2 where that is 0. The other hints are kept and not used.
  explicit SBTree(const SupaBlockHints& hints);
  SBTree(const SBTree&) = delete;
  SBTree& operator=(const SBTree&) = delete;
  /// Deletes the iterators that are still attached, so these must come from `new`.
  ~SBTree() override;

  /// Never null. A change takes effect at the next clearTreeNodes.
  SupaBlockHints* getSBHints() { return &fHints; }
  /// 0 at first. IDX_NONE once the node at 0 was the root and has been deleted, until it is set: the next insert
  /// extends the empty tree and leaves it, only one below the end would make it 0.
  std::uint32_t getRootNodeIdx() const { return fRoot; }
  /// Nothing is checked and nothing else happens: the root may lie behind the last node.
  void setRootNodeIdx(std::uint32_t idx) { fRoot = idx; }

  /// Writes or rewrites a node with `count` runs, of 8 bytes each at `runs`, which may be null if `count` is 0. At or
  /// behind the end it extends the tree, with empty nodes in between; this way a tree is built without any repair.
  void buildTreeNode(std::uint32_t idx, const unsigned char* runs, unsigned int count);
  /// Puts a new node at `idx`; the node that stood there and all behind it move up by one. `runs` carry final indexes.
  /// A run with first < idx <= last grows by one, so the new node is a child there; one that begins at `idx` moves up
  /// as a whole and one that ends in front of it stays, so the new node has no parent yet. Where a parent itself stands
  /// inside a longer run, a node put in at the parent's own index becomes a child of the grandparent. At or behind the
  /// end it acts as buildTreeNode, and the root stays.
  void buildTreeNodeInsert(std::uint32_t idx, const unsigned char* runs, unsigned int count);
  /// Removes a node; all behind it move down by one. Runs that span it shrink by one, and a run that held it alone
  /// goes, as does any other run whose first exceeds its last. Its children stay, perhaps without a parent. Nothing
  /// happens if there is no such node.
  void deleteNode(std::uint32_t idx);
  /// An empty store, made for the present fAvgRuns. Root, hint sets and iterators stay; an iterator keeps its path of
  /// indexes, so that its owner had better invalidate or delete it. Not from within an event: the operation that sends
  /// it goes on in the old store.
  void clearTreeNodes();

  /// Fills in `data` with the runs of a node. False, and nothing filled in, without such a node or with a null `data`.
  bool treeData(std::uint32_t idx, SBTreeChildData* data);
  /// With terminator hints true if the bit of `idx` is clear, whatever the node holds; a bit behind the end of the set
  /// counts as clear. Without them true if the node holds any data.
  bool indexIsAParent(std::uint32_t idx);

  /// Takes a copy of `bits`, with the root's bit cleared, which makes the copy larger where it doesn't reach the root.
  /// A set bit marks a terminator: walks don't enter that node, nor read it. The set should cover all nodes up to the
  /// root.
  void terminatorHints(const Bitmap& bits);
  /// The same for clones: a set bit marks a node that stands under more than one parent.
  void cloneHints(const Bitmap& bits);

  /// A new iterator that stands on the root, or nowhere if the tree is empty. The caller owns it, until the tree dies.
  TreeIterator* newIter();

  /// What the store tells: adjusts iterators, root and runs. True for the three kinds of event, false for any other.
  bool call(const SupaBlockEvent& event) override;

 protected:
  void attach_iterator(SBTreeIterator* it) ZQCORE27_EXCLUDES(fMutex);
  /// Nothing happens if `it` isn't attached.
  void detach_iterator(SBTreeIterator* it) ZQCORE27_EXCLUDES(fMutex);

 private:
  friend class SBTreeIterator;
  friend class SBTreeInspector;  // of the tests

  /// `idx` as the store takes it: negative, and so no block, from 2^31 on.
  static std::int32_t block_idx(std::uint32_t idx) { return static_cast<std::int32_t>(idx); }
  static bool names_a_node(std::uint32_t idx) { return block_idx(idx) >= 0; }
  static std::uint32_t node_first_child_idx(unsigned char* block);
  static std::uint32_t node_last_child_idx(unsigned char* block);
  unsigned char* node_block(std::uint32_t idx, SupaBlockHeader*& near);
  unsigned char* next_block(unsigned char* block, std::uint32_t idx, const SupaBlockHeader* near) const;
  bool is_terminator(std::uint32_t idx) const { return fTerminators != nullptr && fTerminators->state(idx); }
  bool is_clone(std::uint32_t idx) const { return fClones != nullptr && fClones->state(idx); }
  std::unique_ptr<Bitmap> without_root(const Bitmap& bits) const;

  void make_store();
  SupaBlock& store();

  void call_sb_event_impact(std::int32_t first, std::int32_t last);
  void call_sb_event_insert(std::int32_t idx);
  void call_sb_event_delete(std::int32_t idx);
  void fixup_tree_after_insert(std::int32_t idx);
  void fixup_tree_after_delete(std::int32_t d);
  template <class Change>
  void repair_nodes(std::int64_t from, const Change& change);
  std::uint32_t shorten(std::int32_t idx, std::uint32_t gone);

  std::vector<SBTreeIterator*> fIterators ZQCORE27_GUARDED_BY(fMutex);  // attached here
  OrlanMutex fMutex;                     // of fIterators and of the frames of the iterators in it; a leaf
  std::unique_ptr<Bitmap> fTerminators;  // null until they are given
  std::unique_ptr<Bitmap> fClones;       // null until they are given
  std::unique_ptr<SupaBlock> fStore;     // null until the first one is made
  std::uint32_t fRoot = 0;
  SupaBlockHints fHints;  // only fAvgRuns is read
};

}  // namespace zqcore27
