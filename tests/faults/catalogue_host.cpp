// A catalogue look-up: files are searched, opened and checked, pages are read, values are put in.

#include <cstdio>
#include <cstdlib>
#include <new>

#include "tests/faults/fault_loop.h"
#include "tests/support/catalogue_builder.h"
#include "tests/support/temp_dir.h"
#include "zqcore27/catalogue/cstr_enterprise.h"
#include "zqcore27/catalogue/cstr_error.h"
#include "zqcore27/errors/mem_error.h"

namespace {

constexpr std::uint32_t FIRST = 0xC2010100, WORDS = 60;  // four pages
constexpr std::uint32_t WITH_VALUES = FIRST + WORDS;     // "1 und 2 und 1"
constexpr std::uint32_t ENGLISH_ONLY = 0xC2020001;       // found at the last try
constexpr std::uint32_t NOWHERE = 0xC2030001;
constexpr std::uint32_t UNREAD = FAULT_READ | FAULT_SEEK;

const char* const NO_WORDS = "Error in obtaining description of previous error.";
const char* const NO_FILE_WORDS = "Failed to open the constant string file - it probably isn't there: ";

/// A text, or why there is none. The German file's place is taken by the English one if it failed when it was opened.
enum class Got { TEXT, NULL_TEXT, NO_FILE, NO_MEMORY };

/// No exception leaves a description.
void requireWords(const FaultRun& run, const CStrError& e) noexcept {
  const std::uint16_t* const words = e.description(nullptr);
  if (!run.failed(FAULT_HEAP) || !sameText(words, NO_WORDS)) requireText(words, NO_FILE_WORDS);
}

template <class Ask>
Got ask(const FaultRun& run, Ask ask) {
  try {
    return ask() ? Got::TEXT : Got::NULL_TEXT;
  } catch (const CStrError& e) {
    require(e.code() == CStrError::CSTR_ERR_NO_FILE && !e.fatal(), "the error of a catalogue that can't be had");
    requireWords(run, e);
    return Got::NO_FILE;
  } catch (const MemError& e) {
    require(e.code() == MemError::HEAP_EXHAUSTED && e.fatal(), "the error of an exhausted heap");
    return Got::NO_MEMORY;
  } catch (const std::bad_alloc&) {
    return Got::NO_MEMORY;
  }
}

void requireOutcome(const FaultRun& run, Got got, int line = __builtin_LINE()) {
  if (got == Got::TEXT) return;
  require(run.failed(~FAULT_CLOSE), "something failed", line);
  if (got == Got::NULL_TEXT) require(run.failed(UNREAD), "a page couldn't be read", line);
  if (got == Got::NO_MEMORY) require(run.failed(FAULT_HEAP), "the heap was exhausted", line);
}

bool isWord(const std::uint16_t* text, std::uint32_t number, bool failed) {
  char german[40], english[40];
  std::snprintf(german, sizeof german, "deutscher Text %02u", number);
  std::snprintf(english, sizeof english, "English text %02u", number);
  if (text == nullptr) return false;
  if (!failed || !sameText(text, english)) requireText(text, german);
  return true;
}

/// All that is asked, each time anew. Whatever fails, the next question may be answered.
void askAll(const FaultRun& run, bool failedBefore) {
  const auto failed = [&] { return failedBefore || run.failed(); };
  requireOutcome(run, ask(run, [&] {
                   CStrEnterprise cstr(nullptr, String(), String("de").begin());
                   CStr& catalogue = cstr;
                   for (const std::uint32_t number : {0u, WORDS - 1, 20u, 0u, 40u}) {
                     const Got got = ask(run, [&] {
                       const std::uint16_t* const text = catalogue.get(FIRST + number);
                       return isWord(text, number, failed());
                     });
                     requireOutcome(run, got);
                   }
                   return true;
                 }));
  requireOutcome(run, ask(run, [&] {
                   CStrEnterprise cstr(nullptr, String(), String("de").begin());
                   String out("as before");
                   const String one("eins"), two("zwei");
                   const Got got = ask(run, [&] {
                     cstr.build(out, WITH_VALUES, one.begin(), two.begin());
                     if (failed() && out.size() == 0) return false;  // the text's page couldn't be read
                     if (!failed() || !sameText(out.begin(), "eins and zwei and eins")) {
                       requireText(out.begin(), "eins und zwei und eins");
                     }
                     return true;
                   });
                   requireOutcome(run, got);
                   if (got == Got::NO_MEMORY || got == Got::NO_FILE) requireText(out.begin(), "as before");
                   return true;
                 }));
  requireOutcome(run, ask(run, [&] {
                   CStrEnterprise cstr(nullptr, String(), String("de").begin());
                   const std::uint32_t last = FIRST + WORDS - 1;
                   std::uint32_t found = cstr.findKeyword(FIRST, last, "DEUTSCHER TEXT 33");
                   if (found == 0 && failed()) found = cstr.findKeyword(FIRST, last, "ENGLISH TEXT 33");
                   require(found == FIRST + 33 || (found == 0 && run.failed(UNREAD)), "the keyword's handle");
                   return true;
                 }));
  requireOutcome(run, ask(run, [&] {
                   CStrEnterprise cstr(nullptr, String(), String("deu").begin());
                   const std::uint16_t* const text = cstr.get(ENGLISH_ONLY);
                   if (text != nullptr) requireText(text, "in English alone");
                   return text != nullptr;
                 }));
  const Got nowhere = ask(run, [&] { return CStrEnterprise(nullptr, String(), nullptr).get(NOWHERE) != nullptr; });
  require(nowhere == Got::NO_FILE || (nowhere == Got::NO_MEMORY && run.failed(FAULT_HEAP)), "there is no such file");
}

void lookUp(FaultRun& run) {
  run.start();
  askAll(run, false);
  run.stop();
  const FaultRun calm(0, FaultMode::SHORT);  // whatever failed, it is over
  askAll(calm, run.failed());
}

}  // namespace

int main(int argc, char** argv) {
  const TempDir directory;
  CatalogueBuilder german, english, other;
  for (std::uint32_t i = 0; i < WORDS; ++i) {
    const std::u16string number{static_cast<char16_t>('0' + i / 10), static_cast<char16_t>('0' + i % 10)};
    german.texts[FIRST + i] = u"deutscher Text " + number;
    english.texts[FIRST + i] = u"English text " + number;
  }
  german.texts[WITH_VALUES] =
      u"\x13"
      u"1 und \x13"
      u"2 und \x13"
      u"1";
  english.texts[WITH_VALUES] =
      u"\x13"
      u"1 and \x13"
      u"2 and \x13"
      u"1";
  other.texts[ENGLISH_ONLY] = u"in English alone";
  directory.write("strings_201__de.cst", german.bytes());
  directory.write("strings_201__en.cst", english.bytes());
  directory.write("strings_202__en.cst", other.bytes());
  setenv("tavio_language", directory.path().c_str(), 1);
  // What stays: the name of the language of the user, for the life of the process.
  return faultLoop(argc, argv, {"catalogue", lookUp, giveUpCore, 2});
}
