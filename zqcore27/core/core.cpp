#include "zqcore27/core/core.h"

#include <atomic>
#include <cstdlib>
#include <new>
#include <utility>

#include "zqcore27/catalogue/ent_cstr_file.h"
#include "zqcore27/core/core_hold.h"
#include "zqcore27/platform/build_info.h"
#include "zqcore27/platform/native_thread.h"
#include "zqcore27/threads/jtc.h"

inline namespace zqcore27 {

constinit OrlanCore* gCore = nullptr;
constinit HINSTANCE gCExceptionFielder = nullptr;

namespace {

// Held while a thread uses a core that it doesn't own, and while a core takes itself out of gCore. Never destroyed.
constinit OrlanMutex coreLock;

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

CoreHold::CoreHold() : fHold(coreLock), fCore(std::atomic_ref<OrlanCore*>(gCore).load(std::memory_order_acquire)) {}

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
  {
    const OrlanSynchronized hold(coreLock);
    OrlanCore* expected = this;
    std::atomic_ref<OrlanCore*>(gCore).compare_exchange_strong(expected, nullptr);
  }
  delete_catalogues();
  delete std::exchange(fCatalogues, nullptr);
  delete std::exchange(fCatalogueLock, nullptr);
  MemAllocator::dump(50, nullptr);
  delete std::exchange(fVersion, nullptr);
  delete std::exchange(fPlatform, nullptr);
  delete std::exchange(fMemory, nullptr);
  delete std::exchange(fThreads, nullptr);
}

// A core that has begun to go stays in gCore for a few steps, with its count below 0 already.
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
      std::atexit(giveUp);
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
