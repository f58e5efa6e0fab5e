// Every combination of flags, widths, precisions, modifiers and conversions, beside an engine that says the rules in
// the plainest words, and the runtime's where both have the same rule.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>
#include <random>
#include <string>

#include "tests/exhaustive/exhaustive.h"
#include "tests/support/text.h"

namespace {

struct Directive {
  std::string flags;
  int width;
  std::optional<int> precision;
  char modifier, conversion;

  bool has(char flag) const { return flags.find(flag) != flags.npos; }
  std::string text() const {
    std::string out = "%" + flags;
    if (width != 0) out += std::to_string(width);
    if (precision) out += "." + std::to_string(*precision);
    if (modifier != ' ') out += modifier;
    return out + conversion;
  }
};

std::string field(const Directive& d, bool zero, const std::string& prefix, const std::string& content) {
  const auto used = static_cast<int>(prefix.size() + content.size());
  const auto pad = static_cast<std::size_t>(std::max(0, d.width - used));
  if (d.has('-')) return prefix + content + std::string(pad, ' ');
  return zero ? prefix + std::string(pad, '0') + content : std::string(pad, ' ') + prefix + content;
}

std::string signOf(const Directive& d, bool negative) {
  return negative ? "-" : d.has('+') ? "+" : d.has(' ') ? " " : "";
}

std::string integer(const Directive& d, std::uint32_t value) {
  const char c = d.conversion;
  const bool isSigned = c == 'd' || c == 'i', colon = c == 'p' && d.modifier != 'h';
  const bool upper = c == 'X' || c == 'p';
  if (!isSigned && !colon && d.modifier != 'l') value &= 0xFFFF;
  std::string prefix;
  if (isSigned) prefix = signOf(d, value >> 31 != 0);
  if (isSigned && value >> 31 != 0) value = 0 - value;
  if (d.has('#') && c == 'o') prefix = "0";
  if (d.has('#') && value != 0 && (c == 'x' || upper)) prefix = upper ? "0X" : "0x";
  const std::uint32_t radix = isSigned || c == 'u' ? 10 : c == 'o' ? 8 : c == 'b' ? 2 : 16;
  const auto least = static_cast<std::size_t>(std::min(31, d.precision.value_or(c != 'p' ? 0 : colon ? 13 : 8)));
  std::string digits;  // backwards
  const auto add = [&](char digit) {
    digits += colon && digits.size() == 8 ? std::string(":") + digit : std::string(1, digit);
  };
  if (value == 0 && d.precision != 0) add('0');
  const char* const figures = upper ? "0123456789ABCDEF" : "0123456789abcdef";
  for (; value != 0; value /= radix) add(figures[value % radix]);
  while (digits.size() < least) digits += colon && digits.size() == 8 ? ':' : '0';
  std::ranges::reverse(digits);
  return field(d, c == 'p' || (d.has('0') && !d.precision), prefix, digits);
}

std::string text(const Directive& d, const std::string& value) {
  const bool cut = d.precision && (d.conversion == 's' || d.conversion == 'P');
  return field(d, d.has('0'), "", cut ? value.substr(0, static_cast<std::size_t>(*d.precision)) : value);
}

struct Digits {
  std::string digits;
  int point;  // from the first digit on
};

/// By the rules as they read, in the widest type's own arithmetic: scaled, cut into digits, half rounded up; 17 digits
/// are real.
Digits digitsOf(double number, int n, bool fixed) {
  static constexpr struct {
    long double threshold, raise, lower;
    int step;
  } SCALES[] = {{1e-128L, 1e256L, 1e-256L, 256}, {1e-64L, 1e128L, 1e-128L, 128}, {1e-32L, 1e64L, 1e-64L, 64},
                {1e-16L, 1e32L, 1e-32L, 32},     {1e-8L, 1e16L, 1e-16L, 16},     {1e-4L, 1e8L, 1e-8L, 8},
                {1e-2L, 1e4L, 1e-4L, 4},         {1e-1L, 1e2L, 1e-2L, 2},        {1.0L, 1e1L, 1e-1L, 1}};
  n = std::clamp(n, 0, 30);
  if (number == 0) return {std::string(static_cast<std::size_t>(n), '0'), 0};
  long double value = std::fabs(number);
  int point = 1;
  for (const auto& scale : SCALES) {
    for (; value < 1 && value < scale.threshold; value *= scale.raise) point -= scale.step;
  }
  for (const auto& scale : SCALES) {
    for (; value >= scale.raise; value *= scale.lower) point += scale.step;
  }
  if (fixed) n = std::clamp(n + point, 0, 30);
  std::string digits;
  for (int i = 0; i <= n; ++i) {
    const int digit = i < 17 ? static_cast<int>(value) : 0;
    digits += static_cast<char>('0' + digit);
    value = (value - digit) * 10;
  }
  const bool up = digits.back() >= '5';
  digits.pop_back();
  if (!up) return {digits, point};
  std::size_t i = digits.size();
  for (; i > 0 && digits[i - 1] == '9'; --i) digits[i - 1] = '0';
  if (i > 0) {
    ++digits[i - 1];
    return {digits, point};
  }
  digits.insert(0, "1");
  if (!fixed) digits.pop_back();
  return {digits, point + 1};
}

std::string fixedForm(const Digits& d, int precision, bool alternate) {
  const auto whole = static_cast<std::size_t>(std::max(d.point, 0)),
             behind = static_cast<std::size_t>(std::max(precision, 0));
  std::string out = d.point <= 0 ? "0" : d.digits.substr(0, whole);
  if (precision <= 0 && !alternate) return out;
  const std::string fraction = std::string(static_cast<std::size_t>(std::max(-d.point, 0)), '0') +
                               d.digits.substr(std::min(whole, d.digits.size()));
  return out + "." + fraction.substr(0, behind);
}

std::string exponentForm(const Digits& d, int precision, bool alternate, bool zero, char letter) {
  const int exponent = zero ? 0 : d.point - 1;
  std::string out = d.digits.substr(0, 1);
  if (precision > 0 || alternate) out += "." + d.digits.substr(1, static_cast<std::size_t>(precision));
  char end[16];
  std::snprintf(end, sizeof end, "%c%c%03d", letter, exponent < 0 ? '-' : '+', std::abs(exponent));
  return out + end;
}

/// Without zeros at the end of the digits behind the point.
std::string trimmed(const std::string& number) {
  const std::size_t end = std::min(number.find_first_of("eE"), number.size());
  if (number.find('.') >= end) return number;
  std::size_t last = end;
  while (number[last - 1] == '0') --last;
  if (number[last - 1] == '.') --last;
  return number.substr(0, last) + number.substr(end);
}

std::string generalForm(const Directive& d, double value) {
  int precision = d.precision.value_or(6);
  const Digits digits = digitsOf(value, std::max(precision, 1), false);
  std::string out;
  if (digits.point >= -3 && digits.point <= precision) {
    out = fixedForm(digits, precision - digits.point, d.has('#'));
  } else {
    if (precision == 0) return digits.digits.substr(0, 1) + (d.has('#') ? "." : "");
    if (precision > 1) --precision;
    const bool bare = precision == 1 && !d.has('#') && d.width == 0;
    out = exponentForm(digits, bare ? 0 : precision, d.has('#'), value == 0, d.conversion == 'g' ? 'e' : 'E');
  }
  return d.has('#') ? out : trimmed(out);
}

std::string real(const Directive& d, double value) {
  const int precision = d.precision.value_or(6);
  std::string content;
  if (d.conversion == 'f') {
    content = fixedForm(digitsOf(value, precision, true), precision, d.has('#'));
  } else if (d.conversion == 'e' || d.conversion == 'E') {
    content = exponentForm(digitsOf(value, precision + 1, false), precision, d.has('#'), value == 0, d.conversion);
  } else {
    content = generalForm(d, value);
  }
  return field(d, d.has('0'), signOf(d, value < 0), content);
}

/// Calls `use` with every combination, or with some.
template <class Use>
void everyDirective(const std::string& modifiers, const std::string& conversions, std::initializer_list<int> precisions,
                    Use use) {
  std::uint32_t turn = 0;
  for (unsigned set = 0; set < 32; ++set) {
    std::string flags;
    for (unsigned i = 0; i < 5; ++i) flags += set >> i & 1 ? std::string(1, "-+ #0"[i]) : "";
    for (const int width : {0, 1, 7, 40}) {
      for (const int precision : precisions) {
        for (const char modifier : modifiers) {
          for (const char conversion : conversions) {
            if (turn++ % exhaustive(1, 7) != 0) continue;
            use(Directive{flags, width, precision < 0 ? std::nullopt : std::optional(precision), modifier, conversion});
          }
        }
      }
    }
  }
}

template <class Value>
std::string built(const Directive& d, Value value) {
  String out;
  out.build((d.text() + "|").c_str(), value);
  return utf8(out);
}

TEST(ExhaustiveTest, EveryDirectiveOfAWholeNumber) {
  everyDirective(" lhLN", "diuoxXbp", {-1, 0, 1, 2, 9, 14, 31, 40}, [](const Directive& d) {
    for (const std::uint32_t value : {0u, 1u, 9u, 0x2FFFFu, 0x80000000u, 0xFFFFFFD6u, 0x12345678u, 0xFFFFu}) {
      const std::string ours = built(d, static_cast<std::int32_t>(value));
      ASSERT_EQ(ours, integer(d, value) + "|") << d.text() << " of " << value;
      // The runtime has another rule for %b, %p, the zero that # puts before an octal number, and more than 31 digits.
      const bool isSigned = d.conversion == 'd' || d.conversion == 'i';
      if (std::string("bp").find(d.conversion) != std::string::npos || d.precision > 31) continue;
      if ((d.conversion == 'o' && d.has('#')) || (!isSigned && d.modifier != 'l')) continue;
      Directive runtimes = d;
      runtimes.modifier = ' ';
      char theirs[100];
      std::snprintf(theirs, sizeof theirs, (runtimes.text() + "|").c_str(), value);
      ASSERT_EQ(ours, theirs) << d.text() << " of " << value;
    }
  });
}

TEST(ExhaustiveTest, EveryDirectiveOfText) {
  const char16_t wide[] = u"some text";
  everyDirective(" lhLN", "sPc%", {-1, 0, 1, 9, 10, 40}, [&](const Directive& d) {
    const bool narrow = d.modifier == 'L' || d.modifier == 'N';
    const char c = d.conversion;
    const std::string ours = c == 'c'   ? built(d, static_cast<int>('x'))
                             : c == '%' ? built(d, 0)
                             : c == 'P' ? built(d, "\x09some text")
                             : narrow   ? built(d, "some text")
                                        : built(d, wide);
    ASSERT_EQ(ours, text(d, c == 'c' ? "x" : c == '%' ? "%" : "some text") + "|") << d.text();
  });
}

TEST(ExhaustiveTest, EveryDirectiveOfAFloat) {
  everyDirective(" L", "eEfgG", {-1, 0, 1, 2, 3, 6, 9}, [](const Directive& d) {
    for (const double value : {0.0, 1.0, -1.5, 2.5, 0.5, 9.5, 9.9999996, 12345.0, 99999.5, 1e6, -0.015625, 0.0001,
                               0.00001, 0.006, 1.0 / 3, 123456789.0, 1.7e308, 2.3e-308, 5e-324}) {
      if (d.conversion == 'f' && value > 1e10) continue;  // of more digits than there is room for: FormatTest.Floats
      ASSERT_EQ(built(d, value), real(d, value) + "|") << d.text() << " of " << value;
    }
  });
}

TEST(ExhaustiveTest, SomeDirectivesOfAnyNumber) {
  std::mt19937_64 random(7);
  const auto below = [&random](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  for (int i = 0; i < 60000; ++i) {
    Directive d{"", below(2) * below(40), std::nullopt, " lL"[below(3)], "diuoxXbpeeegGf"[below(14)]};
    for (const char flag : {'-', '+', ' ', '#', '0'}) d.flags += below(4) == 0 ? std::string(1, flag) : "";
    if (below(4) != 0) d.precision = below(19);
    // Half of the floats lie from 1/16 to below 16, the others anywhere; a quarter of each have few bits.
    const std::uint64_t bits = random() >> 12 & (i % 8 < 2 ? ~std::uint64_t{0} << below(52) : ~std::uint64_t{0});
    const int exponent = i % 2 != 0 && d.conversion != 'f' ? below(2098) - 1074 : below(8) - 4;
    const double value = std::ldexp((1 + std::ldexp(static_cast<double>(bits), -52)) * (below(2) * 2 - 1), exponent);
    const auto number = static_cast<std::uint32_t>(random() >> 32 >> below(32));
    const bool whole = std::string("diuoxXbp").find(d.conversion) != std::string::npos;
    ASSERT_EQ(whole ? built(d, static_cast<std::int32_t>(number)) : built(d, value),
              (whole ? integer(d, number) : real(d, value)) + "|")
        << d.text() << " of " << (whole ? number : value);
  }
}

}  // namespace
