#pragma once

#include <cstdint>
#include <ostream>

#include "zqcore27/core/memory.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

/// A text in 16-bit units, zero-terminated, for handing to a platform call. Errors: MemError. Threads: one at a time.
class ZQCORE27_EXPORT WideString : public MemResizable {
 public:
  /// The units before the first zero; null gives empty text without a block, of size() 0.
  WideString(const std::uint16_t* s);
  WideString(const String& s);
  WideString(const WideString& other);
  /// Takes the block over; `other` is empty afterwards. Move assignment exchanges the two.
  WideString(WideString&& other) noexcept;
  WideString& operator=(const WideString& other);
  WideString& operator=(WideString&& other) noexcept;
  ~WideString() override;

  /// Units of text plus one: the terminator counts. 0 when made from a null pointer.
  unsigned int size() const { return fLength; }
  std::uint16_t* begin() { return reinterpret_cast<std::uint16_t*>(fData); }
  const std::uint16_t* begin() const { return reinterpret_cast<const std::uint16_t*>(fData); }
  std::uint16_t* operator*() { return begin(); }
  const std::uint16_t* operator*() const { return begin(); }

 private:
  static unsigned int max_wide_size(unsigned int n);
  static unsigned int string_size(const std::uint16_t* s);
  unsigned int copy_from_internal(const std::uint16_t* s, String::NativeType type);

  std::uint32_t fLength;  // units of text plus one, or 0
};

/// The text as UTF-8.
inline std::ostream& operator<<(std::ostream& out, const WideString& s) { return out << String(s.begin()); }

}  // namespace zqcore27
