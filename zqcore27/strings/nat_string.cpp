#include "zqcore27/strings/nat_string.h"

#include <cstring>
#include <utility>

#include "zqcore27/errors/mem_error.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/native_text.h"
#include "zqcore27/strings/text_kernels.h"

inline namespace zqcore27 {

namespace {

/// What an emptied object points at: the zero unit of strNULL serves as an empty 8-bit text.
unsigned char* emptyText() { return reinterpret_cast<unsigned char*>(const_cast<std::uint16_t*>(strNULL)); }

}  // namespace

NatString::NatString(const std::uint16_t* s) {
  if (s != nullptr) {
    MemResizable::operator=(MemResizable(max_nat_size(string_size(s))));
    copy_from_internal(s, String::NativeChar);
  } else {
    erase();
  }
}

NatString::NatString(const String& s) : MemResizable(max_nat_size(s.size())) {
  copy_units(s.begin(), static_cast<unsigned int>(findZero(s.begin(), s.size())));
}

NatString::NatString(const NatString& other) : MemResizable(other), fLength(other.fLength) {
  if (fSize == 0) fData = emptyText();
}

NatString::NatString(NatString&& other) noexcept
    : MemResizable(std::move(other)), fLength(std::exchange(other.fLength, 1)) {
  other.fData = emptyText();
}

NatString& NatString::operator=(const NatString& other) {
  if (this != &other) *this = NatString(other);
  return *this;
}

NatString& NatString::operator=(NatString&& other) noexcept {
  MemResizable::operator=(std::move(other));
  std::swap(fLength, other.fLength);
  return *this;
}

NatString::~NatString() = default;

void NatString::erase() {
  resize(1);
  fData[0] = 0;
  fLength = 1;
}

NatString& NatString::operator+=(const unsigned char* s) {
  if (s != nullptr && *s != 0) {
    const std::size_t n = std::strlen(reinterpret_cast<const char*>(s));
    if (n > 0xFFFFFFFFu - fLength) throw MemError(MemError::TOO_LARGE, false);
    append_data(s, static_cast<unsigned int>(n));
  }
  return *this;
}

void NatString::append_data(const unsigned char* s, unsigned int n) {
  const bool inside = s >= fData && s < fData + fSize;
  const std::ptrdiff_t offset = inside ? s - fData : 0;
  const std::uint32_t oldLength = fLength;
  resize(fLength + n);
  MemAllocator::move(fData + oldLength - 1, inside ? fData + offset : s, n);
  fLength = oldLength + n;
  fData[fLength - 1] = 0;
}

unsigned int NatString::max_nat_size(unsigned int n) {
  if (n > (0xFFFFFFFFu - 1) / 3) throw MemError(MemError::TOO_LARGE, false);
  return 3 * n + 1;
}

unsigned int NatString::string_size(const std::uint16_t* s) {
  unsigned int n = 0;
  while (s[n] != 0) ++n;
  return n;
}

unsigned int NatString::copy_from_internal(const std::uint16_t* s, String::NativeType type) {
  if (type != String::NativeChar && type != String::NativeWide) throw StringError(StringError::BAD_NATIVE_TYPE, true);
  return copy_units(s, string_size(s));
}

unsigned int NatString::copy_units(const std::uint16_t* s, unsigned int n) {
  char* const end = writeNative(s, n, begin());
  *end = 0;
  const auto bytes = static_cast<unsigned int>(end - begin());
  fLength = bytes + 1;
  return bytes;
}

}  // namespace zqcore27
