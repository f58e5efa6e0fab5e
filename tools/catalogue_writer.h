#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/catalogue_text.h"

namespace zqtool {

/// Why a text can't stand in a catalogue file.
struct TextFault {
  std::size_t index;  // into the texts given
  std::string words;
};

/// Everything that keeps the texts out of one file: a handle that is 0, reserved or there twice; a text that is empty,
/// longer than 254 units, or holds a zero unit or a mark outside 1 to 8; the first text that 502 pages can't take. In
/// the order of the texts given, which need not be sorted. No texts at all are no fault here.
std::vector<TextFault> findFaults(std::span<const CatalogueText> texts);

/// The bytes of a catalogue file whose version field is `version`, 0 to 6 characters. A handle between those of one
/// page that has no text of its own reads as empty. Throws std::invalid_argument if there is no text, or a fault.
std::vector<std::uint8_t> writeCatalogue(std::span<const CatalogueText> texts, std::string_view version);

}  // namespace zqtool
