#pragma once

// Internal: the platform's code pages, by their Windows numbers.

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

inline namespace zqcore27 {

/// UTF-8 as a code page number. It has no tables: its characters are computed.
constexpr std::uint32_t CODE_PAGE_UTF8 = 65001;

/// A single-byte or double-byte code page as immutable tables. A byte below 0x80 is its own unit in every page.
/// Threads: any, without a lock.
class CodePage {
 public:
  /// More bytes than any character takes: in pages 1255 and 1258 a letter with marks is up to three.
  static constexpr std::size_t MAX_BYTES = 3;

  /// The page's tables, read from the platform on the first call for the page and kept for the life of the process.
  /// Null if the page isn't one of the known ones, if the platform doesn't have it, or if memory or descriptors are
  /// short; in the last case a later call tries again. Threads: any; the first call takes a lock.
  static const CodePage* find(std::uint32_t number) noexcept;
  /// True for the numbers that find may answer and for CODE_PAGE_UTF8.
  static bool isKnown(std::uint32_t number) noexcept;

  std::uint32_t number() const { return fNumber; }
  /// True if no byte begins a character of two bytes.
  bool isSingleByte() const { return fDouble.empty(); }
  /// True if the bytes from 0xA0 up are their own units.
  bool isLatin1() const { return fLatin1; }
  /// True if `byte` begins a character of two bytes.
  bool isLeadByte(unsigned char byte) const { return fRows[byte] != 0; }
  /// The unit of a single byte, or 0 if the page refuses it.
  std::uint16_t toUnit(unsigned char byte) const { return fSingle[byte]; }
  /// The unit of a lead byte and its trail byte, or 0 if the page refuses them.
  std::uint16_t toUnit(unsigned char lead, unsigned char trail) const {
    return fDouble[static_cast<std::size_t>(fRows[lead] - 1) * 0x100 + trail];
  }
  /// The bytes of a unit from 0x80 up, the last one in the low bits, or 0 if the page lacks it. No byte is zero, and
  /// the first is never below 0x80, where it would be another character.
  std::uint32_t toBytes(std::uint16_t c) const {
    return fBytes[static_cast<std::size_t>(fByteRows[c >> 8]) * 0x100 + (c & 0xFF)];
  }

 private:
  struct Reader;

  explicit CodePage(std::uint32_t number) : fNumber(number) {}

  std::uint32_t fNumber;
  bool fLatin1 = true;                          // see isLatin1
  std::array<std::uint16_t, 0x100> fSingle{};   // units of the bytes, 0: refused
  std::array<std::uint8_t, 0x100> fRows{};      // of a lead byte its row in fDouble, from 1; 0: no lead byte
  std::vector<std::uint16_t> fDouble;           // rows of 256 units by trail byte, 0: refused
  std::array<std::uint8_t, 0x100> fByteRows{};  // of a unit's high byte its row in fBytes; row 0 is all lacking
  std::vector<std::uint32_t> fBytes;            // rows of 256 characters by a unit's low byte
};

}  // namespace zqcore27
