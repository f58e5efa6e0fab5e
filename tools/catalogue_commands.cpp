// zqtool catalogue compile, dump and check.

#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <set>

#include "tools/catalogue_reader.h"
#include "tools/catalogue_writer.h"
#include "tools/commands.h"
#include "tools/files.h"
#include "tools/po_file.h"
#include "zqcore27/core/core.h"

namespace zqtool {
namespace {

void tell(const std::string& path, std::size_t line, const char* kind, const std::string& words) {
  std::cerr << path << ':';
  if (line != 0) std::cerr << line << ':';
  std::cerr << ' ' << kind << words << '\n';
}

/// Reads a PO file and tells its faults and those of its texts. True if there is none.
bool readSound(const std::string& path, PoFile& po) {
  po = readPoFile(path);
  std::vector<CatalogueText> texts;
  for (const PoEntry& e : po.entries) texts.push_back({e.handle, e.text});
  for (const TextFault& f : findFaults(texts)) po.faults.push_back({po.entries[f.index].line, f.words});
  std::stable_sort(po.faults.begin(), po.faults.end(),
                   [](const PoRemark& a, const PoRemark& b) { return a.line < b.line; });
  for (const PoRemark& r : po.faults) tell(path, r.line, "", r.words);
  return po.faults.empty();
}

std::string markNames(unsigned marks) {
  std::string names;
  for (unsigned n = 1; n <= 8; ++n) {
    if ((marks >> n & 1) != 0) names += (names.empty() ? "{" : ", {") + std::to_string(n) + "}";
  }
  return names.empty() ? "none" : names;
}

/// A translation held against the English file: tells what differs, takes the English words for what is missing, and
/// prints the coverage.
class Comparison {
 public:
  Comparison(const std::string& path, PoFile& po, const std::string& englishPath, const PoFile& english)
      : fPath(path), fPo(po), fEnglishPath(englishPath), fEnglish(english) {
    for (const PoEntry& e : english.entries) fByHandle[e.handle] = &e;
  }

  void run() {
    std::set<std::uint32_t> present;
    std::size_t translated = 0;
    for (PoEntry& e : fPo.entries) {
      present.insert(e.handle);
      const auto found = fByHandle.find(e.handle);
      if (found == fByHandle.end()) {
        warn(e.line, handleName(e.handle) + " isn't in " + fEnglishPath);
      } else if (e.translated) {
        ++translated;
        compareMarks(e, *found->second);
      } else {
        e.text = found->second->text;
      }
    }
    const std::size_t count = fPo.entries.size();
    for (const PoEntry& e : fEnglish.entries) {
      if (!present.contains(e.handle)) addMissing(e);
    }
    fPo.entries.insert(fPo.entries.begin() + static_cast<std::ptrdiff_t>(count), fMissing.begin(), fMissing.end());
    const std::size_t all = fEnglish.entries.size();
    std::cout << fPath << ": " << translated << " of " << all << " texts translated, "
              << (all == 0 ? 100 : translated * 100 / all) << " %\n";
  }

 private:
  void warn(std::size_t line, const std::string& words) { tell(fPath, line, "warning: ", words); }

  void compareMarks(const PoEntry& mine, const PoEntry& english) {
    const unsigned here = marksOf(mine.text), there = marksOf(english.text);
    if (here == there) return;
    warn(mine.line, "the marks of " + handleName(mine.handle) + " differ: " + markNames(here) + " here, " +
                        markNames(there) + " in English (" + fEnglishPath + ":" + std::to_string(english.line) + ")");
  }

  void addMissing(const PoEntry& english) {
    warn(0, handleName(english.handle) + " is missing; its English text stands in (" + fEnglishPath + ":" +
                std::to_string(english.line) + ")");
    fMissing.push_back(english);
  }

  const std::string& fPath;
  PoFile& fPo;
  const std::string& fEnglishPath;
  const PoFile& fEnglish;
  std::map<std::uint32_t, const PoEntry*> fByHandle;
  std::vector<PoEntry> fMissing;
};

int compile(const std::string& path, const std::string& englishPath, const std::string& outPath) {
  PoFile po, english;
  bool sound = readSound(path, po);
  if (!englishPath.empty()) sound = readSound(englishPath, english) && sound;
  if (sound && po.entries.empty() && english.entries.empty()) {
    tell(path, 0, "", "there is no text in it");
    sound = false;
  }
  if (!sound) return EXIT_ERRORS;

  for (const PoRemark& r : po.warnings) tell(path, r.line, "warning: ", r.words);
  if (!englishPath.empty()) Comparison(path, po, englishPath, english).run();

  std::vector<CatalogueText> texts;
  for (const PoEntry& e : po.entries) texts.push_back({e.handle, e.text});
  if (const auto faults = findFaults(texts); !faults.empty()) {  // English words that stand in can fill the last page
    for (const TextFault& f : faults) tell(path, 0, "", f.words);
    return EXIT_ERRORS;
  }
  const std::string fault = writeFile(outPath, writeCatalogue(texts, gCore->fVersion->fFull));
  if (fault.empty()) return EXIT_GOOD;
  tell(outPath, 0, "", fault);
  return EXIT_ERRORS;
}

/// Reads a catalogue file and tells its faults. True if there is none.
bool readSound(const std::string& path, CatalogueImage& image) {
  const FileBytes file = readFile(path);
  if (!file.fault.empty()) {
    tell(path, 0, "", file.fault);
    return false;
  }
  image = readCatalogue(file.bytes);
  for (const std::string& fault : image.faults) tell(path, 0, "", fault);
  return image.faults.empty();
}

int dump(const std::string& path, const std::string& englishPath, const std::string& outPath,
         const std::string& language) {
  CatalogueImage image, english;
  if (!readSound(path, image) || (!englishPath.empty() && !readSound(englishPath, english))) return EXIT_ERRORS;
  std::map<std::uint32_t, std::u16string> englishTexts;
  for (CatalogueText& t : english.texts) englishTexts[t.handle] = std::move(t.text);
  std::vector<PoText> texts;
  for (const CatalogueText& t : image.texts) {
    const auto found = englishTexts.find(t.handle);
    texts.push_back({t.handle, found == englishTexts.end() ? t.text : found->second, t.text});
  }
  const std::string fault = writeFile(outPath, formatPo(texts, language));
  if (fault.empty()) return EXIT_GOOD;
  tell(outPath, 0, "", fault);
  return EXIT_ERRORS;
}

int check(const std::vector<std::string>& paths) {
  int status = EXIT_GOOD;
  for (const std::string& path : paths) {
    CatalogueImage image;
    if (!readSound(path, image)) {
      status = EXIT_ERRORS;
      continue;
    }
    if (image.version != gCore->fVersion->fFull) {
      tell(path, 0, "", "the version is '" + image.version + "'; the library reads " + gCore->fVersion->fFull);
      status = EXIT_ERRORS;
    }
    std::cout << path << ": " << image.texts.size() << " texts on " << image.pages << " pages";
    if (!image.texts.empty()) {
      std::cout << ", " << handleName(image.texts.front().handle) << " to " << handleName(image.texts.back().handle);
    }
    std::cout << '\n';
  }
  return status;
}

struct Options {
  std::vector<std::string> files;
  std::string file, english, out, language;
};

}  // namespace

void addCatalogueCommands(CLI::App& app, int& status) {
  auto* catalogue = app.add_subcommand("catalogue", "Make, print and validate files of texts");
  catalogue->require_subcommand(1);
  const auto o = std::make_shared<Options>();

  auto* c = catalogue->add_subcommand("compile", "Compile a PO file into a catalogue file");
  c->add_option("FILE", o->file,
                "The PO file: msgctxt holds the handle, as 0xC2000109, msgstr the text; - is standard input")
      ->required();
  c->add_option("-o,--output", o->out, "The catalogue file, such as strings_200__de.cst; - is standard output")
      ->required();
  c->add_option("--english", o->english, "The English PO file to hold the texts against");
  c->footer(
      "In a text {1} to {8} are the places of the values, and {{ is one brace. A text has at most 254 characters,\n"
      "a mark counting as two. Texts that aren't translated take the English words. With --english the command\n"
      "warns of marks that differ and of texts that are missing, and prints the coverage. Faults are told as\n"
      "FILE:LINE: words, and nothing is written then.\n\n"
      "The library looks for catalogue 0x200 in German under strings_200__deu.cst, strings_200__de.cst,\n"
      "strings_200_.cst and strings_200__en.cst, in this order; for Japanese under jpn and jp.\n\n"
      "Example: zqtool catalogue compile de.po --english en.po -o strings_200__de.cst");
  c->callback([o, &status] { status = compile(o->file, o->english, o->out); });

  auto* d = catalogue->add_subcommand("dump", "Print a catalogue file as PO");
  d->add_option("FILE", o->file, "The catalogue file")->required();
  d->add_option("-o,--output", o->out, "The PO file; - is standard output, the default")->default_val("-");
  d->add_option("--english", o->english, "The English catalogue file, for msgid; without it msgid repeats msgstr");
  d->add_option("--language", o->language, "What the header says of the language, such as de");
  d->callback([o, &status] { status = dump(o->file, o->english, o->out, o->language); });

  auto* v = catalogue->add_subcommand("check", "Validate catalogue files");
  v->add_option("FILE", o->files, "Catalogue files")->required();
  v->footer(
      "Prints what each sound file holds. Everything wrong with a file is told as FILE: words; the exit status\n"
      "is then 1.");
  v->callback([o, &status] { status = check(o->files); });
}

}  // namespace zqtool
