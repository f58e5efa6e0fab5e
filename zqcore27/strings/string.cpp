#include "zqcore27/strings/string.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "zqcore27/errors/mem_error.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/native_text.h"

inline namespace zqcore27 {

namespace {

constexpr std::uint16_t EMPTY_TEXT = 0;

/// The longest text that leaves room for a terminator in a block of 32-bit size.
constexpr std::uint32_t MAX_LENGTH = 0x7FFFFFFE;

const std::uint16_t* units(const char16_t* s) { return reinterpret_cast<const std::uint16_t*>(s); }

std::uint32_t checkedLength(std::size_t n) {
  if (n > MAX_LENGTH) throw MemError(MemError::TOO_LARGE, false);
  return static_cast<std::uint32_t>(n);
}

/// The number of leading bytes below 0x80 and not zero.
std::uint32_t asciiRun(const char* s, std::uint32_t n) {
  std::uint32_t i = 0;
  while (i<n&& static_cast<signed char>(s[i])> 0) ++i;
  return i;
}

}  // namespace

constinit const std::uint16_t* const strNULL = &EMPTY_TEXT;

String::String() { fData = reinterpret_cast<unsigned char*>(const_cast<std::uint16_t*>(strNULL)); }

String::String(const std::uint16_t* s) : String() {
  if (s != nullptr) wide_copy_data(s, wide_string_length(s));
}

String::String(const std::uint16_t* s, unsigned int n) : String() {
  if (s != nullptr) copy_data(s, n);
}

String::String(const char* s) : String() {
  if (s != nullptr) native_copy_data(s, nat_string_length(s));
}

String::String(const char* s, unsigned int n) : String() {
  if (s != nullptr) native_copy_data(s, n);
}

String::String(std::nullptr_t) : String() {}

String::String(const char16_t* s) : String(zqcore27::units(s)) {}

String::String(std::u16string_view s) : String() { copy_data(zqcore27::units(s.data()), checkedLength(s.size())); }

String::String(const String& other) : String() { copy_data(other.data(), other.fLength); }

String::String(String&& other) noexcept : String() { *this = std::move(other); }

String::~String() { flush_data(); }

String& String::operator=(const String& other) { return copy_data(other.data(), other.fLength); }

String& String::operator=(String&& other) noexcept {
  if (this == &other) return *this;
  flush_data();
  fData = std::exchange(other.fData, fData);
  fSize = std::exchange(other.fSize, 0);
  fLength = std::exchange(other.fLength, 0);
  return *this;
}

String& String::operator=(const std::uint16_t* s) { return copy_data(s, string_length(s)); }

String& String::operator=(const char* s) { return native_copy_data(s, nat_string_length(s)); }

String& String::operator=(std::nullptr_t) { return copy_data(nullptr, 0); }

String& String::operator=(const char16_t* s) { return *this = zqcore27::units(s); }

String& String::operator=(std::u16string_view s) {
  return copy_data(zqcore27::units(s.data()), checkedLength(s.size()));
}

String& String::resize(unsigned int bytes) {
  MemResizable::resize(bytes);
  if (capacity() == 0) {
    flush_data();
  } else if (fLength >= capacity()) {
    terminate(capacity() - 1);
  }
  return *this;
}

unsigned int String::terminate() {
  const unsigned int room = capacity();
  if (room == 0) return fLength = 0;
  const std::uint16_t* const text = data();
  const unsigned int zero = static_cast<unsigned int>(std::find(text, text + room, 0) - text);
  return terminate(std::min(zero, room - 1));
}

unsigned int String::terminate(unsigned int n) {
  if (n < capacity()) {
    data()[n] = 0;
    fLength = n;
  }
  return fLength;
}

unsigned int String::terminate(std::uint16_t* p) {
  if (!owns(p)) return fLength;
  return terminate(static_cast<unsigned int>(p - data()));
}

String& String::operator+=(const String& s) { return append_data(s.data(), s.fLength); }

String& String::operator+=(const std::uint16_t* s) { return append_data(s, string_length(s)); }

String& String::operator+=(const char* s) { return *this += String(s); }

String& String::operator+=(std::uint16_t c) { return c == 0 ? *this : append_data(&c, 1); }

String& String::operator+=(const char16_t* s) { return *this += zqcore27::units(s); }

bool String::owns(const void* p) const {
  const auto address = reinterpret_cast<std::uintptr_t>(p), start = reinterpret_cast<std::uintptr_t>(fData);
  return address >= start && address - start < fSize;
}

const std::uint16_t* String::make_room(std::uint32_t n, const std::uint16_t* source) {
  if (n < capacity()) return source;
  if (n > MAX_LENGTH) throw MemError(MemError::TOO_LARGE, false);
  const bool inside = owns(source);
  const std::ptrdiff_t offset = inside ? source - data() : 0;
  resize(dataSize(n + 1));
  return inside ? data() + offset : source;
}

unsigned int String::string_length(const std::uint16_t* s) const {
  if (s == nullptr) return 0;
  std::size_t n = 0;
  while (s[n] != 0) ++n;
  return checkedLength(n);
}

unsigned int String::nat_string_length(const char* s) const { return s == nullptr ? 0 : checkedLength(std::strlen(s)); }

String& String::copy_data(const std::uint16_t* s, unsigned int n) {
  s = make_room(n, s);
  MemAllocator::move(fData, s, dataSize(n));
  data()[n] = 0;
  fLength = n;
  return *this;
}

String& String::append_data(const std::uint16_t* s, unsigned int n) {
  if (n > MAX_LENGTH - fLength) throw MemError(MemError::TOO_LARGE, false);
  s = make_room(fLength + n, s);
  MemAllocator::move(data() + fLength, s, dataSize(n));
  fLength += n;
  data()[fLength] = 0;
  return *this;
}

void String::flush_data() {
  if (fSize != 0) MemAllocator::deallocate(fData);
  fSize = 0;
  fLength = 0;
  fData = reinterpret_cast<unsigned char*>(const_cast<std::uint16_t*>(strNULL));
}

String& String::native_copy_data(const char* s, unsigned int n) {
  copy_from_native(s, n, NativeChar);
  return *this;
}

String& String::wide_copy_data(const std::uint16_t* s, unsigned int n) {
  copy_from_wide(s, n, NativeWide);
  return *this;
}

unsigned int String::copy_from_native(const char* s, unsigned int n, NativeType type) {
  if (owns(s)) {
    String copy;
    copy.copy_from_native(s, n, type);
    *this = copy;
    return fLength;
  }
  make_room(n);
  if (type != NativeChar && type != NativeWide) throw StringError(StringError::BAD_NATIVE_TYPE, true);
  if (s == nullptr) {
    copy_data(nullptr, 0);
    return 0;
  }
  std::uint16_t* const out = data();
  std::uint32_t read = 0, written = 0;
  try {
    while (read < n && s[read] != 0) {
      const std::uint32_t run = asciiRun(s + read, n - read);
      for (std::uint32_t i = 0; i < run; ++i) out[written + i] = static_cast<unsigned char>(s[read + i]);
      read += run;
      written += run;
      if (run != 0) continue;
      const std::uint32_t room = std::min<std::uint32_t>(n - read, std::numeric_limits<std::int32_t>::max());
      read += static_cast<std::uint32_t>(nat2uni(s + read, out + written, static_cast<std::int32_t>(room)));
      ++written;
    }
  } catch (...) {
    terminate(written);
    throw;
  }
  return terminate(written);
}

unsigned int String::copy_from_wide(const std::uint16_t* s, unsigned int n, NativeType type) {
  if (type != NativeChar && type != NativeWide) throw StringError(StringError::BAD_NATIVE_TYPE, true);
  s = make_room(n, s);
  unsigned int length = 0;
  while (s != nullptr && length < n && s[length] != 0) ++length;
  copy_data(s, length);
  return length;
}

// Never destroyed, and never in need of memory.
const String& nullString() {
  alignas(String) static unsigned char place[sizeof(String)];
  static const String& empty = *new (place) String;
  return empty;
}

}  // namespace zqcore27
