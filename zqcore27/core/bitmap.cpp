#include "zqcore27/core/bitmap.h"

#include <algorithm>
#include <utility>

#include "zqcore27/errors/mem_error.h"
#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

Bitmap::Bitmap(unsigned int size) : Bitmap(size, false) {}

Bitmap::Bitmap(unsigned int size, bool value) {
  fBits = alloc_from_size_in_bits(size);
  fill(value ? 0xFF : 0);
}

Bitmap::Bitmap(const String& text) : Bitmap(static_cast<unsigned int>(text.units().size())) {
  unsigned int i = 0;
  for (const std::uint16_t unit : text.units()) {
    if (unit == u'1') set(i);
    ++i;
  }
}

Bitmap::Bitmap(const Bitmap& other) {
  fBits = alloc_from_size_in_bits(other.fSizeInBits);
  MemAllocator::copy(fBits, other.fBits, fSizeInWords * 4);
}

Bitmap::Bitmap(Bitmap&& other) noexcept
    : fBits(std::exchange(other.fBits, nullptr)),
      fSizeInBits(std::exchange(other.fSizeInBits, 0)),
      fSizeInWords(std::exchange(other.fSizeInWords, 0)) {}

Bitmap& Bitmap::operator=(const Bitmap& other) {
  if (this != &other) *this = Bitmap(other);
  return *this;
}

Bitmap& Bitmap::operator=(Bitmap&& other) noexcept {
  Bitmap taken(std::move(other));
  std::swap(fBits, taken.fBits);
  std::swap(fSizeInBits, taken.fSizeInBits);
  std::swap(fSizeInWords, taken.fSizeInWords);
  return *this;
}

Bitmap::~Bitmap() { MemAllocator::deallocate(fBits); }

void Bitmap::clear() { fill(0); }

void Bitmap::set() { fill(0xFF); }

void Bitmap::toggle() {
  std::for_each_n(fBits, fSizeInWords, [](std::uint32_t& word) { word = ~word; });
}

void Bitmap::clear(unsigned int i) {
  hold(i);
  fBits[i / 32] &= ~(1u << i % 32);
}

void Bitmap::set(unsigned int i) {
  hold(i);
  fBits[i / 32] |= 1u << i % 32;
}

void Bitmap::toggle(unsigned int i) {
  hold(i);
  fBits[i / 32] ^= 1u << i % 32;
}

Bitmap& Bitmap::operator&=(const Bitmap& other) {
  for (std::uint32_t i = 0, n = std::min(fSizeInWords, other.fSizeInWords); i < n; ++i) fBits[i] &= other.fBits[i];
  return *this;
}

Bitmap& Bitmap::operator|=(const Bitmap& other) {
  for (std::uint32_t i = 0, n = std::min(fSizeInWords, other.fSizeInWords); i < n; ++i) fBits[i] |= other.fBits[i];
  return *this;
}

Bitmap& Bitmap::operator^=(const Bitmap& other) {
  for (std::uint32_t i = 0, n = std::min(fSizeInWords, other.fSizeInWords); i < n; ++i) fBits[i] ^= other.fBits[i];
  return *this;
}

/// Takes the sizes and returns fresh words, not cleared; fBits is left to the caller. At exhaustion nothing changes.
std::uint32_t* Bitmap::alloc_from_size_in_bits(unsigned int bits) {
  const std::uint32_t words = words_for(bits);
  void* block = words != 0 ? MemAllocator::allocate(words * 4) : nullptr;
  if (words != 0 && block == nullptr) throw MemError(MemError::HEAP_EXHAUSTED, true);
  fSizeInBits = bits;
  fSizeInWords = words;
  return static_cast<std::uint32_t*>(block);
}

/// Requires: bits > fSizeInBits.
void Bitmap::re_size(unsigned int bits) {
  const std::uint32_t held = fSizeInWords;
  if (words_for(bits) == held) {
    fSizeInBits = bits;
    return;
  }
  std::uint32_t* words = alloc_from_size_in_bits(bits);
  MemAllocator::copy(words, fBits, held * 4);
  MemAllocator::zero(words + held, (fSizeInWords - held) * 4);
  MemAllocator::deallocate(fBits);
  fBits = words;
}

void Bitmap::hold(unsigned int i) {
  if (i < fSizeInBits) return;
  if (i == 0xFFFFFFFF) throw MemError(MemError::TOO_LARGE, false);
  re_size(i + 1);
}

void Bitmap::fill(unsigned char value) { MemAllocator::fill(fBits, value, fSizeInWords * 4); }

}  // namespace zqcore27
