#pragma once

#include <cstdint>

#include "zqcore27/platform/export.h"

inline namespace zqcore27 {

/// What the library was built for. Constant texts that live as long as the library. Threads: any, once made.
class ZQCORE27_EXPORT Platform {
 public:
  Platform();

  const char* fProcessor;  // as "x86_64"
  const char* fSystem;     // as "Linux"
  const char* fVariant;    // empty
  std::uint16_t fDirSep;   // separates the names of a path: 47, the slash, on Linux
  std::uint16_t fExtSep;   // separates a name from its extension: 46, the full stop
};

}  // namespace zqcore27
