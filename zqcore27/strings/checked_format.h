#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <type_traits>

#include "zqcore27/platform/export.h"
#include "zqcore27/strings/format_check.h"
#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

// String::build and String::scan take what their format says. Here the format is held to what was passed: a literal
// while the call is compiled, any other format, as a RuntimeFormat, when the call is made.
//
//   directive           build takes                                   scan stores to
//   d i                 an integer whose values fit signed 32 bits    signed 32 bits, with h 16
//   u                   unsigned 16 bits or less, with l 32           unsigned 32 bits, with h 16
//   o x X b             any integer of 16 bits or less, with l 32     any 32 bits, with h 16
//   p                   any integer of 32 bits or less, with h 16     as x
//   c                   any integer of 16 bits or less                char, or char[n] for n characters
//   s                   String, WideString, const uint16_t*,          char[n]; a width below n is a must
//                       const char16_t*
//   s with N or L       NatString, const char*                        -
//   P                   const char*                                   -
//   S [                 -                                             as s
//   e E f g G           float, double                                 float, with l or L double
//   n                   std::int32_t*                                 signed 32 bits
//   * (width, precision) as d                                         takes nothing
//
// nullptr is a text for s. An enumeration is no integer, a `long` of 64 bits fits nothing, and nothing may be left
// over. A set of scan without its closing bracket is refused.

/// A format that isn't known before the program runs; the check is made when it meets the arguments. Zero-terminated,
/// null for an empty one; it must outlive the call.
struct RuntimeFormat {
  explicit constexpr RuntimeFormat(const char* format) : text(format != nullptr ? format : "") {}
  const char* text;
};

/// Throws StringError 0xC200011A (BAD_FORMAT), fatal, with the format as its insert, U+FFFD in place of what isn't
/// ASCII. Requires: the format isn't null. Threads: any.
[[noreturn]] ZQCORE27_EXPORT void refuseFormat(const char* format);

/// Not a constant for any fault, so that the compiler shows the line of that fault.
consteval void demandFit(FormatFault fault) {
  if (fault == FormatFault::BAD_DIRECTIVE) throw "the format has a directive that doesn't exist, or that is cut off";
  if (fault == FormatFault::TOO_FEW_ARGUMENTS) throw "the format takes more arguments than are passed";
  if (fault == FormatFault::TOO_MANY_ARGUMENTS) throw "the format takes fewer arguments than are passed";
  if (fault == FormatFault::WRONG_ARGUMENT) throw "an argument isn't of the kind and size that its directive takes";
  if (fault == FormatFault::NO_ROOM) throw "a text is scanned without a width, or with one too large for its array";
}

/// A format of String::build that fits values of these types. Threads: any.
template <class... Values>
class BuildFormat {
 public:
  /// Compiles for a constant that fits, and for nothing else.
  consteval BuildFormat(const char* format) : fText(format) { demandFit(FormatCheck(format, VALUES).build()); }
  /// Errors: StringError 0xC200011A, fatal, for a format that doesn't fit.
  BuildFormat(RuntimeFormat format) : fText(format.text) {
    if (FormatCheck(fText, VALUES).build() != FormatFault::NONE) refuseFormat(fText);
  }
  const char* text() const { return fText; }

 private:
  static constexpr std::array<FormatArgument, sizeof...(Values)> VALUES{FormatArgument::value<Values>()...};
  const char* fText;
};

/// A format of String::scan that fits places of these types. Threads: any.
template <class... Targets>
class ScanFormat {
 public:
  /// Compiles for a constant that fits, and for nothing else.
  consteval ScanFormat(const char* format) : fText(format) { demandFit(FormatCheck(format, TARGETS).scan()); }
  /// Errors: StringError 0xC200011A, fatal, for a format that doesn't fit.
  ScanFormat(RuntimeFormat format) : fText(format.text) {
    if (FormatCheck(fText, TARGETS).scan() != FormatFault::NONE) refuseFormat(fText);
  }
  const char* text() const { return fText; }

 private:
  static constexpr std::array<FormatArgument, sizeof...(Targets)> TARGETS{FormatArgument::target<Targets>()...};
  const char* fText;
};

/// A value in the form in which String::build reads it.
template <class T>
auto formatValue(const T& value) {
  constexpr FormatArgument::Kind kind = FormatArgument::value<T>().kind;
  if constexpr (std::is_class_v<T> && (kind == FormatArgument::WIDE_TEXT || kind == FormatArgument::NATIVE_TEXT)) {
    return value.begin();
  } else if constexpr (kind == FormatArgument::NULL_TEXT) {
    return static_cast<const void*>(nullptr);
  } else {
    return value;
  }
}

/// `text` becomes what String::build makes of the format and the values, which may point into `text`. Errors: as
/// String::build; StringError 0xC200011A, fatal, for a RuntimeFormat that doesn't fit; `text` is then as before.
/// Threads: one at a time for one `text`.
template <class... Values>
void buildChecked(String& text, std::type_identity_t<BuildFormat<Values...>> format, const Values&... values) {
  text.build(format.text(), formatValue(values)...);
}

/// What String::scan stores of `text` in the places, which are named themselves, not by their addresses. Returns the
/// number of values stored, or -1 if the text ended before the first. Errors: StringError 0xC200011A, fatal, for a
/// RuntimeFormat that doesn't fit; nothing is then stored. Threads: any number may scan one text.
template <class... Targets>
std::int32_t scanChecked(const String& text, std::type_identity_t<ScanFormat<Targets...>> format, Targets&... targets) {
  // The operation isn't const, but leaves the text as it is.
  return const_cast<String&>(text).scan(format.text(), static_cast<void*>(std::addressof(targets))...);
}

}  // namespace zqcore27
