#include "zqcore27/strings/string.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "zqcore27/core/heap_chunk.h"
#include "zqcore27/errors/mem_error.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/native_text.h"
#include "zqcore27/strings/text_kernels.h"

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

/// Bytes before the first zero, `n` if there is none before; null gives 0.
std::size_t boundedLength(const char* s, std::size_t n) {
  const void* const zero = s == nullptr ? nullptr : std::memchr(s, 0, n);
  return s == nullptr ? 0 : zero == nullptr ? n : static_cast<std::size_t>(static_cast<const char*>(zero) - s);
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
  const unsigned int n = nat_string_length(s);
  if (s != nullptr) read_native(s, n, n);
}

String::String(const char* s, unsigned int n) : String() {
  if (s != nullptr) native_copy_data(s, n);
}

String::String(std::nullptr_t) : String() {}

String::String(const char16_t* s) : String(zqcore27::units(s)) {}

String::String(std::u16string_view s) : String() { copy_data(zqcore27::units(s.data()), checkedLength(s.size())); }

String::String(const String& other) : String() { copy_data(other.data(), other.fLength); }

String::String(String&& other) noexcept : String() { *this = std::move(other); }

String::~String() = default;  // the base frees the block

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

String& String::operator+=(std::uint16_t c) {
  if (c == 0) return *this;
  if (capacity() < fLength + 2) {
    // Most steps stay inside the heap's chunk, and what is new of the block is written below.
    const std::uint32_t bytes = dataSize(fLength + 2);
    if (fSize != 0 && heapChunk(bytes) == heapChunk(fSize)) {
      fSize = bytes;
    } else {
      make_room(fLength + 1);
    }
  }
  data()[fLength++] = c;
  data()[fLength] = 0;
  return *this;
}

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
  MemResizable::resize(dataSize(n + 1));
  return inside ? data() + offset : source;
}

unsigned int String::string_length(const std::uint16_t* s) const {
  if (s == nullptr) return 0;
  std::size_t n = 0;
  while (s[n] != 0) ++n;
  return checkedLength(n);
}

unsigned int String::nat_string_length(const char* s) const { return s == nullptr ? 0 : checkedLength(std::strlen(s)); }

void String::replace_block(std::uint32_t n, bool cleared) {
  if (n > MAX_LENGTH) throw MemError(MemError::TOO_LARGE, false);
  MemResizable block(cleared ? 0 : dataSize(n + 1));
  if (cleared) block.resize(dataSize(n + 1));  // what grows from nothing comes cleared
  MemResizable::operator=(std::move(block));
  fLength = 0;
  data()[0] = 0;
}

String& String::copy_data(const std::uint16_t* s, unsigned int n) {
  if (n < capacity() || owns(s)) {
    s = make_room(n, s);
  } else {
    replace_block(n);
  }
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
  if (type != NativeChar && type != NativeWide) throw StringError(StringError::BAD_NATIVE_TYPE, true);
  return read_native(s, static_cast<unsigned int>(boundedLength(s, n)), n);
}

unsigned int String::read_native(const char* s, unsigned int length, unsigned int n) {
  const bool fresh = n >= capacity();
  if (fresh) replace_block(n, length != n);
  std::uint16_t* out = data();
  const std::uint32_t error = readNative(s, length, n, out);
  *out = 0;
  fLength = static_cast<std::uint32_t>(out - data());
  if (fresh && fLength != length) MemAllocator::zero(out, dataSize(length + 1 - fLength));
  if (error != 0) throw StringError(error, false);
  return fLength;
}

unsigned int String::copy_from_wide(const std::uint16_t* s, unsigned int n, NativeType type) {
  if (type != NativeChar && type != NativeWide) throw StringError(StringError::BAD_NATIVE_TYPE, true);
  s = make_room(n, s);
  unsigned int length = 0;
  if (s != nullptr) {
    while (length < n && s[length] != 0) ++length;  // nothing behind the zero may be read
  }
  copy_data(s, length);
  return fLength;
}

// Never destroyed, and never in need of memory.
const String& nullString() {
  alignas(String) static unsigned char place[sizeof(String)];
  static const String& empty = *new (place) String;
  return empty;
}

}  // namespace zqcore27
