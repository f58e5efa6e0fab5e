#pragma once

// Internal: the working record of one String::build.

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "zqcore27/strings/format_directive.h"
#include "zqcore27/strings/format_float.h"
#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

/// Copies units that don't overlap, a few without a call. Returns the end of the copy.
inline std::uint16_t* copyUnits(std::uint16_t* to, const std::uint16_t* from, std::size_t n) {
  const auto ends = [=](std::size_t part) {
    std::memcpy(to, from, part * 2);
    std::memcpy(to + n - part, from + n - part, part * 2);
  };
  if (n > 32) {
    std::copy_n(from, n, to);
  } else if (n >= 16) {
    ends(16);
  } else if (n >= 8) {
    ends(8);
  } else if (n >= 4) {
    ends(4);
  } else {
    for (std::size_t i = 0; i < n; ++i) to[i] = from[i];
  }
  return to + n;
}

/// Walks the format: literal text goes straight to the output; a directive is read, converted to a prefix and a
/// content, and put out as a field.
struct [[gnu::visibility("hidden")]] String::format_state {
  /// Where the digits of an integer end: 32 digits of radix 2 stand before it, a terminator on it.
  static constexpr std::int32_t DIGITS_END = 32;
  /// The most units of an integer's digits that a precision can ask for.
  static constexpr std::int32_t MOST_PRECISION = 31;
  /// The colon of %p, behind which the eight digits of the value stand.
  static constexpr std::int32_t COLON_PLACE = DIGITS_END - 9;

  /// The block of an ordinary text: 4096 units and a terminator.
  static constexpr std::uint32_t BUILD_BYTES = 8194;
  /// What is built on the stack first. Never a size that a text has on the heap, where no block is smaller than
  /// BUILD_BYTES.
  static constexpr std::uint32_t START_BYTES = 1024;

  /// Lends an empty String the stack to be built in, and takes back what it didn't leave for the heap.
  class StackBlock {
   public:
    explicit StackBlock(String& text) : fText(text) {
      fText.fData = reinterpret_cast<unsigned char*>(fUnits);
      fText.fSize = START_BYTES;
      fUnits[0] = 0;
    }
    StackBlock(const StackBlock&) = delete;
    StackBlock& operator=(const StackBlock&) = delete;
    ~StackBlock() {
      if (fText.fSize == START_BYTES) fText.fSize = 0;
    }

   private:
    String& fText;
    std::uint16_t fUnits[START_BYTES / 2];
  };

  String& text;               // what is built, terminated at every moment
  FormatArguments arguments;  // those not yet taken
  std::int32_t count = 0;     // output positions so far; bytes for 8-bit text

  Directive directive;
  std::uint16_t prefix[2];       // sign or radix
  std::int32_t prefixUnits = 0;  // 0 to 2
  const std::uint16_t* wide = nullptr;
  const char* narrow = nullptr;       // the content instead of `wide` with FMT_NARROW
  std::int32_t len = 0;               // of the content: units, or bytes with FMT_NARROW
  std::uint16_t scratch[FLOAT_ROOM];  // where numbers are written
  static_assert(DIGITS_END < FLOAT_ROOM);

  format_state(String & target, std::va_list list) : text(target), arguments(list) {}

  /// Appends `n` units and returns where to write them. What outgrows the stack moves to a block of BUILD_BYTES, and
  /// what outgrows that to an exact fit.
  static std::uint16_t* append(String & text, std::uint32_t n) {
    if (n >= text.capacity() - text.fLength) grow(text, n);
    std::uint16_t* const place = text.data() + text.fLength;
    text.fLength += n;
    place[n] = 0;
    return place;
  }
  /// Appends `bytes` as units while `goesOn` says so and the block has room. Moves behind them and returns their
  /// number.
  template <typename GoesOn>
  static std::uint32_t append_while(String & text, const char*& bytes, GoesOn goesOn) {
    std::uint16_t* const place = text.data() + text.fLength;
    const std::uint32_t room = text.capacity() - text.fLength - 1;
    const char* in = bytes;
    std::uint32_t n = 0;
    for (; n < room && goesOn(in); ++in) place[n++] = static_cast<std::uint16_t>(static_cast<signed char>(*in));
    place[n] = 0;
    text.fLength += n;
    bytes = in;
    return n;
  }
  /// Appends native text up to `end` or a zero byte.
  static void append_native(String & text, const char* in, const char* end);
  /// Whether `n` units can be written behind the text without leaving the stack, where nothing behind it counts.
  static bool stack_has(const String& text, std::uint32_t n) {
    return text.fSize == START_BYTES && START_BYTES / 2 - text.fLength > n;
  }
  /// Makes `target` the text that was built, in a block that is clear behind it: its own if that has the size.
  static void assign(String & target, String & built);

  /// Puts out the format up to the next percent sign or its end, and returns that place.
  const char* literal(const char* format) {
    if (*format == '%') return format;
    advance(append_while(text, format, [](const char* p) { return *p != 0 && *p != '%'; }));
    return *format == 0 || *format == '%' ? format : long_literal(format);
  }
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
  /// Appends the prefix and `n` units, which nothing is left of for the field, and returns where to write the units.
  std::uint16_t* put_prefix(std::uint32_t n);
  const char* long_literal(const char* format);
  static void grow(String & text, std::uint32_t n);
  static void leave_stack(String & built);
  void advance(std::int64_t n) { count = static_cast<std::int32_t>(static_cast<std::uint32_t>(count + n)); }
};

}  // namespace zqcore27
