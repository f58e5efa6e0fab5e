#include "zqcore27/catalogue/cstr_enterprise.h"

#include "zqcore27/catalogue/cstr_error.h"
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
  const CoreUse use;
  CStr* catalogue = use.core() == nullptr ? nullptr : use.core()->getCStr(code, fModule, fLocale);
  if (catalogue == nullptr) throw CStrError(CStrError::CSTR_ERR_NO_FILE, "", false);
  return catalogue->get(handle);
}

}  // namespace zqcore27
