#include "zqcore27/blocks/sb_tree_child_iterator.h"

#include "zqcore27/blocks/sb_tree.h"
#include "zqcore27/blocks/sb_tree_child_data.h"

inline namespace zqcore27 {

SBTreeChildIterator::SBTreeChildIterator(SBTree& tree, std::uint32_t idx) : fCurrent(SBTree::IDX_NONE), fTree(&tree) {
  SBTreeChildData data;
  if (!fTree->treeData(idx, &data) || data.firstIndex() == nullptr || data.size() < 2) return;
  fRun = data.firstIndex();
  fRemaining = data.size() / 2 * 2;
  fCurrent = *fRun;
}

SBTreeChildIterator& SBTreeChildIterator::operator++() {
  if (fRemaining == 0) {
    fCurrent = SBTree::IDX_NONE;
  } else if (fCurrent < fRun[1]) {
    ++fCurrent;
  } else {
    fRemaining -= 2;
    fRun += 2;
    fCurrent = fRemaining == 0 ? SBTree::IDX_NONE : *fRun;
  }
  return *this;
}

}  // namespace zqcore27
