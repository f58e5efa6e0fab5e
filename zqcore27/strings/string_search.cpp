// Search and editing.

#include <algorithm>
#include <utility>

#include "zqcore27/errors/mem_error.h"
#include "zqcore27/strings/case_map.h"
#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

namespace {

struct Exact {
  std::uint16_t operator()(std::uint16_t c) const { return c; }
};

struct Folded {
  std::uint16_t operator()(std::uint16_t c) const { return UPPER_MAP(c); }
};

template <typename Fold>
std::uint32_t indexOf(const std::uint16_t* text, std::uint32_t from, std::uint32_t to, std::uint16_t c, Fold fold) {
  c = fold(c);
  for (std::uint32_t i = from; i < to; ++i) {
    if (fold(text[i]) == c) return i;
  }
  return String::NOT_FOUND;
}

template <typename Fold>
std::uint32_t lastIndexOf(const std::uint16_t* text, std::uint32_t to, std::uint16_t c, Fold fold) {
  c = fold(c);
  for (std::uint32_t i = to; i-- > 0;) {
    if (fold(text[i]) == c) return i;
  }
  return String::NOT_FOUND;
}

/// The first occurrence of `s` in the text that ends at its first zero unit. Requires: `s` isn't empty.
template <typename Fold>
const std::uint16_t* occurrence(const std::uint16_t* text, const std::uint16_t* s, Fold fold) {
  const std::uint16_t first = fold(*s);
  for (; *text != 0; ++text) {
    if (fold(*text) != first) continue;
    const std::uint16_t* p = text + 1;
    const std::uint16_t* q = s + 1;
    while (*q != 0 && *p != 0 && fold(*p) == fold(*q)) {
      ++p;
      ++q;
    }
    if (*q == 0) return text;
    if (*p == 0) return nullptr;  // the text ends inside `s`, so it does for every later start
  }
  return nullptr;
}

}  // namespace

std::uint32_t String::locateFirst(std::uint16_t c, bool ignoreCase) const { return locateNext(c, 0, ignoreCase); }

std::uint32_t String::locateNext(std::uint16_t c, unsigned int start, bool ignoreCase) const {
  if (start >= fLength) return NOT_FOUND;
  return ignoreCase ? indexOf(data(), start, fLength + 1, c, Folded())
                    : indexOf(data(), start, fLength + 1, c, Exact());
}

std::uint32_t String::locateLast(std::uint16_t c, bool ignoreCase) const {
  return ignoreCase ? lastIndexOf(data(), fLength, c, Folded()) : lastIndexOf(data(), fLength, c, Exact());
}

std::uint16_t* String::find(const std::uint16_t* s, bool ignoreCase) const { return findNext(s, data(), ignoreCase); }

std::uint16_t* String::find(const String& s, bool ignoreCase) const { return find(s.data(), ignoreCase); }

std::uint16_t* String::findNext(const std::uint16_t* s, const std::uint16_t* from, bool ignoreCase) const {
  if (from < data() || from > data() + fLength) return nullptr;
  if (s == nullptr || *s == 0) return nullptr;
  return const_cast<std::uint16_t*>(ignoreCase ? occurrence(from, s, Folded()) : occurrence(from, s, Exact()));
}

std::uint16_t* String::findNext(const String& s, const std::uint16_t* from, bool ignoreCase) const {
  return findNext(s.data(), from, ignoreCase);
}

void String::toUpper() {
  for (std::uint32_t i = 0; i < fLength; ++i) data()[i] = UPPER_MAP(data()[i]);
}

void String::toLower() {
  for (std::uint32_t i = 0; i < fLength; ++i) data()[i] = LOWER_MAP(data()[i]);
}

void String::replaceChars(std::uint16_t from, std::uint16_t to) { std::replace(data(), data() + fLength, from, to); }

std::int32_t String::replace(const String& from, const String& to) {
  if (from.fLength == 0) return 0;
  const std::uint16_t* const textEnd = data() + fLength;

  // Walks the text from the left and hands on what the result consists of.
  const auto walk = [&](auto&& onMatch, auto&& onUnit) {
    const std::uint16_t* p = data();
    while (p < textEnd) {
      const auto left = static_cast<std::uint32_t>(textEnd - p);
      if (left >= from.fLength && MemAllocator::same(p, from.data(), dataSize(from.fLength))) {
        onMatch();
        p += from.fLength;
      } else {
        if (*p != 0) onUnit(*p);
        ++p;
      }
    }
  };

  std::int32_t count = 0;
  std::uint64_t length = 0;
  walk([&] { ++count, length += to.fLength; }, [&](std::uint16_t) { ++length; });
  if (count == 0) return 0;
  if (length > NOT_FOUND) throw MemError(MemError::TOO_LARGE, false);

  String result;
  result.make_room(static_cast<std::uint32_t>(length));
  std::uint16_t* out = result.data();
  walk([&] { out = std::copy_n(to.data(), to.fLength, out); }, [&](std::uint16_t unit) { *out++ = unit; });
  result.terminate(static_cast<std::uint32_t>(length));
  *this = std::move(result);
  return count;
}

bool String::isBlank() const {
  return std::all_of(data(), data() + fLength,
                     [](std::uint16_t c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == 0; });
}

bool String::isNumber() const {
  return std::all_of(data(), data() + fLength, [](std::uint16_t c) { return c >= '0' && c <= '9'; });
}

String& String::copyMax(String& source, unsigned int max) {
  const unsigned int n = std::min({source.fLength, max, capacity()});
  MemAllocator::move(fData, source.data(), dataSize(n));
  return *this;
}

void String::fill(unsigned int n, std::uint16_t c) {
  make_room(n);
  std::fill_n(data(), n, c);
  data()[n] = 0;
  fLength = c == 0 ? 0 : n;
}

}  // namespace zqcore27
