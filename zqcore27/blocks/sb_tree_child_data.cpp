#include "zqcore27/blocks/sb_tree_child_data.h"

inline namespace zqcore27 {

SBTreeChildData::SBTreeChildData() = default;
SBTreeChildData::SBTreeChildData(const SBTreeChildData&) = default;
SBTreeChildData& SBTreeChildData::operator=(const SBTreeChildData&) = default;
SBTreeChildData::~SBTreeChildData() = default;

}  // namespace zqcore27
