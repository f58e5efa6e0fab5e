// 10 MiB of configuration text from a file, walked token by token with the value of every number.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

#include "bench/support/input_file.h"
#include "zqcore27/config/config.h"
#include "zqcore27/files/file_locator.h"

#ifdef HAVE_GLIB
#include <glib.h>
#endif

namespace {

constexpr std::size_t BYTES = 10 << 20;

void writeText(std::ostream& file) {
  std::size_t written = 0;
  for (int i = 0; written < BYTES; ++i) {
    const std::string n = std::to_string(i);
    std::string line;
    switch (i % 5) {
      case 0:
        line = "! section " + n + " of the settings, with a remark of some length\n";
        break;
      case 1:
        line = "name_" + n + " = \"a text of some words and the number " + n + "\"\n";
        break;
      case 2:
        line = "  size_" + n + " = " + n + ", " + std::to_string(i * 7 % 1000) + ", 640, 480\n";
        break;
      case 3:
        line = "  factor_" + n + " = " + std::to_string(i % 100) + ".625; 0.125; 17.5  ! three factors\n";
        break;
      default:
        line = "option_" + n + " = enabled, visible, persistent_across_restarts\n\n";
        break;
    }
    file << line;
    written += line.size();
  }
}

const InputFile& input() {
  static const InputFile made("config_bench", writeText);
  return made;
}

/// Every reader is held to the same tokens.
struct Tokens {
  std::size_t statements = 0, words = 0, strings = 0, units = 0, separators = 0;
  std::int64_t integers = 0;
  double numbers = 0;
  bool operator==(const Tokens&) const = default;
};

Tokens readWithLibrary() {
  Tokens tokens;
  const String path(input().path().c_str());
  Config config{FileLocator(path)};
  for (;;) {
    switch (config.nextToken()) {
      case Config::EOF_TOKEN:
        return tokens;
      case Config::EOS_TOKEN:
        ++tokens.statements;
        config.checkEOS();
        break;
      case Config::KEYWORD_TOKEN:
        ++tokens.words;
        tokens.units += config.getKeyword().size();
        break;
      case Config::STRING_TOKEN:
        ++tokens.strings;
        tokens.units += config.getStr().size();
        break;
      case Config::INT_TOKEN:
        tokens.integers += config.getInt();
        break;
      case Config::FP_TOKEN:
        tokens.numbers += config.getFp();
        break;
      default:
        ++tokens.separators;
        config.releaseToken();
        break;
    }
  }
}

/// What a host would write for this one form of text: lines, cut at the characters that separate.
Tokens splitByHand() {
  Tokens tokens;
  std::ifstream file(input().path(), std::ios::binary);
  std::string line;
  while (std::getline(file, line)) {
    bool any = false;
    const char* p = line.c_str();
    for (;;) {
      while (*p == ' ') ++p;
      if (*p == 0 || *p == '!') break;
      any = true;
      const char* const start = p;
      if (*p == '"') {
        while (*++p != '"') {
        }
        ++tokens.strings;
        tokens.units += static_cast<std::size_t>(p++ - start - 1);
      } else if (*p == '=' || *p == ',' || *p == ';') {
        ++tokens.separators;
        ++p;
      } else if (*p >= '0' && *p <= '9') {
        char* end;
        const long integer = std::strtol(p, &end, 10);
        if (*end == '.') {
          tokens.numbers += std::strtod(p, &end);
        } else {
          tokens.integers += integer;
        }
        p = end;
      } else {
        while (*p != 0 && *p != ' ' && *p != '=' && *p != ',' && *p != ';') ++p;
        ++tokens.words;
        tokens.units += static_cast<std::size_t>(p - start);
      }
    }
    tokens.statements += any;
  }
  return tokens;
}

#ifdef HAVE_GLIB
Tokens readWithGlib() {
  Tokens tokens;
  const int descriptor = open(input().path().c_str(), O_RDONLY | O_CLOEXEC);
  GScanner* const scanner = g_scanner_new(nullptr);
  scanner->config->cset_skip_characters = const_cast<char*>(" \t\r\n");
  scanner->config->cpair_comment_single = const_cast<char*>("!\n");
  scanner->config->scan_identifier_1char = TRUE;
  scanner->config->scan_octal = FALSE;
  scanner->config->skip_comment_single = TRUE;
  scanner->config->char_2_token = TRUE;
  g_scanner_input_file(scanner, descriptor);
  guint statementLine = 0;
  for (;;) {
    const GTokenType type = g_scanner_get_next_token(scanner);
    if (type == G_TOKEN_EOF) break;
    if (scanner->line != statementLine) ++tokens.statements;
    statementLine = scanner->line;
    const GTokenValue value = scanner->value;
    if (type == G_TOKEN_IDENTIFIER) {
      ++tokens.words;
      tokens.units += std::string_view(value.v_identifier).size();
    } else if (type == G_TOKEN_STRING) {
      ++tokens.strings;
      tokens.units += std::string_view(value.v_string).size();
    } else if (type == G_TOKEN_INT) {
      tokens.integers += static_cast<std::int64_t>(value.v_int);
    } else if (type == G_TOKEN_FLOAT) {
      tokens.numbers += value.v_float;
    } else {
      ++tokens.separators;
    }
  }
  g_scanner_destroy(scanner);
  close(descriptor);
  return tokens;
}
#endif

template <Tokens (*READ)()>
void tokenise(benchmark::State& state) {
  static const Tokens expected = splitByHand();
  for (auto _ : state) {
    const Tokens tokens = READ();
    if (tokens != expected) {
      state.SkipWithError("other tokens than those of the split by hand");
      break;
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(BYTES));
}
BENCHMARK(tokenise<readWithLibrary>)
    ->Name("config: tokenise 10 MiB from a file/zqcore27")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(tokenise<splitByHand>)
    ->Name("config: tokenise 10 MiB from a file/split by hand")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
#ifdef HAVE_GLIB
BENCHMARK(tokenise<readWithGlib>)
    ->Name("config: tokenise 10 MiB from a file/GScanner")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
#endif

}  // namespace

BENCHMARK_MAIN();
