#pragma once

// The rules of String::build for one directive, in the plainest words.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>

namespace fuzz::plain {

struct Directive {
  std::string flags;
  int width;
  std::optional<int> precision;
  std::string modifiers;
  char conversion;

  bool has(char flag) const { return flags.find(flag) != flags.npos; }
  bool is(char modifier) const { return modifiers.find(modifier) != modifiers.npos; }
  std::string text() const {
    std::string out = "%" + flags;
    if (width != 0) out += std::to_string(width);
    if (precision) out += "." + std::to_string(*precision);
    return out + modifiers + conversion;
  }
};

inline std::string field(const Directive& d, bool zero, const std::string& prefix, const std::string& content) {
  const auto used = static_cast<int>(prefix.size() + content.size());
  const auto pad = static_cast<std::size_t>(std::max(0, d.width - used));
  if (d.has('-')) return prefix + content + std::string(pad, ' ');
  return zero ? prefix + std::string(pad, '0') + content : std::string(pad, ' ') + prefix + content;
}

inline std::string signOf(const Directive& d, bool negative) {
  return negative ? "-" : d.has('+') ? "+" : d.has(' ') ? " " : "";
}

inline std::string integer(const Directive& d, std::uint32_t value) {
  const char c = d.conversion;
  const bool isSigned = c == 'd' || c == 'i', colon = c == 'p' && !d.is('h');
  const bool upper = c == 'X' || c == 'p';
  if (!isSigned && !colon && !d.is('l')) value &= 0xFFFF;
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

inline std::string text(const Directive& d, const std::string& value) {
  const bool cut = d.precision && (d.conversion == 's' || d.conversion == 'P');
  return field(d, d.has('0'), "", cut ? value.substr(0, static_cast<std::size_t>(*d.precision)) : value);
}

struct Digits {
  std::string digits;
  int point;  // from the first digit on
};

/// By the rules as they read, in the widest type's own arithmetic: scaled, cut into digits, half rounded up; 17 digits
/// are real.
inline Digits digitsOf(double number, int n, bool fixed) {
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

inline std::string fixedForm(const Digits& d, int precision, bool alternate) {
  const auto whole = static_cast<std::size_t>(std::max(d.point, 0)),
             behind = static_cast<std::size_t>(std::max(precision, 0));
  std::string out = d.point <= 0 ? "0" : d.digits.substr(0, whole);
  if (precision <= 0 && !alternate) return out;
  const std::string fraction = std::string(static_cast<std::size_t>(std::max(-d.point, 0)), '0') +
                               d.digits.substr(std::min(whole, d.digits.size()));
  return out + "." + fraction.substr(0, behind);
}

inline std::string exponentForm(const Digits& d, int precision, bool alternate, bool zero, char letter) {
  const int exponent = zero ? 0 : d.point - 1;
  std::string out = d.digits.substr(0, 1);
  if (precision > 0 || alternate) out += "." + d.digits.substr(1, static_cast<std::size_t>(precision));
  char end[16];
  std::snprintf(end, sizeof end, "%c%c%03d", letter, exponent < 0 ? '-' : '+', std::abs(exponent));
  return out + end;
}

/// Without zeros at the end of the digits behind the point.
inline std::string trimmed(const std::string& number) {
  const std::size_t end = std::min(number.find_first_of("eE"), number.size());
  if (number.find('.') >= end) return number;
  std::size_t last = end;
  while (number[last - 1] == '0') --last;
  if (number[last - 1] == '.') --last;
  return number.substr(0, last) + number.substr(end);
}

inline std::string generalForm(const Directive& d, double value) {
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

inline std::string real(const Directive& d, double value) {
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

}  // namespace fuzz::plain
