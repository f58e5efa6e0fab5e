// The tokeniser.

#include <algorithm>
#include <array>
#include <span>

#include "zqcore27/config/channel.h"
#include "zqcore27/config/config.h"
#include "zqcore27/config/config_chars.h"
#include "zqcore27/config/config_error.h"

inline namespace zqcore27 {

namespace {

constexpr std::uint16_t TAB = 9;
constexpr std::uint16_t LF = 10;
constexpr std::uint16_t CR = 13;
constexpr std::uint16_t DEL = 0x7F;
constexpr std::uint16_t FIRST_CONTROL_FREE = 0x20;

struct Separator {
  Config::SeparatorType bit;
  char first;
  char second;  // 0 in a separator of one character
  Config::TokenType type;
};

constexpr std::array<Separator, 26> SEPARATORS = {{
    {Config::SEP_COMMA, ',', 0, Config::COMMA_TOKEN},
    {Config::SEP_SEMICOLON, ';', 0, Config::SEMICOLON_TOKEN},
    {Config::SEP_PLUS, '+', 0, Config::PLUS_TOKEN},
    {Config::SEP_MINUS, '-', 0, Config::MINUS_TOKEN},
    {Config::SEP_EQUALS, '=', 0, Config::EQUALS_TOKEN},
    {Config::SEP_SLASH, '/', 0, Config::SLASH_TOKEN},
    {Config::SEP_STAR, '*', 0, Config::STAR_TOKEN},
    {Config::SEP_CARET, '^', 0, Config::CARET_TOKEN},
    {Config::SEP_DOLLAR, '$', 0, Config::DOLLAR_TOKEN},
    {Config::SEP_OPEN, '(', 0, Config::OPEN_TOKEN},
    {Config::SEP_CLOSE, ')', 0, Config::CLOSE_TOKEN},
    {Config::SEP_LESS, '<', 0, Config::LESS_TOKEN},
    {Config::SEP_GREATER, '>', 0, Config::GREATER_TOKEN},
    {Config::SEP_OPEN_BRACE, '{', 0, Config::OPEN_BRACE_TOKEN},
    {Config::SEP_CLOSE_BRACE, '}', 0, Config::CLOSE_BRACE_TOKEN},
    {Config::SEP_COLON, ':', 0, Config::COLON_TOKEN},
    {Config::SEP_EQUALS_EQUALS, '=', '=', Config::EQUALS_EQUALS_TOKEN},
    {Config::SEP_GREATER_EQUALS, '>', '=', Config::GREATER_EQUALS_TOKEN},
    {Config::SEP_LESS_EQUALS, '<', '=', Config::LESS_EQUALS_TOKEN},
    {Config::SEP_LESS_GREATER, '<', '>', Config::LESS_GREATER_TOKEN},
    {Config::SEP_GREATER_LESS, '>', '<', Config::GREATER_LESS_TOKEN},
    {Config::SEP_STAR_STAR, '*', '*', Config::STAR_STAR_TOKEN},
    {Config::SEP_TILDE, '~', 0, Config::TILDE_TOKEN},
    {Config::SEP_AT, '@', 0, Config::AT_TOKEN},
    {Config::SEP_PERCENT, '%', 0, Config::PERCENT_TOKEN},
    {Config::SEP_HASH, '#', 0, Config::HASH_TOKEN},
}};

// What a character is, as bits: the separators that begin with it, and these.
constexpr std::uint32_t NOT_PLAIN = 1u << 27;     // it doesn't stand for itself as a byte of a channel
constexpr std::uint32_t LINE_ENDS = 1u << 28;     // it ends a remark
constexpr std::uint32_t QUOTED_STOPS = 1u << 29;  // it isn't just stored in a quoted keyword
constexpr std::uint32_t STRING_STOPS = 1u << 30;  // ... in a string
constexpr std::uint32_t WORD_ENDS = 1u << 31;     // it ends a word, whatever is enabled

constexpr Config::SeparatorType separators_of_length(int length) {
  Config::SeparatorType all = 0;
  for (const Separator& s : SEPARATORS) all |= (s.second == 0 ? 1 : 2) == length ? s.bit : 0;
  return all;
}
constexpr Config::SeparatorType SINGLES = separators_of_length(1);
constexpr Config::SeparatorType ALL_SEPARATORS = SINGLES | separators_of_length(2);
static_assert((ALL_SEPARATORS & (NOT_PLAIN | LINE_ENDS | QUOTED_STOPS | STRING_STOPS | WORD_ENDS)) == 0);
static_assert(std::ranges::all_of(SEPARATORS, [](const Separator& s) { return s.second != 0 || s.type == s.first; }),
              "the type of a separator of one character is its code");

constexpr std::array<std::uint32_t, 256> make_classes() {
  std::array<std::uint32_t, 256> classes{};
  for (std::size_t c = 0; c < classes.size(); ++c) {
    if (!ConfigDataChannel::isPlain(static_cast<unsigned char>(c))) classes[c] |= NOT_PLAIN;
    if (c < FIRST_CONTROL_FREE) classes[c] |= QUOTED_STOPS | (c == TAB ? 0 : STRING_STOPS);
  }
  for (const Separator& s : SEPARATORS) classes[static_cast<unsigned char>(s.first)] |= s.bit;
  for (const auto c : {TAB, LF, CR, std::uint16_t{' '}, Config::EOF_CHAR}) classes[c] |= WORD_ENDS;
  for (const char c : {'!', '"', '&', '\'', '|'}) classes[static_cast<unsigned char>(c)] |= WORD_ENDS;
  for (const auto c : {LF, CR}) classes[c] |= LINE_ENDS;
  for (const auto c : {std::uint16_t{'"'}, std::uint16_t{'\\'}, DEL}) classes[c] |= STRING_STOPS;
  classes['\''] |= QUOTED_STOPS;
  return classes;
}
constexpr auto CLASSES = make_classes();

std::uint32_t classes_of(std::uint32_t c) { return c < CLASSES.size() ? CLASSES[c] : 0; }

Config::SeparatorType separators_begun_by(std::uint32_t c) { return classes_of(c) & ALL_SEPARATORS; }

bool is_digit(std::uint16_t c) { return c >= '0' && c <= '9'; }

// What a finished word is.
Config::TokenType classify(std::span<const std::uint16_t> word) {
  bool digit = false, point = false, exponent = false;
  for (const std::uint16_t c : word) {
    if (is_digit(c)) {
      digit = true;
    } else if (c == '.' && !point && !exponent) {
      point = true;
    } else if ((c == 'E' || c == 'e') && !exponent && digit) {
      exponent = true;
    } else {
      return Config::KEYWORD_TOKEN;
    }
  }
  return point || exponent ? Config::FP_TOKEN : Config::INT_TOKEN;
}

/// Whether the units of a word, behind its first, end in an exponent letter that stands behind a digit, so that a sign
/// belongs to the word. Characters that could separate change nothing.
class ExponentMark {
 public:
  /// `word`: the word so far; it may have grown since the last call.
  bool after(std::span<const std::uint16_t> word) {
    for (; fLooked < word.size(); ++fLooked) {
      const std::uint16_t c = word[fLooked];
      if (c == 'E' || c == 'e') {
        fExponent = fExponent || fDigit;
      } else if (separators_begun_by(c) == 0) {
        fExponent = false;
        fDigit = is_digit(c);
      }
    }
    return fExponent;
  }

 private:
  std::size_t fLooked = 1;
  bool fDigit = false;
  bool fExponent = false;
};

}  // namespace

/// Writes the text of a token straight into the token buffer. On every way out, errors too, the token's text is what
/// was put, zero units included.
class Config::TokenWriter {
 public:
  /// More than `limit` units raise `overflow`. Requires: the buffer has room for them.
  TokenWriter(Config& config, std::int32_t limit, std::uint32_t overflow)
      : fConfig(config), fText(config.fToken.begin()), fLimit(static_cast<std::uint32_t>(limit)), fOverflow(overflow) {}
  TokenWriter(const TokenWriter&) = delete;
  TokenWriter& operator=(const TokenWriter&) = delete;
  ~TokenWriter() { fConfig.fToken.terminate(fSize); }

  void put(std::uint16_t c) {
    if (fSize == fLimit) fConfig.fail_scan(fOverflow);
    fText[fSize++] = c;
  }
  /// Takes bytes of the channel as long as they are of none of `classes`, lie ready and don't exceed the limit.
  void put_up_to(std::uint32_t classes) {
    const auto bytes = fConfig.ahead();
    const auto n = static_cast<std::uint32_t>(std::min<std::size_t>(bytes.size(), fLimit - fSize));
    std::uint16_t* const to = fText + fSize;
    std::uint32_t i = 0;
    for (; i < n && (CLASSES[bytes[i]] & (classes | NOT_PLAIN)) == 0; ++i) to[i] = bytes[i];
    fConfig.skip(i);
    fSize += i;
  }
  std::span<const std::uint16_t> text() const { return {fText, fSize}; }
  /// A unit for which the limit leaves room.
  void put_last(std::uint16_t c) { fText[fSize++] = c; }

 private:
  Config& fConfig;
  std::uint16_t* fText;
  std::uint32_t fSize = 0;
  std::uint32_t fLimit;
  std::uint32_t fOverflow;
};

void Config::fail_scan(std::uint32_t code) {
  if (fChannel->cutOff()) fCutOffShown = true;
  throw ConfigError(code, false);
}

Config::TokenType Config::next_token() {
  if (fHeld) return fType;
  fHeld = true;
  clear_token();
  std::uint16_t c = getC();
  for (;;) {
    switch (c) {
      case TAB:
      case CR:
      case ' ':
        break;
      case LF:
      case '|':
        if (fInStatement) return set_mark_token(EOS_TOKEN, u"<EOS>");
        break;
      case EOF_CHAR:
        ungetC(c);
        return set_mark_token(EOF_TOKEN, u"<EOF>");
      case '!':
        c = skip_to_line_end();
        continue;
      case '&':
        c = skip_continuation();
        continue;
      case '#':
        if (fHashSyntax && (fSeparators & SEP_HASH) == 0) {
          c = skip_to_line_end();
          continue;
        }
        return scan_token(c);
      default:
        return scan_token(c);
    }
    c = getC();
  }
}

// A host may have shrunk the token's block through getKeyword.
void Config::clear_token() {
  if (fToken.MemResizable::size() < (STRING_SIZE + 1) * sizeof(std::uint16_t)) fToken.fill(STRING_SIZE, ' ');
  fToken.terminate(0u);
}

Config::TokenType Config::set_mark_token(TokenType t, const char16_t* text) {
  fTokenPlace = fSeen;
  TokenWriter token(*this, STRING_SIZE, ConfigError::STRING_TOO_LONG);
  while (*text != 0) token.put(*text++);
  return fType = t;
}

// Takes bytes of the channel as long as they are of none of `classes` and lie ready. Line feeds must be among them.
void Config::skip_up_to(std::uint32_t classes) {
  const auto bytes = ahead();
  std::uint32_t n = 0;
  while (n < bytes.size() && (CLASSES[bytes[n]] & (classes | NOT_PLAIN)) == 0) ++n;
  skip(n);
}

// Takes characters up to a line end or the end of the text, and returns that.
std::uint16_t Config::skip_to_line_end() {
  for (;;) {
    skip_up_to(LINE_ENDS);
    const std::uint16_t c = getC();
    if (c == LF || c == CR || c == EOF_CHAR) return c;
    if (channel_is_cut_off(c)) {
      fCutOffShown = true;
      return EOF_CHAR;
    }
  }
}

std::uint16_t Config::skip_continuation() {
  std::uint16_t c = skip_to_line_end();
  while (c == LF || c == CR) c = getC();
  return c;
}

Config::TokenType Config::scan_token(std::uint16_t first) {
  fTokenPlace = fSeen;
  fInStatement = true;
  if (first == '"') return scan_string();
  if (first == '\'') return scan_quoted_keyword();
  const TokenType separator = enabled_separator(first);
  return separator != NO_TOKEN ? set_tok_str_to_sep(separator) : scan_word(first);
}

Config::TokenType Config::scan_string() {
  {
    TokenWriter token(*this, STRING_SIZE, ConfigError::STRING_TOO_LONG);
    for (;;) {
      token.put_up_to(STRING_STOPS);
      const std::uint16_t c = getC();
      if (c == '"') {
        if (fHashSyntax || !quote_is_doubled(c, STRING_TOKEN, token)) break;
        token.put(c);
      } else if (c == EOF_CHAR || c == LF || c == CR) {
        ungetC(c);
        fail_scan(ConfigError::UNCLOSED_STRING);
      } else if (c == '\\' && fHashSyntax) {
        scan_escape(token);
      } else if ((c < FIRST_CONTROL_FREE && c != TAB) || c == DEL) {
        fail_scan(ConfigError::CONTROL_CHARACTER);
      } else {
        token.put(c);
      }
    }
  }
  return end_token(STRING_TOKEN);
}

// What follows a backslash in a string.
void Config::scan_escape(TokenWriter& token) {
  const std::uint16_t c = getC();
  if (c == '"' || c == '\\') {
    token.put(c);
  } else if (c == 'n') {
    token.put(LF);
  } else if (c == 't') {
    token.put(TAB);
  } else if (c == 'x') {
    const std::int32_t high = escape_digit(16);
    token.put(static_cast<std::uint16_t>(high * 16 + escape_digit(16)));
  } else if (c >= '0' && c <= '3') {
    const std::int32_t high = digit(c, false) * 8 + escape_digit(8);
    token.put(static_cast<std::uint16_t>(high * 8 + escape_digit(8)));
  } else {
    ungetC(c);
    token.put('\\');
  }
}

std::int32_t Config::escape_digit(std::int32_t base) {
  const std::int32_t value = digit(getC(), base == 16);
  if (value < 0 || value >= base) fail_scan(ConfigError::BAD_ESCAPE);
  return value;
}

Config::TokenType Config::scan_quoted_keyword() {
  {
    // The opening quote counts, and room is kept for the closing one.
    TokenWriter token(*this, STRING_SIZE - 1, ConfigError::STRING_TOO_LONG);
    token.put('\'');
    for (;;) {
      token.put_up_to(QUOTED_STOPS);
      const std::uint16_t c = getC();
      if (c == '\'') {
        if (!quote_is_doubled(c, KEYWORD_TOKEN, token)) break;
        token.put(c);
      } else if (c == EOF_CHAR || c == LF || c == CR) {
        ungetC(c);
        fail_scan(ConfigError::UNCLOSED_KEYWORD);
      } else if (c < FIRST_CONTROL_FREE) {
        fail_scan(ConfigError::CONTROL_CHARACTER);
      } else {
        token.put(c);
      }
    }
    token.put_last('\'');
  }
  return end_token(KEYWORD_TOKEN);
}

// Looks behind a quote that closes the token unless it is doubled. If that can't be read, the token is complete.
bool Config::quote_is_doubled(std::uint16_t quote, TokenType complete, TokenWriter& token) {
  try {
    return take_if(quote);
  } catch (...) {
    if (complete == KEYWORD_TOKEN) token.put_last(quote);
    fType = complete;
    throw;
  }
}

bool Config::take_if(std::uint16_t wanted) {
  const std::uint16_t c = getC();
  if (c == wanted) return true;
  ungetC(c);
  return false;
}

Config::TokenType Config::enabled_separator(std::uint16_t c) {
  const SeparatorType enabled = separators_begun_by(c) & fSeparators;
  const TokenType single = (enabled & SINGLES) != 0 ? static_cast<TokenType>(c) : NO_TOKEN;
  if ((enabled & ~SINGLES) == 0) return single;
  try {
    for (const Separator& s : SEPARATORS) {
      if (s.second == 0 || (enabled & s.bit) == 0) continue;
      if (take_if(static_cast<std::uint16_t>(s.second))) return s.type;
    }
  } catch (...) {
    TokenWriter(*this, KEYWORD_SIZE, ConfigError::WORD_TOO_LONG).put(c);
    if (single != NO_TOKEN) fType = single;  // complete, whatever stands behind it; otherwise a word had begun
    throw;
  }
  return single;
}

Config::TokenType Config::set_tok_str_to_sep(TokenType t) {
  TokenWriter token(*this, STRING_SIZE, ConfigError::STRING_TOO_LONG);
  if (t < EQUALS_EQUALS_TOKEN) {
    token.put(static_cast<std::uint16_t>(t));
    return fType = t;
  }
  for (const Separator& s : SEPARATORS) {
    if (s.type != t) continue;
    token.put(static_cast<std::uint16_t>(s.first));
    token.put(static_cast<std::uint16_t>(s.second));
  }
  return fType = t;
}

Config::TokenType Config::scan_word(std::uint16_t first) {
  {
    TokenWriter token(*this, KEYWORD_SIZE, ConfigError::WORD_TOO_LONG);
    token.put(first);
    ExponentMark exponent;
    const std::uint32_t enders = word_enders();
    const auto ends = [&](std::uint32_t c) {
      const bool sign = c == '+' || c == '-';
      return (classes_of(c) & enders) != 0 && !(sign && exponent.after(token.text()));
    };
    for (;;) {
      token.put_up_to(enders);
      if (ends(peek())) break;
      const std::uint16_t c = getC();
      if (ends(c)) {
        ungetC(c);
        break;
      }
      token.put(c);
    }
  }
  return end_token(classify(fToken.units()));
}

// The classes of the characters that end a word, but for a sign behind an exponent letter.
std::uint32_t Config::word_enders() const {
  return WORD_ENDS | (fSeparators & ALL_SEPARATORS) | (fHashSyntax ? SEP_HASH : 0);
}

Config::TokenType Config::end_token(TokenType t) {
  fType = t;  // first: if what follows can't be read, the token is there all the same
  std::uint32_t next = peek();
  for (; next == ' ' || next == TAB; next = peek()) skip(1);
  if (next != NO_CHAR) return t;
  std::uint16_t c = getC();
  while (c == ' ' || c == TAB) c = getC();
  ungetC(c);
  return t;
}

std::int32_t Config::digit(std::uint16_t c, bool hex) {
  if (is_digit(c)) return c - '0';
  if (hex && c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (hex && c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

}  // namespace zqcore27
