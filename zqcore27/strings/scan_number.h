#pragma once

// Internal: which characters make up a floating-point number, and what they come to.

#include <cstdint>

inline namespace zqcore27 {

/// Tells character by character how far a number goes: decimal, hexadecimal with a capital X and an exponent, or one of
/// the words inf, infinity, nan and nans.
class NumberSyntax {
 public:
  enum Step {
    TAKE,  // the character belongs to the number
    DONE,  // the number ends before it
    FAIL,  // this is no number
  };

  /// Looks at the next character, 0 at the end of the text.
  Step step(char c);

  /// Whether decimal digits are taken as they come: as many as follow can be passed over, as they change nothing.
  bool among_digits() const {
    return fDigitSeen && (fState == WHOLE_DIGITS || fState == FRACTION_DIGITS || fState == EXPONENT_DIGITS);
  }

  /// Whether what was taken is a number, also when no DONE was reached. A word never is before the character behind it
  /// was looked at.
  bool complete() const { return fState != WORD && fDigitSeen; }

 private:
  enum State {
    START,
    AFTER_SIGN,
    AFTER_ZERO,
    WHOLE_DIGITS,
    FRACTION_DIGITS,
    EXPONENT_OPENING,
    AFTER_EXPONENT_SIGN,
    EXPONENT_DIGITS,
    WORD,
    END,
  };

  Step take(State next);
  Step done();
  Step take_word(const char* rest);
  Step exponent_or_end(char c);
  Step exponent_digit(char c);
  Step in_word(char c);
  bool is_digit(char c) const;

  State fState = START;
  bool fDigitSeen = false;
  bool fHex = false;
  const char* fWord = nullptr;      // its letters behind the first
  const char* fWordLeft = nullptr;  // those not yet taken
};

/// What atof gives for the characters that NumberSyntax accepts, whatever the process's locale is: correctly rounded,
/// infinite on overflow, 0 when too small, +0 for what has no digits. Threads: any.
double numberValue(const char* begin, const char* end);

}  // namespace zqcore27
