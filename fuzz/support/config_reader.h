#pragma once

// Reads a configuration text to its end in the ways of a host, and writes down what came.

#include <string>

#include "fuzz/support/fuzz.h"
#include "tests/support/text.h"
#include "zqcore27/config/config.h"
#include "zqcore27/config/config_error.h"
#include "zqcore27/errors/string_error.h"

namespace fuzz {

/// Text in which "`", a digit and a character stand, once, for a run of that character: 0 to 2, about the longest word;
/// 3 to 7, about the longest quoted text and a block of a file; 8, two blocks. Texts of every eighth length only, for
/// speed.
inline std::string expanded(std::string_view text) {
  constexpr std::size_t LENGTHS[] = {1023, 1024, 1025, 15995, 15998, 15999, 16000, 16001, 31999};
  std::string out(text);
  if (text.size() % 8 != 0) return out;
  for (std::size_t i = out.find('`'); i != out.npos && i + 2 < out.size(); i = out.find('`', i + 1)) {
    if (const int n = out[i + 1] - '0'; n >= 0 && n <= 8) return out.replace(i, 3, LENGTHS[n], out[i + 2]);
  }
  return out;
}

/// The separators: as from the start, none, all, or any.
inline Config::SeparatorType separators(Input& in) {
  constexpr Config::SeparatorType SOME[] = {Config::SEP_DEFAULT, 0, 0x3FFFFFF, 0x3FFFFFF & ~Config::SEP_HASH};
  const std::uint32_t choice = in.below(5);
  return choice < 4 ? SOME[choice] : in.value<std::uint32_t>();
}

class Reader {
 public:
  /// Takes these steps and one to the next token, again and again.
  Reader(Config& config, std::string_view steps) : fConfig(config), fSteps(steps.substr(0, 7)) { fSteps += '0'; }

  /// What was read, with the place of each token and error if `places`. Behind many characters that are no text the
  /// rest is left, since each costs as much as a small file.
  std::string read(std::size_t units, bool places) {
    for (std::size_t budget = (3 * units + 20) * fSteps.size(); !fEnded; --budget) {
      require(budget != 0, "reading comes to an end");
      const std::uint32_t before = fConfig.charactersProcessed();
      try {
        step(fSteps[fTaken++ % fSteps.size()]);
        fFailures = 0;
      } catch (const ConfigError& e) {
        const std::uint32_t code = e.code() & 0xFFF;
        require((code >= 0x109 && code <= 0x114) && !e.fatal(), "an error is one of the text");
        fOut += "!" + std::to_string(code) + "(" + utf8(fConfig.tokenText()) + ")";
        if (++fFailures > 1) fConfig.releaseToken();  // else the next step meets the token that this one refused
      } catch (const StringError&) {
        fOut += "!bytes";
        if (++fRefused == 32) return fOut;
      }
      require(fConfig.charactersProcessed() >= before, "reading goes on");
      require(fConfig.line() >= 1 || !places, "lines count from 1");
      if (!places) continue;
      for (const std::uint32_t n : {fConfig.line(), fConfig.column(), fConfig.tokenLine(), fConfig.tokenColumn(),
                                    fConfig.charactersProcessed()}) {
        fOut += "@" + std::to_string(n);
      }
    }
    return fOut;
  }

 private:
  void step(char kind) {
    switch (kind) {
      case 'k':
        return note("k", utf8(fConfig.getKeyword()));
      case 's':
        return note("s", utf8(fConfig.getStr()));
      case 'i':
        return note("i", std::to_string(fConfig.getInt()));
      case 'f':
        return note("f", std::to_string(fConfig.getFp()));
      case 'b':
        return note("b", std::to_string(static_cast<int>(fConfig.getBool())));
      case '=':
        return note("=", std::to_string(fConfig.matchSeparator(Config::EQUALS_TOKEN)));
      case 'e':
        return end(fConfig.nextToken() == Config::EOF_TOKEN && fConfig.checkEOS());
      case 'l':
        fConfig.releaseLine();
        return end(fConfig.nextToken() == Config::EOF_TOKEN);
      case '/':
        fConfig.skipLine();
        return note("/", "");
      case 'm':
        return fConfig.enableSeparators(0x5555555U << fTaken % 2);
      case 'w':  // what a host must not do, and what must not hurt
        fConfig.getKeyword().resize(2);
        return note("w", "");
      default: {
        const Config::TokenType t = fConfig.nextToken();
        require(fConfig.nextToken() == t, "a token is held");
        note(std::to_string(t), utf8(fConfig.tokenText()));
        if (t == Config::EOS_TOKEN) return end(!fConfig.checkEOS());
        fConfig.releaseToken();
        return end(t == Config::EOF_TOKEN);
      }
    }
  }
  void note(const std::string& what, const std::string& text) { fOut += " " + what + "(" + text + ")"; }
  /// Behind the end there is nothing but the end.
  void end(bool ended) {
    fEnded = ended;
    if (!ended) return;
    fConfig.releaseToken();
    require(fConfig.nextToken() == Config::EOF_TOKEN && fConfig.checkEOS(), "the end stays the end");
  }

  Config& fConfig;
  std::string fSteps;
  std::size_t fTaken = 0;
  int fFailures = 0;
  int fRefused = 0;
  bool fEnded = false;
  std::string fOut;
};

}  // namespace fuzz
