#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <span>
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
//   P                   const char*, a byte of length and its bytes   -
//   S [                 -                                             as s
//   e E f g G           float, double                                 float, with l or L double
//   n                   std::int32_t*                                 signed 32 bits
//   * (width, precision) as d                                         takes nothing
//
// nullptr is a text for s. An enumeration is no integer, a `long` of 64 bits fits nothing, and nothing may be left
// over. A set of scan without its closing bracket is refused. Texts for s end with a zero. Arrays passed to build are
// looked through at the call: one without a zero, or with fewer bytes than P takes of it, is refused, whatever the
// precision; behind a pointer nobody can look. Only float and double are numbers for e E f g G.

/// A format that isn't known before the program runs; the check is made when it meets the arguments. Zero-terminated,
/// null for an empty one; it must outlive the call and stay as it is while the call lasts.
class RuntimeFormat {
 public:
  explicit constexpr RuntimeFormat(const char* format) : fText(format != nullptr ? format : "") {}
  constexpr const char* text() const { return fText; }

 private:
  const char* fText;
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

/// Whether two stretches of memory share a byte.
inline bool overlap(std::span<const std::byte> a, std::span<const std::byte> b) {
  constexpr std::less<const std::byte*> before;
  return before(a.data(), b.data() + b.size()) && before(b.data(), a.data() + a.size());
}

/// A format, terminator included, as memory.
inline std::span<const std::byte> formatBytes(const char* format) {
  return std::as_bytes(std::span(format, std::strlen(format) + 1));
}

/// A format of String::build for values of these types. Threads: any.
template <class... Values>
class BuildFormat {
 public:
  /// Compiles for a constant that fits, and for nothing else.
  consteval BuildFormat(const char* format) : fText(format) { demandFit(FormatCheck(format, VALUES).build()); }
  /// Looks at nothing yet: the text may change until a call.
  BuildFormat(RuntimeFormat format) : fText(format.text()), fKnown(false) {}

  /// The format, when it has been held to the values: one known at run time only as a whole, any other to what arrays
  /// hold. Errors: StringError 0xC200011A, fatal, where it doesn't fit, and where a count would be stored in it.
  const char* text(const Values&... values) const {
    if constexpr ((std::is_array_v<Values> || ...)) {
      demand(FormatArgument::value(values)...);
    } else if (!fKnown) {
      demand(FormatArgument::value(values)...);
    }
    if (!fKnown && (counts_in_format(values) || ...)) refuseFormat(fText);
    return fText;
  }

 private:
  static constexpr std::array<FormatArgument, sizeof...(Values)> VALUES{FormatArgument::value<Values>()...};

  template <class... Arguments>
  void demand(Arguments... passed) const {
    const std::array<FormatArgument, sizeof...(Values)> arguments{passed...};
    if (FormatCheck(fText, arguments).build() != FormatFault::NONE) refuseFormat(fText);
  }
  template <class T>
  bool counts_in_format(const T& value) const {
    if constexpr (FormatArgument::value<T>().kind == FormatArgument::COUNT) {
      return value != nullptr && overlap(std::as_bytes(std::span(value, 1)), formatBytes(fText));
    }
    return false;
  }

  const char* fText;
  bool fKnown = true;  // while the call is compiled
};

/// A format of String::scan for places of these types. Threads: any.
template <class... Targets>
class ScanFormat {
 public:
  /// Compiles for a constant that fits, and for nothing else.
  consteval ScanFormat(const char* format) : fText(format) { demandFit(FormatCheck(format, TARGETS).scan()); }
  /// Looks at nothing yet: the text may change until a call.
  ScanFormat(RuntimeFormat format) : fText(format.text()), fKnown(false) {}

  /// The format, when one known at run time only has been held to the places. Errors: StringError 0xC200011A, fatal,
  /// where it doesn't fit, and where a place lies in it.
  const char* text(const Targets&... targets) const {
    if (!fKnown) {
      if (FormatCheck(fText, TARGETS).scan() != FormatFault::NONE) refuseFormat(fText);
      if ((overlap(std::as_bytes(std::span(std::addressof(targets), 1)), formatBytes(fText)) || ...)) {
        refuseFormat(fText);
      }
    }
    return fText;
  }

 private:
  static constexpr std::array<FormatArgument, sizeof...(Targets)> TARGETS{FormatArgument::target<Targets>()...};
  const char* fText;
  bool fKnown = true;  // while the call is compiled
};

/// A value in the form in which String::build reads it. What a derived class calls begin() isn't asked.
template <class T>
auto formatValue(const T& value) {
  if constexpr (std::derived_from<T, String>) {
    return static_cast<const String&>(value).begin();
  } else if constexpr (std::derived_from<T, WideString>) {
    return static_cast<const WideString&>(value).begin();
  } else if constexpr (std::derived_from<T, NatString>) {
    return static_cast<const NatString&>(value).begin();
  } else if constexpr (FormatArgument::value<T>().kind == FormatArgument::NULL_TEXT) {
    return static_cast<const void*>(nullptr);
  } else {
    return value;
  }
}

/// `text` becomes what String::build makes of the format and the values, which may point into `text`. Errors: as
/// String::build; StringError 0xC200011A, fatal, for what BuildFormat::text refuses; `text` is then as before.
/// Threads: one at a time for one `text`.
template <class... Values>
void buildChecked(String& text, std::type_identity_t<BuildFormat<Values...>> format, const Values&... values) {
  text.build(format.text(values...), formatValue(values)...);
}

/// What String::scan stores of `text` in the places, which are named themselves, not by their addresses. Returns the
/// number of values stored, or -1 if the text ended before the first. Errors: StringError 0xC200011A, fatal, for a
/// RuntimeFormat that doesn't fit, and for a place in the format or in the text itself; nothing is then stored.
/// Threads: any number may scan one text.
template <class... Targets>
std::int32_t scanChecked(const String& text, std::type_identity_t<ScanFormat<Targets...>> format, Targets&... targets) {
  const char* const checked = format.text(targets...);
  const auto scanned = std::as_bytes(std::span(text.begin(), text.end()));
  if ((overlap(std::as_bytes(std::span(std::addressof(targets), 1)), scanned) || ...)) refuseFormat(checked);
  // The operation isn't const, but leaves the text as it is.
  return const_cast<String&>(text).scan(checked, static_cast<void*>(std::addressof(targets))...);
}

}  // namespace zqcore27
