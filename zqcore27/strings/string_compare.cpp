// Comparison, single characters, and what containers need.

#include <algorithm>

#include "zqcore27/strings/case_map.h"
#include "zqcore27/strings/string.h"
#include "zqcore27/strings/text_kernels.h"

inline namespace zqcore27 {

namespace {

/// Units at the start that both texts have, with the same upper forms and before their first zero.
std::size_t foldedRun(std::span<const std::uint16_t> a, std::span<const std::uint16_t> b) {
  return matchingRun<true>(a.data(), b.data(), std::min(a.size(), b.size()));
}

}  // namespace

std::uint16_t String::chrToUpper(std::uint16_t c) { return UPPER_MAP(c); }

std::uint16_t String::chrToLower(std::uint16_t c) { return LOWER_MAP(c); }

std::int32_t String::compare(const std::uint16_t* a, const std::uint16_t* b, bool ignoreCase) const {
  while (*a != 0 && (*a == *b || (ignoreCase && upperOf(*a) == upperOf(*b)))) {
    ++a;
    ++b;
  }
  return static_cast<std::int32_t>(*b) - static_cast<std::int32_t>(*a);
}

std::int32_t String::compare_folded(const String& s) const {
  const std::size_t run = foldedRun(units(), s.units());
  return compare(data() + run, s.data() + run, true);
}

bool String::equals(const std::uint16_t* s) const { return compare(data(), s == nullptr ? strNULL : s, true) == 0; }

bool String::operator==(const char16_t* s) const { return equals(reinterpret_cast<const std::uint16_t*>(s)); }

bool String::operator==(const char* s) const { return *this == String(s); }

bool String::operator<(const String& other) const { return compare_folded(other) < 0; }

bool StringLess::operator()(const String& a, const String& b) const {
  const std::size_t run = foldedRun(a.units(), b.units());
  const std::uint16_t* p = a.begin() + run;
  const std::uint16_t* q = b.begin() + run;
  while (*p != 0 && upperOf(*p) == upperOf(*q)) {
    ++p;
    ++q;
  }
  return upperOf(*p) < upperOf(*q);
}

std::size_t StringHash::operator()(const String& s) const noexcept {
  // FNV-1a over the folded units, http://www.isthe.com/chongo/tech/comp/fnv/
  std::uint64_t folded = 0xCBF29CE484222325u;
  for (const std::uint16_t* p = s.begin(); *p != 0; ++p) folded = (folded ^ upperOf(*p)) * 0x100000001B3u;
  return static_cast<std::size_t>(folded);
}

}  // namespace zqcore27
