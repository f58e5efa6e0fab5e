#pragma once

#include <cstdint>
#include <cstring>

inline namespace zqcore27 {

/// Children `first` to `last` of a node. Internal to the tree.
struct ChildRun {
  std::uint32_t first;
  std::uint32_t last;
};

/// The runs in the block of a node. Internal to the tree.
class ChildRuns {
 public:
  /// `block` is a handle of the store, a size word with the data behind it; null has no runs.
  explicit ChildRuns(unsigned char* block) : fBlock(block) {
    if (block != nullptr) std::memcpy(&fCount, block, sizeof fCount);
    fCount /= sizeof(ChildRun);
  }

  std::uint32_t count() const { return fCount; }
  /// Requires: i < count().
  ChildRun operator[](std::uint32_t i) const {
    ChildRun run;
    std::memcpy(&run, at(i), sizeof run);
    return run;
  }
  void set(std::uint32_t i, ChildRun run) { std::memcpy(at(i), &run, sizeof run); }

 private:
  unsigned char* at(std::uint32_t i) const { return fBlock + 4 + i * sizeof(ChildRun); }

  unsigned char* fBlock;
  std::uint32_t fCount = 0;
};

}  // namespace zqcore27
