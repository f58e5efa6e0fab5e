#include "zqcore27/catalogue/cstr.h"

#include <cstdarg>
#include <utility>

#include "zqcore27/catalogue/cstr_error.h"
#include "zqcore27/core/core_hold.h"

inline namespace zqcore27 {

namespace {

constexpr std::uint16_t SUBSTITUTION_MARK = 0x0013;
constexpr int MAX_NUMBER = 8;

// Appends `text` to `out` with its marks replaced. The text is cut up at its marks on the way. False at a mark without
// a digit 1 to 8; `out` then holds what stands before it.
bool substitute(String& out, String& text, std::va_list args) {
  const std::uint16_t* values[MAX_NUMBER];
  int fetched = 0;
  std::uint16_t* run = text.begin();
  while (true) {
    std::uint16_t* p = run;
    while (*p != 0 && *p != SUBSTITUTION_MARK) ++p;
    const bool marked = *p != 0;
    if (marked) *p = 0;
    out += static_cast<const std::uint16_t*>(run);
    if (!marked) return true;
    const int number = p[1] - '0';
    if (number < 1 || number > MAX_NUMBER) return false;
    while (fetched < number) values[fetched++] = va_arg(args, const std::uint16_t*);
    out += values[number - 1];
    run = p + 2;
  }
}

}  // namespace

CStrOperations::~CStrOperations() = default;

CStr::CStr() = default;
CStr::CStr(const CStr&) = default;
CStr& CStr::operator=(const CStr&) = default;
CStr::~CStr() = default;

void CStrOperations::build(String& out, std::uint32_t handle, ...) {
  const CoreUse texts;  // stay good while they are in hand
  String text(get(handle));
  String built;  // apart from `out`, in whose block the values may lie
  built.fill(text.size() + 1, 0);
  bool good;
  std::va_list args;
  va_start(args, handle);
  try {
    good = substitute(built, text, args);
  } catch (...) {
    va_end(args);
    throw;
  }
  va_end(args);
  out = std::move(built);
  if (!good) throw CStrError(CStrError::CSTR_ERR_BAD_PARAMETER, "Bad call to String(hgCStr->..)", true);
}

std::uint32_t CStrOperations::findKeyword(std::uint32_t first, std::uint32_t last, const String& keyword) {
  if (first > last) return 0;
  const CoreUse texts;  // stay good while they are in hand
  for (std::uint32_t handle = first;; ++handle) {
    if (keyword == get(handle)) return handle;
    if (handle == last) return 0;  // tested here, since the highest handle has none above it
  }
}

}  // namespace zqcore27
