#pragma once

#include <concepts>
#include <cstdarg>
#include <cstdint>
#include <functional>
#include <ostream>
#include <span>
#include <string>
#include <string_view>

#include "zqcore27/core/memory.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/strings/transcode.h"

inline namespace zqcore27 {

class NatString;

/// One zero unit in read-only storage, the text of every default-constructed String. Never written, never freed.
ZQCORE27_EXPORT extern const std::uint16_t* const strNULL;

/// The text type: 16-bit units with a zero unit behind them, one owner of its block, growth to exactly what is needed.
/// A unit is a character everywhere; surrogates and combining marks are units like others. Operations that compare
/// without regard to case use chrToUpper, which doesn't depend on the locale. Text may hold zero units: comparison and
/// find stop at the first one, everything that works up to size() passes over it.
///
/// Two states: shared empty (no block; begin() is strNULL, which must not be written) and owning. A default String and
/// one made from a null pointer are shared empty; a copy into a String, of empty text too, makes it owning.
///
/// A source may lie in the object's own block (`s += s`, `s = s.begin() + 2`): it works as if copied first.
/// Sizes and indexes are in units; 0xFFFFFFFF (NOT_FOUND) answers a search that found nothing.
/// Errors: MemError (heap exhausted, text longer than 32-bit sizes reach), with the object as before; StringError from
/// the conversions of 8-bit text, as described there. Threads: one at a time; const operations may run side by side.
class ZQCORE27_EXPORT String : public MemResizable {
 public:
  /// The far side of a conversion: 8-bit native text or 16-bit units.
  enum NativeType : int { NativeChar = 0, NativeWide = 1 };

  static constexpr std::uint32_t NOT_FOUND = 0xFFFFFFFF;

  String();
  /// The units before the first zero.
  String(const std::uint16_t* s);
  /// Exactly `n` units, zeros included.
  String(const std::uint16_t* s, unsigned int n);
  /// Text in the platform's code page. Errors: StringError 0xc2000122 (refused bytes), 0xc2000123 (cut-off character).
  String(const char* s);
  /// At most `n` bytes, up to a zero byte. The block keeps room for `n` units. Errors: as above.
  String(const char* s, unsigned int n);
  /// Shared empty.
  String(std::nullptr_t);
  /// The units before the first zero: a literal `u"text"`.
  String(const char16_t* s);
  /// All units of `s`, zeros included.
  String(std::u16string_view s);
  String(const String& other);
  /// Takes the block over; `other` is shared empty afterwards.
  String(String&& other) noexcept;
  ~String() override;

  /// Assignment takes the same sources as construction, null as empty text, and keeps the room that is there.
  String& operator=(const String& other);
  /// Takes the block over; `other` is shared empty afterwards.
  String& operator=(String&& other) noexcept;
  String& operator=(const std::uint16_t* s);
  /// Errors: as in construction; the units converted up to then stay.
  String& operator=(const char* s);
  String& operator=(std::nullptr_t);
  String& operator=(const char16_t* s);
  String& operator=(std::u16string_view s);

  // --- Access ---

  /// Units of text, without the terminator.
  unsigned int size() const { return fLength; }
  /// Unit `i`, unchecked. Writable although the operator is const; the text of a shared empty String must not be
  /// written.
  std::uint16_t& operator[](unsigned int i) const { return data()[i]; }
  std::uint16_t& operator[](std::int32_t i) const { return data()[i]; }
  template <std::integral Index>
  std::uint16_t& operator[](Index i) const {
    return data()[i];
  }
  std::uint16_t* operator*() { return data(); }
  const std::uint16_t* operator*() const { return data(); }
  std::uint16_t* begin() { return data(); }
  const std::uint16_t* begin() const { return data(); }
  operator std::uint16_t*() { return data(); }
  /// One past the terminator: begin() to end() spans size() + 1 units. For the text alone take units().
  std::uint16_t* end() { return data() + fLength + 1; }
  const std::uint16_t* end() const { return data() + fLength + 1; }
  /// The text without its terminator, for range-for and algorithms. Valid until the next change.
  std::span<const std::uint16_t> units() const { return {data(), fLength}; }

  /// Changes the block to `bytes` bytes, as MemResizable::resize; text that no longer fits is cut off.
  String& resize(unsigned int bytes);
  /// After writing through a pointer: the length becomes the number of units before the first zero, and is returned.
  /// A block without a zero unit gets one as its last.
  unsigned int terminate();
  /// Cuts or extends the text to `n` units if the block has room for them and a terminator; otherwise changes nothing.
  /// Returns the length.
  unsigned int terminate(unsigned int n);
  /// The same with the place of the terminator; a pointer outside the block changes nothing.
  unsigned int terminate(std::uint16_t* p);

  // --- Appending ---

  String& operator+=(const String& s);
  /// The units before the first zero; null appends nothing.
  String& operator+=(const std::uint16_t* s);
  /// Native text. Errors: StringError as in construction; the object is then as before.
  String& operator+=(const char* s);
  /// One unit; 0 appends nothing.
  String& operator+=(std::uint16_t c);
  String& operator+=(std::nullptr_t) { return *this; }
  String& operator+=(const char16_t* s);
  template <std::integral C>
  String& operator+=(C c) {
    return *this += static_cast<std::uint16_t>(c);
  }

  // --- Comparison ---

  /// At the first position where the texts differ or one ends: the stored unit of `b` minus that of `a` (second minus
  /// first, not folded); 0 if they match to their ends. The object itself isn't read. Requires: neither is null.
  std::int32_t compare(const std::uint16_t* a, const std::uint16_t* b, bool ignoreCase) const;
  /// Without regard to case, up to the first zero unit. Null counts as empty text.
  bool operator==(const String& s) const { return compare_folded(s) == 0; }
  bool operator==(const std::uint16_t* s) const { return equals(s); }
  bool operator==(std::uint16_t* s) const { return equals(s); }
  bool operator==(const char16_t* s) const;
  bool operator==(const char* s) const;
  bool operator==(std::nullptr_t) const { return equals(nullptr); }
  bool operator!=(const String& s) const { return !(*this == s); }
  bool operator!=(const std::uint16_t* s) const { return !(*this == s); }
  bool operator!=(std::uint16_t* s) const { return !(*this == s); }
  bool operator!=(const char16_t* s) const { return !(*this == s); }
  bool operator!=(const char* s) const { return !(*this == s); }
  bool operator!=(std::nullptr_t) const { return !(*this == nullptr); }
  /// compare(own text, other, true) < 0: true when the object's own text has the higher stored unit at the first folded
  /// difference. No strict weak ordering; containers take StringLess.
  bool operator<(const String& other) const;

  // --- Single characters ---

  /// The upper and lower form of a unit; the unit itself where it has none. All members of a class, as i, I, U+0130 and
  /// U+0131, have one upper form.
  static std::uint16_t chrToUpper(std::uint16_t c);
  static std::uint16_t chrToLower(std::uint16_t c);

  // --- UTF-8 ---

  /// The text as UTF-8, one sequence of 1 to 3 bytes a unit; surrogates travel as two sequences. Zero units are
  /// dropped.
  void toUTF8(NatString& out) const;
  /// Decodes up to a zero byte. Errors: StringError 0xc200011c on ill-formed text; the units before it stay.
  void buildfromUTF8(const unsigned char* s);
  /// Decodes exactly `n` bytes; a zero byte becomes a zero unit that counts. A sequence cut off by `n` is ill-formed.
  void buildfromUTF8(const unsigned char* s, unsigned int n);

  // --- Format and scan ---

  /// Replaces the text by `format` with its directives filled in: %[flags][width][.precision][modifiers]conversion,
  /// with the flags `-`, `+`, blank, `#`, `0`, an asterisk for a width or precision among the arguments, and the
  /// modifiers `l`, `h`, `N`, `L`. A bad directive ends the text there. The types of the arguments aren't checked
  /// (checked_format.h does it); they may point into this text. Bytes of the format above 0x7F become units 0xFF80 and
  /// up.
  /// - d i: 32 bits. u o x X b (binary): 16 bits, with `l` 32. p: 32 bits as 0000:12345678; with `h` 16 bits, no colon.
  /// - s: 16-bit text; with `N` or `L` 8-bit native text. P: native text behind one byte with its length. Null: (null).
  /// - c: one unit. n: stores the positions put out so far in 32 bits; 8-bit text counts in bytes.
  /// - e E f g G: a double, with an exponent of three digits and at most 17 real digits; ties round up.
  /// Errors: StringError from native text (0xc2000122 refused bytes, 0xc2000123 cut-off character), MemError; the
  /// object is then as before.
  void build(const char* format, ...);
  /// Reads values out of the text: %[*][width][h, l or L]conversion, where an asterisk stores nothing. Returns the
  /// number of values stored, or -1 if the text ended before the first. Only the low byte of each unit is read, and 0
  /// is the end of the text. Null arguments aren't tested, nor types: scanChecked in checked_format.h does it.
  /// - d i u o x X p b: 32 bits, with `h` 16; overflow wraps. Without digits the argument is used up, nothing is
  ///   stored, and the scan goes on.
  /// - e E f g G: a float, with `l` or `L` a double. A hexadecimal number needs a capital X and an exponent.
  /// - s S c [: 8-bit bytes, with no bound but the width (of c: 1); c writes no terminator. %s stops the scan if it
  ///   meets the end of the text, after it has stored what was there.
  /// - n: the units read so far in 32 bits, not counted as a value; the terminator is one of them once it has been
  ///   read.
  std::int32_t scan(const char* format, ...);

  // --- Search ---

  std::uint32_t locateFirst(std::uint16_t c, bool ignoreCase) const;
  /// Index of the first match at or behind `start`. The terminator is looked at: 0 finds size(), unless start >=
  /// size().
  std::uint32_t locateNext(std::uint16_t c, unsigned int start, bool ignoreCase) const;
  /// Index of the last match. The terminator isn't looked at.
  std::uint32_t locateLast(std::uint16_t c, bool ignoreCase) const;
  /// Pointer to the first occurrence of `s`, or null. Empty text is never found. The text ends at its first zero unit.
  std::uint16_t* find(const std::uint16_t* s, bool ignoreCase) const;
  std::uint16_t* find(const String& s, bool ignoreCase) const;
  /// The same from `from`, which must lie in the text or at its terminator; otherwise the answer is null.
  std::uint16_t* findNext(const std::uint16_t* s, const std::uint16_t* from, bool ignoreCase) const;
  std::uint16_t* findNext(const String& s, const std::uint16_t* from, bool ignoreCase) const;

  // --- Editing ---

  void toUpper();
  void toLower();
  /// Every unit of the text equal to `from` becomes `to`.
  void replaceChars(std::uint16_t from, std::uint16_t to);
  /// Replaces every occurrence, exact in case, from the left and without overlap. Returns their number; with 0 the
  /// object is untouched, otherwise its block is new and exactly fitted, and zero units outside the occurrences are
  /// dropped. An empty `from` is never found.
  std::int32_t replace(const String& from, const String& to);
  /// Space, tab, line feed, carriage return and zero units only. Empty text is blank.
  bool isBlank() const;
  /// Digits 0 to 9 only. Empty text is a number.
  bool isNumber() const;
  /// Copies the smaller of source.size() and `max` units to the start of the block. Neither grows the block nor writes
  /// a terminator nor changes the length: provide the room first, and terminate() afterwards. What the block has no
  /// room for is left out.
  String& copyMax(String& source, unsigned int max);
  /// `n` copies of `c`; with `c` 0 the length is 0.
  void fill(unsigned int n, std::uint16_t c);

  // --- Today's habits ---

  /// From UTF-8, four-byte sequences refused. Errors: StringError 0xc200011c.
  static String fromUTF8(std::string_view s);
  /// As UTF-8, as toUTF8.
  std::string toUTF8() const;

 private:
  struct format_state;
  struct scanf_state;

  std::uint16_t* data() const { return reinterpret_cast<std::uint16_t*>(fData); }
  bool equals(const std::uint16_t* s) const;
  /// compare(own text, s, true), with the lengths known.
  std::int32_t compare_folded(const String& s) const;
  bool owns(const void* p) const;
  /// Grows the block to exactly `n` units and a terminator if it has no room for them. Returns `source`, moved along
  /// with the block if it lies in it.
  const std::uint16_t* make_room(std::uint32_t n, const std::uint16_t* source = nullptr);

  /// A new block of exactly `n` units and a terminator, for text that is written next; until then the text is empty.
  /// A cleared block costs nothing where it isn't touched.
  void replace_block(std::uint32_t n, bool cleared = false);
  void decode_utf8(const unsigned char* s, std::size_t n);

  unsigned int capacity() const { return fSize / 2; }
  unsigned int dataSize(unsigned int n) const { return n * 2; }
  bool chr_same(std::uint16_t a, std::uint16_t b) const { return a == b; }
  bool chr_same_cb(std::uint16_t a, std::uint16_t b) const { return a == b || chrToUpper(a) == chrToUpper(b); }
  unsigned int string_length(const std::uint16_t* s) const;
  unsigned int wide_string_length(const std::uint16_t* s) const { return string_length(s); }
  unsigned int nat_string_length(const char* s) const;
  String& copy_data(const std::uint16_t* s, unsigned int n);
  String& append_data(const std::uint16_t* s, unsigned int n);
  void flush_data();
  String& native_copy_data(const char* s, unsigned int n);
  String& wide_copy_data(const std::uint16_t* s, unsigned int n);
  unsigned int copy_from_native(const char* s, unsigned int n, NativeType type);
  /// The same with the bytes before the first zero counted. Requires: `s` is outside the own block.
  unsigned int read_native(const char* s, unsigned int length, unsigned int n);
  unsigned int copy_from_wide(const std::uint16_t* s, unsigned int n, NativeType type);

  std::int32_t var_build(const char* format, std::va_list args);
  void fmt_append_data(std::int32_t flags, const std::uint16_t* wide, const char* narrow, std::int32_t len);
  std::uint16_t* fmt_do_integer_thing(std::uint16_t* buffer, std::int32_t flags, std::uint32_t low, std::uint32_t high,
                                      unsigned int radix, unsigned int precision);

  std::int32_t str_ScanVar(const char* format, std::va_list args);
  static std::int32_t str_scanfloat(scanf_state* state);
  static std::int32_t _scanre(scanf_state* state);
  static char get_char_from_data(scanf_state* state);
  static void unget_char_from_data(std::uint16_t c, scanf_state* state);

  std::uint32_t fLength = 0;  // units of text, without the terminator
};

/// A process-wide empty String, made on the first call and never freed. Threads: any.
ZQCORE27_EXPORT const String& nullString();

// Compiled into the host, so that the std::string comes from the host's heap.
inline std::string String::toUTF8() const {
  std::string out;
  char sequence[3];
  for (const std::uint16_t unit : units()) {
    if (unit != 0) out.append(sequence, static_cast<std::size_t>(uni2utf(unit, sequence, 3)));
  }
  return out;
}

/// The text as UTF-8.
inline std::ostream& operator<<(std::ostream& out, const String& s) { return out << s.toUTF8(); }

/// A strict weak ordering for containers: folded units in ascending order, equal exactly where operator== says so.
/// Threads: any.
struct ZQCORE27_EXPORT StringLess {
  bool operator()(const String& a, const String& b) const;
};

/// For unordered containers: folds case, so that texts that are equal by operator== have one hash value. Threads: any.
struct ZQCORE27_EXPORT StringHash {
  std::size_t operator()(const String& s) const noexcept;
};

}  // namespace zqcore27

template <>
struct std::hash<String> : StringHash {};
