#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <span>

#include "zqcore27/platform/export.h"
#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

class CStr;
class ConfigDataChannel;
class FileLocator;

/// Reads configuration text as a stream of tokens, one statement a line.
///
/// A statement ends at a line feed or `|`; `!` starts a comment; `&` drops the rest of its line and goes on with the
/// statement on the next line that isn't empty. A text in double quotes is a string, one in single quotes a keyword
/// that may hold anything; a doubled quote stands for one. What enableSeparators enables is a token of its own, and
/// everything else makes up words: integers, numbers and keywords. A sign is a separator. In a *file* whose first
/// character is `#`, `#` starts a comment too, and a string ends at the next quote and knows the escapes `\"`, `\\`,
/// `\n`, `\t`, `\x` with two hexadecimal digits and a backslash with three octal digits up to 377.
///
///     Config config(locator);
///     while (config.nextToken() != Config::EOF_TOKEN) {
///       const String name = config.getKeyword();
///       if (!config.matchSeparator(Config::EQUALS_TOKEN)) ...
///       const std::int32_t value = config.getInt();
///       config.checkEOS();
///     }
///
/// A token is read, held, and released: nextToken reads it and holds it, a reading operation that succeeds releases it,
/// one that fails leaves it held for the caller to look at. Only checkEOS and skipLine close a statement: without them
/// every later line end is reported again as EOS_TOKEN.
///
/// Errors: ConfigError, with the codes given there. An error in the text (0xc2000109, 0a, 0c, 0d, 0e, 0xc2000110)
/// comes out of whatever operation reads on, and leaves the token held, with what was read of it, but with the *type of
/// the token before*: call releaseToken to read on from where scanning stopped, or skipLine to go on with the next
/// line. So do ConfigError::READ_FAILED, each time that more text is wanted, and the StringError of native bytes that
/// the code page refuses, once, with a byte stepped over; a token that was complete when they came is held with its own
/// type. Threads: one at a time; separate objects are independent. A file is read ahead on a thread of its own.
class ZQCORE27_EXPORT Config {
 public:
  enum ErrorType : std::int32_t { ERR_NONE = 0, ERR_NOT_READABLE = 1 };

  /// What a token is. A separator of one character has its character code.
  enum TokenType : std::int32_t {
    NO_TOKEN = 0,       // the answer of matchSeparator
    EOF_TOKEN = 1,      // end of the text; its text is "<EOF>"
    EOS_TOKEN = 2,      // end of a statement; its text is "<EOS>"
    KEYWORD_TOKEN = 3,  // a word, or a text in single quotes, which are part of it
    INT_TOKEN = 4,      // digits only
    STRING_TOKEN = 5,   // a text in double quotes, without them
    FP_TOKEN = 6,       // digits with a point, an exponent without sign, or both; `.` and `1e` too
    HASH_TOKEN = '#',
    DOLLAR_TOKEN = '$',
    PERCENT_TOKEN = '%',
    OPEN_TOKEN = '(',
    CLOSE_TOKEN = ')',
    STAR_TOKEN = '*',
    PLUS_TOKEN = '+',
    COMMA_TOKEN = ',',
    MINUS_TOKEN = '-',
    SLASH_TOKEN = '/',
    COLON_TOKEN = ':',
    SEMICOLON_TOKEN = ';',
    LESS_TOKEN = '<',
    EQUALS_TOKEN = '=',
    GREATER_TOKEN = '>',
    AT_TOKEN = '@',
    CARET_TOKEN = '^',
    OPEN_BRACE_TOKEN = '{',
    CLOSE_BRACE_TOKEN = '}',
    TILDE_TOKEN = '~',
    EQUALS_EQUALS_TOKEN = 127,
    GREATER_EQUALS_TOKEN = 128,
    LESS_EQUALS_TOKEN = 129,
    LESS_GREATER_TOKEN = 130,
    GREATER_LESS_TOKEN = 131,
    STAR_STAR_TOKEN = 132,
  };

  /// A sum of the SEP_ bits.
  using SeparatorType = std::uint32_t;
  static constexpr SeparatorType SEP_COMMA = 0x1;
  static constexpr SeparatorType SEP_SEMICOLON = 0x2;
  static constexpr SeparatorType SEP_PLUS = 0x4;
  static constexpr SeparatorType SEP_MINUS = 0x8;
  static constexpr SeparatorType SEP_EQUALS = 0x10;
  static constexpr SeparatorType SEP_SLASH = 0x20;
  static constexpr SeparatorType SEP_STAR = 0x40;
  static constexpr SeparatorType SEP_CARET = 0x80;
  static constexpr SeparatorType SEP_DOLLAR = 0x100;
  static constexpr SeparatorType SEP_OPEN = 0x200;
  static constexpr SeparatorType SEP_CLOSE = 0x400;
  static constexpr SeparatorType SEP_LESS = 0x800;
  static constexpr SeparatorType SEP_GREATER = 0x1000;
  static constexpr SeparatorType SEP_OPEN_BRACE = 0x2000;
  static constexpr SeparatorType SEP_CLOSE_BRACE = 0x4000;
  static constexpr SeparatorType SEP_COLON = 0x8000;
  static constexpr SeparatorType SEP_EQUALS_EQUALS = 0x10000;
  static constexpr SeparatorType SEP_GREATER_EQUALS = 0x20000;
  static constexpr SeparatorType SEP_LESS_EQUALS = 0x40000;
  static constexpr SeparatorType SEP_LESS_GREATER = 0x80000;
  static constexpr SeparatorType SEP_GREATER_LESS = 0x100000;
  static constexpr SeparatorType SEP_STAR_STAR = 0x200000;
  static constexpr SeparatorType SEP_TILDE = 0x400000;
  static constexpr SeparatorType SEP_AT = 0x800000;
  static constexpr SeparatorType SEP_PERCENT = 0x1000000;
  static constexpr SeparatorType SEP_HASH = 0x2000000;
  /// Comma, semicolon, plus, minus and equals: what a new Config has enabled.
  static constexpr SeparatorType SEP_DEFAULT = 0x1F;

  /// The character that ends a text. One in the text itself ends it as well.
  static constexpr std::uint16_t EOF_CHAR = 26;

  /// Reads the bytes of `s`, which must outlive the object, each as one character: 7-bit text, in effect. A zero byte
  /// ends the text. A stream whose exceptions() are on makes nextToken throw std::ios_base::failure at the end of the
  /// text.
  explicit Config(std::istream& s);
  /// Reads `s` up to its first zero unit. The string must outlive the object, its text unchanged.
  explicit Config(const String& s);
  explicit Config(String& s);
  explicit Config(const String&& s) = delete;  // the text would be gone
  /// Reads a file, in native text unless setUTF8 says otherwise; a UTF-8 byte order mark at its start is skipped in
  /// either case. Looks at the first character, still as native text, for the choice of the syntax. The size is read
  /// once: what is appended later isn't seen. A byte of value 1 ends the text at once: words and quoted texts that it
  /// cuts off are errors, and the end of the text follows.
  /// Errors: ConfigError::CANNOT_OPEN; what reading the first character raises. Nothing stays open then.
  explicit Config(const FileLocator& f);
  Config(const Config&) = delete;
  Config& operator=(const Config&) = delete;
  /// At any point of reading; the unread rest of a file is dropped.
  ~Config();

  /// Replaces the set of enabled separators. Acts from the next token that is read.
  void enableSeparators(SeparatorType mask);
  /// From here on the text is a scrambled one: its lines are decoded one by one, and a line that isn't in armoured form
  /// passes as plain text, which must be 7-bit: of any other character the low byte alone is kept, and that may even
  /// end the text. `key` is kept and plays no part. With `honourMarker`, a text that begins with `!` stays plain. Call
  /// it before the first token is read. Errors: MemError, the text as before.
  void enableDecryption(std::int32_t key, bool honourMarker);
  /// True: the bytes of a file or of decrypted lines are UTF-8, and an ill-formed byte reads as U+FFFD; false: native
  /// text. No effect on a text from a String or a stream. Call it after enableDecryption: it then acts on the decoded
  /// lines alone.
  void setUTF8(bool utf8);
  ErrorType getError() const { return fError; }
  /// Always 0.
  std::int32_t getIndent() const { return fIndent; }
  /// Characters taken from the text so far, modulo 2^32: those looked at and given back don't count.
  std::uint32_t charactersProcessed() const { return fChars; }

  /// The place, from 1, of the character that scanning looked at last, whether it was taken or given back: the place
  /// that an error of the text is about. A line ends at a line feed; a column is one character, a tab too. In a
  /// decrypted text these are decoded lines.
  std::uint32_t line() const;
  std::uint32_t column() const { return fSeen.column(); }
  /// The place, from 1, of the first character of the token in hand: the place that an error of its type is about.
  std::uint32_t tokenLine() const;
  std::uint32_t tokenColumn() const { return fTokenPlace.column(); }

  /// The type of the token in hand, which is read first if none is held.
  TokenType nextToken();
  /// The text of the token in hand, as nextToken left it. Valid until the next token is read. It is what getKeyword and
  /// getStr return, for callers that look at every token without regard to its type.
  const String& tokenText() const { return fToken; }
  /// Drops the token in hand.
  void releaseToken();

  /// The text of a KEYWORD_TOKEN, quotes included. The next token overwrites it. Errors: NOT_A_KEYWORD.
  String& getKeyword();
  /// The text of a STRING_TOKEN. The next token overwrites it. Errors: NOT_A_STRING.
  const String& getStr();
  /// An optional sign and an INT_TOKEN, modulo 2^32: 2147483648 gives -2147483648. Errors: NOT_AN_INTEGER; a sign that
  /// was taken is gone then.
  std::int32_t getInt();
  /// An optional sign and an INT_TOKEN or FP_TOKEN. Errors: NOT_A_NUMBER; a sign that was taken is gone then, and so is
  /// a token that has the form of a number without being one, as `.` and `1e`.
  double getFp();
  /// Y, Yes, True, N, No, False, without regard to case, or an INT_TOKEN, true unless 0. Errors: NOT_A_BOOL.
  bool getBool();
  /// Takes the end of the statement or of the text, and closes the statement. Always true. Errors: TOKENS_LEFT.
  bool checkEOS();
  /// Takes the token if its type is `t`, and returns `t`; otherwise NO_TOKEN, with the token held.
  TokenType matchSeparator(TokenType t);
  /// Takes a KEYWORD_TOKEN and returns the first handle of `catalogue` from `first` to `last` whose text equals it
  /// without regard to case, or 0. The token is taken also when none does. Errors: NOT_A_KEYWORD; what the catalogue
  /// raises, after the token was taken.
  std::uint32_t matchKeyword(CStr* catalogue, std::uint32_t first, std::uint32_t last);
  /// Drops all tokens up to the end of the statement or of the text, which stays held for checkEOS. Errors: those of
  /// the text on the way.
  void releaseLine();
  /// For going on after an error: drops the token in hand and every character up to the end of the line on which
  /// scanning stopped, whatever they are, and closes the statement. Where that line end has been taken already, nothing
  /// more is dropped. Errors: READ_FAILED.
  void skipLine();

 protected:
  /// The longest word and the longest quoted text, in units.
  static constexpr std::int32_t KEYWORD_SIZE = 1024;
  static constexpr std::int32_t STRING_SIZE = 16000;

 private:
  /// A single number, since it is copied for each character: halves written apart hold up the read of the whole.
  class Place {
   public:
    Place() : Place(1, 1) {}
    Place(std::uint32_t line, std::uint32_t column) : fColumnAndLine(std::uint64_t{column} << 32 | line) {}
    std::uint32_t line() const { return static_cast<std::uint32_t>(fColumnAndLine); }
    std::uint32_t column() const { return static_cast<std::uint32_t>(fColumnAndLine >> 32); }
    Place columnsOn(std::uint32_t n) const {
      Place place = *this;
      place.fColumnAndLine += std::uint64_t{n} << 32;
      return place;
    }
    Place nextLine() const { return {line() + 1, 1}; }
    bool operator==(const Place&) const = default;

   private:
    std::uint64_t fColumnAndLine;
  };
  class TokenWriter;

  explicit Config(std::unique_ptr<ConfigDataChannel> channel);

  TokenType next_token();
  void clear_token();
  TokenType set_mark_token(TokenType t, const char16_t* text);
  std::uint16_t skip_to_line_end();
  std::uint16_t skip_continuation();
  TokenType scan_token(std::uint16_t first);
  TokenType scan_string();
  void scan_escape(TokenWriter& token);
  std::int32_t escape_digit(std::int32_t base);
  TokenType scan_quoted_keyword();
  bool quote_is_doubled(std::uint16_t quote, TokenType complete, TokenWriter& token);
  bool take_if(std::uint16_t wanted);
  TokenType enabled_separator(std::uint16_t c);
  TokenType set_tok_str_to_sep(TokenType t);
  TokenType scan_word(std::uint16_t first);
  std::uint32_t word_enders() const;
  TokenType end_token(TokenType t);
  [[noreturn]] void fail_scan(std::uint32_t code);
  static std::int32_t digit(std::uint16_t c, bool hex);
  bool take_sign();
  std::int32_t get_int();
  std::uint16_t getC();
  void ungetC(std::uint16_t c);
  std::uint16_t putC(std::uint16_t c);
  static constexpr std::uint32_t NO_CHAR = 0x10000;
  std::uint32_t peek();
  std::span<const unsigned char> ahead() const;
  void skip(std::uint32_t n);
  void skip_up_to(std::uint32_t classes);
  bool channel_is_cut_off(std::uint16_t c) const;

  std::unique_ptr<ConfigDataChannel> fChannel;
  ErrorType fError;
  SeparatorType fSeparators = SEP_DEFAULT;
  bool fHeld = false;
  String fToken;  // its block has room for STRING_SIZE units, restored before a token where a host shrank it
  TokenType fType = NO_TOKEN;
  bool fInStatement = false;
  std::int32_t fIndent = 0;
  bool fHashSyntax : 1 = false;
  // The channel was cut off, and the host knows: from now on that is the end of the text.
  bool fCutOffShown : 1 = false;
  std::uint32_t fChars = 0;
  Place fNext;        // of the character that getC reads next; line 0 before the line feed that decryption leads in
  Place fSeen;        // of the character that getC looked at last
  Place fTokenPlace;  // of the token's first character
};

}  // namespace zqcore27
