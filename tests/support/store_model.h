#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zqcore27/blocks/supa_block.h"
#include "zqcore27/blocks/supa_block_error.h"
#include "zqcore27/blocks/supa_block_iterator.h"

inline namespace zqcore27 {

/// Looks behind the interface of a store, without look-ups that would change it.
class SupaBlockInspector {
 public:
  static const SupaBlockHints& hints(const SupaBlock& s) { return s.fHints; }
  static std::uint32_t directoryMask(const SupaBlock& s) { return s.fDirMask; }
  static std::uint32_t targetBody(const SupaBlock& s) { return s.fTargetBody; }
  static const auto& superBlocks(const SupaBlock& s) { return s.fSuperBlocks; }
  static std::int32_t index(const SupaBlockIterator& it) { return it.fIndex; }

  static std::uint32_t sizeAt(const unsigned char* h) {
    std::uint32_t size;
    std::memcpy(&size, h, 4);
    return size;
  }
  static const SupaBlockHeader* holder(const SupaBlock& s, std::int32_t idx) {
    for (const auto& sb : s.fSuperBlocks) {
      if (sb->holds(idx)) return sb.get();
    }
    return nullptr;
  }

  /// All handles in the order of the index, by a walk of the bodies. Throws a text at the first broken invariant.
  static std::vector<const unsigned char*> handles(const SupaBlock& s) {
    std::vector<const unsigned char*> all;
    all.reserve(static_cast<std::size_t>(s.getSize()));
    std::int32_t next = 0;
    for (const auto& sb : s.fSuperBlocks) {
      require(sb->fFirst == next && sb->fLast >= next - 1, "ranges are dense");
      check_body(s, *sb, all);
      next = sb->fLast + 1;
    }
    require(std::ranges::equal(s.fLasts, s.fSuperBlocks, {}, {}, [](const auto& sb) { return sb->fLast; }),
            "the search sees the ends of the superblocks");
    require(s.getSize() == next, "the size is one above the last index");
    const bool linear = (s.fFlags & SupaBlock::SB_LINEAR) != 0;
    require(s.fLastSB == nullptr || (linear && listed(s, s.fLastSB)), "the last hit is a superblock of a linear store");
    for (const SupaBlockIterator* it : s.fIterators) check_iterator(s, *it, all);
    return all;
  }

 private:
  static void require(bool holds, const char* what) {
    if (!holds) throw std::string("broken: ") + what;
  }
  static bool listed(const SupaBlock& s, const SupaBlockHeader* sb) {
    return std::ranges::any_of(s.fSuperBlocks, [sb](const auto& one) { return one.get() == sb; });
  }
  static void check_body(const SupaBlock& s, const SupaBlockHeader& sb, std::vector<const unsigned char*>& all) {
    const unsigned char* body = *sb.fBody;
    require(sb.fUsed <= sb.get_body_size(), "used bytes fit the body");
    const std::uint32_t tail = sb.get_unused_body_size();
    require(tail == 0 || (body[sb.fUsed] == 0 && std::memcmp(body + sb.fUsed, body + sb.fUsed + 1, tail - 1) == 0),
            "the tail of a body is zero");
    const std::size_t before = all.size();
    std::uint32_t at = 0;
    for (std::int32_t i = sb.fFirst; i <= sb.fLast; ++i) {
      require(at + 4 <= sb.fUsed && sizeAt(body + at) % 4 == 0 && sizeAt(body + at) <= sb.fUsed - at - 4,
              "a block lies in the used bytes");
      all.push_back(body + at);
      at += 4 + sizeAt(body + at);
    }
    require(at == sb.fUsed, "a walk ends at the used bytes");
    require((sb.fDirectory != nullptr) == ((s.fFlags & SupaBlock::SB_DIRECTORY) != 0), "directories as the flags say");
    if (sb.fDirectory == nullptr) return;
    for (std::size_t k = 0; k < sb.fDirectory->size(); ++k) {
      const std::size_t position = before + (k << s.fHints.fDirShift);
      // Entry 0 is 0 even for a superblock that has lost all its blocks.
      require(position < all.size() ? body + (*sb.fDirectory)[k] == all[position] : k == 0 && (*sb.fDirectory)[0] == 0,
              "a directory entry names its block");
    }
  }
  static void check_iterator(const SupaBlock& s, const SupaBlockIterator& it,
                             const std::vector<const unsigned char*>& all) {
    require(it.fSuperBlock == nullptr || listed(s, it.fSuperBlock), "an iterator's superblock exists");
    if (it.fHeader == nullptr) return;
    require(it.fSuperBlock != nullptr && it.fSuperBlock->holds(it.fIndex), "an iterator's superblock holds its index");
    require(it.fHeader == all[static_cast<std::size_t>(it.fIndex)], "an iterator's handle is that of its index");
  }
};

}  // namespace zqcore27

inline unsigned int roundedSize(std::size_t n) { return static_cast<unsigned int>((n + 3) / 4 * 4); }

inline SupaBlockHints hintsOf(std::uint32_t maxBody, std::uint32_t average, std::uint32_t min, std::uint32_t max,
                              std::uint32_t shift) {
  SupaBlockHints h;
  h.fMaxBodySize = maxBody;
  h.fAvgBlockSize = average;
  h.fMinBlocks = min;
  h.fMaxBlocks = max;
  h.fDirShift = shift;
  return h;
}

inline const unsigned char* bytesOf(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}
inline bool insertText(SupaBlock& s, std::int32_t idx, std::string_view text) {
  return s.insert(idx, bytesOf(text), static_cast<unsigned int>(text.size()));
}
inline bool replaceText(SupaBlock& s, std::int32_t idx, std::string_view text) {
  return s.replace(idx, bytesOf(text), static_cast<unsigned int>(text.size()));
}
/// Plays writes on a store: "i2:8" inserts 8 bytes of 'x' at 2, "r2:8" replaces by them, "d2" deletes; "3*i2:8" does it
/// three times. Errors are noted, and the next step is taken.
inline std::string play(SupaBlock& s, const std::string& script) {
  std::string errors;
  std::istringstream steps(script);
  for (std::string step; steps >> step;) {
    const std::size_t star = step.find('*');
    int times = star == std::string::npos ? 1 : std::stoi(step), idx = 0;
    step = step.substr(star + 1);
    std::size_t size = 0;
    EXPECT_GE(std::sscanf(step.c_str() + 1, "%d:%zu", &idx, &size), 1) << step;
    for (; times > 0; --times) {
      try {
        step[0] == 'i'   ? insertText(s, idx, std::string(size, 'x'))
        : step[0] == 'r' ? replaceText(s, idx, std::string(size, 'x'))
                         : s.deleteBlock(idx);
      } catch (const SupaBlockError& e) {
        errors += "!" + std::to_string(e.code() & 0xFFF) + " ";
      }
    }
  }
  return errors;
}
/// Notes events: "1..3" for an impact, "+1" for an insert, "-1" for a delete, each with what `look` sees then.
struct EventNotes : CallableClass<SupaBlockEvent> {
  using Look = std::function<std::string(const SupaBlockEvent&)>;

  explicit EventNotes(Look l) : look(std::move(l)) {}
  bool call(const SupaBlockEvent& event) override {
    const bool impact = event.fKind == SupaBlockEvent::SB_EVENT_IMPACT;
    text += impact ? "" : event.fKind == SupaBlockEvent::SB_EVENT_INSERT ? "+" : "-";
    text += std::to_string(event.fIndex) + (impact ? ".." + std::to_string(event.fLastIndex) : "");
    text += "(" + look(event) + ") ";
    return false;
  }
  Look look;
  std::string text;
};
/// The whole block, padding included; "<none>" where there is none.
inline std::string textAt(SupaBlock& s, std::int32_t idx) {
  SupaBlockDatum d;
  if (!s.get(idx, &d) || d.fSize == SupaBlock::SB_NO_SIZE) return "<none>";
  return d.fSize == 0 ? std::string() : std::string(reinterpret_cast<const char*>(d.fData), d.fSize);
}

/// The code of the SupaBlockError that `f` raises; 0 if it raises none.
template <class F>
std::uint32_t storeErrorOf(F f) {
  try {
    f();
  } catch (const SupaBlockError& e) {
    EXPECT_FALSE(e.fatal());
    return e.code();
  }
  return 0;
}
