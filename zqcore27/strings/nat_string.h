#pragma once

#include <cstdint>
#include <ostream>
#include <string_view>

#include "zqcore27/core/memory.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

/// A text in the platform's 8-bit encoding, zero-terminated, for handing to a platform call. A unit that the code page
/// lacks becomes `?`. Errors: MemError. Threads: one at a time.
class ZQCORE27_EXPORT NatString : public MemResizable {
 public:
  /// Empty text.
  NatString() : NatString(nullptr) {}
  /// The units before the first zero; null gives empty text.
  NatString(const std::uint16_t* s);
  NatString(const String& s);
  NatString(const NatString& other);
  /// Takes the block over; `other` is empty afterwards. Move assignment exchanges the two.
  NatString(NatString&& other) noexcept;
  NatString& operator=(const NatString& other);
  NatString& operator=(NatString&& other) noexcept;
  ~NatString() override;

  /// Bytes of text plus one: the terminator counts. Empty text has size 1.
  unsigned int size() const { return fLength; }
  char* begin() { return reinterpret_cast<char*>(fData); }
  const char* begin() const { return reinterpret_cast<const char*>(fData); }
  char* operator*() { return begin(); }
  const char* operator*() const { return begin(); }

  /// Empty text in a block of one byte.
  void erase();
  /// Appends 8-bit text as it stands. The source may lie in the object's own block.
  NatString& operator+=(const unsigned char* s);

 private:
  friend class String;

  static unsigned int max_nat_size(unsigned int n);
  static unsigned int string_size(const std::uint16_t* s);
  /// Requires: none of the `n` units is zero, and the block has max_nat_size(n) bytes.
  unsigned int copy_from_internal(const std::uint16_t* s, String::NativeType type);
  unsigned int copy_units(const std::uint16_t* s, unsigned int n);
  void append_data(const unsigned char* s, unsigned int n);

  std::uint32_t fLength;  // bytes of text plus one
};

/// The bytes as they stand, in the platform's encoding.
inline std::ostream& operator<<(std::ostream& out, const NatString& s) {
  return out << std::string_view(s.begin(), s.size() - 1);
}

}  // namespace zqcore27
