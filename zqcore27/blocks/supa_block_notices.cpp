#include <limits>

#include "zqcore27/blocks/at_exit.h"
#include "zqcore27/blocks/supa_block.h"
#include "zqcore27/blocks/supa_block_iterator.h"

inline namespace zqcore27 {

void SupaBlock::registerCallback(CallableClass<SupaBlockEvent>* callback, std::int32_t on) {
  fCallback = callback;
  fCallbackOn = on;
}

/// Tells everybody that the blocks of `sb` from `idx` on, at `at`, may lie elsewhere; with null and -1 all of them.
void SupaBlock::impact_all(SupaBlockHeader& sb, unsigned char* at, std::int32_t idx) {
  const AtExit forget([&] {  // after the event, in which look-ups may remember
    impact_directory(sb, at, idx);
    fLastSB = nullptr;
  });
  impact_iterators(sb, at, idx);
}

/// Drops the entries from that of `idx` on; with null and -1 all of them.
void SupaBlock::impact_directory(SupaBlockHeader& sb, unsigned char* at, std::int32_t idx) {
  if (sb.fDirectory == nullptr) return;
  std::vector<std::uint32_t>& directory = *sb.fDirectory;
  if ((at == nullptr && idx == -1) || idx <= sb.fFirst) {
    directory.clear();
    return;
  }
  const auto position = static_cast<std::uint32_t>(sb.DIRIDX_ADJ(idx)) >> fHints.fDirShift;
  if (position < directory.size()) directory.resize(position);
}

void SupaBlock::impact_iterators(SupaBlockHeader& sb, unsigned char* at, std::int32_t idx) {
  for (SupaBlockIterator* it : fIterators) it->check_for_impact(sb, at);
  const AtExit end([this] { fImpacting = false; });
  fImpacting = true;
  send(SupaBlockEvent::SB_EVENT_IMPACT, idx == -1 ? sb.fFirst : idx, sb.fLast);
}

void SupaBlock::iter_inserted_block(std::int32_t idx) {
  for (SupaBlockIterator* it : fIterators) {
    if (it->fIndex < idx) continue;
    if (it->fIndex != std::numeric_limits<std::int32_t>::max()) ++it->fIndex;
    it->fHeader = nullptr;
  }
  send(SupaBlockEvent::SB_EVENT_INSERT, idx, 0);
}

void SupaBlock::iter_deleted_block(std::int32_t idx) {
  for (SupaBlockIterator* it : fIterators) {
    if (it->fIndex <= idx) continue;
    --it->fIndex;
    it->fHeader = nullptr;
  }
  send(SupaBlockEvent::SB_EVENT_DELETE, idx, 0);
}

/// The last step of each notice: a callback may make and destroy iterators, and replace itself.
void SupaBlock::send(SupaBlockEvent::Kind kind, std::int32_t idx, std::int32_t last) {
  if (!sends_events()) return;
  SupaBlockEvent event;
  event.fSource = this;
  event.fKind = kind;
  event.fIndex = idx;
  event.fLastIndex = last;
  fCallback->call(event);
}

}  // namespace zqcore27
