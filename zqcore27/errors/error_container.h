#pragma once

#include "zqcore27/errors/error.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/strings/nat_string.h"

inline namespace zqcore27 {

/// Any error as a value of one class: its code, fatal flag, module and inserts. It doesn't carry the source's class, so
/// it words itself as Error does, whatever the source overrode, and it starts unworded. Threads: as Error.
class ZQCORE27_EXPORT ErrorContainer : public Error {
 public:
  ErrorContainer(const Error& e);
  ErrorContainer(const ErrorContainer& e);
  ErrorContainer& operator=(const ErrorContainer& e);
  ~ErrorContainer() override;

  /// The source's module.
  const char* module() const override;

 private:
  NatString fModule;
};

}  // namespace zqcore27
