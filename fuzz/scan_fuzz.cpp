// Any scan format over any text, into blocks that end where the text would.

#include <algorithm>
#include <array>
#include <cctype>

#include "fuzz/support/fuzz.h"
#include "zqcore27/strings/string.h"

namespace {

using fuzz::require;

constexpr std::size_t MAX_VALUES = 8;

struct Result {
  std::int32_t stored;
  std::array<std::vector<char>, MAX_VALUES> values;

  bool operator==(const Result&) const = default;
};

Result scan(const String& text, const char* format) {
  Result r;
  for (auto& v : r.values) v.assign(std::max<std::size_t>(text.size() + 1, sizeof(double)), '\x5A');
  String copy(text);
  const auto at = [&](std::size_t i) { return r.values[i].data(); };
  r.stored = copy.scan(format, at(0), at(1), at(2), at(3), at(4), at(5), at(6), at(7));
  require(std::ranges::equal(copy.units(), text.units()), "a scan leaves the text as it was");
  return r;
}

/// One integer directive by itself, read in the simplest way. Nothing if the format isn't one.
void checkInteger(const std::string& format, std::string_view text, const Result& r) {
  if (format.size() != 2 || format[0] != '%') return;
  const char c = format[1];
  const int radix = c == 'd' || c == 'u' ? 10 : c == 'o' ? 8 : c == 'b' ? 2 : c == 'x' || c == 'X' || c == 'p' ? 16 : 0;
  if (radix == 0) return;
  std::size_t i = 0;
  while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i])) != 0) ++i;
  bool negative = false;
  if (c != 'u' && i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
  std::uint32_t value = 0;
  const std::size_t first = i;
  for (; i < text.size() && std::isxdigit(static_cast<unsigned char>(text[i])) != 0; ++i) {
    const int digit = text[i] <= '9' ? text[i] - '0' : (text[i] | 0x20) - 'a' + 10;
    if (digit >= radix) break;
    value = value * static_cast<std::uint32_t>(radix) + static_cast<std::uint32_t>(digit);
  }
  const bool ended = i == text.size();
  require(r.stored == (i != first ? 1 : ended ? -1 : 0), "the scan counts an integer");
  if (i == first) return;
  std::uint32_t stored;
  std::memcpy(&stored, r.values[0].data(), 4);
  require(stored == (negative ? 0 - value : value), "the scan reads an integer modulo 2^32");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input in(data, size);
  const std::vector<char> format = fuzz::terminated(in.upTo('~'));
  if (std::ranges::count(format, '%') > static_cast<std::ptrdiff_t>(MAX_VALUES)) return 0;
  const std::string_view bytes = in.rest();
  std::u16string units(bytes.begin(), bytes.end());  // bytes above 0x7F become units 0xFF80 and up
  const Result r = scan(String(units), format.data());
  require(r.stored >= -1 && r.stored <= static_cast<std::int32_t>(MAX_VALUES), "a scan tells the values stored");
  for (char16_t& u : units) u = static_cast<char16_t>((u & 0xFF) | 0x4200);
  require(scan(String(units), format.data()) == r, "only the low byte of a unit counts");

  const std::string_view text = bytes.substr(0, bytes.find('\0'));
  checkInteger(format.data(), text, r);
  return 0;
}
