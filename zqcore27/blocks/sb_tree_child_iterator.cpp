#include "zqcore27/blocks/sb_tree_child_iterator.h"

#include "zqcore27/blocks/sb_tree.h"
#include "zqcore27/blocks/sb_tree_child_data.h"

inline namespace zqcore27 {

SBTreeChildData::SBTreeChildData() = default;
SBTreeChildData::SBTreeChildData(const SBTreeChildData&) = default;
SBTreeChildData& SBTreeChildData::operator=(const SBTreeChildData&) = default;
SBTreeChildData::~SBTreeChildData() = default;

SBTreeChildIterator::SBTreeChildIterator(SBTree& tree, std::uint32_t idx) : fCurrent(SBTree::IDX_NONE), fTree(&tree) {
  SBTreeChildData data;
  if (!fTree->treeData(idx, &data) || data.size() == 0) return;
  fRun = data.firstIndex();
  fRemaining = data.size();
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
