#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "zqcore27/catalogue/cstr.h"
#include "zqcore27/catalogue/cstr_error.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/strings/checked_format.h"

inline namespace zqcore27 {

/// Whether an argument is a text of units, or null.
constexpr bool isUnitText(FormatArgument argument) {
  return argument.kind == FormatArgument::WIDE_TEXT || argument.kind == FormatArgument::NULL_TEXT;
}

/// What the checked form takes as a value of a catalogue text: String, WideString, a zero-terminated text of units, or
/// nullptr for an empty text.
template <class T>
concept CatalogueText = isUnitText(FormatArgument::value<T>());

/// `out` becomes the text of `handle` in `words` with its marks replaced by the values, null for empty text, as
/// CStr::build does it; but a text with a mark above the number of values is refused, where CStr::build leaves the
/// mark empty. A value without a mark is no fault: a translation may do without it. Errors: CStrError 6, fatal, for
/// such a mark and for one outside 1 to 8; what CStr::get raises; `out` is then as before. Threads: as `words`; one at
/// a time for one `out`.
ZQCORE27_EXPORT void buildChecked(CStr& words, String& out, std::uint32_t handle,
                                  std::span<const std::uint16_t* const> values);

/// The same with the values one by one, at most the eight that marks reach. Errors: CStrError 6, fatal, for an array
/// without a zero, too.
template <CatalogueText... Values>
void buildChecked(CStr& words, String& out, std::uint32_t handle, const Values&... values) {
  static_assert(sizeof...(Values) <= 8, "marks reach the first eight values only");
  if (!(FormatArgument::value(values).terminated && ...)) {
    throw CStrError(CStrError::CSTR_ERR_BAD_PARAMETER, ": it has no terminator", true);
  }
  const std::array<const std::uint16_t*, sizeof...(Values)> texts{
      static_cast<const std::uint16_t*>(static_cast<const void*>(formatValue(values)))...};
  buildChecked(words, out, handle, std::span<const std::uint16_t* const>(texts));
}

}  // namespace zqcore27
