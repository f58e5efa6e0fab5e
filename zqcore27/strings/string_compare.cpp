// Comparison, single characters, and what containers need.

#include "zqcore27/strings/case_map.h"
#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

std::uint16_t String::chrToUpper(std::uint16_t c) { return UPPER_MAP(c); }

std::uint16_t String::chrToLower(std::uint16_t c) { return LOWER_MAP(c); }

std::int32_t String::compare(const std::uint16_t* a, const std::uint16_t* b, bool ignoreCase) const {
  while (*a != 0 && *b != 0 && (*a == *b || (ignoreCase && UPPER_MAP(*a) == UPPER_MAP(*b)))) {
    ++a;
    ++b;
  }
  return static_cast<std::int32_t>(*b) - static_cast<std::int32_t>(*a);
}

bool String::equals(const std::uint16_t* s) const { return compare(data(), s == nullptr ? strNULL : s, true) == 0; }

bool String::operator==(const char16_t* s) const { return equals(reinterpret_cast<const std::uint16_t*>(s)); }

bool String::operator==(const char* s) const { return *this == String(s); }

bool String::operator<(const String& other) const { return compare(data(), other.data(), true) < 0; }

bool StringLess::operator()(const String& a, const String& b) const {
  const std::uint16_t* p = a.begin();
  const std::uint16_t* q = b.begin();
  while (*p != 0 && UPPER_MAP(*p) == UPPER_MAP(*q)) {
    ++p;
    ++q;
  }
  return UPPER_MAP(*p) < UPPER_MAP(*q);
}

std::size_t StringHash::operator()(const String& s) const noexcept {
  // FNV-1a over the folded units, http://www.isthe.com/chongo/tech/comp/fnv/
  std::uint64_t folded = 0xCBF29CE484222325u;
  for (const std::uint16_t* p = s.begin(); *p != 0; ++p) folded = (folded ^ UPPER_MAP(*p)) * 0x100000001B3u;
  return static_cast<std::size_t>(folded);
}

}  // namespace zqcore27
