#include "zqcore27/platform/build_info.h"

#if defined(__x86_64__)
#define ZQCORE27_PROCESSOR "x86_64"
#elif defined(__i386__)
#define ZQCORE27_PROCESSOR "x86"
#elif defined(__aarch64__)
#define ZQCORE27_PROCESSOR "aarch64"
#else
#define ZQCORE27_PROCESSOR "unknown"
#endif

inline namespace zqcore27 {

BuildInfo buildInfo() {
  return {ZQCORE27_PROCESSOR,
          "Linux",
          "(Linux " ZQCORE27_PROCESSOR " build)",
          ZQCORE27_BUILD_DATE,
          ZQCORE27_BUILD_TIME,
          '/',
          '.'};
}

}  // namespace zqcore27
