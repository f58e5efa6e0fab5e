#include "zqcore27/core/platform_record.h"

#include "zqcore27/platform/build_info.h"

inline namespace zqcore27 {

Platform::Platform()
    : fProcessor(buildInfo().processor),
      fSystem(buildInfo().system),
      fVariant(""),
      fDirSep(buildInfo().dirSep),
      fExtSep(buildInfo().extSep) {}

}  // namespace zqcore27
