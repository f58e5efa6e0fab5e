#pragma once

// Internal: the working record of one String::scan.

#include <cstdint>
#include <cstring>

#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

inline constexpr std::int32_t SCAN_NEGATIVE = 0x1;  // a minus sign in the text
inline constexpr std::int32_t SCAN_SUPPRESS = 0x2;  // *
inline constexpr std::int32_t SCAN_SHORT = 0x4;     // h
inline constexpr std::int32_t SCAN_LONG = 0x8;      // l
inline constexpr std::int32_t SCAN_LDOUBLE = 0x10;  // L

/// White space as in the C locale, whatever the process's locale is.
inline bool isScanSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

inline bool isScanDigit(char c) { return c >= '0' && c <= '9'; }

/// The value of a hexadecimal digit in either case, or 16.
inline unsigned int scanDigitValue(char c) {
  if (isScanDigit(c)) return static_cast<unsigned int>(c - '0');
  const char lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'f' ? static_cast<unsigned int>(lower - 'a') + 10 : 16;
}

/// The text is read one character, the low byte of a unit, ahead. A look-ahead of 0 means that the text has ended; it
/// is never given back, so that nothing behind it is read.
struct [[gnu::visibility("hidden")]] String::scanf_state {
  /// How a directive ends.
  enum Outcome {
    GO_ON,        // with the next piece of the format
    STOP,         // the scan is over, and its result is fAssigned
    END_OF_TEXT,  // the scan is over: fAssigned, or -1 if nothing was stored
  };

  std::int32_t fCharsRead = 0;  // units read so far, less those given back
  std::int32_t fAssigned = 0;   // values stored so far
  std::int32_t fWidth = 0;      // units that the present directive may still take
  std::int32_t fFlags = 0;      // SCAN_...
  char fCurrent = ' ';          // the look-ahead: read and not yet used
  void* fDest = nullptr;        // where the present directive stores
  const char* fFormat;          // position in the format
  const std::uint16_t* fInput;  // position in the text, one behind fCurrent

  scanf_state(const char* format, const std::uint16_t* text) : fFormat(format), fInput(text) {}

  bool has(std::int32_t flag) const { return (fFlags & flag) != 0; }
  bool text_ended() const { return fCurrent == 0; }
  std::int32_t end_of_text() const { return fAssigned != 0 ? fAssigned : -1; }
  void read() { fCurrent = get_char_from_data(this); }
  /// Uses the look-ahead up and reads the next. Requires: the text hasn't ended.
  void take() {
    --fWidth;
    read();
  }
  /// Uses characters up while they belong to what is taken and the width lasts; `use` is given each. The characters
  /// that belong must not include 0.
  template <class Belongs, class Use>
  void take_while(Belongs belongs, Use use) {
    const std::uint16_t* const in = fInput;
    const std::int32_t width = fWidth;
    char c = fCurrent;
    std::int32_t taken = 0;
    for (; taken < width && belongs(c); c = static_cast<char>(in[taken++])) use(c);
    fCurrent = c;
    fCharsRead += taken;
    fWidth -= taken;
    fInput += taken;
  }
  void give_back() {
    if (!text_ended()) unget_char_from_data(static_cast<unsigned char>(fCurrent), this);
  }
  void skip_space() {
    while (isScanSpace(fCurrent)) read();
  }

  /// Reads what stands between the percent sign and the conversion.
  void options();
  Outcome convert(char conversion);
  Outcome integer(char conversion);
  unsigned int radix_by_opening();
  Outcome word();
  Outcome characters();

  /// Stores the look-ahead as one byte and moves fDest on.
  void store_byte() {
    char* const place = static_cast<char*>(fDest);
    *place = fCurrent;
    fDest = place + 1;
  }
  template <class T>
  void store(T value) const {
    std::memcpy(fDest, &value, sizeof value);
  }
};

inline char String::get_char_from_data(scanf_state* state) {
  ++state->fCharsRead;
  return static_cast<char>(*state->fInput++);
}

inline void String::unget_char_from_data(std::uint16_t, scanf_state* state) {
  --state->fCharsRead;
  --state->fInput;
}

}  // namespace zqcore27
