#pragma once

#include "zqcore27/platform/export.h"

inline namespace zqcore27 {

class String;

/// A version record: constant 8-bit texts, which belong to somebody else and must outlive it. Threads: any, once made.
class ZQCORE27_EXPORT Version {
 public:
  /// Keeps the seven pointers. fFull is "2.7.A" whatever they say: it is the version that catalogue files have to
  /// match.
  Version(const char* name, const char* major, const char* minor, const char* release, const char* build,
          const char* date, const char* time);
  /// `out` becomes "zqcore 2.7A  (Linux x86_64 build) Dec  7 2004 23:46:10", for example. Errors: as String::build.
  void get(String& out) const;

  const char* fName;
  const char* fMajor;
  const char* fMinor;
  const char* fRelease;
  const char* fFull;
  const char* fBuild;
  const char* fDate;  // as "Dec  7 2004"
  const char* fTime;  // as "23:46:10"
};

}  // namespace zqcore27
