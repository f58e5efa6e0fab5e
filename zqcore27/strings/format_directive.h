#pragma once

// Internal: the grammar of a format directive, and the arguments that stand behind it.

#include <cstdarg>
#include <cstdint>
#include <type_traits>

inline namespace zqcore27 {

inline constexpr std::int32_t FMT_LEFT = 0x1;        // -, or a negative * width
inline constexpr std::int32_t FMT_PLUS = 0x2;        // +
inline constexpr std::int32_t FMT_SPACE = 0x4;       // blank
inline constexpr std::int32_t FMT_ALT = 0x8;         // #
inline constexpr std::int32_t FMT_LONG = 0x10;       // l, and %p without h
inline constexpr std::int32_t FMT_LDOUBLE = 0x20;    // L
inline constexpr std::int32_t FMT_ZERO = 0x40;       // 0, and %p
inline constexpr std::int32_t FMT_PRECISION = 0x80;  // a precision was given
inline constexpr std::int32_t FMT_UPPER = 0x100;     // %X, %p
inline constexpr std::int32_t FMT_COLON = 0x400;     // %p without h
inline constexpr std::int32_t FMT_SHORT = 0x800;     // h
inline constexpr std::int32_t FMT_G = 0x1000;        // %g, %G
inline constexpr std::int32_t FMT_NARROW = 0x4000;   // the content is 8-bit text

/// The variable arguments of one call, taken one after the other by their type. It walks the list that it is given,
/// which the function that started it still has to end.
class FormatArguments {
 public:
  explicit FormatArguments(std::va_list list) : fList(list) {}
  FormatArguments(const FormatArguments&) = delete;
  FormatArguments& operator=(const FormatArguments&) = delete;

  template <class T>
  T next() {
    return va_arg(fList, T);
  }

 private:
  std::decay_t<std::va_list> fList;  // as a parameter: where the list is an array, a pointer to it
};

/// One directive, as read.
struct Directive {
  std::int32_t flags = 0;
  std::int32_t width = 0;      // 0 to 0x7FFFFFFF units; larger numbers count as 0x7FFFFFFF
  std::int32_t precision = 0;  // likewise; 0 unless FMT_PRECISION is set
  char conversion = 0;

  bool has(std::int32_t flag) const { return (flags & flag) != 0; }
};

/// Reads the directive behind a percent sign, with the arguments that its asterisks ask for. Returns the position
/// behind it, or null for a bad directive: the format ends inside it, or its conversion doesn't exist.
const char* readDirective(const char* format, FormatArguments& arguments, Directive& directive);

}  // namespace zqcore27
