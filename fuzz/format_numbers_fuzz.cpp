// A format of numbers, and directives of all kinds one by one, beside the rules in plain words.

#include <cmath>

#include "fuzz/support/format_arguments.h"
#include "fuzz/support/plain_format.h"
#include "zqcore27/strings/string.h"

namespace {

using fuzz::Argument;
using fuzz::require;
using fuzz::plain::Directive;

/// The plain rules stop at floats that show more than their digits or have no room.
bool isPlain(const Directive& d, const Argument& a) {
  const bool exact = std::isfinite(a.real) && (d.conversion != 'f' || std::fabs(a.real) < 1e10);
  return a.kind == Argument::INT || (exact && d.precision.value_or(0) <= 18);
}
std::string plainField(const Directive& d, const Argument& a) {
  return a.kind == Argument::INT ? fuzz::plain::integer(d, static_cast<std::uint32_t>(a.number))
                                 : fuzz::plain::real(d, a.real);
}

/// The text of a format, or nothing where it has other directives, large widths, or what isn't plain.
std::optional<std::string> plainText(const char* f, std::span<const Argument> arguments) {
  std::string out;
  for (std::size_t next = 0; *f != 0;) {
    if (static_cast<signed char>(*f) < 0) return std::nullopt;
    if (*f++ != '%') {
      out += f[-1];
      continue;
    }
    Directive d{};
    for (; *f != 0 && std::strchr(" #+-0", *f) != nullptr; ++f) d.flags += *f;
    const auto number = [&]() -> std::int64_t {
      if (*f == '*') return ++f, next < arguments.size() ? arguments[next++].number : 0;
      const std::int64_t n = *f >= '0' && *f <= '9' ? std::strtoll(f, nullptr, 10) : 0;
      f += std::strspn(f, "0123456789");
      return n;
    };
    const std::int64_t width = number();
    if (std::abs(width) > 1000) return std::nullopt;
    if (width < 0) d.flags += '-';
    d.width = static_cast<int>(std::abs(width));
    if (*f == '.') {
      const std::int64_t precision = (++f, number());
      if (precision >= 0) d.precision = static_cast<int>(std::min<std::int64_t>(precision, 1000));
    }
    for (; *f != 0 && std::strchr("LNhl", *f) != nullptr; ++f) d.modifiers += *f;
    d.conversion = *f;
    if (*f == 0 || std::strchr("%diuoxXbpeEfgG", *f++) == nullptr) return std::nullopt;
    if (d.conversion == '%') {
      out += fuzz::plain::text(d, "%");
      continue;
    }
    if (next == arguments.size() || !isPlain(d, arguments[next])) return std::nullopt;
    out += plainField(d, arguments[next++]);
  }
  return out;
}

/// Any bits; or a number from 1/16 to below 16, perhaps of a few bits.
double realOf(fuzz::Input& in) {
  const std::uint32_t choice = in.below(4);
  const auto any = in.value<double>();
  if (choice == 0 || !std::isfinite(any)) return any;
  int exponent;
  const double few = std::ldexp(std::frexp(any, &exponent), choice == 1 ? 20 : 53);
  return std::ldexp(std::trunc(few), (choice == 1 ? -20 : -53) + exponent % 8 / 2);
}

void checkFormat(const std::vector<char>& format, std::span<const Argument> arguments, const std::string& expected) {
  String s;
  fuzz::pass([&](auto... passed) { s.build(format.data(), passed...); }, arguments);
  require(s.toUTF8() == expected, "both engines say the same");
}

void checkDirective(fuzz::Input& in) {
  Directive d{};
  const std::uint8_t flags = in.byte(), conversion = in.byte();
  for (int i = 0; i < 5; ++i) d.flags += (flags >> i & 1) != 0 ? std::string(1, "-+ #0"[i]) : "";
  d.width = static_cast<int>(in.below(4) * in.below(11));
  if (const std::uint32_t precision = in.below(24); precision < 19) d.precision = static_cast<int>(precision);
  d.modifiers = std::string(conversion >> 7, "lhLN"[flags >> 6]);
  d.conversion = "diuoxXbpeEfgGeg"[conversion % 15];
  Argument a{conversion % 15 < 8 ? Argument::INT : Argument::DOUBLE};
  a.kind == Argument::INT ? static_cast<void>(a.number = in.value<std::int32_t>() >> in.below(32))
                          : static_cast<void>(a.real = realOf(in));
  if (isPlain(d, a)) checkFormat(fuzz::terminated(d.text()), {&a, 1}, plainField(d, a));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input in(data, size);
  std::vector<char> format = fuzz::terminated(in.upTo('~'));
  std::vector<Argument> arguments = fuzz::argumentsOf(format);
  bool numbers = true;
  for (Argument& a : arguments) {
    numbers = numbers && (a.kind == Argument::INT || a.kind == Argument::DOUBLE);
    a.kind == Argument::INT ? static_cast<void>(a.number = fuzz::numberOf(in)) : static_cast<void>(a.real = realOf(in));
  }
  if (const auto expected = plainText(format.data(), arguments); numbers && expected) {
    checkFormat(format, arguments, *expected);
  }
  while (!in.empty()) checkDirective(in);
  return 0;
}
