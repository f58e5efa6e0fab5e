#pragma once

// Texts for a Config out of each kind of source, and tokens as one line of text.

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/temp_dir.h"
#include "tests/support/text.h"
#include "zqcore27/config/config.h"
#include "zqcore27/config/config_error.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/files/file_locator.h"
#include "zqcore27/strings/armour.h"

/// A file of given bytes, removed with the object.
struct BytesFile {
  explicit BytesFile(std::string_view bytes) : path(directory.write("text.conf", std::string(bytes))) {}
  FileLocator locator() const { return FileLocator(String::fromUTF8(path)); }

  const TempDir directory;
  const std::string path;
};

inline std::string armoured(std::string_view line) {
  std::vector<unsigned char> out(LengthInAscii(static_cast<std::uint32_t>(line.size())) + 5);
  auto length = static_cast<std::int32_t>(out.size());
  StringInOut(reinterpret_cast<const unsigned char*>(line.data()), static_cast<std::int32_t>(line.size()), out.data(),
              &length);
  return std::string(reinterpret_cast<const char*>(out.data()), static_cast<std::size_t>(length));
}

/// Each line by itself, as the decrypting reader expects it; a line end in an empty line is kept.
inline std::string armouredLines(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    if (end != 0) out += armoured(text.substr(0, end));
    if (end == std::string_view::npos) break;
    out += '\n';
    text.remove_prefix(end + 1);
  }
  return out;
}

enum class Kind { STREAM, STRING, PLAIN_FILE, ARMOURED_FILE, HASH_FILE, ARMOURED_HASH_FILE };
inline constexpr Kind ALL_KINDS[] = {Kind::STREAM, Kind::STRING, Kind::PLAIN_FILE, Kind::ARMOURED_FILE};

/// A Config with all that it reads from. In front of the text, and never armoured, hash files have a line that settles
/// their syntax.
class Source {
 public:
  Source(Kind kind, const std::string& text)
      : fStream(text), fString(String::fromUTF8(kind == Kind::STRING ? text : "")) {
    if (kind == Kind::STREAM) {
      fConfig = std::make_unique<Config>(fStream);
    } else if (kind == Kind::STRING) {
      fConfig = std::make_unique<Config>(static_cast<const String&>(fString));
    } else {
      const bool armour = kind == Kind::ARMOURED_FILE || kind == Kind::ARMOURED_HASH_FILE;
      const bool hash = kind == Kind::HASH_FILE || kind == Kind::ARMOURED_HASH_FILE;
      fFile = std::make_unique<BytesFile>((hash ? "#\n" : "") + (armour ? armouredLines(text) : text));
      fConfig = std::make_unique<Config>(fFile->locator());
      if (armour) fConfig->enableDecryption(0, false);
    }
  }
  Config& operator*() { return *fConfig; }
  Config* operator->() { return fConfig.get(); }

 private:
  std::istringstream fStream;
  const String fString;
  std::unique_ptr<BytesFile> fFile;
  std::unique_ptr<Config> fConfig;
};

inline std::string tokenName(Config& config, Config::TokenType t) {
  static const std::map<Config::TokenType, std::string> LETTERS = {
      {Config::KEYWORD_TOKEN, "K"}, {Config::INT_TOKEN, "I"}, {Config::STRING_TOKEN, "S"}, {Config::FP_TOKEN, "F"}};
  const std::string text = utf8(config.tokenText());
  return LETTERS.contains(t) ? LETTERS.at(t) + "(" + text + ")" : text;
}

/// The low 12 bits of the code, as "!109".
inline std::string codeName(const Error& e) {
  std::ostringstream out;
  out << "!" << std::hex << (e.code() & 0xFFF);
  return out.str();
}

/// Every token up to the end of the text, statements closed, errors with what was read of the token; behind refused
/// bytes, the token that they leave held.
inline std::string allTokens(Config& config) {
  std::string out;
  for (int budget = 300000; budget != 0; --budget, out += " ") {
    try {
      const Config::TokenType t = config.nextToken();
      out += tokenName(config, t);
      if (t == Config::EOF_TOKEN) return out;
      t == Config::EOS_TOKEN ? static_cast<void>(config.checkEOS()) : config.releaseToken();
    } catch (const StringError& e) {
      out += codeName(e);
    } catch (const ConfigError& e) {
      out += codeName(e) + "(" + utf8(config.tokenText()) + ")";
      config.releaseToken();
    }
  }
  return out + " without end";
}

/// A text, and the tokens that it gives.
struct TokensRow {
  int line;
  Config::SeparatorType separators;
  std::string text, tokens;
};
inline void expectTokens(std::span<const TokensRow> rows, std::span<const Kind> kinds) {
  for (const TokensRow& row : rows) {
    for (const Kind kind : kinds) {
      SCOPED_TRACE(testing::Message() << "row of line " << row.line << ", source " << static_cast<int>(kind));
      Source source(kind, row.text);
      EXPECT_EQ(source->getError(), Config::ERR_NONE);
      EXPECT_EQ(source->charactersProcessed(), 0u);
      source->enableSeparators(row.separators);
      EXPECT_EQ(allTokens(*source), row.tokens);
    }
  }
}
