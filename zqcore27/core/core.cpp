#include "zqcore27/core/core.h"

#include <atomic>
#include <cstdlib>
#include <new>
#include <utility>

#include "zqcore27/catalogue/ent_cstr_file.h"
#include "zqcore27/core/core_hold.h"
#include "zqcore27/platform/build_info.h"
#include "zqcore27/platform/native_thread.h"
#include "zqcore27/platform/wait_word.h"
#include "zqcore27/threads/jtc.h"

inline namespace zqcore27 {

constinit OrlanCore* gCore = nullptr;
constinit HINSTANCE gCExceptionFielder = nullptr;

namespace {

// How many threads use a core that they don't own, and GOING while one that was in gCore waits for them.
constinit std::atomic<std::uint32_t> coreHolds{0};
constexpr std::uint32_t GOING = 0x80000000;

/// Returns when nobody holds the core that gCore has just lost: whoever comes later finds gCore changed, or GOING.
void awaitCoreHolds() {
  std::uint32_t holds = coreHolds.fetch_or(GOING) | GOING;
  while (holds != GOING) {
    waitOnWord(coreHolds, holds);
    holds = coreHolds.load();
  }
  coreHolds.fetch_and(~GOING);
}

// One serves all cores, for the life of the process.
constinit std::atomic<const JTCInitialize*> threadLayer{nullptr};

/// A new object, or null at exhaustion.
template <class T, class... Args>
T* makeOrNull(Args&&... args) {
  try {
    return new T(std::forward<Args>(args)...);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace

CoreHold::CoreHold() {
  if ((coreHolds.load(std::memory_order_relaxed) & GOING) != 0) return;  // or a stream of holds could keep it for ever
  coreHolds.fetch_add(1);
  fCore = std::atomic_ref<OrlanCore*>(gCore).load();
  if (fCore != nullptr && fCore->is_held()) return;
  fCore = nullptr;
  leave();
}

CoreHold::~CoreHold() {
  if (fCore != nullptr) leave();
}

void CoreHold::leave() {
  if (coreHolds.fetch_sub(1) == (GOING | 1)) wakeOneOnWord(coreHolds);
}

CoreUse::CoreUse() {
  const CoreHold hold;
  if (hold.core() != nullptr && hold.core()->use_if_held()) fCore = hold.core();
}

CoreUse::~CoreUse() {
  if (fCore != nullptr) fCore->unuse();
}

Separators separators() {
  const CoreHold hold;
  const Platform* const platform = hold.core() != nullptr ? hold.core()->fPlatform : nullptr;
  if (platform != nullptr) return {platform->fDirSep, platform->fExtSep};
  const BuildInfo built = buildInfo();
  return {built.dirSep, built.extSep};
}

OrlanCore::OrlanCore() : fStringDirectory(strNULL) {
  if (threadLayer == nullptr) threadLayer = makeOrNull<JTCInitialize>();
  fMemory = makeOrNull<MemAllocator>();
  fThreads = makeOrNull<ThreadRegistry>();
  const BuildInfo built = buildInfo();
  fVersion = makeOrNull<Version>("zqcore", "2", "7", "A", built.build, built.date, built.time);
  fPlatform = makeOrNull<Platform>();
  fCatalogueLock = makeOrNull<ReadWriteLock>();
  fCatalogues = makeOrNull<std::list<EntCStrFile*>>();
}

OrlanCore::~OrlanCore() {
  OrlanCore* expected = this;
  if (std::atomic_ref<OrlanCore*>(gCore).compare_exchange_strong(expected, nullptr)) awaitCoreHolds();
  delete_catalogues();
  delete std::exchange(fCatalogues, nullptr);
  delete std::exchange(fCatalogueLock, nullptr);
  MemAllocator::dump(50, nullptr);
  delete std::exchange(fVersion, nullptr);
  delete std::exchange(fPlatform, nullptr);
  delete std::exchange(fMemory, nullptr);
  delete std::exchange(fThreads, nullptr);
}

// A core that has begun to go stays in gCore for a few steps, with its count below 0 already. A thread that was refused
// a use of it must get no hold either: nothing would keep the texts that it finds.
bool OrlanCore::is_held() const { return fCount.load(std::memory_order_relaxed) >= 0; }

bool OrlanCore::use_if_held() {
  const OrlanSynchronized hold(fMutex);
  if (fCount < 0) return false;
  ++fCount;
  return true;
}

void OrlanCore::delete_catalogues() {
  if (fCatalogues == nullptr || fCatalogueLock == nullptr) return;
  const OrlanSynchronizedWrite hold(*fCatalogueLock);
  for (EntCStrFile*& catalogue : *fCatalogues) delete std::exchange(catalogue, nullptr);
  fCatalogues->clear();
}

namespace {

/// Makes the core when the library loads and gives it up at exit.
class CoreBootstrap {
 public:
  CoreBootstrap() {
    try {
      auto* const core = new OrlanCore;
      gCore = core;
      core->use();
      fProcess = callingProcessId();
      if (std::atexit(giveUp) != 0) core->unuse();  // or nobody would
    } catch (...) {
      // Nothing may leave the load step. Without a core gCore stays null.
    }
  }

 private:
  // A forked child leaves it all as it is: the locks may belong to threads that the child doesn't have.
  static void giveUp() {
    if (callingProcessId() != fProcess) return;
    if (OrlanCore* const core = gCore) core->unuse();
  }

  static inline constinit std::uint32_t fProcess = 0;  // the one that the core was made in
};

const CoreBootstrap coreBootstrap;

}  // namespace

}  // namespace zqcore27
