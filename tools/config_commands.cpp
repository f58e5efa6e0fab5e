// zqtool config check and tokens.

#include <iostream>
#include <memory>
#include <optional>

#include "tools/commands.h"
#include "tools/files.h"
#include "tools/source_view.h"
#include "tools/words.h"
#include "zqcore27/config/config.h"
#include "zqcore27/config/config_error.h"
#include "zqcore27/files/file_locator.h"

namespace zqtool {
namespace {

struct Options {
  std::vector<std::string> files;
  std::string language;
  std::uint32_t mask = Config::SEP_DEFAULT;
  std::optional<std::int32_t> key;
  bool utf8 = false, honourMarker = false;

  bool decrypt() const { return key.has_value() || honourMarker; }
};

/// What a walk over a file does with its tokens, beside telling its errors.
class Visitor {
 public:
  virtual ~Visitor() = default;
  /// Takes the token in hand, of type `type`, from `config`. What it raises is told as an error at that place.
  virtual void token(Config& config, Config::TokenType type) = 0;
  /// An error was told, and the rest of its line is passed over.
  virtual void lineDropped() {}
};

/// One file, from its first token to its last.
class Walk {
 public:
  Walk(std::string name, std::string path, const Options& options, Words& words)
      : fName(std::move(name)), fPath(std::move(path)), fOptions(options), fWords(words) {}

  /// True if there was no error.
  bool run(Visitor& visitor) {
    try {
      Config config{FileLocator(String(fPath.c_str()))};
      const bool plain = fOptions.honourMarker && beginsWithMarker();
      if (fOptions.decrypt()) config.enableDecryption(fOptions.key.value_or(0), fOptions.honourMarker);
      config.setUTF8(fOptions.utf8);
      config.enableSeparators(fOptions.mask);
      fDecoded = fOptions.decrypt() && !plain;
      while (step(config, visitor)) {
      }
    } catch (const Error& e) {
      tell(fName, e);
    }
    return fSound;
  }

 private:
  /// One token, or one error with the rest of its line. False at the end of the text.
  bool step(Config& config, Visitor& visitor) {
    try {
      const Config::TokenType type = config.nextToken();
      visitor.token(config, type);
      if (type == Config::EOS_TOKEN) config.checkEOS();
      return type != Config::EOF_TOKEN;
    } catch (const Error& e) {
      const bool ofToken = isAboutToken(e.code());
      const std::uint32_t line = ofToken ? config.tokenLine() : config.line();
      const std::uint32_t column = ofToken ? config.tokenColumn() : config.column();
      tell(fName + ":" + std::to_string(line) + ":" + std::to_string(column), e);
      if (!fView) fView.emplace(fPath, fDecoded, fOptions.utf8);
      std::cout << fView->mark(line, column);
      if (e.code() == ConfigError::READ_FAILED) return false;
    }
    visitor.lineDropped();
    return skipLine(config);
  }

  /// Bytes that mean nothing in the encoding may stand in the rest of a line, too.
  bool skipLine(Config& config) {
    while (true) {
      try {
        config.skipLine();
        return true;
      } catch (const ConfigError& e) {
        tell(fName, e);
        return false;
      } catch (const Error&) {
      }
    }
  }

  static bool isAboutToken(std::uint32_t code) {
    switch (code) {
      case ConfigError::NOT_A_STRING:
      case ConfigError::NOT_A_BOOL:
      case ConfigError::NOT_A_KEYWORD:
      case ConfigError::NOT_A_NUMBER:
      case ConfigError::NOT_AN_INTEGER:
      case ConfigError::TOKENS_LEFT:
        return true;
      default:
        return false;
    }
  }

  bool beginsWithMarker() const {
    const FileBytes file = readFile(fPath);
    std::string_view text(reinterpret_cast<const char*>(file.bytes.data()), file.bytes.size());
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    return text.starts_with('!');
  }

  void tell(const std::string& place, const Error& e) {
    fSound = false;
    std::cout << place << ": " << fWords.of(e) << '\n';
  }

  std::string fName, fPath;
  const Options& fOptions;
  Words& fWords;
  std::optional<SourceView> fView;  // made for the first error
  bool fDecoded = false;
  bool fSound = true;
};

/// Holds a text to what every host expects: a statement begins with a name, or with one of the separators that aren't
/// on from the start, such as a bracket; and what looks like a number is one.
class Checker : public Visitor {
 public:
  void token(Config& config, Config::TokenType type) override {
    if (type == Config::EOF_TOKEN || type == Config::EOS_TOKEN) {
      fBegun = false;
    } else if (!fBegun && !mayBegin(type)) {
      config.getKeyword();  // raises what a host would raise here
    } else if (type == Config::INT_TOKEN || type == Config::FP_TOKEN) {
      config.getFp();
    } else {
      config.releaseToken();
      fBegun = true;
    }
  }
  void lineDropped() override { fBegun = false; }

 private:
  static bool mayBegin(Config::TokenType type) {
    switch (type) {
      case Config::INT_TOKEN:
      case Config::FP_TOKEN:
      case Config::STRING_TOKEN:
      case Config::COMMA_TOKEN:
      case Config::SEMICOLON_TOKEN:
      case Config::PLUS_TOKEN:
      case Config::MINUS_TOKEN:
      case Config::EQUALS_TOKEN:
        return false;
      default:
        return true;
    }
  }

  bool fBegun = false;  // a token of the statement has been seen
};

const char* nameOf(Config::TokenType type) {
  switch (type) {
    case Config::EOF_TOKEN:
      return "end";
    case Config::EOS_TOKEN:
      return "statement-end";
    case Config::KEYWORD_TOKEN:
      return "keyword";
    case Config::INT_TOKEN:
      return "integer";
    case Config::STRING_TOKEN:
      return "string";
    case Config::FP_TOKEN:
      return "number";
    default:
      return "separator";
  }
}

/// On one line, whatever is in it.
std::string escaped(const String& text) {
  String out;
  for (const std::uint16_t c : text.units()) {
    if (c == u'\\') {
      out += u"\\\\";
    } else if (c < 0x20 || c == 0x7F) {
      String escape;
      escape.build("\\x%02x", static_cast<unsigned>(c));
      out += escape;
    } else {
      out += c;
    }
  }
  return nativeText(out);
}

class Printer : public Visitor {
 public:
  void token(Config& config, Config::TokenType type) override {
    std::cout << config.tokenLine() << '\t' << config.tokenColumn() << '\t' << nameOf(type) << '\t'
              << escaped(config.tokenText()) << '\n';
    if (type != Config::EOF_TOKEN && type != Config::EOS_TOKEN) config.releaseToken();
  }
};

template <class V>
int walkAll(const Options& o) {
  Words words(o.language);
  int status = EXIT_GOOD;
  for (const std::string& file : o.files) {
    std::optional<InputCopy> input;
    if (file == "-") input.emplace();
    if (input && !input->fault().empty()) {
      std::cerr << "-: " << input->fault() << '\n';
      status = EXIT_ERRORS;
      continue;
    }
    V visitor;
    if (!Walk(file, input ? input->path() : file, o, words).run(visitor)) status = EXIT_ERRORS;
  }
  return status;
}

void addOptions(CLI::App& c, const std::shared_ptr<Options>& o) {
  c.add_option("FILE", o->files, "Configuration files; - is standard input")->required();
  c.add_option("--separators", o->mask, "The enabled separators as a sum of their bits, decimal or 0x...")
      ->capture_default_str();
  c.add_flag("--utf8", o->utf8, "The text is UTF-8, not in the encoding of the user's locale");
  c.add_option("--key", o->key, "The text is scrambled; the key that hosts pass to decrypt it");
  c.add_flag("--honour-marker", o->honourMarker, "The text is scrambled unless it begins with !");
  c.add_option("--language", o->language, "The language of the messages, such as de; the user's own by default");
}

}  // namespace

void addConfigCommands(CLI::App& app, int& status) {
  auto* config = app.add_subcommand("config", "Check and take apart configuration files");
  config->require_subcommand(1);

  const auto o = std::make_shared<Options>();
  auto* check = config->add_subcommand("check", "Tell every error of configuration files");
  addOptions(*check, o);
  check->footer(
      "A statement must begin with a name, or with a separator other than , ; + - =; texts must be closed, words not\n"
      "too long, numbers well formed. An error is told as FILE:LINE:COLUMN: words, with the line and a caret under "
      "the\n"
      "place; the rest of the line is passed over. In a scrambled text lines and columns count decoded text.\n\n"
      "Bits of --separators: , 0x1  ; 0x2  + 0x4  - 0x8  = 0x10  / 0x20  * 0x40  ^ 0x80  $ 0x100  ( 0x200  ) 0x400\n"
      "< 0x800  > 0x1000  { 0x2000  } 0x4000  : 0x8000  == 0x10000  >= 0x20000  <= 0x40000  <> 0x80000  >< 0x100000\n"
      "** 0x200000  ~ 0x400000  @ 0x800000  % 0x1000000  # 0x2000000\n\n"
      "The exit status is 0 without an error, 1 with one.\n\n"
      "Example: zqtool config check --utf8 --language ja /etc/server.conf");
  check->callback([o, &status] { status = walkAll<Checker>(*o); });

  const auto t = std::make_shared<Options>();
  auto* tokens = config->add_subcommand("tokens", "Print the tokens of configuration files");
  addOptions(*tokens, t);
  tokens->footer(
      "One token a line: line, column, type and text, with a tab between. Control characters in a text are shown as\n"
      "\\x and two digits, and a backslash as two. Errors are told as by zqtool config check.");
  tokens->callback([t, &status] { status = walkAll<Printer>(*t); });
}

}  // namespace zqtool
