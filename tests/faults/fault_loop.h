#pragma once

// Runs a scenario with its n-th call failing, for every n until a run passes with no fault delivered.

#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <new>

#include "tests/faults/fault_calls.h"
#include "zqcore27/core/core.h"
#include "zqcore27/errors/mem_error.h"
#include "zqcore27/strings/string.h"

/// Ends the run as a failure unless `holds`.
void require(bool holds, const char* what, int line = __builtin_LINE(), const char* file = __builtin_FILE());
inline bool sameText(const std::uint16_t* is, const char* expected) {
  const FaultPause pause;
  return is != nullptr && String(is).toUTF8() == expected;
}
/// The same for a text: `is` as it was got, null for none.
inline void requireText(const std::uint16_t* is, const char* expected, int line = __builtin_LINE(),
                        const char* file = __builtin_FILE()) {
  if (sameText(is, expected)) return;
  const FaultPause pause;
  std::fprintf(stderr, "got: %s\n", is != nullptr ? String(is).toUTF8().c_str() : "nothing");
  require(false, expected, line, file);
}

/// One run, in a process of its own, or the calm one behind it: whatever failed, it is over, and everything works.
class FaultRun {
 public:
  FaultRun(std::uint32_t n, FaultMode mode, bool calm) : fN(n), fMode(mode), fCalm(calm) {}

  void start() const {
    if (!fCalm) faultsStart(fN, fMode);
  }
  void stop() const { faultsStop(); }

  /// Whether a call failed, of one of these kinds. A call that was interrupted or cut short is no failure: it has to be
  /// as if nothing had been.
  bool failed(std::uint32_t kinds = ~0u) const {
    return !fCalm && fMode != FaultMode::INTERRUPTED && fMode != FaultMode::SHORT && (faultsSeen().kinds & kinds) != 0;
  }
  /// Whether all later calls fail as well.
  bool goes_on_failing() const { return !fCalm && fMode == FaultMode::FROM_THEN; }

 private:
  std::uint32_t fN;
  FaultMode fMode;
  bool fCalm;
};

/// False if there was no memory for `use`.
template <class Use>
bool hadMemory(const FaultRun& run, Use use) {
  try {
    use();
    return true;
  } catch (const MemError& e) {
    require(e.code() == MemError::HEAP_EXHAUSTED && e.fatal(), "the error of an exhausted heap");
  } catch (const std::bad_alloc&) {
  }
  require(run.failed(FAULT_HEAP), "there was no memory");
  return false;
}

/// What a linked host does at the end of a run, by hand, since a forked child leaves it: all memory has to go with it.
inline void giveUpCore() {
  require(gCore->unuse(), "nobody else holds the core");
  require(gCore == nullptr, "the core has gone");
}

struct FaultScenario {
  const char* name;
  /// Starts and stops the run; gives back all that it took, but for the core. Is called twice: the second run is calm.
  void (*run)(const FaultRun& run);
  void (*end)() = giveUpCore;
  std::uint32_t kept = 0;  // blocks that stay for the life of the process
};

/// Arguments: none for all scenarios, modes and every n; or a scenario's name, a mode's number and an n, to run that
/// one in this process. Returns what `main` returns. Prints the counts.
int faultLoop(int argc, char** argv, std::initializer_list<FaultScenario> scenarios);
