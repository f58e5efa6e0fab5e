// The road of a configuration file: it is opened, a thread reads ahead, tokens are taken, and its error gets its words.

#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/faults/fault_loop.h"
#include "tests/support/catalogue_builder.h"
#include "tests/support/temp_dir.h"
#include "zqcore27/catalogue/cstr_enterprise.h"
#include "zqcore27/config/config.h"
#include "zqcore27/config/config_error.h"
#include "zqcore27/files/file_locator.h"
#include "zqcore27/strings/armour.h"

namespace {

constexpr std::uint32_t LINES = 1200;  // three blocks of the channel
constexpr std::uint32_t BLOCK_BYTES = 16000;
constexpr std::uint32_t SECRET_LINES = 12;  // of the armoured file

/// A file to be read, and what is said if it can't be had.
struct Source {
  std::string path, refusal;
  bool secret;
};
Source gPlain, gSecret;

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

/// The error in the middle of the text: what is wrong with it, or that no more of it can be had. True for the former.
bool isLast(const FaultRun& run, Config& config, const ConfigError& e, std::uint32_t lines, CStr& cstr) {
  if (e.code() == ConfigError::READ_FAILED) {
    require(run.failed(FAULT_READ | FAULT_HEAP), "something was wrong with reading");
    require(config.charactersProcessed() % BLOCK_BYTES == 0, "all that was read has been delivered");
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
  requireWords(run, e, cstr, "Die Zeichenkette ist nicht geschlossen");
  config.skipLine();
  require(config.nextToken() == Config::EOF_TOKEN && config.checkEOS(), "the end of the text");
  return true;
}

/// True for the whole text, as `read`.
bool readOpened(const FaultRun& run, Config& config, bool secret, CStr& cstr) {
  if (secret) config.enableDecryption(0, false);
  std::uint32_t lines = 0;
  try {
    while (readStatement(config, lines)) ++lines;
    require(secret && lines == SECRET_LINES, "the end of the text");
    return true;
  } catch (const ConfigError& e) {
    return isLast(run, config, e, lines, cstr);
  }
}

bool read(const FaultRun& run, const Source& source, CStr& cstr) {
  bool whole = false;
  hadMemory(run, [&] {
    try {
      Config config(FileLocator(String(source.path.c_str())));
      whole = readOpened(run, config, source.secret, cstr);
    } catch (const ConfigError& e) {
      if (e.code() == ConfigError::READ_FAILED) return;  // at the first character
      require(e.code() == ConfigError::CANNOT_OPEN, "the error of a file that can't be had");
      require(run.failed(FAULT_OPEN | FAULT_SEEK | FAULT_THREAD | FAULT_HEAP), "and it couldn't");
      requireWords(run, e, cstr, source.refusal.c_str());
    }
  });
  return whole;
}

void road(const FaultRun& run) {
  CStrEnterprise cstr(nullptr, String(), String("de").begin());
  run.start();
  const bool plain = read(run, gPlain, cstr), secret = read(run, gSecret, cstr);
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
  auto size = static_cast<std::int32_t>(LengthInAscii(static_cast<std::uint32_t>(line.size())) + 4);
  std::string out(static_cast<std::size_t>(size), 0);
  StringInOut(reinterpret_cast<const unsigned char*>(line.data()), static_cast<std::int32_t>(line.size()),
              reinterpret_cast<unsigned char*>(out.data()), &size);
  return out.c_str();
}

Source written(const TempDir& directory, const char* name, const std::string& text, bool secret) {
  const std::string path = directory.write(name, text);
  return {path, "Die Datei " + path + " ist nicht zu haben", secret};
}

}  // namespace

int main(int argc, char** argv) {
  const TempDir directory;
  std::string plain, secret;
  for (std::uint32_t i = 0; i < LINES; ++i) plain += statement(i) + "\n";
  for (std::uint32_t i = 0; i < SECRET_LINES; ++i) secret += armoured(statement(i)) + "\n";
  gPlain = written(directory, "plain.conf", plain + "name_1200 = -1200, \"not closed\n", false);
  gSecret = written(directory, "secret.conf", secret, true);

  CatalogueBuilder words;
  words.texts = {{ConfigError::CANNOT_OPEN, withValues(u"Die Datei $1 ist nicht zu haben")},
                 {ConfigError::UNCLOSED_STRING, u"Die Zeichenkette ist nicht geschlossen"}};
  directory.write("strings_200__de.cst", words.bytes());
  setenv("tavio_language", directory.path().c_str(), 1);
  return faultLoop(argc, argv, {"config", road});
}
