#include <algorithm>
#include <cassert>
#include <functional>
#include <limits>

#include "zqcore27/blocks/at_exit.h"
#include "zqcore27/blocks/block_size.h"
#include "zqcore27/blocks/supa_block.h"
#include "zqcore27/blocks/supa_block_error.h"

inline namespace zqcore27 {

namespace {

/// Growth of a body beyond the need, in bytes.
constexpr std::uint64_t MARGIN = 1024;

/// The highest index that can't be had: a store with a block there would have no size.
constexpr std::int32_t INDEX_LIMIT = std::numeric_limits<std::int32_t>::max();

/// Bytes from `data` to the end of the body of `sb`; 0 if `data` doesn't lie in it.
std::uint32_t bytesFrom(const SupaBlockHeader& sb, const unsigned char* data) {
  const unsigned char* body = *sb.fBody;
  const unsigned char* end = body + sb.get_body_size();
  return std::less<>()(data, body) || !std::less<>()(data, end) ? 0 : static_cast<std::uint32_t>(end - data);
}

}  // namespace

bool SupaBlock::insert(std::int32_t idx, const unsigned char* data, unsigned int size) {
  if (getSize() == INDEX_LIMIT) return false;
  return write_block(idx, data, size, true);
}

bool SupaBlock::replace(std::int32_t idx, const unsigned char* data, unsigned int size) {
  return write_block(idx, data, size, false);
}

/// Insert and replace: makes a block of the rounded size at `idx` and copies the data.
bool SupaBlock::write_block(std::int32_t idx, const unsigned char* data, unsigned int size, bool inserts) {
  if (fImpacting || idx < 0 || idx == INDEX_LIMIT || (data == nullptr && size != 0)) return false;
  const bool appends = idx >= getSize();
  MemResizable saved;
  std::uint32_t readable = size;
  if (const std::uint32_t exposed = appends ? 0 : exposed_bytes(idx, data, inserts); exposed != 0) {
    readable = std::min(size, exposed);
    saved.resize(readable);
    MemAllocator::copy(*saved, data, readable);
    data = *saved;
  }

  SupaBlockHeader* sb = inserts ? get_SB_for_insert(idx, size) : get_SB_for_idx_sized(idx, size);
  if (sb == nullptr || readable < size) return false;
  // What was appended ends the used bytes, and no callback has been called since.
  unsigned char* h = appends ? *sb->fBody + (sb->fUsed - roundedUp(size) - 4) : get_block_hdr(sb, idx);
  // A callback that broke the rules of an insert event may have put another block there.
  if (h == nullptr || size == 0 || get_block_size_from_hdr(h) != roundedUp(size)) return false;
  MemAllocator::move(h + 4, data, size);
  return true;
}

/// Bytes from `data` to the end of a body that may change before they are copied: that of `idx`, and each other one
/// where an insert event comes first. 0 if `data` lies in none. Requires: idx < getSize().
std::uint32_t SupaBlock::exposed_bytes(std::int32_t idx, const unsigned char* data, bool inserts) {
  std::uint32_t bytes = bytesFrom(*existing_SB_for_idx(idx), data);
  if (!inserts || !sends_events()) return bytes;
  for (auto sb = fSuperBlocks.begin(); bytes == 0 && sb != fSuperBlocks.end(); ++sb) bytes = bytesFrom(**sb, data);
  return bytes;
}

/// Requires: 0 <= idx < getSize().
SupaBlockHeader* SupaBlock::existing_SB_for_idx(std::int32_t idx) {
  if (SupaBlockHeader* sb = get_SB_for_idx(idx)) return sb;
  throw SupaBlockError((fFlags & SB_LINEAR) != 0 ? SupaBlockError::LOST_BLOCK_LINEAR : SupaBlockError::LOST_BLOCK,
                       false);
}

SupaBlockHeader* SupaBlock::get_SB_for_insert(std::int32_t idx, unsigned int size) {
  const std::uint32_t rounded = roundedUp(size);
  if (idx >= getSize()) return append_blocks(idx, rounded);
  const std::uint64_t extent = std::uint64_t{rounded} + 4;
  SupaBlockHeader* sb = existing_SB_for_idx(idx);
  // Ends: a division leaves fewer blocks beside `idx`, and raises an error once it stands alone.
  while (sb->fUsed + extent > std::max(sb->get_body_size(), fHints.fMaxBodySize)) {
    sb = insert_superblock(idx, SB_NO_SIZE);
  }
  const std::uint64_t needed = sb->fUsed + extent;
  if (needed > sb->get_body_size()) {
    grow_body(sb, std::min<std::uint64_t>(needed + extent + MARGIN, fHints.fMaxBodySize));
  }
  split_block(sb, idx, rounded);
  return sb;
}

SupaBlockHeader* SupaBlock::get_SB_for_idx_sized(std::int32_t idx, unsigned int size) {
  const std::uint32_t rounded = roundedUp(size);
  if (idx >= getSize()) return append_blocks(idx, rounded);
  SupaBlockHeader* sb = existing_SB_for_idx(idx);
  const std::int64_t delta = std::int64_t{rounded} - block_size(sb, idx);
  // One division may leave the block's body without the room, hence the loop.
  while (sb->fUsed + delta > std::max(sb->get_body_size(), fHints.fMaxBodySize)) {
    sb = insert_superblock(idx, rounded);
  }
  if (sb->fUsed + delta > sb->get_body_size()) {
    grow_body(sb, sb->get_body_size() + static_cast<std::uint64_t>(delta) + MARGIN);
  }
  resize_block_relative(sb, idx, delta);
  return sb;
}

/// Puts a block of `size` bytes in front of block `idx`. Requires: `sb` holds `idx` and has the room; `size` is
/// rounded.
void SupaBlock::split_block(SupaBlockHeader* sb, std::int32_t idx, std::uint32_t size) {
  unsigned char* h = get_block_hdr(sb, idx);
  const std::uint32_t tail = sb->fUsed - static_cast<std::uint32_t>(h - *sb->fBody);
  assert(sb->get_unused_body_size() >= std::uint64_t{size} + 4);
  impact_all(*sb, h, idx);
  MemAllocator::move(h + 4 + size, h, tail);
  set_block_size(h, size);
  sb->fUsed += size + 4;
  renumber(*sb, 1);
  iter_inserted_block(idx);
}

/// Makes block `idx` larger or smaller by `delta` bytes; its own place doesn't change. Requires: `sb` holds `idx` and
/// has the room; `delta` is a multiple of 4.
void SupaBlock::resize_block_relative(SupaBlockHeader* sb, std::int32_t idx, std::int64_t delta) {
  if (delta == 0) return;
  unsigned char* h = get_block_hdr(sb, idx);
  unsigned char* next = next_block_from_hdr(h);
  unsigned char* end = *sb->fBody + sb->fUsed;
  const std::uint32_t size = get_block_size_from_hdr(h);
  assert(sb->fUsed + delta <= sb->get_body_size());
  MemAllocator::move(next + delta, next, static_cast<std::uint32_t>(end - next));
  if (delta < 0) MemAllocator::zero(end + delta, static_cast<std::uint32_t>(-delta));

  const AtExit settle([&] {
    set_block_size(h, static_cast<std::uint32_t>(size + delta));
    sb->fUsed = static_cast<std::uint32_t>(sb->fUsed + delta);
    fUnsettled = nullptr;
  });
  fUnsettled = sb;
  impact_all(*sb, next, idx + 1);
}

bool SupaBlock::deleteBlock(std::int32_t idx) {
  if (fImpacting || idx < 0 || idx >= getSize()) return true;
  SupaBlockHeader* sb = get_SB_for_idx(idx);
  unsigned char* h = sb == nullptr ? nullptr : get_block_hdr(sb, idx);
  if (h == nullptr) return true;
  const std::uint32_t extent = get_block_size_from_hdr(h) + 4;
  unsigned char* end = *sb->fBody + sb->fUsed;
  impact_all(*sb, h, idx);
  MemAllocator::move(h, h + extent, static_cast<std::uint32_t>(end - h) - extent);
  MemAllocator::zero(end - extent, extent);
  sb->fUsed -= extent;
  renumber(*sb, -1);
  iter_deleted_block(idx);
  return true;
}

/// Moves the end of `sb` and the ranges of all later superblocks by `by`. Requires: `sb` holds a block.
void SupaBlock::renumber(const SupaBlockHeader& sb, std::int32_t by) {
  const std::size_t at = position_of(sb);
  fSuperBlocks[at]->fLast += by;
  std::for_each(fLasts.begin() + static_cast<std::ptrdiff_t>(at), fLasts.end(),
                [by](std::int32_t& last) { last += by; });
  std::for_each(fSuperBlocks.begin() + static_cast<std::ptrdiff_t>(at) + 1, fSuperBlocks.end(), [by](auto& later) {
    later->fFirst += by;
    later->fLast += by;
  });
}

}  // namespace zqcore27
