#pragma once

// Runs a scenario with its n-th call failing, for every n until a run passes with no fault delivered.

#include <cstdint>

#include "tests/faults/fault_calls.h"
#include "zqcore27/core/core.h"

/// One run, in a process of its own.
class FaultRun {
 public:
  FaultRun(std::uint32_t n, FaultMode mode) : fN(n), fMode(mode) {}

  void start() { faultsStart(fN, fMode); }
  /// From here on everything works.
  void stop() { faultsStop(); }

  /// Whether a call failed, of one of these kinds. A call that was interrupted or cut short is no failure: it has to be
  /// as if nothing had been.
  bool failed(std::uint32_t kinds = ~0u) const {
    return fMode != FaultMode::INTERRUPTED && fMode != FaultMode::SHORT && (faultsSeen().kinds & kinds) != 0;
  }
  FaultMode mode() const { return fMode; }

 private:
  std::uint32_t fN;
  FaultMode fMode;
};

/// Ends the run as a failure unless `holds`.
void require(bool holds, const char* what, int line = __builtin_LINE(), const char* file = __builtin_FILE());
/// The same for a text: `is` as it was got, null for none.
void requireText(const std::uint16_t* is, const char* expected, int line = __builtin_LINE(),
                 const char* file = __builtin_FILE());
bool sameText(const std::uint16_t* is, const char* expected);

/// What a linked host does at the end of a run, by hand, since a forked child leaves it: all memory has to go with it.
inline void giveUpCore() {
  require(gCore->unuse(), "nobody else holds the core");
  require(gCore == nullptr, "the core has gone");
}

struct FaultScenario {
  const char* name;
  /// Starts and stops the run; gives back all that it took, but for the core.
  void (*run)(FaultRun& run);
  void (*end)() = giveUpCore;
  std::uint32_t kept = 0;  // blocks that stay for the life of the process
};

/// Arguments: none for all modes and every n; or a mode's number and an n, to run that one in this process. Returns
/// what `main` returns. Prints the counts.
int faultLoop(int argc, char** argv, const FaultScenario& scenario);
