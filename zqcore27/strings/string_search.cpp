// Search and editing.

#include <algorithm>
#include <utility>

#include "zqcore27/errors/mem_error.h"
#include "zqcore27/strings/case_map.h"
#include "zqcore27/strings/string.h"
#include "zqcore27/strings/text_kernels.h"

inline namespace zqcore27 {

namespace {

template <bool fold>
std::uint32_t indexOf(std::span<const std::uint16_t> text, std::uint16_t c) {
  const std::size_t i = findUnit(text.data(), text.size(), Probe<fold>(c));
  return i == text.size() ? String::NOT_FOUND : static_cast<std::uint32_t>(i);
}

template <bool fold>
std::uint32_t lastIndexOf(std::span<const std::uint16_t> text, std::uint16_t c) {
  const Probe<fold> probe(c);
  for (std::size_t i = text.size(); i-- > 0;) {
    if (probe.matches(text[i])) return static_cast<std::uint32_t>(i);
  }
  return String::NOT_FOUND;
}

}  // namespace

std::uint32_t String::locateFirst(std::uint16_t c, bool ignoreCase) const { return locateNext(c, 0, ignoreCase); }

std::uint32_t String::locateNext(std::uint16_t c, unsigned int start, bool ignoreCase) const {
  if (start >= fLength) return NOT_FOUND;
  const std::span<const std::uint16_t> rest(data() + start, fLength - start + 1);
  const std::uint32_t i = ignoreCase ? indexOf<true>(rest, c) : indexOf<false>(rest, c);
  return i == NOT_FOUND ? i : start + i;
}

std::uint32_t String::locateLast(std::uint16_t c, bool ignoreCase) const {
  return ignoreCase ? lastIndexOf<true>(units(), c) : lastIndexOf<false>(units(), c);
}

std::uint16_t* String::find(const std::uint16_t* s, bool ignoreCase) const { return findNext(s, data(), ignoreCase); }

std::uint16_t* String::find(const String& s, bool ignoreCase) const { return find(s.data(), ignoreCase); }

std::uint16_t* String::findNext(const std::uint16_t* s, const std::uint16_t* from, bool ignoreCase) const {
  if (from < data() || from > data() + fLength) return nullptr;
  if (s == nullptr || *s == 0) return nullptr;
  const std::size_t n = fLength - static_cast<std::size_t>(from - data()), m = string_length(s);
  return const_cast<std::uint16_t*>(ignoreCase ? findPart<true>(from, n, s, m) : findPart<false>(from, n, s, m));
}

std::uint16_t* String::findNext(const String& s, const std::uint16_t* from, bool ignoreCase) const {
  return findNext(s.data(), from, ignoreCase);
}

void String::toUpper() { mapCase<UpperCase>(data(), fLength); }

void String::toLower() { mapCase<LowerCase>(data(), fLength); }

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
