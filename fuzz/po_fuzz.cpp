// Any text as a source of catalogue texts: into a catalogue file and back, and into a source again.

#include <algorithm>
#include <set>

#include "fuzz/support/fuzz.h"
#include "tests/support/temp_dir.h"
#include "tools/catalogue_reader.h"
#include "tools/catalogue_writer.h"
#include "tools/po_file.h"
#include "tools/po_scan.h"

namespace {

using fuzz::require;

void throughCatalogue(const std::vector<zqtool::PoEntry>& entries) {
  std::vector<zqtool::CatalogueText> texts;
  for (const zqtool::PoEntry& e : entries) texts.push_back({e.handle, e.text});
  const auto faults = zqtool::findFaults(texts);
  bool written = false;
  try {
    const std::vector<std::uint8_t> bytes = zqtool::writeCatalogue(texts, "2.7.A");
    written = true;
    const zqtool::CatalogueImage image = zqtool::readCatalogue(bytes);
    require(image.faults.empty(), "a file that was written is sound");
    std::ranges::sort(texts, {}, &zqtool::CatalogueText::handle);
    require(image.texts == texts, "a file holds what was written");
  } catch (const std::invalid_argument&) {
  }
  require(written == (faults.empty() && !texts.empty()), "texts without a fault can be written");
}

void throughSource(const TempDir& directory, const std::vector<zqtool::PoEntry>& entries) {
  std::vector<zqtool::PoText> texts;
  std::set<std::pair<std::uint32_t, std::u16string>> seen;
  for (const zqtool::PoEntry& e : entries) {
    if (e.english.empty() || e.text.empty() || !seen.emplace(e.handle, e.english).second) return;
    texts.push_back({e.handle, e.english, e.text});
  }
  const zqtool::PoFile again = zqtool::readPoFile(directory.write("again.po", zqtool::formatPo(texts, "en")));
  require(again.faults.empty() && again.entries.size() == entries.size(), "a source that was written is sound");
  for (std::size_t i = 0; i < entries.size(); ++i) {
    require(again.entries[i].handle == entries[i].handle && again.entries[i].english == entries[i].english &&
                again.entries[i].text == entries[i].text,
            "a source holds what was written");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const TempDir directory;
  const std::string text(reinterpret_cast<const char*>(data), size);
  const auto lines = static_cast<std::size_t>(std::ranges::count(text, '\n')) + 1;
  const zqtool::PoScan scan = zqtool::scanPo({text.data(), text.size()});
  for (const std::size_t line : scan.lines) require(line >= 1 && line <= lines, "an entry stands on a line");

  const zqtool::PoFile file = zqtool::readPoFile(directory.write("fuzz.po", text));
  for (const zqtool::PoRemark& fault : file.faults) require(!fault.words.empty(), "a fault has words");
  for (const zqtool::PoEntry& e : file.entries) require(e.line >= 1 && e.line <= lines, "an entry stands on a line");
  throughCatalogue(file.entries);
  if (file.faults.empty()) throughSource(directory, file.entries);

  const zqtool::SourceText source = zqtool::fromSource(text);
  if (source.fault.empty()) {
    const zqtool::SourceText again = zqtool::fromSource(zqtool::toSource(source.text));
    require(again.fault.empty() && again.text == source.text, "a text can be written as a source");
  }
  return 0;
}
