#pragma once

// Internal: what the library was built for, and when.

#include <cstdint>

inline namespace zqcore27 {

/// Constant text that lives as long as the library.
struct BuildInfo {
  const char* processor;  // the processor family
  const char* system;     // the operating system
  const char* build;      // both, as the version record words it
  // When the build was configured; SOURCE_DATE_EPOCH sets it for a reproducible build.
  const char* date;      // as "Dec  7 2004"
  const char* time;      // as "23:46:10"
  std::uint16_t dirSep;  // separates the names of a path
  std::uint16_t extSep;  // separates a name from its extension
};

BuildInfo buildInfo();

}  // namespace zqcore27
