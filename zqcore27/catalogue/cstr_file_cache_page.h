#pragma once

#include <array>
#include <cstdint>

#include "zqcore27/platform/export.h"

inline namespace zqcore27 {

class File;

/// One page of a catalogue file: 256 units, texts upwards from the start, a table of their places downwards from the
/// end. The last unit is the lowest index that the table uses; the entry of text n, from 1, lies at unit 255 - n, and
/// its low byte is the place of the text. Text 0 begins the page and has no entry.
/// Threads: one at a time; `get` may run side by side with itself.
class ZQCORE27_EXPORT CStrFileCachePage {
 public:
  static constexpr std::uint32_t UNITS = 256;
  static constexpr std::uint32_t BYTES = 512;
  /// Header blocks in front of page 0, each as long as a page.
  static constexpr std::uint32_t HEADER_BLOCKS = 4;
  /// `page()` of an object that holds none.
  static constexpr std::uint16_t NO_PAGE = 0xFEFE;

  CStrFileCachePage();

  /// Reads page `page` of `f`. False if that fails; the object then holds no page, or, where the seek failed already,
  /// what it held before.
  bool load(File& f, std::uint32_t page);
  /// The text number `n` of the page, or null if no page is held, or if it has no such text or one without an end
  /// within the page. It belongs to the object.
  const std::uint16_t* get(std::uint32_t n) const;
  /// The number of the page held, or NO_PAGE.
  std::uint16_t page() const { return fPage; }

 private:
  friend class CStrFile;

  bool load_data(File& f);
  /// get, without a call.
  const std::uint16_t* find(std::uint32_t n) const {
    constexpr std::uint32_t LAST = UNITS - 1;
    if (fTextEnd == 0) return nullptr;
    if (n == 0) return fData.data();
    if (n > LAST || LAST - n < fData[LAST]) return nullptr;
    const std::uint32_t start = fData[LAST - n] & 0xFF;
    return start < fTextEnd ? fData.data() + start : nullptr;
  }

  std::uint16_t fPage = NO_PAGE;
  std::array<std::uint16_t, UNITS> fData{};  // as read
  // Behind the last zero unit: a text that begins before it ends in the page. 0 without a page.
  std::uint16_t fTextEnd = 0;
};

}  // namespace zqcore27
