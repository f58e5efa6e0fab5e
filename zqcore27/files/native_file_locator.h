#pragma once

// Internal: the form in which a path goes to the platform.

#include "zqcore27/files/file_locator.h"
#include "zqcore27/strings/nat_string.h"

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

/// Stores the native form of a path, or of a piece of one. False, with `out` undefined, where that would name something
/// else than `s` does: `s` holds a zero unit, or characters beyond ASCII in a code page that isn't here.
/// Errors: MemError. Threads: any.
bool toNativePath(const String& s, NatString& out);

}  // namespace zqcore27
