#include "zqcore27/catalogue/checked_cstr.h"

#include <algorithm>
#include <utility>

#include "zqcore27/catalogue/cstr_error.h"
#include "zqcore27/core/core_hold.h"

inline namespace zqcore27 {

namespace {

constexpr std::uint16_t SUBSTITUTION_MARK = 0x0013;
constexpr std::size_t MARKS = 8;

/// The highest number of a mark 1 to 8; other marks are left to CStr::build.
std::size_t highestMark(const std::uint16_t* text) {
  std::size_t highest = 0;
  for (; text != nullptr && *text != 0; ++text) {
    if (*text == SUBSTITUTION_MARK && text[1] > '0' && text[1] <= '0' + MARKS) {
      highest = std::max<std::size_t>(highest, static_cast<std::size_t>(text[1] - '0'));
    }
  }
  return highest;
}

}  // namespace

void buildChecked(CStr& words, String& out, std::uint32_t handle, std::span<const std::uint16_t* const> values) {
  const CoreUse texts;  // stay good while they are in hand
  if (highestMark(words.get(handle)) > values.size()) {
    throw CStrError(CStrError::CSTR_ERR_BAD_PARAMETER, ": it lies above the values passed", true);
  }
  std::array<const std::uint16_t*, MARKS> v{};
  std::copy_n(values.begin(), std::min(values.size(), MARKS), v.begin());
  String built;
  words.build(built, handle, v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7]);
  out = std::move(built);
}

}  // namespace zqcore27
