#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "tools/catalogue_text.h"

namespace zqtool {

/// What the bytes of a catalogue file hold.
struct CatalogueImage {
  std::string version;
  std::size_t pages = 0;
  std::uint32_t lastHandle = 0;
  std::vector<CatalogueText> texts;  // rising handles; empty texts, which stand for no text, are left out
  std::vector<std::string> faults;   // what is wrong, in the order of the file; empty for a sound file
};

/// Takes the bytes apart, any bytes, and tells everything that is wrong with them. A file whose header is unsound gives
/// no texts; of an unsound page the sound texts.
CatalogueImage readCatalogue(std::span<const std::uint8_t> bytes);

}  // namespace zqtool
