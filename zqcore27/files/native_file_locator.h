#pragma once

// Internal: the form in which a path goes to the platform.

#include "zqcore27/files/file_locator.h"

inline namespace zqcore27 {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"  // as FileLocator

/// A locator that takes both kinds of slash for the platform's separator. Threads: one at a time.
class NativeFileLocator final : public FileLocator {
 public:
  explicit NativeFileLocator(const String& s);

 protected:
  void from_string(const String& s) override;
};

#pragma GCC diagnostic pop

}  // namespace zqcore27
