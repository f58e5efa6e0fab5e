#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>

#include "zqcore27/core/memory.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

/// What a catalogue text takes in: a pointer to units, or what converts to one.
template <typename T>
concept CatalogueValue = std::convertible_to<const T&, const std::uint16_t*>;

/// A catalogue of constant texts. An error is worded by the one that its catcher passes; most pass a CStrEnterprise.
/// A handle is a 32-bit key of a text: bits 27 to 16 choose the catalogue, bits 15 to 0 the text.
/// In a text the unit 0x0013 followed by a digit 1 to 8 is a substitution mark: the place of that value.
/// Threads: as the subclass says; those of the library may be used by any number of threads at once.
class ZQCORE27_EXPORT CStr : public FromLibraryHeap {
 public:
  /// The most values that a call passes on, though marks reach the first eight only.
  static constexpr std::size_t MAX_VALUES = 10;

  CStr();
  CStr(const CStr&);
  CStr& operator=(const CStr&);

  /// The text of `handle`, or null if there is none. It stays good as long as the catalogue.
  virtual const std::uint16_t* get(std::uint32_t handle) = 0;

  /// `out` becomes the text of `handle` with its marks replaced by the values, `const std::uint16_t*` each, null for
  /// empty text. The text decides how many values are read: the highest mark must not exceed the number passed. Calls
  /// that name their values take the overload below, which fills up with nulls. Errors: CStrError 6, fatal, on a mark
  /// outside 1 to 8, `out` holding what was built; what `get` raises.
  virtual void build(String& out, std::uint32_t handle, ...);

  /// The first handle from `first` to `last`, both included, whose text equals `keyword` without regard to case; 0 if
  /// there is none. A null text counts as empty. Errors: what `get` raises.
  virtual std::uint32_t findKeyword(std::uint32_t first, std::uint32_t last, const String& keyword);

  virtual ~CStr();

  /// The same with the values counted: a mark above their number is empty, and nothing that wasn't passed is read.
  template <CatalogueValue... Values>
  void build(String& out, std::uint32_t handle, const Values&... values) {
    static_assert(sizeof...(Values) <= MAX_VALUES);
    const std::uint16_t* v[MAX_VALUES + 1] = {static_cast<const std::uint16_t*>(values)...};
    build_counted(out, handle, v);
  }

 private:
  void build_counted(String& out, std::uint32_t handle, const std::uint16_t* const* v) {
    // A cast to the variadic form, so that the subclass's build is called and not the template again.
    void (CStr::*variadic)(String&, std::uint32_t, ...) = &CStr::build;
    (this->*variadic)(out, handle, v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], v[8], v[9]);
  }
};

}  // namespace zqcore27
