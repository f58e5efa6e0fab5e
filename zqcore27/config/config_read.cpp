// What a client reads: tokens, values, statements.

#include "zqcore27/config/channel.h"
#include "zqcore27/config/config.h"
#include "zqcore27/config/config_error.h"
#include "zqcore27/errors/cstr.h"

inline namespace zqcore27 {

namespace {

// The offending token stays held.
[[noreturn]] void refuse(std::uint32_t code) { throw ConfigError(code, false); }

}  // namespace

Config::TokenType Config::nextToken() { return next_token(); }

void Config::releaseToken() { fHeld = false; }

String& Config::getKeyword() {
  if (next_token() != KEYWORD_TOKEN) refuse(ConfigError::NOT_A_KEYWORD);
  releaseToken();
  return fToken;
}

const String& Config::getStr() {
  if (next_token() != STRING_TOKEN) refuse(ConfigError::NOT_A_STRING);
  releaseToken();
  return fToken;
}

// Takes a sign, if there is one. True for a minus.
bool Config::take_sign() {
  const TokenType t = next_token();
  if (t != MINUS_TOKEN && t != PLUS_TOKEN) return false;
  releaseToken();
  return t == MINUS_TOKEN;
}

std::int32_t Config::get_int() {
  const bool minus = take_sign();
  if (next_token() != INT_TOKEN) refuse(ConfigError::NOT_AN_INTEGER);
  releaseToken();
  std::uint32_t value = 0;
  for (const std::uint16_t c : fToken.units()) value = value * 10 + (c - std::uint32_t{'0'});
  return static_cast<std::int32_t>(minus ? 0 - value : value);
}

std::int32_t Config::getInt() { return get_int(); }

double Config::getFp() {
  const bool minus = take_sign();
  const TokenType t = next_token();
  if (t != FP_TOKEN && t != INT_TOKEN) refuse(ConfigError::NOT_A_NUMBER);
  releaseToken();
  double value = 0;
  if (fToken.scan("%lf", &value) < 1) refuse(ConfigError::NOT_A_NUMBER);
  return minus ? -value : value;
}

bool Config::getBool() {
  static constexpr struct {
    const char16_t* text;
    bool value;
  } WORDS[] = {{u"N", false}, {u"Y", true}, {u"No", false}, {u"Yes", true}, {u"False", false}, {u"True", true}};
  const TokenType t = next_token();
  if (t == INT_TOKEN) return get_int() != 0;
  if (t == KEYWORD_TOKEN) {
    for (const auto& word : WORDS) {
      if (fToken == word.text) {
        releaseToken();
        return word.value;
      }
    }
  }
  refuse(ConfigError::NOT_A_BOOL);
}

bool Config::checkEOS() {
  const TokenType t = next_token();
  if (t != EOF_TOKEN && t != EOS_TOKEN) refuse(ConfigError::TOKENS_LEFT);
  releaseToken();
  fInStatement = false;
  return true;
}

Config::TokenType Config::matchSeparator(TokenType t) {
  if (next_token() != t) return NO_TOKEN;
  releaseToken();
  return t;
}

std::uint32_t Config::matchKeyword(CStr* catalogue, std::uint32_t first, std::uint32_t last) {
  if (next_token() != KEYWORD_TOKEN) refuse(ConfigError::NOT_A_KEYWORD);
  releaseToken();
  return catalogue->findKeyword(first, last, fToken);
}

void Config::releaseLine() {
  while (next_token() != EOF_TOKEN && fType != EOS_TOKEN) releaseToken();
}

}  // namespace zqcore27
