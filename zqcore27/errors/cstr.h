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

/// The operations that a catalogue overrides, in the order of their slots. They stand apart from CStr so that its
/// counted form of `build` is the one that a call finds. Threads: as CStr.
class ZQCORE27_EXPORT CStrOperations : public FromLibraryHeap {
 public:
  /// The text of `handle`, or null if there is none. It stays good as long as the catalogue.
  virtual const std::uint16_t* get(std::uint32_t handle) = 0;

  /// `out` becomes the text of `handle` with its marks replaced by the values, `const std::uint16_t*` each, null for
  /// empty text. The text decides how many values are read, up to the eighth: pass as many. Errors: CStrError 6, fatal,
  /// on a mark outside 1 to 8, `out` holding what was built; what `get` raises.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"  // hidden on purpose by CStr's counted form
  virtual void build(String& out, std::uint32_t handle, ...);
#pragma GCC diagnostic pop

  /// The first handle from `first` to `last`, both included, whose text equals `keyword` without regard to case; 0 if
  /// there is none. A null text counts as empty. Errors: what `get` raises.
  virtual std::uint32_t findKeyword(std::uint32_t first, std::uint32_t last, const String& keyword);

  virtual ~CStrOperations();
};

/// A catalogue of constant texts. An error is worded by the one that its catcher passes; most pass a CStrEnterprise.
/// A handle is a 32-bit key of a text: bits 27 to 16 choose the catalogue, bits 15 to 0 the text.
/// In a text the unit 0x0013 followed by a digit 1 to 8 is a substitution mark: the place of that value.
/// Threads: as the subclass says; those of the library may be used by any number of threads at once.
class ZQCORE27_EXPORT CStr : public CStrOperations {
 public:
  /// The most values that a call passes on, though marks reach the first eight only.
  static constexpr std::size_t MAX_VALUES = 10;

  CStr();
  CStr(const CStr&);
  CStr& operator=(const CStr&);
  ~CStr() override;

  /// The virtual `build` with the values counted: a mark above their number is empty, and nothing that wasn't passed is
  /// read.
  template <CatalogueValue... Values>
  void build(String& out, std::uint32_t handle, const Values&... values) {
    static_assert(sizeof...(Values) <= MAX_VALUES);
    const std::uint16_t* v[MAX_VALUES + 1] = {static_cast<const std::uint16_t*>(values)...};
    CStrOperations& operations = *this;
    operations.build(out, handle, v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], v[8], v[9]);
  }
};

}  // namespace zqcore27
