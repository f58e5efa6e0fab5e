#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zqtool {

/// One text of a catalogue. A mark is the unit MARK followed by a digit 1 to 8.
struct CatalogueText {
  std::uint32_t handle = 0;
  std::u16string text;

  bool operator==(const CatalogueText&) const = default;
};

constexpr char16_t MARK = 0x0013;

/// Handles that a reader answers by itself, without looking into a file.
constexpr std::uint32_t HANDLE_EMPTY_TEXT = 0xE000FEDC;
constexpr std::uint32_t HANDLE_NO_TEXT = 0xE000FCDE;

// The file: four header blocks, then pages. Sizes in bytes; a page is also counted in its 16-bit units.
constexpr std::size_t BLOCK_SIZE = 512;
constexpr std::size_t HEADER_SIZE = 4 * BLOCK_SIZE;
constexpr std::size_t COUNT_OFFSET = 32;
constexpr std::size_t INDEX_OFFSET = 36;
constexpr std::size_t MAX_PAGES = (HEADER_SIZE - INDEX_OFFSET) / 4 - 1;
constexpr std::size_t PAGE_UNITS = BLOCK_SIZE / 2;
constexpr std::size_t MAX_TEXT_UNITS = PAGE_UNITS - 2;  // beside its terminator and the last unit of the page
constexpr std::size_t MAX_PAGE_TEXTS = 256;
static_assert(MAX_PAGES == 502 && MAX_TEXT_UNITS == 254);

/// Bit n is set if the text has a mark with the digit n. A mark at the very end, or without a digit, sets bit 0.
unsigned marksOf(std::u16string_view text);

/// Bits of marksOf that a text may have.
constexpr unsigned VALID_MARKS = 0x1FE;

/// "0xC2000109".
std::string handleName(std::uint32_t handle);
/// Reads "0xC2000109" or "C2000109", 1 to 8 hexadecimal digits; nothing else may stand before or behind.
std::optional<std::uint32_t> parseHandle(std::string_view s);

/// The units of well-formed UTF-8 without four-byte characters, which a catalogue can't hold; otherwise nothing.
std::optional<std::u16string> unitsOf(std::string_view utf8);
/// As UTF-8, a sequence of 1 to 3 bytes for each unit.
std::string utf8Of(std::u16string_view units);

/// A text as people write it: {1} to {8} for the marks, {{ for one brace. Either the text, or what is wrong with it.
struct SourceText {
  std::u16string text;
  std::string fault;  // empty if all is well
};
SourceText fromSource(std::string_view utf8);
/// The way back. A mark that no source can spell is shown as {?}.
std::string toSource(std::u16string_view text);

}  // namespace zqtool
