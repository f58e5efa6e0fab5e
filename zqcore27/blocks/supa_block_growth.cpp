#include <algorithm>
#include <cassert>
#include <utility>

#include "zqcore27/blocks/block_size.h"
#include "zqcore27/blocks/supa_block.h"
#include "zqcore27/blocks/supa_block_error.h"

inline namespace zqcore27 {

/// Extends the store up to and including `idx`, first into the free bytes of the last superblock. Fillers are counted
/// at the expected block size, though they take 4 bytes: room is left for the blocks that will replace them. Requires:
/// idx >= getSize(); `size` is rounded.
SupaBlockHeader* SupaBlock::append_blocks(std::int32_t idx, std::uint32_t size) {
  if (fSuperBlocks.empty()) return insert_superblock(idx, size);
  SupaBlockHeader* last = fSuperBlocks.back().get();
  const std::uint32_t free = last->get_unused_body_size();
  const std::uint32_t expected = roundedUp(fHints.fAvgBlockSize);
  const std::uint64_t fit = std::min(free / expected, fHints.fMaxBlocks);
  const auto wanted = static_cast<std::uint64_t>(std::int64_t{idx} - last->fLast);

  const bool placed = wanted <= fit && (wanted - 1) * expected + size <= free - fit * 4;
  const std::uint64_t count = wanted > fit ? fit : placed ? wanted : wanted / 3 * 2;
  unsigned char* end = *last->fBody + last->fUsed;
  if (placed) set_block_size(end + (count - 1) * 4, size);
  last->fUsed += static_cast<std::uint32_t>(count * 4 + (placed ? size : 0));
  last->fLast += static_cast<std::int32_t>(count);
  fLasts.back() = last->fLast;
  return placed ? last : insert_superblock(idx, size);
}

/// Adds superblocks up to `idx`, or divides the one that holds `idx` and returns the one that holds it then. A division
/// doesn't resize the block, it makes for `size`; SB_NO_SIZE is the size that the block has.
SupaBlockHeader* SupaBlock::insert_superblock(std::int32_t idx, std::uint32_t size) {
  SupaBlockHeader* sb = get_SB_for_idx(idx);
  return sb == nullptr ? add_superblocks(idx, size) : divide_superblock(sb, idx, size);
}

/// Bodies are made for the target, and larger where a block or the fillers of small blocks need it.
SupaBlockHeader* SupaBlock::add_superblocks(std::int32_t idx, std::uint32_t size) {
  const std::uint64_t target = fTargetBody;
  const std::uint64_t per = std::clamp<std::uint64_t>(target / fHints.fAvgBlockSize, 1,
                                                      std::min<std::uint64_t>(fHints.fMaxBlocks, LARGEST_BODY / 4));
  std::int32_t last = getSize() - 1;
  while (last != idx) {
    const auto wanted = static_cast<std::uint64_t>(std::int64_t{idx} - last);
    const std::uint64_t extent = wanted * 4 + size;  // with fillers in front of the wanted block
    const bool fits = wanted <= per && (wanted - 1) * fHints.fAvgBlockSize + size <= target && extent <= LARGEST_BODY;
    if (wanted == 1 && !fits && (size >= fHints.fMaxBodySize || extent > LARGEST_BODY)) {
      throw SupaBlockError(SupaBlockError::BLOCK_TOO_LARGE, false);
    }
    const bool placed = fits || wanted == 1;
    const std::uint64_t count = placed ? wanted : wanted > per ? per : std::max<std::uint64_t>(wanted / 3 * 2, 1);
    const std::uint64_t used = placed ? extent : count * 4;
    const std::uint64_t body = fits || !placed ? std::max(target, used) : used;

    auto sb = std::make_unique<SupaBlockHeader>(static_cast<std::int32_t>(body));
    commission_superblock(sb.get());
    sb->fFirst = last + 1;
    sb->fLast = last + static_cast<std::int32_t>(count);
    sb->fUsed = static_cast<std::uint32_t>(used);
    if (placed) set_block_size(*sb->fBody + (count - 1) * 4, size);
    last = sb->fLast;
    reserve_in_list();
    list_superblock(fSuperBlocks.size(), std::move(sb));
  }
  return fSuperBlocks.back().get();
}

/// Requires: `sb` holds `idx`.
SupaBlockHeader* SupaBlock::divide_superblock(SupaBlockHeader* sb, std::int32_t idx, std::uint32_t size) {
  unsigned char* h = get_block_hdr(sb, idx);
  const std::int64_t delta = size == SB_NO_SIZE ? 0 : std::int64_t{size} - get_block_size_from_hdr(h);
  if (idx == sb->fLast || h >= *sb->fBody + sb->fUsed / 2) return split_head(sb, idx, h, delta);
  split_tail(sb, idx, h, delta);
  return sb;
}

/// Block `idx` at `h` stays; blocks behind it move. Where `idx` leaves its superblock short of the target only the last
/// two move, and a caller that still lacks room divides again.
void SupaBlock::split_tail(SupaBlockHeader* sb, std::int32_t idx, unsigned char* h, std::int64_t delta) {
  const std::int64_t keep = (h - *sb->fBody) + get_block_size_from_hdr(h) + delta;
  const std::int64_t limit = (std::int64_t{2} * fTargetBody / 3 + 3) / 4 * 4;
  const std::int32_t first = keep > limit || idx + 1 == sb->fLast ? idx + 1 : sb->fLast - 1;
  unsigned char* from = get_block_hdr(sb, first);
  const auto tail = static_cast<std::uint32_t>(*sb->fBody + sb->fUsed - from);
  move_to_new_superblock(sb, from, first, body_for_moved(tail, fHints.fMaxBodySize));
  if (sb->fDirectory != nullptr) sb->fDirectory->clear();
}

/// Block `idx` at `h` moves with all behind it. With a `delta` that the new body's target doesn't hold it divides
/// again, so that the block stands alone or raises an error; the first division remains.
SupaBlockHeader* SupaBlock::split_head(SupaBlockHeader* sb, std::int32_t idx, unsigned char* h, std::int64_t delta) {
  if (idx == sb->fFirst) throw SupaBlockError(SupaBlockError::CANNOT_DIVIDE, false);
  const auto tail = static_cast<std::uint32_t>(*sb->fBody + sb->fUsed - h);
  const std::uint32_t body = body_for_moved(tail, roundedUp(fHints.fMaxBodySize));
  SupaBlockHeader* fresh = move_to_new_superblock(sb, h, idx, body);
  return delta != 0 && tail + delta > fTargetBody ? insert_superblock(idx, SB_NO_SIZE) : fresh;
}

/// Size of a new body for `tail` moved bytes.
std::uint32_t SupaBlock::body_for_moved(std::uint32_t tail, std::uint64_t limit) const {
  if (fTargetBody >= tail) return fTargetBody;
  if (tail > limit) throw SupaBlockError(SupaBlockError::CANNOT_DIVIDE, false);
  return tail;
}

/// Moves the blocks from `idx` on, which begin at `from`, to a new superblock directly behind `sb`. All that may fail
/// comes before the first byte moves.
SupaBlockHeader* SupaBlock::move_to_new_superblock(SupaBlockHeader* sb, unsigned char* from, std::int32_t idx,
                                                   std::uint32_t body) {
  auto fresh = std::make_unique<SupaBlockHeader>(static_cast<std::int32_t>(body));
  commission_superblock(fresh.get());
  reserve_in_list();
  impact_all(*sb, from, idx);

  const auto tail = static_cast<std::uint32_t>(*sb->fBody + sb->fUsed - from);
  const std::size_t at = position_of(*sb);
  MemAllocator::copy(*fresh->fBody, from, tail);
  fresh->fFirst = idx;
  fresh->fLast = sb->fLast;
  fresh->fUsed = tail;
  sb->fLast = idx - 1;
  sb->fUsed -= tail;
  MemAllocator::zero(from, tail);
  fLasts[at] = sb->fLast;
  list_superblock(at + 1, std::move(fresh));
  return fSuperBlocks[at + 1].get();
}

/// Makes room for one more superblock, so that listing it can't fail.
void SupaBlock::reserve_in_list() {
  const std::size_t needed = fSuperBlocks.size() + 1;
  if (needed > fSuperBlocks.capacity()) fSuperBlocks.reserve(needed * 2);
  if (needed > fLasts.capacity()) fLasts.reserve(needed * 2);
}

void SupaBlock::list_superblock(std::size_t at, std::unique_ptr<SupaBlockHeader> sb) {
  fLasts.insert(fLasts.begin() + static_cast<std::ptrdiff_t>(at), sb->fLast);
  fSuperBlocks.insert(fSuperBlocks.begin() + static_cast<std::ptrdiff_t>(at), std::move(sb));
}

/// Gives `sb` a body of `size` bytes, at most the largest there is. Requires: `size` is above the body's size.
void SupaBlock::grow_body(SupaBlockHeader* sb, std::uint64_t size) {
  impact_all(*sb, nullptr, -1);
  sb->fBody.resize(static_cast<std::uint32_t>(std::min(size, LARGEST_BODY)));
}

/// Gives `sb` an empty directory, or none, as the flags say.
void SupaBlock::commission_superblock(SupaBlockHeader* sb) {
  sb->fDirectory.reset();
  if ((fFlags & SB_DIRECTORY) == 0) return;
  sb->fDirectory = std::make_unique<std::vector<std::uint32_t>>();
  sb->fDirectory->reserve(1);
}

}  // namespace zqcore27
