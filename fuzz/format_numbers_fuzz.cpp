// Formats of numbers as C knows them too, beside C's own.

#include <cmath>
#include <optional>

#include "fuzz/support/format_arguments.h"
#include "zqcore27/strings/string.h"

namespace {

using fuzz::Argument;
using fuzz::require;

constexpr std::size_t MOST_UNITS = 4000;

/// The format in C's words, as far as both agree: whole numbers, of 16 bits unless the directive says otherwise. A
/// precision counts to 31, and a sign belongs to signed numbers.
std::optional<std::string> inC(const char* f, std::span<const Argument> arguments) {
  std::string out;
  for (std::size_t argument = 0; *f != 0;) {
    out += *f;
    if (static_cast<signed char>(*f) < 0) return std::nullopt;
    if (*f++ != '%') continue;
    bool sign = false, alternate = false, isLong = false;
    for (; *f != 0 && std::strchr(" #+-0", *f) != nullptr; out += *f++) {
      sign |= *f == ' ' || *f == '+';
      alternate |= *f == '#';
    }
    const auto most = [&](long limit) {
      const bool passed = *f == '*';
      if (passed && argument == arguments.size()) return false;
      const long n = passed ? arguments[argument++].number : std::strtol(f, nullptr, 10);
      for (bool more = true; *f != 0 && more && (passed || (*f >= '0' && *f <= '9')); more = !passed) out += *f++;
      return n <= limit && n >= -static_cast<long>(MOST_UNITS);
    };
    if (!most(MOST_UNITS)) return std::nullopt;
    if (*f == '.') {
      out += *f++;
      if (!most(31)) return std::nullopt;
    }
    for (; *f != 0 && std::strchr("LNhl", *f) != nullptr; ++f) isLong |= *f == 'l';
    const bool isSigned = *f == 'd' || *f == 'i';
    if (*f == 0 || (!isSigned && (std::strchr("uoxX", *f) == nullptr || sign))) return std::nullopt;
    if (alternate && (isSigned || *f == 'o' || *f == 'u')) return std::nullopt;
    if (!isSigned && !isLong) out += 'h';
    out += *f++;
    ++argument;
  }
  return out;
}

/// The digits behind the point that a format shows which is a single float in exponent form, of no great width.
std::optional<unsigned long> exponentDigits(const char* f) {
  if (*f++ != '%') return std::nullopt;
  f += std::strspn(f, "+-0 ");
  const std::size_t width = std::strspn(f, "0123456789");
  f += width;
  const unsigned long digits = *f == '.' ? std::strtoul(f + 1, nullptr, 10) : 6;
  if (*f == '.') f += 1 + std::strspn(f + 1, "0123456789");
  if (width > 3 || (std::strcmp(f, "e") != 0 && std::strcmp(f, "E") != 0)) return std::nullopt;
  return digits;
}

/// As near to the value as its digits can say. 17 are real, and what would follow them isn't rounded in.
void checkExponentForm(unsigned long digits, double value, const std::string& text) {
  if (!std::isfinite(value) || value == 0) return;
  const long double shown = std::strtold(text.c_str() + text.find_first_not_of(' '), nullptr);
  const long double most = digits < 16 ? 0.50001L * std::pow(10.0L, -static_cast<long double>(digits)) : 1.00001e-16L;
  require(std::fabs(shown / value - 1) <= most, "a float is shown as it is");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input in(data, size);
  std::vector<char> format = fuzz::terminated(in.upTo('~'));
  std::vector<Argument> arguments = fuzz::argumentsOf(format);
  for (Argument& a : arguments) {
    if (a.kind != Argument::INT && a.kind != Argument::DOUBLE) return 0;
    a.kind == Argument::INT ? static_cast<void>(a.number = fuzz::numberOf(in))
                            : static_cast<void>(a.real = in.value<double>());
  }
  const auto c = inC(format.data(), arguments);
  const auto digits = exponentDigits(format.data());
  if (!c && !digits) return 0;
  String s;
  fuzz::pass([&](auto... passed) { s.build(format.data(), passed...); }, arguments);
  const std::string text = s.toUTF8();
  if (digits) checkExponentForm(*digits, arguments[0].real, text);
  if (!c) return 0;
  std::vector<char> expected(fuzz::MAX_ARGUMENTS * MOST_UNITS + c->size() + 100);
  fuzz::pass(
      [&](auto... passed) {
        if constexpr (sizeof...(passed) != 0) {
          std::snprintf(expected.data(), expected.size(), c->c_str(), passed...);
        } else {
          std::strcpy(expected.data(), c->c_str());
        }
      },
      arguments);
  require(text == expected.data(), "both engines say the same");
  return 0;
}
