#pragma once

#include <cstdint>

#include "zqcore27/catalogue/cstr.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/platform/module.h"
#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

/// The catalogue that a host holds and hands to Error::description: it takes the catalogue code out of each handle
/// (bits 27 to 16) and asks the core for the file of that code in its locale. It holds no file and costs little; the
/// texts belong to the core and live as long as that.
/// Threads: any number at once; copying and assigning one at a time.
class ZQCORE27_EXPORT CStrEnterprise : public CStr {
 public:
  /// `module`: its directory is the last one searched for files; null is the program. `extra` is kept for the host and
  /// not used. `locale`: a language such as `deu` or `de`; null or empty for the user's own.
  CStrEnterprise(HINSTANCE module, const String& extra, const std::uint16_t* locale);
  CStrEnterprise(const CStrEnterprise& other);
  CStrEnterprise& operator=(const CStrEnterprise& other);
  ~CStrEnterprise() override;

  /// The text, or null. Errors: CStrError 7, not fatal, without a detail, if the handle's catalogue can't be loaded: a
  /// failure isn't remembered, each call searches again. CStrError 3, 4, 5 and std::bad_alloc as CStrFile::get;
  /// MemError.
  const std::uint16_t* get(std::uint32_t handle) override;

 private:
  HINSTANCE fModule;
  String fLocale;  // empty for the user's own
  String fExtra;
};

}  // namespace zqcore27
