#pragma once

#include "zqcore27/errors/error.h"

inline namespace zqcore27 {

/// What is wrong with a configuration text, or with the file that it lies in. Never fatal. No code tells the place:
/// ask the Config for its line() and column(), or its tokenLine() and tokenColumn().
class ZQCORE27_EXPORT ConfigError : public Error {
 public:
  /// The file can't be opened, or has 4 GiB or more. Insert: the path. Remedy: check path, permissions and size.
  static constexpr std::uint32_t CANNOT_OPEN = 0xC2000106;
  /// The file was opened and can't be read to its end. Shows behind the last text that was read.
  static constexpr std::uint32_t READ_FAILED = 0xC2000107;
  /// The source of the text can't be written.
  static constexpr std::uint32_t NOT_WRITABLE = 0xC2000108;
  /// A text in double quotes isn't closed on its line.
  static constexpr std::uint32_t UNCLOSED_STRING = 0xC2000109;
  /// A keyword in single quotes isn't closed on its line.
  static constexpr std::uint32_t UNCLOSED_KEYWORD = 0xC200010A;
  /// getStr: the token isn't a string.
  static constexpr std::uint32_t NOT_A_STRING = 0xC200010B;
  /// A `\x` without two hexadecimal digits, or a backslash and a digit 0 to 3 without two octal ones.
  static constexpr std::uint32_t BAD_ESCAPE = 0xC200010C;
  /// A control character between quotes.
  static constexpr std::uint32_t CONTROL_CHARACTER = 0xC200010D;
  /// A text of more than 16000 units between quotes.
  static constexpr std::uint32_t STRING_TOO_LONG = 0xC200010E;
  /// getBool: the token is neither a bool nor an integer.
  static constexpr std::uint32_t NOT_A_BOOL = 0xC200010F;
  /// A word of more than 1024 units.
  static constexpr std::uint32_t WORD_TOO_LONG = 0xC2000110;
  /// getKeyword, matchKeyword: the token isn't a keyword.
  static constexpr std::uint32_t NOT_A_KEYWORD = 0xC2000111;
  /// getFp: the token is no number.
  static constexpr std::uint32_t NOT_A_NUMBER = 0xC2000112;
  /// getInt: the token is no integer.
  static constexpr std::uint32_t NOT_AN_INTEGER = 0xC2000113;
  /// checkEOS: tokens are left in the statement.
  static constexpr std::uint32_t TOKENS_LEFT = 0xC2000114;

  ConfigError(std::uint32_t code, bool fatal);
  ConfigError(const ConfigError& e);
  ConfigError& operator=(const ConfigError& e);
  ~ConfigError() override;
  /// "Config code".
  const char* module() const override;
};

}  // namespace zqcore27
