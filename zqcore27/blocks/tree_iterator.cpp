#include "zqcore27/blocks/tree_iterator.h"

inline namespace zqcore27 {

TreeIterator::TreeIterator() = default;
TreeIterator::TreeIterator(const TreeIterator&) = default;
TreeIterator& TreeIterator::operator=(const TreeIterator&) = default;
TreeIterator::~TreeIterator() = default;

}  // namespace zqcore27
