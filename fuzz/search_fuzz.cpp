// Searches and changes of a text, beside a plain std::u16string that goes through the same.

#include <algorithm>

#include "fuzz/support/fuzz.h"
#include "zqcore27/strings/string.h"

namespace {

using fuzz::require;
using Text = std::u16string;

char16_t folded(char16_t c, bool ignoreCase) { return ignoreCase ? String::chrToUpper(c) : c; }
Text untilZero(const Text& t) { return t.substr(0, t.find(u'\0')); }
bool same(const String& s, const Text& t) { return std::ranges::equal(s.units(), t) && s.begin()[s.size()] == 0; }

/// Index of the first occurrence of `s` in `t` from `from`, or npos.
std::size_t find(const Text& t, const Text& s, std::size_t from, bool ignoreCase) {
  const Text text = from <= t.size() ? untilZero(t.substr(from)) : Text();
  if (s.empty()) return Text::npos;
  const auto at = std::search(text.begin(), text.end(), s.begin(), s.end(),
                              [&](char16_t x, char16_t y) { return folded(x, ignoreCase) == folded(y, ignoreCase); });
  return at == text.end() ? Text::npos : from + static_cast<std::size_t>(at - text.begin());
}

void checkSearches(const String& s, const Text& t, const Text& other, std::size_t from, bool ignoreCase) {
  const char16_t c = other.empty() ? u'\0' : other.front();
  const auto matches = [&](char16_t u) { return folded(u, ignoreCase) == folded(c, ignoreCase); };
  std::size_t next = from;
  while (next < t.size() && !matches(t[next])) ++next;
  const bool found = from < t.size() && (next < t.size() || folded(c, ignoreCase) == 0);
  require(s.locateNext(c, static_cast<unsigned>(from), ignoreCase) == (found ? next : String::NOT_FOUND),
          "locateNext finds the first match");
  std::size_t last = t.size();
  while (last != 0 && !matches(t[last - 1])) --last;
  require(s.locateLast(c, ignoreCase) == (last != 0 ? last - 1 : String::NOT_FOUND), "locateLast finds the last match");

  const Text wanted = untilZero(other);
  const std::size_t at = find(t, wanted, from, ignoreCase);
  const std::uint16_t* p = s.findNext(String(other), s.begin() + from, ignoreCase);
  require(from > t.size() || p == (at == Text::npos ? nullptr : s.begin() + at), "findNext finds the first occurrence");
  require(s.find(String(other).begin(), ignoreCase) == s.findNext(String(other), s.begin(), ignoreCase),
          "find is findNext from the start");

  const String o(other);
  const std::int32_t order = o.compare(s.begin(), o.begin(), ignoreCase);
  const Text a = untilZero(t) + u'\0';
  const Text b = wanted + u'\0';
  const auto [x, y] = std::ranges::mismatch(
      a, b, [&](char16_t u, char16_t v) { return u == v || folded(u, ignoreCase) == folded(v, ignoreCase); });
  require(order == (x == a.end() || y == b.end() ? 0 : *y - *x), "compare is second minus first where they differ");
  const bool equal = o.compare(s.begin(), o.begin(), true) == 0;
  require((s == o) == equal && (!equal || StringHash()(s) == StringHash()(o)), "equal texts have equal hashes");
  require(!(StringLess()(s, o) && StringLess()(o, s)) && (StringLess()(s, o) || StringLess()(o, s)) == !equal,
          "the order of containers agrees with equality");
}

/// replace as it is described, on plain text. The number of replacements.
int replace(Text& t, const Text& from, const Text& to) {
  Text out;
  int count = 0;
  for (std::size_t i = 0; i < t.size();) {
    const bool hit = !from.empty() && t.compare(i, from.size(), from) == 0;
    if (hit) out += to;
    if (!hit && t[i] != 0) out += t[i];
    count += hit ? 1 : 0;
    i += hit ? from.size() : 1;
  }
  if (count != 0) t = out;
  return count;
}

void change(fuzz::Input& in, String& s, Text& t, const Text& a, const Text& b) {
  const std::size_t n = in.below(16);
  switch (in.below(10)) {
    case 0:
      return require(s.replace(String(a), String(b)) == replace(t, a, b), "replace counts");
    case 1:
      return require(s.replace(s, String(b)) == replace(t, Text(t), b), "a text can be replaced in itself");
    case 2:
      return require(s.replace(String(a), s) == replace(t, a, Text(t)), "a text can be put into itself");
    case 3:
      s.replaceChars(a.empty() ? u'a' : a[0], b.empty() ? u'b' : b[0]);
      return std::replace(t.begin(), t.end(), a.empty() ? u'a' : a[0], b.empty() ? u'b' : b[0]);
    case 4:
      s.toUpper();
      for (char16_t& c : t) c = String::chrToUpper(c);
      return;
    case 5:
      s.toLower();
      for (char16_t& c : t) c = String::chrToLower(c);
      return;
    case 6:
      s.fill(static_cast<unsigned>(n), n < 12 ? u'x' : u'\0');
      t = n < 12 ? Text(n, u'x') : Text();
      return;
    case 7:
      s += s;
      t += t;
      return;
    case 8:
      s = s.begin() + std::min<std::size_t>(n, s.size());
      t = untilZero(t.substr(std::min(n, t.size())));
      return;
    default:
      s += a.c_str();
      t += untilZero(a);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input in(data, size);
  const std::string_view steps = in.upTo('~').substr(0, 16);
  Text t = fuzz::unitsOf(in.upTo('~'));
  const Text a = fuzz::unitsOf(in.upTo('~'));
  const Text b = fuzz::unitsOf(in.upTo('~'));
  String s(t);
  for (fuzz::Input step(reinterpret_cast<const std::uint8_t*>(steps.data()), steps.size()); !step.empty();) {
    checkSearches(s, t, a, step.below(16), step.below(2) != 0);
    if (t.size() < 2000) change(step, s, t, a, b);
    require(same(s, t), "the text is the plain text");
    const auto blank = [](char16_t c) { return c == 0 || c == 9 || c == 10 || c == 13 || c == 32; };
    require(s.isBlank() == std::ranges::all_of(t, blank), "blank text is blank");
    require(s.isNumber() == std::ranges::all_of(t, [](char16_t c) { return c >= '0' && c <= '9'; }), "digits only");
  }
  return 0;
}
