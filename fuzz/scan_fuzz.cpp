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

/// Scans by both, and compares the results and all that is written.
void compareWithRuntime(const std::string& text, const std::string& format) {
  struct alignas(double) Target : std::array<char, 80> {};
  std::array<Target, 2> ours, theirs;
  for (int i = 0; i < 2; ++i) ours[i].fill('~'), theirs[i].fill('~');
  require(String(text.c_str()).scan(format.c_str(), &ours[0], &ours[1]) ==
              std::sscanf(text.c_str(), format.c_str(), &theirs[0], &theirs[1]),
          "both scans count the same");
  require(ours == theirs, "both scans store the same");
}

/// Numbers where the two agree: digits of the radix behind an opening, room for one of them, 32 bits; 28 where the
/// runtime's own numbers have 32, since it then stops at the largest.
void checkNumbers(fuzz::Input& in) {
  struct Form {
    std::string opening, digits;
    std::size_t least;  // the width that reaches a digit
  };
  static const Form FORMS[] = {
      {"", "123456789", 1}, {"0", "01234567", 1}, {"0x", "0123456789abcdefABCDEF", 3}, {"0X", "0123456789", 3}};
  const Form& form = FORMS[in.below(4)];
  const std::string sign = std::string(1, "+- "[in.below(3)]).substr(0, in.below(2));
  std::string digits = sign + form.opening;
  for (std::size_t n = 1 + in.below(sizeof(long) == 4 ? 7 : 8); n > 0; --n) {
    digits += form.digits[in.below(static_cast<std::uint32_t>(form.digits.size()))];
  }
  const std::size_t taken = sign == " " ? 0 : sign.size();  // a blank is none of the width
  compareWithRuntime(digits + ",", "%" + std::to_string(taken + form.least + in.below(12)) + "i%15[^~]");
  char text[80];
  std::snprintf(text, sizeof text, "%.*e", static_cast<int>(in.below(20)), in.value<double>());
  if (std::strchr(text, 'n') == nullptr) compareWithRuntime(text, "%lf");  // nan is no number alone
  std::snprintf(text, sizeof text, "%d,%x end ", in.value<std::int32_t>(), in.value<std::uint32_t>());
  compareWithRuntime(text, "%d,%x");
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
  for (fuzz::Input numbers(data, size); !numbers.empty();) checkNumbers(numbers);
  return 0;
}
