#pragma once

// Internal: how threads that may outlive the core use it. Declared apart from the core, for those who only keep it
// alive.

#include <cstdint>

inline namespace zqcore27 {

class OrlanCore;

/// Keeps the core from going, if there is one, while this object lives: for the steps of a thread that may outlive it.
/// Any number of threads at once, each without waiting. Short steps only, and none that gives up a hold on the core's
/// count: the end of the process waits for them.
class CoreHold {
 public:
  CoreHold();
  ~CoreHold();
  CoreHold(const CoreHold&) = delete;
  CoreHold& operator=(const CoreHold&) = delete;

  /// Null if there was none, or if its count was below 0: once refused here or to a CoreUse, the core stays refused.
  OrlanCore* core() const { return fCore; }

 private:
  static void leave();

  OrlanCore* fCore = nullptr;
};

/// A hold on the count of the core, if there is one, while this object lives: for longer steps, and for as long as
/// texts of its catalogues are in hand. Nothing waits for it: where the end of the process comes meanwhile, the core
/// goes with this object. A core that nobody holds counts as none.
class CoreUse {
 public:
  CoreUse();
  ~CoreUse();
  CoreUse(const CoreUse&) = delete;
  CoreUse& operator=(const CoreUse&) = delete;

  /// Null if there was none, or if it had begun to go.
  OrlanCore* core() const { return fCore; }

 private:
  OrlanCore* fCore = nullptr;
};

/// The separators of the core's platform record, or, without a core, those of the build.
struct Separators {
  std::uint16_t dir;
  std::uint16_t ext;
};
Separators separators();

}  // namespace zqcore27
