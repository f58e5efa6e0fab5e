// The roads of what a host reads: a configuration file is opened, a thread reads ahead, tokens are taken, and its error
// gets its words; catalogues are searched, opened and checked, pages are read, values are put in.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/faults/fault_loop.h"
#include "tests/support/catalogue_builder.h"
#include "tests/support/temp_dir.h"
#include "zqcore27/catalogue/cstr_enterprise.h"
#include "zqcore27/catalogue/cstr_error.h"
#include "zqcore27/config/config.h"
#include "zqcore27/config/config_error.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/files/file_locator.h"
#include "zqcore27/strings/armour.h"

namespace {

constexpr std::uint32_t LINES = 1200;       // three blocks of the channel
constexpr std::uint32_t SECRET_LINES = 12;  // of the armoured file

/// One statement. False at the end of the text.
bool readStatement(Config& config, std::uint32_t number) {
  char expected[32];
  if (config.nextToken() == Config::EOF_TOKEN) return false;
  std::snprintf(expected, sizeof expected, "name_%04u", number);
  requireText(config.getKeyword().begin(), expected);
  require(config.matchSeparator(Config::EQUALS_TOKEN) == Config::EQUALS_TOKEN, "=");
  require(config.getInt() == -static_cast<std::int32_t>(number), "the number");
  require(config.matchSeparator(Config::COMMA_TOKEN) == Config::COMMA_TOKEN, ",");
  std::snprintf(expected, sizeof expected, "text number %04u", number);
  requireText(config.getStr().begin(), expected);
  return config.checkEOS();
}

/// What the error says: its words, or that there are none, or nothing where the page of the text couldn't be read.
/// No exception leaves a description.
void requireWords(const FaultRun& run, const Error& e, CStr& cstr, const char* words) noexcept {
  const std::uint16_t* const text = e.description(&cstr);
  if (run.failed() && sameText(text, "Error in obtaining description of previous error.")) return;
  if (run.failed(FAULT_READ | FAULT_SEEK) && sameText(text, "")) return;
  requireText(text, words);
  require(text == e.description(nullptr), "the words stay");
}

/// One file and what it is read for.
struct Reading {
  /// How many were read so far.
  std::uint64_t bytes() const { return faultsSeen().read - before; }

  const FaultRun& run;
  CStr& cstr;
  bool secret;
  std::uint64_t before = faultsSeen().read;
};

/// The error in the middle of the text: what is wrong with it, or that no more of it can be had. True for the former.
bool isLast(const Reading& of, Config& config, const ConfigError& e, std::uint32_t lines) {
  if (e.code() == ConfigError::READ_FAILED) {
    require(of.run.failed(FAULT_READ | FAULT_HEAP), "something was wrong with reading");
    require(config.charactersProcessed() == of.bytes(), "all that was read has been delivered");
    try {
      config.releaseToken();
      config.nextToken();
      require(false, "it comes at every try");
    } catch (const ConfigError& again) {
      require(again.code() == e.code(), "the same error");
    }
    return false;
  }
  require(e.code() == ConfigError::UNCLOSED_STRING && lines == LINES, "the one error of the text");
  requireWords(of.run, e, of.cstr, "Die Zeichenkette ist nicht geschlossen");
  config.skipLine();
  require(config.nextToken() == Config::EOF_TOKEN && config.checkEOS(), "the end of the text");
  return true;
}

/// True for the whole text, as `read`.
bool readOpened(const Reading& of, Config& config) {
  if (of.secret) config.enableDecryption(0, false);
  std::uint32_t lines = 0;
  try {
    while (readStatement(config, lines)) ++lines;
    require(of.secret && lines == SECRET_LINES, "the end of the text");
    return true;
  } catch (const ConfigError& e) {
    return isLast(of, config, e, lines);
  }
}

bool read(const FaultRun& run, bool secret, CStr& cstr) {
  const Reading of{run, cstr, secret};
  bool whole = false;
  hadMemory(run, [&] {
    try {
      Config config(FileLocator(String(secret ? "secret" : "plain")));
      whole = readOpened(of, config);
    } catch (const ConfigError& e) {
      if (e.code() == ConfigError::READ_FAILED) return require(of.bytes() == 0, "the first character can't be had");
      require(e.code() == ConfigError::CANNOT_OPEN, "the error of a file that can't be had");
      require(run.failed(FAULT_OPEN | FAULT_SEEK | FAULT_THREAD | FAULT_HEAP), "and it couldn't");
      const char* const words[] = {"Die Datei ./plain ist nicht zu haben", "Die Datei ./secret ist nicht zu haben"};
      requireWords(run, e, cstr, words[secret ? 1 : 0]);
    }
  });
  return whole;
}

void road(const FaultRun& run) {
  CStrEnterprise cstr(nullptr, String(), String("de").begin());
  run.start();
  const bool plain = read(run, false, cstr), secret = read(run, true, cstr);
  run.stop();
  const bool hindered = run.failed(FAULT_HEAP | FAULT_OPEN | FAULT_READ | FAULT_SEEK | FAULT_THREAD);
  require(hindered || (plain && secret), "nothing was in the way");
}

std::string statement(std::uint32_t number) {
  char line[64];
  std::snprintf(line, sizeof line, "name_%04u = -%u, \"text number %04u\"", number, number, number);
  return line;
}

std::string armoured(const std::string& line) {
  unsigned char out[200] = {};
  std::int32_t size = sizeof out;
  StringInOut(reinterpret_cast<const unsigned char*>(line.data()), static_cast<std::int32_t>(line.size()), out, &size);
  return reinterpret_cast<const char*>(out);
}

constexpr std::uint32_t FIRST = 0xC2010100, WORDS = 60, LAST = FIRST + WORDS - 1;  // four pages
constexpr std::uint32_t WITH_VALUES = FIRST + WORDS;                               // "1 und 2 und 1"
constexpr std::uint32_t ENGLISH_ONLY = 0xC2020001;                                 // found at the last try
constexpr std::uint32_t NOWHERE = 0xC2030001;
constexpr std::uint32_t UNREAD = FAULT_READ | FAULT_SEEK;

/// No exception leaves a description.
void requireWords(const FaultRun& run, const CStrError& e) noexcept {
  const std::uint16_t* const words = e.description(nullptr);
  if (run.failed(FAULT_HEAP) && sameText(words, "Error in obtaining description of previous error.")) return;
  requireText(words, "Failed to open the constant string file - it probably isn't there: ");
}

/// A text, or why there is none.
enum class Got { TEXT, NULL_TEXT, NO_FILE, NO_MEMORY };

template <class Ask>
Got ask(const FaultRun& run, Ask ask) {
  Got got = Got::NO_MEMORY;
  hadMemory(run, [&] {
    try {
      got = ask() ? Got::TEXT : Got::NULL_TEXT;
    } catch (const CStrError& e) {
      require(e.code() == CStrError::CSTR_ERR_NO_FILE && !e.fatal(), "the error of a catalogue that can't be had");
      requireWords(run, e);
      got = Got::NO_FILE;
    }
  });
  return got;
}

/// The same for what is there.
template <class Ask>
Got askForText(const FaultRun& run, Ask question, int line = __builtin_LINE()) {
  const Got got = ask(run, question);
  require(got == Got::TEXT || run.failed(~FAULT_CLOSE), "something failed", line);
  require(got != Got::NULL_TEXT || run.failed(UNREAD), "a page couldn't be read", line);
  return got;
}

/// Whether there is a text, which is the one then.
bool isText(const std::uint16_t* text, const char* expected) {
  if (text != nullptr) requireText(text, expected);
  return text != nullptr;
}

/// An error takes over the whole of another or nothing.
void assign(const FaultRun& run) {
  StringError from(2, false), to(1, false);
  from.addInsert(String("two"));
  to.addInsert(String("one"));
  from.description(nullptr);  // words, which are copied behind the insert
  const bool done = hadMemory(run, [&] { to = from; });
  require(to.code() == (done ? 2 : 1) && to.numInserts() == 1, "its facts");
  requireText(to.getInsert(0)->get(nullptr), done ? "two" : "one");
}

/// All that is asked. Whatever fails, the next question may be answered.
void lookUp(const FaultRun& run) {
  run.start();
  const auto with = [&](const char* language, auto use) {
    askForText(run, [&] {
      CStrEnterprise cstr(nullptr, String(), String(language).begin());
      return use(cstr);
    });
  };
  with("de", [&](CStr& cstr) {
    char expected[] = "Text 00";
    for (const std::uint32_t i : {0u, WORDS - 1, 20u, 0u, 40u}) {
      expected[5] = static_cast<char>('0' + i / 10);
      expected[6] = static_cast<char>('0' + i % 10);
      askForText(run, [&] { return isText(cstr.get(FIRST + i), expected); });
    }
    String out("as before");
    const String one("eins"), two("zwei");
    const Got got = askForText(run, [&] {
      cstr.build(out, WITH_VALUES, one.begin(), two.begin());
      if (run.failed(UNREAD) && out.size() == 0) return false;  // the text's page couldn't be read
      return isText(out.begin(), "eins und zwei und eins");
    });
    if (got == Got::NO_MEMORY || got == Got::NO_FILE) requireText(out.begin(), "as before");
    const std::uint32_t found = cstr.findKeyword(FIRST, LAST, "TEXT 33");
    require(found == FIRST + 33 || (found == 0 && run.failed(UNREAD)), "the keyword's handle");
    return true;
  });
  with("deu", [&](CStr& cstr) { return isText(cstr.get(ENGLISH_ONLY), "in English alone"); });
  const Got nowhere = ask(run, [&] { return CStrEnterprise(nullptr, String(), nullptr).get(NOWHERE) != nullptr; });
  require(nowhere == Got::NO_FILE || nowhere == Got::NO_MEMORY, "there is no such file");
  hadMemory(run, [&] { assign(run); });
  run.stop();
}

void writeFiles(const TempDir& directory) {
  std::string plain, secret;
  for (std::uint32_t i = 0; i < LINES; ++i) plain += statement(i) + "\n";
  for (std::uint32_t i = 0; i < SECRET_LINES; ++i) secret += armoured(statement(i)) + "\n";
  directory.write("plain", plain + "name_1200 = -1200, \"not closed\n");
  directory.write("secret", secret);
  CatalogueBuilder words, german, other;
  words.texts = {{ConfigError::CANNOT_OPEN, withValues(u"Die Datei $1 ist nicht zu haben")},
                 {ConfigError::UNCLOSED_STRING, u"Die Zeichenkette ist nicht geschlossen"}};
  for (std::uint32_t i = 0; i < WORDS; ++i) german.texts[FIRST + i] = u"Text " + twoDigits(i);
  german.texts[WITH_VALUES] = withValues(u"$1 und $2 und $1");
  other.texts[ENGLISH_ONLY] = u"in English alone";
  directory.write("strings_200__de.cst", words.bytes());
  directory.write("strings_201__de.cst", german.bytes());
  directory.write("strings_202__en.cst", other.bytes());
}

}  // namespace

int main(int argc, char** argv) {
  const TempDir directory;
  writeFiles(directory);
  setenv("tavio_language", directory.path().c_str(), 1);
  std::filesystem::current_path(directory.path());
  // What stays: the name of the language of the user, for the life of the process.
  return faultLoop(argc, argv, {{"config", road}, {"catalogue", lookUp, giveUpCore, 2}});
}
