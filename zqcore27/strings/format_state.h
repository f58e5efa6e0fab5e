#pragma once

// Internal: the working record of one String::build.

#include <cstdint>

#include "zqcore27/strings/format_directive.h"
#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

/// Walks the format: literal text goes straight to the output; a directive is read, converted to a prefix and a
/// content, and put out as a field.
struct [[gnu::visibility("hidden")]] String::format_state {
  /// Where the digits of an integer end: 32 digits of radix 2 stand before it, a terminator on it.
  static constexpr std::int32_t DIGITS_END = 32;
  /// The most units of an integer's digits that a precision can ask for.
  static constexpr std::int32_t MOST_PRECISION = 31;
  /// The colon of %p, behind which the eight digits of the value stand.
  static constexpr std::int32_t COLON_PLACE = DIGITS_END - 9;

  String& text;               // what is built; its block is clear behind the text
  FormatArguments arguments;  // those not yet taken
  std::int32_t count = 0;     // output positions so far; bytes for 8-bit text

  Directive directive;
  std::uint16_t prefix[2];       // sign or radix
  std::int32_t prefixUnits = 0;  // 0 to 2
  const std::uint16_t* wide = nullptr;
  const char* narrow = nullptr;           // the content instead of `wide` with FMT_NARROW
  std::int32_t len = 0;                   // of the content: units, or bytes with FMT_NARROW
  std::uint16_t scratch[DIGITS_END + 1];  // where numbers are written

  format_state(String & target, std::va_list list) : text(target), arguments(list) {}

  /// Puts out the format up to the next percent sign or its end, and returns that place.
  const char* literal(const char* format);
  /// Takes the directive's argument and puts its field out.
  void convert();

 private:
  void store_count();
  void character(std::uint16_t c);
  void wide_text();
  void narrow_text();
  void counted_text();
  void null_text();
  void signed_integer();
  void unsigned_integer(unsigned int radix);
  void pointer();
  void integer_digits(std::uint32_t value, unsigned int radix);
  void floating();

  void add_prefix(char c) { prefix[prefixUnits++] = static_cast<std::uint16_t>(c); }
  /// The sign of a signed number: a minus, or what the flags ask for.
  void sign_prefix(bool negative);
  /// The length that a precision leaves, or 0x7FFFFFFF without one.
  std::int32_t text_limit() const;

  void field();
  void put_prefix();
  void fill(char c, std::int64_t n);
  /// Appends `n` units and returns where to write them. Grows the block to an exact fit only when they have no room.
  std::uint16_t* append(std::uint32_t n);
  void advance(std::int64_t n) { count = static_cast<std::int32_t>(static_cast<std::uint32_t>(count + n)); }
};

}  // namespace zqcore27
