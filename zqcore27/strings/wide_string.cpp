#include "zqcore27/strings/wide_string.h"

#include <utility>

#include "zqcore27/errors/mem_error.h"
#include "zqcore27/errors/string_error.h"

inline namespace zqcore27 {

namespace {

unsigned char* emptyText() { return reinterpret_cast<unsigned char*>(const_cast<std::uint16_t*>(strNULL)); }

}  // namespace

WideString::WideString(const std::uint16_t* s)
    : MemResizable(s == nullptr ? 0 : max_wide_size(string_size(s))), fLength(0) {
  if (s != nullptr) {
    copy_from_internal(s, String::NativeWide);
  } else {
    fData = emptyText();
  }
}

WideString::WideString(const String& s) : MemResizable(max_wide_size(s.size())) {
  copy_from_internal(s.begin(), String::NativeWide);
}

WideString::WideString(const WideString& other) : MemResizable(other), fLength(other.fLength) {
  if (fSize == 0) fData = emptyText();
}

WideString::WideString(WideString&& other) noexcept
    : MemResizable(std::move(other)), fLength(std::exchange(other.fLength, 0)) {
  if (fSize == 0) fData = emptyText();
  other.fData = emptyText();
}

WideString& WideString::operator=(const WideString& other) {
  if (this != &other) *this = WideString(other);
  return *this;
}

WideString& WideString::operator=(WideString&& other) noexcept {
  MemResizable::operator=(std::move(other));
  std::swap(fLength, other.fLength);
  return *this;
}

WideString::~WideString() = default;

unsigned int WideString::max_wide_size(unsigned int n) {
  if (n > 0x7FFFFFFE) throw MemError(MemError::TOO_LARGE, false);
  return 2 * n + 2;
}

unsigned int WideString::string_size(const std::uint16_t* s) {
  unsigned int n = 0;
  while (s[n] != 0) ++n;
  return n;
}

unsigned int WideString::copy_from_internal(const std::uint16_t* s, String::NativeType type) {
  if (type != String::NativeChar && type != String::NativeWide) throw StringError(StringError::BAD_NATIVE_TYPE, true);
  const unsigned int n = string_size(s);
  MemAllocator::copy(fData, s, 2 * n);
  begin()[n] = 0;
  fLength = n + 1;
  return n;
}

}  // namespace zqcore27
