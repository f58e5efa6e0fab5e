#pragma once

#include <cstdint>

#include "zqcore27/core/memory.h"
#include "zqcore27/platform/export.h"

inline namespace zqcore27 {

class String;

/// A set of numbered bits that grows when a bit behind its end is written. Bit i is bit i mod 32, counted from the
/// least significant, of word i / 32. The bits of the last word behind the size are spare: nothing masks them. They are
/// copied, set and inverted with their word, and come into view when the set grows within that word.
///
/// Growth is exact: each word more costs a copy of all, so a caller that knows the size gives it at construction.
/// Errors: MemError::HEAP_EXHAUSTED, fatal, from all that allocates; the set is as before.
/// Threads: one at a time, or any number that only read.
class ZQCORE27_EXPORT Bitmap {
 public:
  Bitmap() = default;
  /// `size` bits, 0 to 0xFFFFFFFF, all clear, spare bits too.
  explicit Bitmap(unsigned int size);
  /// `size` bits of `value`; with true the spare bits are set too.
  Bitmap(unsigned int size, bool value);
  /// One bit a unit of `text`, the first is bit 0. "1" sets its bit; every other unit leaves it clear and is no error.
  explicit Bitmap(const String& text);
  /// Copies the words, spare bits included.
  Bitmap(const Bitmap& other);
  /// A move leaves `other` empty, unless it is this set.
  Bitmap(Bitmap&& other) noexcept;
  Bitmap& operator=(const Bitmap& other);
  Bitmap& operator=(Bitmap&& other) noexcept;
  ~Bitmap();

  /// All bits, spare bits included.
  void clear();
  void set();
  void toggle();

  /// One bit. Each form, `clear` too, first makes the set i + 1 bits large where it is smaller.
  /// Errors: MemError::TOO_LARGE, not fatal, for 0xFFFFFFFF: no set holds that many bits. Nothing changes.
  void clear(unsigned int i);
  void set(unsigned int i);
  void toggle(unsigned int i);

  /// False behind the end. Never grows the set.
  bool state(unsigned int i) const { return i < fSizeInBits && (*this)[i]; }
  /// Without a bounds test: `i` must lie inside the words, spare bits included.
  bool operator[](unsigned int i) const { return (fBits[i / 32] >> (i % 32) & 1) != 0; }

  /// Word by word over the smaller of the two word counts. No size changes, and words that `other` lacks stay as they
  /// are, for `&=` too.
  Bitmap& operator&=(const Bitmap& other);
  Bitmap& operator|=(const Bitmap& other);
  Bitmap& operator^=(const Bitmap& other);

 private:
  static std::uint32_t words_for(unsigned int bits) { return bits / 32 + (bits % 32 != 0 ? 1 : 0); }
  std::uint32_t* alloc_from_size_in_bits(unsigned int bits);
  void re_size(unsigned int bits);
  void hold(unsigned int i);
  void fill(unsigned char value);

  std::uint32_t* fBits = nullptr;  // from MemAllocator::allocate, owned; null in an empty set
  std::uint32_t fSizeInBits = 0;
  std::uint32_t fSizeInWords = 0;  // fSizeInBits / 32, rounded up
};

}  // namespace zqcore27
