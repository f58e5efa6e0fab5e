#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>

#include "zqcore27/strings/nat_string.h"
#include "zqcore27/strings/string.h"
#include "zqcore27/strings/wide_string.h"

inline namespace zqcore27 {

/// Why a format and its arguments don't go together.
enum class FormatFault : std::uint8_t {
  NONE,
  BAD_DIRECTIVE,       ///< One that doesn't exist, or that the end of the format cuts off.
  TOO_FEW_ARGUMENTS,   ///< Fewer than the directives and their asterisks take.
  TOO_MANY_ARGUMENTS,  ///< More than the directives and their asterisks take.
  WRONG_ARGUMENT,      ///< Of another kind or size than its directive takes, or an array that its text runs out of.
  NO_ROOM              ///< scan: a text without a width, or with one that its array has no room for.
};

/// One argument, as far as a format can tell.
struct FormatArgument {
  /// NARROW_TEXT is a pointer to `char`, NATIVE_TEXT a NatString; CHARACTERS is where scan stores text.
  enum Kind : std::uint8_t {
    OTHER,
    SIGNED,
    UNSIGNED,
    FLOATING,
    WIDE_TEXT,
    NARROW_TEXT,
    NATIVE_TEXT,
    NULL_TEXT,
    COUNT,
    CHARACTERS
  };

  Kind kind = OTHER;
  std::size_t bytes = 0;   ///< Of a number, or of an array of characters.
  bool terminated = true;  ///< Not an array without a zero.
  bool counted = true;     ///< Not an array with fewer bytes than its first one counts.

  /// A number of at most `most` bytes, of either sign.
  constexpr bool integer(std::size_t most) const { return (kind == SIGNED || kind == UNSIGNED) && bytes <= most; }
  constexpr bool unsignedInteger(std::size_t most) const { return kind == UNSIGNED && bytes <= most; }
  /// A number whose values all lie in signed 32 bits.
  constexpr bool signedInteger() const { return integer(4) && (kind == SIGNED || bytes < 4); }
  constexpr bool is(Kind wanted, std::size_t size) const { return kind == wanted && bytes == size; }

  /// A value passed to build. Enumerations are no numbers: which size they have is easily overlooked.
  template <class T>
  static consteval FormatArgument value() {
    using Value = std::decay_t<T>;
    using Pointed = std::remove_pointer_t<Value>;
    using Character = std::remove_cv_t<Pointed>;
    if constexpr (std::same_as<Value, std::nullptr_t>) return {NULL_TEXT, 0};
    if constexpr (std::derived_from<Value, String> || std::derived_from<Value, WideString>) return {WIDE_TEXT, 0};
    if constexpr (std::derived_from<Value, NatString>) return {NATIVE_TEXT, 0};
    if constexpr (std::is_pointer_v<Value>) {
      if constexpr (std::same_as<Character, std::uint16_t> || std::same_as<Character, char16_t>) return {WIDE_TEXT, 0};
      if constexpr (std::same_as<Character, char>) return {NARROW_TEXT, 0};
      // An array may be a constant one, which its deduced type doesn't show.
      if constexpr (std::same_as<Pointed, std::int32_t> && !std::is_array_v<T>) return {COUNT, 0};
    }
    return number<Value>();
  }

  /// The same with a look at what an array holds; what a pointer points to has no end that could be told.
  template <class T>
  static constexpr FormatArgument value(const T& passed) {
    FormatArgument argument = value<T>();
    if constexpr (std::is_bounded_array_v<T>) {
      constexpr Kind kind = value<T>().kind;
      if constexpr (kind == WIDE_TEXT || kind == NARROW_TEXT) {
        argument.terminated = std::ranges::find(passed, 0) != std::ranges::end(passed);
      }
      if constexpr (kind == NARROW_TEXT) {
        const auto length = static_cast<signed char>(passed[0]);  // below 0 nothing is taken
        argument.counted = length < 0 || static_cast<std::size_t>(length) < std::extent_v<T>;
      }
    }
    return argument;
  }

  /// A place that scan stores to.
  template <class T>
  static consteval FormatArgument target() {
    if constexpr (std::is_bounded_array_v<T> && std::same_as<std::remove_extent_t<T>, char>) {
      return {CHARACTERS, std::extent_v<T>};
    }
    if constexpr (std::same_as<T, char>) return {CHARACTERS, 1};
    return number<T>();
  }

 private:
  template <class T>
  static consteval FormatArgument number() {
    if constexpr (std::same_as<T, std::remove_cv_t<T>>) {
      if constexpr (std::integral<T>) return {std::signed_integral<T> ? SIGNED : UNSIGNED, sizeof(T)};
      // Other types of the kind aren't widened to double where they are passed.
      if constexpr (std::same_as<T, float> || std::same_as<T, double>) return {FLOATING, sizeof(T)};
    }
    return {};
  }
};

/// Walks a format beside the types of its arguments, before anything is built or scanned. One object serves one call
/// of one of the two operations. Requires: the format isn't null. Threads: any.
class FormatCheck {
 public:
  constexpr FormatCheck(const char* format, std::span<const FormatArgument> arguments)
      : fAt(format), fArguments(arguments) {}

  /// The first fault of a format of String::build.
  constexpr FormatFault build() { return walk(&FormatCheck::build_directive); }
  /// The first fault of a format of String::scan.
  constexpr FormatFault scan() { return walk(&FormatCheck::scan_directive); }

 private:
  constexpr FormatFault walk(void (FormatCheck::*directive)()) {
    while (*fAt != 0 && fFault == FormatFault::NONE) {
      if (*fAt++ == '%') (this->*directive)();
    }
    if (!fArguments.empty()) note(FormatFault::TOO_MANY_ARGUMENTS);
    return fFault;
  }

  constexpr void build_directive() {
    skip("-+ #0");
    number_or_asterisk();
    if (skip_one(".")) number_or_asterisk();
    bool isLong = false, isShort = false, narrow = false;
    for (;; ++fAt) {
      if (*fAt == 'l') {
        isLong = true;
      } else if (*fAt == 'h') {
        isShort = true;
      } else if (*fAt == 'N' || *fAt == 'L') {
        narrow = true;
      } else {
        break;
      }
    }
    switch (conversion("%disuoxXbpcPeEfgGn")) {
      case 0:
      case '%':
        return;
      case 'd':
      case 'i':
        return demand(next().signedInteger());
      case 'u':
        return demand(next().unsignedInteger(isLong ? 4 : 2));
      case 'p':
        return demand(next().integer(isLong || !isShort ? 4 : 2));
      case 'c':
        return demand(next().integer(2));
      case 's':
        return demand(is_text(next(), narrow));
      case 'P':
        return demand(is_counted(next()));
      case 'n':
        return demand(next().kind == FormatArgument::COUNT);
      case 'o':
      case 'x':
      case 'X':
      case 'b':
        return demand(next().integer(isLong ? 4 : 2));
      default:
        return demand(is_real(next(), sizeof(double)));
    }
  }

  constexpr void scan_directive() {
    const bool suppressed = skip_one("*");
    const std::size_t width = number();
    const bool isShort = *fAt == 'h', isLong = *fAt == 'l' || *fAt == 'L';
    skip_one("hlL");
    const char directive = conversion("%diuoxXpbsSc[eEfgGn");
    if (directive == '[') skip_set();
    if (directive == 0 || directive == '%' || suppressed) return;
    const FormatArgument target = next();
    const std::size_t size = isShort ? 2 : 4;
    switch (directive) {
      case 'd':
      case 'i':
        return demand(target.is(FormatArgument::SIGNED, size));
      case 'u':
        return demand(target.is(FormatArgument::UNSIGNED, size));
      case 'o':
      case 'x':
      case 'X':
      case 'p':
      case 'b':
        return demand(target.integer(size) && target.bytes == size);
      case 'n':
        return demand(target.is(FormatArgument::SIGNED, 4));
      case 'c':
        return demand_room(target, width != 0 ? width : 1);
      case 's':
      case 'S':
      case '[':
        return demand_room(target, width != 0 ? width + 1 : UNBOUNDED);
      default:
        return demand(target.is(FormatArgument::FLOATING, isLong ? sizeof(double) : sizeof(float)));
    }
  }

  static constexpr std::size_t UNBOUNDED = static_cast<std::size_t>(-1);

  static constexpr bool is_text(FormatArgument a, bool narrow) {
    if (!a.terminated) return false;
    if (a.kind == FormatArgument::NULL_TEXT) return true;
    if (!narrow) return a.kind == FormatArgument::WIDE_TEXT;
    return a.kind == FormatArgument::NARROW_TEXT || a.kind == FormatArgument::NATIVE_TEXT;
  }
  static constexpr bool is_counted(FormatArgument a) { return a.kind == FormatArgument::NARROW_TEXT && a.counted; }
  static constexpr bool is_real(FormatArgument a, std::size_t most) {
    return a.kind == FormatArgument::FLOATING && a.bytes <= most;
  }

  /// The first fault counts.
  constexpr void note(FormatFault fault) {
    if (fFault == FormatFault::NONE) fFault = fault;
  }
  constexpr void demand(bool fits) {
    if (!fits) note(FormatFault::WRONG_ARGUMENT);
  }
  constexpr void demand_room(FormatArgument target, std::size_t characters) {
    demand(target.kind == FormatArgument::CHARACTERS);
    if (characters > target.bytes) note(FormatFault::NO_ROOM);
  }
  constexpr FormatArgument next() {
    if (fArguments.empty()) {
      note(FormatFault::TOO_FEW_ARGUMENTS);
      return {};
    }
    const FormatArgument argument = fArguments.front();
    fArguments = fArguments.subspan(1);
    return argument;
  }

  constexpr bool skip_one(std::string_view characters) {
    const bool found = *fAt != 0 && characters.find(*fAt) != characters.npos;
    if (found) ++fAt;
    return found;
  }
  constexpr void skip(std::string_view characters) {
    while (skip_one(characters)) {
    }
  }
  /// A run of digits, empty for 0. Where it would not fit it stays at a number too large for any array.
  constexpr std::size_t number() {
    std::size_t n = 0;
    for (; *fAt >= '0' && *fAt <= '9'; ++fAt) {
      if (n < 0x7FFFFFFF / 10) {
        n = n * 10 + static_cast<std::size_t>(*fAt - '0');
      } else {
        n = 0x7FFFFFFF;
      }
    }
    return n;
  }
  constexpr void number_or_asterisk() {
    if (skip_one("*")) return demand(next().signedInteger());
    number();
  }
  /// The character at hand if it is one of `known`, else 0, which is a fault.
  constexpr char conversion(std::string_view known) {
    const char c = *fAt;
    if (skip_one(known)) return c;
    note(FormatFault::BAD_DIRECTIVE);
    return 0;
  }
  /// The first member of a set is taken as it stands, a closing bracket too.
  constexpr void skip_set() {
    skip_one("^");
    if (*fAt != 0) ++fAt;
    while (*fAt != 0 && *fAt != ']') ++fAt;
    if (!skip_one("]")) note(FormatFault::BAD_DIRECTIVE);
  }

  const char* fAt;                             // in the format, not yet read
  std::span<const FormatArgument> fArguments;  // not yet taken
  FormatFault fFault = FormatFault::NONE;
};

}  // namespace zqcore27
