#pragma once

#include <cstdint>
#include <list>

#include "zqcore27/core/memory.h"
#include "zqcore27/core/platform_record.h"
#include "zqcore27/core/ref_count.h"
#include "zqcore27/core/version.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/platform/module.h"
#include "zqcore27/strings/string.h"
#include "zqcore27/threads/read_write_lock.h"
#include "zqcore27/threads/registry.h"

inline namespace zqcore27 {

class CStr;
class EntCStrFile;

/// The process-wide object of the library. The library makes it while it loads, before any code of the host runs, and
/// holds it until the process's exit; a host that needs it longer takes a hold of its own. It has no accessors: read
/// the fields through gCore. A field whose allocation failed at load is null, and the library isn't usable then.
/// A text of its catalogues dies with the core: a thread that may still run while the process ends takes a hold before
/// it asks for one, or leaves that to Error::description and CStr::build, which do. The library itself is safe in such
/// a thread: it finds no core, and works without. In a forked child nothing is taken back at exit, and thread ids are
/// new. Threads: use, unuse and getCStr from any; the fields as they say.
class ZQCORE27_EXPORT OrlanCore : public RefCount {
 public:
  OrlanCore();
  /// Sets gCore to null if it points here, before anything goes.
  ~OrlanCore() override;

  /// The catalogue of `code` (12 bits) in the language `locale`, looked for in the directory of `module` too and opened
  /// on first need; null if no file can be used. It stays good as long as the core.
  CStr* getCStr(std::uint16_t code, HINSTANCE module, const String& locale);

  Version* fVersion = nullptr;         // constant
  Platform* fPlatform = nullptr;       // constant
  MemAllocator* fMemory = nullptr;     // carries no state
  ThreadRegistry* fThreads = nullptr;  // has a lock of its own
  String fStringDirectory;             // where the first catalogue was found; under fCatalogueLock, empty until then
  std::list<EntCStrFile*>* fCatalogues = nullptr;  // the catalogues in use, owned; under fCatalogueLock
  ReadWriteLock* fCatalogueLock = nullptr;

 private:
  friend class CoreHold;
  friend class CoreUse;

  bool is_held() const;
  bool use_if_held();
  void delete_catalogues();
};

/// The core: null before the library has loaded and after the core has gone, valid in between. The library reads it
/// afresh each time, so that it sees what a host stores here; a host that does sees to it that nobody reads meanwhile,
/// and that the core has a holder: one without counts as none in the look-up of texts.
ZQCORE27_EXPORT extern OrlanCore* gCore;

/// A slot for the host: null at load, neither read nor written by the library.
ZQCORE27_EXPORT extern HINSTANCE gCExceptionFielder;

}  // namespace zqcore27
