#include "zqcore27/catalogue/cstr_enterprise.h"

#include "zqcore27/catalogue/cstr_error.h"
#include "zqcore27/catalogue/ent_cstr_file.h"
#include "zqcore27/catalogue/known_catalogue.h"
#include "zqcore27/core/core.h"
#include "zqcore27/core/core_hold.h"

inline namespace zqcore27 {

CStrEnterprise::CStrEnterprise(HINSTANCE module, const String& extra, const std::uint16_t* locale)
    : fModule(module), fLocale(locale), fExtra(extra) {}
CStrEnterprise::CStrEnterprise(const CStrEnterprise&) = default;
CStrEnterprise& CStrEnterprise::operator=(const CStrEnterprise&) = default;
CStrEnterprise::~CStrEnterprise() = default;

const std::uint16_t* CStrEnterprise::get(std::uint32_t handle) {
  const auto code = static_cast<std::uint16_t>(handle >> 16 & 0xFFF);
  {
    const CoreHold hold;  // costs less than a use, and reading a page is a short step
    EntCStrFile* const known = hold.core() == nullptr ? nullptr : knownCatalogue(*hold.core(), code, fLocale);
    if (known != nullptr) return known->get(handle);
  }
  const CoreUse use;
  CStr* catalogue = use.core() == nullptr ? nullptr : use.core()->getCStr(code, fModule, fLocale);
  if (catalogue == nullptr) throw CStrError(CStrError::CSTR_ERR_NO_FILE, "", false);
  return catalogue->get(handle);
}

}  // namespace zqcore27
