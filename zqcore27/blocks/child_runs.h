#pragma once

#include <cstdint>
#include <cstring>

inline namespace zqcore27 {

/// Children `first` to `last` of a node. Internal to the tree.
struct ChildRun {
  std::uint32_t first;
  std::uint32_t last;
};

/// The runs in the block of a node. Bytes behind the last whole run, which only a callback of the host can have
/// written, count as no run. Internal to the tree.
class ChildRuns {
 public:
  /// `block` is a handle of the store, a size word with the data behind it; null has no runs.
  explicit ChildRuns(unsigned char* block) : fBlock(block) {
    if (block != nullptr) std::memcpy(&fBytes, block, sizeof fBytes);
  }

  std::uint32_t bytes() const { return fBytes; }
  std::uint32_t count() const { return fBytes / sizeof(ChildRun); }
  /// Requires: i < count().
  ChildRun operator[](std::uint32_t i) const {
    ChildRun run;
    std::memcpy(&run, at(i), sizeof run);
    return run;
  }
  void set(std::uint32_t i, ChildRun run) { std::memcpy(at(i), &run, sizeof run); }
  /// Moves what lies behind the last run down to behind the first `kept` ones.
  void close_gap(std::uint32_t kept) { std::memmove(at(kept), at(count()), fBytes % sizeof(ChildRun)); }

 private:
  unsigned char* at(std::uint32_t i) const { return fBlock + 4 + i * sizeof(ChildRun); }

  unsigned char* fBlock;
  std::uint32_t fBytes = 0;
};

}  // namespace zqcore27
