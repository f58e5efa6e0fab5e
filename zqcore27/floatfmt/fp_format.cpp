#include "zqcore27/floatfmt/fp_format.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "zqcore27/floatfmt/fp_error.h"
#include "zqcore27/floatfmt/stored_format.h"

inline namespace zqcore27 {

namespace {

using Marks = std::array<std::uint32_t, 4>;

// Host patterns by kind; FT_NORMAL has none.
constexpr std::array<std::uint32_t, 10> PATTERNS = {0,          0x7FFE0000, 0x7FFF0000, 0x7F667782, 0x7F667783,
                                                    0x7F667784, 0x7F667785, 0x7F667786, 0x7FF00000, 0xFFF00000};

// The kinds that have a mark, in the order of the marks.
constexpr std::array<FpFormat::FloatTYPE, 4> MARKED_KINDS = {FpFormat::FT_SPECIAL_1, FpFormat::FT_SPECIAL_2,
                                                             FpFormat::FT_SPECIAL_3, FpFormat::FT_SPECIAL_7};

constexpr std::uint8_t VAX_CODE = 1;

struct FormatRow {
  std::uint32_t codes;  // bit n: the row is that of code n
  bool swapped;
  Marks wide, narrow;  // for width 8 and width 4
};

constexpr std::uint32_t codes(auto... code) { return ((1u << code) | ...); }

constexpr FormatRow FORMATS[] = {
    {codes(VAX_CODE), false, {0x8000, 0x8040, 0x8020, 0x8060}, {0x8000, 0x8040, 0x8020, 0x8060}},
    {codes(2, 8, 9),
     false,
     {0xFFF80000, 0x7FF83000, 0x7FF82000, 0x7FF84000},
     {0xFFC00000, 0x7FC30000, 0x7FC20000, 0x7FC40000}},
    {codes(3), true, {0xF47F, 0x30F87F, 0x20F87F, 0x40F87F}, {0xA07F, 0xC37F, 0xC27F, 0xC47F}},
    {codes(4), true, {0xF87F, 0x30F47F, 0x20F47F, 0x40F47F}, {0xC07F, 0xA37F, 0xA27F, 0xA47F}},
    {codes(5, 6), true, {0xFFFFFF7F, 0x30F47F, 0x20F47F, 0x40F47F}, {0xFFFFFF7F, 0xA37F, 0xA27F, 0xA47F}},
    {codes(7),
     false,
     {0xFFF80000, 0x7FF43000, 0x7FF42000, 0x7FF44000},
     {0xFFC00000, 0x7FA30000, 0x7FA20000, 0x7FA40000}},
    {codes(10, 11), true, {0xFFFFF77F, 0x30F87F, 0x20F87F, 0x40F87F}, {0xFFFFBF7F, 0xC37F, 0xC27F, 0xC47F}},
};

std::uint32_t highHalf(double value) { return static_cast<std::uint32_t>(std::bit_cast<std::uint64_t>(value) >> 32); }

double doubleOf(std::uint32_t pattern) { return std::bit_cast<double>(std::uint64_t{pattern} << 32 | pattern); }

double asDouble(std::uint64_t bits) { return std::bit_cast<double>(bits); }
double asDouble(std::uint32_t bits) { return std::bit_cast<float>(bits); }

template <typename Word>
Word bitsOf(double value);
template <>
std::uint64_t bitsOf(double value) {
  return std::bit_cast<std::uint64_t>(value);
}
template <>
std::uint32_t bitsOf(double value) {
  return std::bit_cast<std::uint32_t>(static_cast<float>(value));
}

template <typename Word>
Word load(const unsigned char* from) {
  Word word;
  std::memcpy(&word, from, sizeof word);
  return word;
}

/// What doesn't go the ordinary way: the marks, and where they stand.
struct Specials {
  Specials(const Marks& m, int s)
      : marks(m), shift(s), common(m[0] & m[1] & m[2] & m[3]), fixed(~((m[0] | m[1] | m[2] | m[3]) ^ common)) {}

  Marks marks;
  int shift;             // of the word that marks are compared with, in bits
  std::uint32_t common;  // the bits that all marks have
  std::uint32_t fixed;   // the bits in which all marks agree
};

template <typename Codec>
double decode(typename Codec::Word stored, const Specials& specials) {
  const auto w = static_cast<std::uint32_t>(stored >> specials.shift);
  for (std::size_t i = 0; i < MARKED_KINDS.size(); ++i) {
    if (w == specials.marks[i]) return doubleOf(PATTERNS[MARKED_KINDS[i]]);
  }
  return stored == 0 ? 0.0 : asDouble(Codec::decode(stored));
}

template <typename Word>
Word twice(std::uint32_t mark) {
  if constexpr (sizeof(Word) == 8) return Word{mark} << 32 | mark;
  return mark;
}

template <typename Codec>
typename Codec::Word encode(double value, const Specials& specials) {
  using Word = typename Codec::Word;
  const std::uint32_t h = highHalf(value);
  for (std::size_t i = 0; i < MARKED_KINDS.size(); ++i) {
    if (h == PATTERNS[MARKED_KINDS[i]]) return twice<Word>(specials.marks[i]);
  }
  if (h == PATTERNS[FpFormat::FT_SPECIAL_4]) throw FPError(FPError::NOT_STORABLE, false);
  return h == 0 ? Word{0} : Codec::encode(bitsOf<Word>(value));
}

constexpr std::size_t BLOCK = 256;  // values that are decoded before a look at what was special among them

/// The top bit is set if `v` is zero and clear otherwise: a comparison that vectors of all words have on every machine.
template <typename Words>
Words zeroAtTop(Words v) {
  return (v - 1) & ~v;
}

void store(double* to, floatfmt::Words64 bits) { std::memcpy(to, &bits, sizeof bits); }
void store(double* to, floatfmt::Words32 bits) {
  float values[4];
  std::memcpy(values, &bits, sizeof bits);
  for (std::size_t i = 0; i < 4; ++i) to[i] = values[i];
}

/// Decodes BLOCK consecutive words that don't overlap `values`, all in the ordinary way. True if a word among them may
/// be special.
template <typename Codec>
bool decodeBlock(const unsigned char* stored, double* values, const Specials& specials) {
  using Word = typename Codec::Word;
  using Words = typename Codec::Words;
  constexpr std::size_t STEP = sizeof(Words) / sizeof(Word);
  const Word fixed = Word{specials.fixed} << specials.shift, common = Word{specials.common} << specials.shift;
  Words special = {};
  for (std::size_t i = 0; i < BLOCK; i += STEP) {
    Words words;
    std::memcpy(&words, stored + i * sizeof(Word), sizeof words);
    special |= zeroAtTop<Words>((words & fixed) ^ common);
    if constexpr (!Codec::DECODES_ZERO) special |= zeroAtTop(words);
    store(values + i, Codec::template decode<Words>(words));
  }
  Word all = 0;
  for (std::size_t i = 0; i < STEP; ++i) all |= special[i];
  return all >> (sizeof(Word) * 8 - 1) != 0;
}

template <typename Codec>
void decodeSingly(const unsigned char* stored, double* values, std::size_t n, std::size_t stride,
                  const Specials& specials) {
  using Word = typename Codec::Word;
  for (std::size_t i = 0; i < n; ++i) values[i] = decode<Codec>(load<Word>(stored + i * stride), specials);
}

bool overlap(const void* a, std::size_t aSize, const void* b, std::size_t bSize) {
  const auto x = reinterpret_cast<std::uintptr_t>(a), y = reinterpret_cast<std::uintptr_t>(b);
  return x < y + bSize && y < x + aSize;
}

/// Whole blocks go the ordinary way first, and only those with something special in them are read again.
template <typename Codec>
void decodeAll(const unsigned char* stored, double* values, std::size_t count, std::size_t stride,
               const Specials& specials) {
  constexpr std::size_t WIDTH = sizeof(typename Codec::Word);
  const std::size_t span = (count - 1) * stride + WIDTH;
  std::size_t done = 0;
  if (stride == WIDTH && !overlap(stored, span, values, count * sizeof(double))) {
    for (; count - done >= BLOCK; done += BLOCK) {
      const unsigned char* const from = stored + done * WIDTH;
      if (decodeBlock<Codec>(from, values + done, specials)) {
        decodeSingly<Codec>(from, values + done, BLOCK, WIDTH, specials);
      }
    }
  }
  decodeSingly<Codec>(stored + done * stride, values + done, count - done, stride, specials);
}

}  // namespace

FpFormat::FpFormat(unsigned char code, unsigned char width, std::int32_t* status) {
  const std::int32_t result = initStandAlone(code, width);
  if (status != nullptr) *status = result;
}

std::int32_t FpFormat::initStandAlone(unsigned char code, unsigned char width) {
  fFormat = code;
  fWidth = width;
  if (width != 4 && width != 8) throw FPError(FPError::BAD_WIDTH, false);
  const std::uint32_t selected = 1u << (code & 31);
  const auto* const row = std::find_if(std::begin(FORMATS), std::end(FORMATS),
                                       [&](const FormatRow& r) { return (r.codes & selected) != 0; });
  if (row == std::end(FORMATS)) return -1;
  const bool vax = selected == codes(VAX_CODE);
  fMarks = width == 8 ? row->wide : row->narrow;
  fMarkOffset = width == 8 && !row->swapped && !vax ? 4 : 0;
  fFlags = READY | (row->swapped ? SWAPPED : 0u) | (vax ? VAX : 0u);
  return row->swapped ? 1 : 0;
}

FpFormat::FloatTYPE FpFormat::testValue(std::uint32_t word) {
  for (std::size_t kind = FT_SPECIAL_1; kind < PATTERNS.size(); ++kind) {
    if (word == PATTERNS[kind]) return static_cast<FloatTYPE>(kind);
  }
  return FT_NORMAL;
}

FpFormat::FloatTYPE FpFormat::testValue(double value) { return testValue(highHalf(value)); }

FpFormat::FloatTYPE FpFormat::testValue(float value) { return testValue(std::bit_cast<std::uint32_t>(value)); }

bool FpFormat::isNAN(double value) {
  const FloatTYPE kind = testValue(value);
  return kind != FT_NORMAL && kind != FT_SPECIAL_4;
}

double FpFormat::getNAN(FloatTYPE kind) {
  if (kind < FT_SPECIAL_1 || kind > FT_SPECIAL_9) throw FPError(FPError::BAD_KIND, true);
  return doubleOf(PATTERNS[static_cast<std::size_t>(kind)]);
}

// A refused set-up can leave a ready converter with any width: with one that no value has, nothing can be converted.
void FpFormat::require_ready() const {
  if ((fFlags & READY) == 0 || (fWidth != 4 && fWidth != 8)) throw FPError(FPError::NOT_READY, false);
}

// ... and with a width of 4 behind the set-up for one of 8, whose mark lay behind the first four bytes.
std::int32_t FpFormat::mark_offset() const { return fWidth == 8 ? fMarkOffset : 0; }

/// Calls `use` with the codec of the stored form and what is special in it.
template <typename Use>
void FpFormat::with_codec(Use use) const {
  using namespace floatfmt;
  require_ready();
  const Specials specials(fMarks, mark_offset() * 8);
  if (fWidth == 8) {
    if ((fFlags & VAX) != 0) return use(VaxDouble(), specials);
    if ((fFlags & SWAPPED) != 0) return use(Swapped<std::uint64_t>(), specials);
    return use(HostOrder<std::uint64_t>(), specials);
  }
  if ((fFlags & VAX) != 0) return use(VaxSingle(), specials);
  if ((fFlags & SWAPPED) != 0) return use(Swapped<std::uint32_t>(), specials);
  use(HostOrder<std::uint32_t>(), specials);
}

double FpFormat::getHostValue(const void* stored) const {
  double value = 0;
  with_codec([&]<typename Codec>(Codec, const Specials& specials) {
    value = decode<Codec>(load<typename Codec::Word>(static_cast<const unsigned char*>(stored)), specials);
  });
  return value;
}

void FpFormat::putHostValue(void* stored, double value) const {
  with_codec([&]<typename Codec>(Codec, const Specials& specials) {
    const auto word = encode<Codec>(value, specials);
    std::memcpy(stored, &word, sizeof word);
  });
}

void FpFormat::getHostValues(const void* stored, double* values, std::size_t count, std::size_t stride) const {
  with_codec([&]<typename Codec>(Codec, const Specials& specials) {
    if (count == 0) return;
    decodeAll<Codec>(static_cast<const unsigned char*>(stored), values, count, stride, specials);
  });
}

void FpFormat::putHostValues(void* stored, const double* values, std::size_t count, std::size_t stride) const {
  with_codec([&]<typename Codec>(Codec, const Specials& specials) {
    auto* to = static_cast<unsigned char*>(stored);
    for (std::size_t i = 0; i < count; ++i, to += stride) {
      const auto word = encode<Codec>(values[i], specials);
      std::memcpy(to, &word, sizeof word);
    }
  });
}

std::int32_t FpFormat::getHostMARK(std::uint32_t* mark) const {
  require_ready();
  *mark = fMarks[3];
  return mark_offset();
}

}  // namespace zqcore27
