#include "zqcore27/blocks/supa_block.h"

#include <algorithm>
#include <cassert>
#include <new>
#include <utility>

#include "zqcore27/blocks/block_size.h"
#include "zqcore27/blocks/supa_block_iterator.h"

inline namespace zqcore27 {

template class CallableClass<SupaBlockEvent>;

namespace {

/// Two positions with lasts[below] < idx <= lasts[at].
struct Bracket {
  std::size_t below, at;
};

/// The position of `idx` if all superblocks held the same number of blocks. Only a guess, so in floating point, which
/// divides faster. Requires: 0 <= idx <= lasts.back().
std::size_t evenGuess(const std::vector<std::int32_t>& lasts, std::int32_t idx) {
  const auto size = static_cast<std::ptrdiff_t>(lasts.size());
  const auto guess = static_cast<std::ptrdiff_t>(idx / (lasts.back() + 1.0) * static_cast<double>(size));
  assert(0 <= guess && guess < size);
  return static_cast<std::size_t>(guess);
}

/// The first position whose end isn't below `idx`, if it is one of WINDOW around the guess and not the first of them;
/// 0 otherwise. Counted without a branch, so that a processor goes on to the block. Requires: lasts.front() < idx.
inline std::size_t positionNear(const std::vector<std::int32_t>& lasts, std::int32_t idx, std::size_t guess) {
  constexpr std::ptrdiff_t WINDOW = 8;
  const std::ptrdiff_t begin = std::max<std::ptrdiff_t>(
      std::min(static_cast<std::ptrdiff_t>(guess) - WINDOW / 2, std::ssize(lasts) - WINDOW), 0);
  if (std::ssize(lasts) < WINDOW) return 0;
  std::uint32_t below = 0;
  for (std::ptrdiff_t i = 0; i < WINDOW; ++i) below += lasts[static_cast<std::size_t>(begin + i)] < idx ? 1 : 0;
  return below - 1 < WINDOW - 1 ? static_cast<std::size_t>(begin + below) : 0;
}

/// Steps of doubling length from position `from`. Requires: lasts.front() < idx <= lasts.back().
Bracket bracketFrom(const std::vector<std::int32_t>& lasts, std::int32_t idx, std::size_t from) {
  Bracket b{from, from};
  std::size_t step = 1;
  if (lasts[from] < idx) {
    for (; lasts[b.at] < idx; step *= 2) {
      b.below = b.at;
      b.at = std::min(b.at + step, lasts.size() - 1);
    }
  } else {
    for (; lasts[b.below] >= idx; step *= 2) {
      b.at = b.below;
      b.below -= std::min(b.below, step);
    }
  }
  return b;
}

/// The upper end of `b` once both are neighbours.
std::size_t narrowed(const std::vector<std::int32_t>& lasts, std::int32_t idx, Bracket b) {
  while (b.at - b.below > 1) {
    const std::size_t middle = b.below + (b.at - b.below) / 2;
    (lasts[middle] < idx ? b.below : b.at) = middle;
  }
  assert(b.at == b.below + 1 && lasts[b.below] < idx && idx <= lasts[b.at]);
  return b.at;
}

}  // namespace

SupaBlock::SupaBlock(Flags flags, const SupaBlockHints& hints) : fFlags(flags), fHints(hints) {
  adjust_hints();
  fIterators.reserve(4);
  fSuperBlocks.reserve(20);
  fLasts.reserve(20);
}

SupaBlock::~SupaBlock() {
  fSuperBlocks.clear();
  while (!fIterators.empty()) delete fIterators.back();  // each takes itself off the list
}

/// The steps are in order: the shift is held against fMaxBlocks as it was given.
void SupaBlock::adjust_hints() {
  SupaBlockHints& h = fHints;
  if (h.fAvgBlockSize == 0) h.fAvgBlockSize = 16;
  if (h.fDirShift > h.fMaxBlocks) h.fDirShift = 3;
  h.fDirShift = std::min(h.fDirShift, 31u);
  fDirMask = (1u << h.fDirShift) - 1;
  if (h.fMinBlocks == 0) h.fMinBlocks = 50;
  if (h.fMaxBlocks == 0) h.fMaxBlocks = 500;
  if (h.fMaxBlocks < h.fMinBlocks) std::swap(h.fMaxBlocks, h.fMinBlocks);

  if (h.fMaxBodySize == 0) {
    // Cut at a value far above the largest body, so that the sums don't wrap.
    const std::uint64_t blocks = std::min(std::uint64_t{h.fMaxBlocks} * h.fAvgBlockSize, std::uint64_t{1} << 33);
    h.fMaxBodySize = static_cast<std::uint32_t>(std::min((blocks + blocks / 3 + 3) / 4 * 4, LARGEST_BODY));
  } else if (const std::uint64_t fitting = h.fMaxBodySize / (std::uint64_t{h.fAvgBlockSize} + 4);
             h.fMaxBlocks > fitting) {
    h.fMinBlocks = std::max(static_cast<std::uint32_t>(fitting / 3), 1u);
    h.fMaxBlocks = std::max(static_cast<std::uint32_t>(fitting / 3 * 2), 1u);
  }

  const std::uint32_t middle = ((h.fMaxBlocks - h.fMinBlocks) >> 1) + h.fMinBlocks;
  fTargetBody = roundedUp(std::uint64_t{middle} * h.fAvgBlockSize);
  if (fTargetBody > h.fMaxBodySize) fTargetBody = roundedUp(h.fMaxBodySize);
}

bool SupaBlock::get(std::int32_t idx, SupaBlockDatum* datum) {
  if (datum == nullptr) return false;
  SupaBlockHeader* sb = get_SB_for_idx(idx);
  if (sb == nullptr) return false;
  datum->fData = getBlockData(get_block_hdr(sb, idx), &datum->fSize);
  return true;
}

unsigned char* SupaBlock::getBlock(std::int32_t idx) {
  SupaBlockHeader* sb = get_SB_for_idx(idx);
  return sb == nullptr ? nullptr : get_block_hdr(sb, idx);
}

/// Position of the first superblock that ends at `idx` or behind it. Emptied superblocks end where the one before
/// them does, and are passed over. Starts where superblocks of even size would have `idx`, so that the look-ups of an
/// evenly filled store read a few neighbouring ends. Requires: one ends there.
inline std::size_t SupaBlock::position_at_or_behind(std::int32_t idx) const {
  if (idx <= fLasts.front()) return 0;
  const std::size_t guess = evenGuess(fLasts, idx);
  const std::size_t near = positionNear(fLasts, idx, guess);
  return near != 0 ? near : narrowed(fLasts, idx, bracketFrom(fLasts, idx, guess));
}

/// The superblock of `idx`, or null behind the end. For a negative index the search by halves gives the first
/// superblock, which doesn't hold it: get_block_hdr tells.
SupaBlockHeader* SupaBlock::get_SB_for_idx(std::int32_t idx) {
  if ((fFlags & SB_LINEAR) != 0) {
    if (fLastSB == nullptr || !fLastSB->holds(idx)) fLastSB = linear_idx_search(idx);
    return fLastSB;
  }
  if (fLasts.empty() || fLasts.back() < idx) return nullptr;
  return fSuperBlocks[position_at_or_behind(idx)].get();
}

SupaBlockHeader* SupaBlock::linear_idx_search(std::int32_t idx) {
  for (const auto& sb : fSuperBlocks) {
    if (sb->fFirst > idx) return nullptr;
    if (sb->fLast >= idx) return sb.get();
  }
  return nullptr;
}

/// Requires: `sb` is in the list and holds a block.
std::size_t SupaBlock::position_of(const SupaBlockHeader& sb) const {
  const std::size_t at = position_at_or_behind(sb.fLast);
  assert(at < fSuperBlocks.size() && fSuperBlocks[at].get() == &sb);
  return at;
}

/// The handle of block `idx`, or null if `sb` doesn't hold it.
unsigned char* SupaBlock::get_block_hdr(SupaBlockHeader* sb, std::int32_t idx) {
  if (!sb->holds(idx) || sb == fUnsettled) return nullptr;
  if (sb->fDirectory != nullptr) return block_hdr_dir(sb, idx);
  unsigned char* h = *sb->fBody;
  for (std::int32_t i = sb->fFirst; i < idx; ++i) h = next_block_from_hdr(h);
  return h;
}

/// The same through the directory. Requires: `sb` holds `idx`.
inline unsigned char* SupaBlock::block_hdr_dir(SupaBlockHeader* sb, std::int32_t idx) {
  const std::vector<std::uint32_t>& directory = *sb->fDirectory;
  const auto target = static_cast<std::uint32_t>(sb->DIRIDX_ADJ(idx));
  const std::uint32_t entry = target >> fHints.fDirShift;
  if (entry >= directory.size()) return find_behind_directory(sb, static_cast<std::int32_t>(target));
  return block_behind(*sb->fBody + directory[entry], target & fDirMask);
}

/// The handle of block `target` of `sb`, which the directory doesn't reach: it is extended as far as the walk goes.
[[gnu::noinline]] unsigned char* SupaBlock::find_behind_directory(SupaBlockHeader* sb, std::int32_t target) {
  std::vector<std::uint32_t>& directory = *sb->fDirectory;
  unsigned char* body = *sb->fBody;
  const auto remember = [&directory](std::uint32_t offset) noexcept {
    try {
      directory.push_back(offset);
    } catch (const std::bad_alloc&) {
      // The directory stays a shorter prefix, and look-ups walk further.
    }
  };
  if (directory.empty()) remember(0);

  std::int32_t at = 0;
  std::uint32_t offset = 0;
  if (!directory.empty()) {
    at = static_cast<std::int32_t>(directory.size() - 1) << fHints.fDirShift;
    offset = directory.back();
  }
  unsigned char* h = body + offset;
  while (at < target) {
    h = next_block_from_hdr(h);
    ++at;
    const auto position = static_cast<std::uint32_t>(at);
    if ((position & fDirMask) == 0 && position >> fHints.fDirShift == directory.size()) {
      remember(static_cast<std::uint32_t>(h - body));
    }
  }
  return h;
}

/// The handle of the block that stands `steps` behind `h`, less than one spacing. A short spacing is walked to its end,
/// without a branch that depends on the number of steps: those are mispredicted more dearly than a step costs.
/// Requires: the superblock of `h` holds that block.
unsigned char* SupaBlock::block_behind(unsigned char* h, std::uint32_t steps) const {
  constexpr std::uint32_t SHORT = 7;
  if (fDirMask > SHORT) {
    for (; steps != 0; --steps) h = next_block_from_hdr(h);
    return h;
  }
  for (std::uint32_t i = 0; i < fDirMask; ++i) {
    std::uint32_t size;
    std::memcpy(&size, h, 4);
    const std::int64_t taken = (std::int64_t{i} - steps) >> 63;  // all bits, or none
    h += (std::int64_t{4} + size) & taken;
  }
  return h;
}

/// With a null `sb` the superblock is looked up; 0 if there is none, SB_NO_SIZE if it doesn't hold the block.
unsigned int SupaBlock::block_size(SupaBlockHeader* sb, std::int32_t idx) {
  if (sb == nullptr) sb = get_SB_for_idx(idx);
  return sb == nullptr ? 0 : get_block_size_from_hdr(get_block_hdr(sb, idx));
}

/// The same look-up; null if anything is missing or the block is empty.
unsigned char* SupaBlock::block_data(SupaBlockHeader* sb, std::int32_t idx) {
  if (sb == nullptr) sb = get_SB_for_idx(idx);
  return sb == nullptr ? nullptr : get_block_data_from_hdr(get_block_hdr(sb, idx));
}

/// The blocks from `idx` to the end of its superblock, for passes over many blocks without a look-up for each. Both
/// ends are null if no block has the index.
SupaBlock::BlockSpan SupaBlock::blocks_from(std::int32_t idx) {
  SupaBlockHeader* sb = get_SB_for_idx(idx);
  unsigned char* h = sb == nullptr ? nullptr : get_block_hdr(sb, idx);
  if (h == nullptr) return {nullptr, nullptr, idx - 1};
  return {h, *sb->fBody + sb->fUsed, sb->fLast};
}

}  // namespace zqcore27
