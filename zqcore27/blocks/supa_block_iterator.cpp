#include "zqcore27/blocks/supa_block_iterator.h"

#include <functional>
#include <limits>

inline namespace zqcore27 {

SupaBlockIterator::SupaBlockIterator(SupaBlock* store, std::int32_t idx) : fStore(store), fIndex(idx) {
  store->fIterators.push_back(this);
  if (idx < 0 || store->fImpacting) return;
  fSuperBlock = store->get_SB_for_idx(idx);
  if (fSuperBlock != nullptr) fHeader = store->get_block_hdr(fSuperBlock, idx);
}

SupaBlockIterator::~SupaBlockIterator() { std::erase(fStore->fIterators, this); }

unsigned char* SupaBlockIterator::next_by_look_up(std::int32_t* idx) {
  if (fStore->fImpacting || fIndex == std::numeric_limits<std::int32_t>::max()) return nullptr;
  const std::int32_t next = fIndex + 1;
  SupaBlockHeader* sb = fSuperBlock != nullptr && fSuperBlock->holds(next) ? fSuperBlock : fStore->get_SB_for_idx(next);
  if (sb == nullptr) return nullptr;
  unsigned char* header = fStore->get_block_hdr(sb, next);
  if (header == nullptr) return nullptr;  // a negative index
  fSuperBlock = sb;
  fHeader = header;
  fIndex = next;
  if (idx != nullptr) *idx = next;
  return header;
}

void SupaBlockIterator::check_for_impact(SupaBlockHeader& sb, unsigned char* at) {
  if (fSuperBlock != &sb) return;
  if (at == nullptr) {
    fSuperBlock = nullptr;
    fHeader = nullptr;
  } else if (fHeader != nullptr && !std::less<>()(fHeader, at)) {
    fHeader = nullptr;
  }
}

}  // namespace zqcore27
