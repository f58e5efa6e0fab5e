#include "zqcore27/floatfmt/fp_format.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <type_traits>

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

std::uint64_t doubled(std::uint32_t pattern) { return std::uint64_t{pattern} << 32 | pattern; }

/// The bits of the double of these bits, or of the float. Not the double: on its way out of a function some processors
/// make a signalling NaN quiet.
std::uint64_t doubleBits(std::uint64_t bits) { return bits; }
std::uint64_t doubleBits(std::uint32_t bits) {
  return std::bit_cast<std::uint64_t>(static_cast<double>(std::bit_cast<float>(bits)));
}

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

// Apart from those who raise it, who then need no frame for it.
[[noreturn, gnu::cold, gnu::noinline]] void refuse(std::uint32_t code) { throw FPError(code, false); }

template <typename Word>
Word twice(std::uint32_t mark) {
  if constexpr (sizeof(Word) == 8) return Word{mark} << 32 | mark;
  return mark;
}

/// The marks of a format, and where they stand in a stored word.
struct Stored {
  const Marks& marks;
  int shift;  // of the half that marks are compared with, in bits
};

template <typename Codec>
std::uint64_t decode(typename Codec::Word stored, const Stored& form) {
  const auto w = static_cast<std::uint32_t>(stored >> form.shift);
  for (std::size_t i = 0; i < MARKED_KINDS.size(); ++i) {
    if (w == form.marks[i]) [[unlikely]] {
      return doubled(PATTERNS[MARKED_KINDS[i]]);
    }
  }
  if (!Codec::DECODES_ZERO && stored == 0) return 0;
  return doubleBits(Codec::decode(stored));
}

// The kinds that aren't written as ordinary numbers, by their patterns: those with a mark and the one that has none.
constexpr Marks MARKED_PATTERNS = {PATTERNS[MARKED_KINDS[0]], PATTERNS[MARKED_KINDS[1]], PATTERNS[MARKED_KINDS[2]],
                                   PATTERNS[MARKED_KINDS[3]]};
constexpr std::uint32_t REFUSED_PATTERN = PATTERNS[FpFormat::FT_SPECIAL_4];
constexpr std::uint32_t LOWEST_PATTERN = std::min(std::ranges::min(MARKED_PATTERNS), REFUSED_PATTERN);
constexpr std::uint32_t HIGHEST_PATTERN = std::max(std::ranges::max(MARKED_PATTERNS), REFUSED_PATTERN);

template <typename Codec>
typename Codec::Word encode(double value, const Marks& marks) {
  using Word = typename Codec::Word;
  const std::uint32_t h = highHalf(value);
  if (h - LOWEST_PATTERN <= HIGHEST_PATTERN - LOWEST_PATTERN) [[unlikely]] {
    for (std::size_t i = 0; i < marks.size(); ++i) {
      if (h == MARKED_PATTERNS[i]) return twice<Word>(marks[i]);
    }
    if (h == REFUSED_PATTERN) refuse(FPError::NOT_STORABLE);
  }
  return h == 0 ? Word{0} : Codec::encode(bitsOf<Word>(value));
}

constexpr std::size_t BLOCK = 256;  // stored values that are converted before a look at what was special among them

using floatfmt::Words32;
using floatfmt::Words64;

/// Finds marks in stored words by the bits in which all marks agree: none is missed, a few words are found without
/// need.
template <typename Codec>
class MarkFilter {
 public:
  using Words = typename Codec::Words;

  explicit MarkFilter(const Stored& form) {
    std::uint32_t common = ~0u, any = 0;
    for (const std::uint32_t mark : form.marks) {
      common &= mark;
      any |= mark;
    }
    // Zero is found as well where it needs to be, by leaving the marks' own bits aside.
    const std::uint32_t agreed = ~(any ^ common) & (Codec::DECODES_ZERO ? ~0u : ~common);
    using Word = typename Codec::Word;
    const Word otherHalf = static_cast<Word>(~(Word{0xFFFFFFFF} << form.shift));
    fMask = Words{} + (Word{agreed} << form.shift);
    fMatch = (Words32)(Words{} + (Word{common & agreed} << form.shift | otherHalf));  // which never matches
  }
  void look(Words words) { fFound |= (Words32)((Words32)(words & fMask) == fMatch); }
  bool found() const { return (fFound[0] | fFound[1] | fFound[2] | fFound[3]) != 0; }

 private:
  Words fMask;
  Words32 fMatch;
  Words32 fFound{};
};

void store(double* to, Words64 bits) { std::memcpy(to, &bits, sizeof bits); }
void store(double* to, Words32 bits) {
  float values[4];
  std::memcpy(values, &bits, sizeof bits);
  for (std::size_t i = 0; i < 4; ++i) to[i] = values[i];
}

/// Decodes BLOCK consecutive words that don't overlap `values`, all in the ordinary way. True if a word among them may
/// be special.
template <typename Codec>
bool decodeBlock(const unsigned char* stored, double* values, const Stored& form) {
  using Words = typename Codec::Words;
  constexpr std::size_t STEP = sizeof(Words) / sizeof(typename Codec::Word);
  MarkFilter<Codec> special(form);
  for (std::size_t i = 0; i < BLOCK; i += STEP) {
    Words words;
    std::memcpy(&words, stored + i * sizeof(typename Codec::Word), sizeof words);
    special.look(words);
    store(values + i, Codec::template decode<Words>(words));
  }
  return special.found();
}

constexpr std::size_t GROUP = 8;  // values of which one look tells whether all are ordinary
static_assert(HIGHEST_PATTERN <= 0x7FFFFFFF, "signed, the patterns are the highest");

/// The bits of the numbers that fill a register, doubles or narrowed to floats.
template <typename Words>
Words loadNumbers(const double* from) {
  if constexpr (std::is_same_v<Words, Words64>) {
    Words bits;
    std::memcpy(&bits, from, sizeof bits);
    return bits;
  } else {
    typedef double Doubles __attribute__((vector_size(32)));
    typedef float Floats __attribute__((vector_size(16)));
    Doubles numbers;
    std::memcpy(&numbers, from, sizeof numbers);
    return (Words) __builtin_convertvector(numbers, Floats);
  }
}

/// Whether a value among GROUP may not be written as an ordinary number: none is missed, and beside them only numbers
/// at the upper end of the range, infinities and NaNs are found.
bool anySpecial(const double* values) {
  typedef std::int32_t Signed __attribute__((vector_size(16)));
  Signed found{};
  for (std::size_t i = 0; i < GROUP; i += 4) {
    const auto two = (Signed)loadNumbers<Words64>(values + i), more = (Signed)loadNumbers<Words64>(values + i + 2);
    const auto high = __builtin_shufflevector(two, more, 1, 3, 5, 7);
    found |= (high == 0) | (high >= static_cast<std::int32_t>(LOWEST_PATTERN));
  }
  const auto halves = (Words64)found;
  return (halves[0] | halves[1]) != 0;
}

/// Encodes GROUP values, none of them special, that don't overlap `stored`.
template <typename Codec>
void encodeGroup(const double* values, unsigned char* stored) {
  using Words = typename Codec::Words;
  constexpr std::size_t STEP = sizeof(Words) / sizeof(typename Codec::Word);
  for (std::size_t i = 0; i < GROUP; i += STEP) {
    const Words words = Codec::template encode<Words>(loadNumbers<Words>(values + i));
    std::memcpy(stored + i * sizeof(typename Codec::Word), &words, sizeof words);
  }
}

template <typename Codec>
void decodeSingly(const unsigned char* stored, double* values, std::size_t n, std::size_t stride, const Stored& form) {
  for (std::size_t i = 0; i < n; ++i) {
    const std::uint64_t bits = decode<Codec>(load<typename Codec::Word>(stored + i * stride), form);
    std::memcpy(values + i, &bits, sizeof bits);
  }
}

template <typename Codec>
[[gnu::noinline]] void encodeSingly(unsigned char* stored, const double* values, std::size_t n, std::size_t stride,
                                    const Marks& marks) {
  for (std::size_t i = 0; i < n; ++i) {
    const auto word = encode<Codec>(values[i], marks);
    std::memcpy(stored + i * stride, &word, sizeof word);
  }
}

bool overlap(const void* a, std::size_t aSize, const void* b, std::size_t bSize) {
  const auto x = reinterpret_cast<std::uintptr_t>(a), y = reinterpret_cast<std::uintptr_t>(b);
  return x < y + bSize && y < x + aSize;
}

/// Whether values of `width` bytes lie side by side in memory of their own: only then whole blocks are converted before
/// a look at what was special among them.
bool inBlocks(const void* stored, const double* values, std::size_t count, std::size_t stride, std::size_t width) {
  return stride == width && !overlap(stored, count * width, values, count * sizeof(double));
}

/// Blocks with something special in them are read again.
template <typename Codec>
void decodeAll(const unsigned char* stored, double* values, std::size_t count, std::size_t stride, const Stored& form) {
  constexpr std::size_t WIDTH = sizeof(typename Codec::Word);
  std::size_t done = 0;
  if (inBlocks(stored, values, count, stride, WIDTH)) {
    for (; count - done >= BLOCK; done += BLOCK) {
      const unsigned char* const from = stored + done * WIDTH;
      if (decodeBlock<Codec>(from, values + done, form)) {
        decodeSingly<Codec>(from, values + done, BLOCK, WIDTH, form);
      }
    }
  }
  decodeSingly<Codec>(stored + done * stride, values + done, count - done, stride, form);
}

/// A group goes out when nothing special is in it, since a value that is refused leaves all behind it unwritten.
template <typename Codec>
void encodeAll(unsigned char* stored, const double* values, std::size_t count, std::size_t stride, const Marks& marks) {
  constexpr std::size_t WIDTH = sizeof(typename Codec::Word);
  std::size_t done = 0;
  if (inBlocks(stored, values, count, stride, WIDTH)) {
    for (; count - done >= GROUP; done += GROUP) {
      unsigned char* const to = stored + done * WIDTH;
      if (anySpecial(values + done)) {
        encodeSingly<Codec>(to, values + done, GROUP, WIDTH, marks);
      } else {
        encodeGroup<Codec>(values + done, to);
      }
    }
  }
  encodeSingly<Codec>(stored + done * stride, values + done, count - done, stride, marks);
}

}  // namespace

FpFormat::FpFormat(unsigned char code, unsigned char width, std::int32_t* status) {
  const std::int32_t result = initStandAlone(code, width);
  if (status != nullptr) *status = result;
}

std::int32_t FpFormat::initStandAlone(unsigned char code, unsigned char width) {
  fFormat = code;
  fWidth = width;
  const Form refused = form();
  fForm = refused == NO_FORM ? NO_FORM : static_cast<Form>(refused | AFTER_REFUSAL);
  if (width != 4 && width != 8) throw FPError(FPError::BAD_WIDTH, false);
  const std::uint32_t selected = 1u << (code & 31);
  const auto* const row = std::find_if(std::begin(FORMATS), std::end(FORMATS),
                                       [&](const FormatRow& r) { return (r.codes & selected) != 0; });
  if (row == std::end(FORMATS)) return -1;
  const bool vax = selected == codes(VAX_CODE);
  fMarks = width == 8 ? row->wide : row->narrow;
  fMarkOffset = width == 8 && !row->swapped && !vax ? 4 : 0;
  fFlags = READY | (row->swapped ? SWAPPED : 0u) | (vax ? VAX : 0u);
  fForm = form();
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
  return std::bit_cast<double>(doubled(PATTERNS[static_cast<std::size_t>(kind)]));
}

// A refused set-up can leave a ready converter with any width: with one that no value has, nothing can be converted.
FpFormat::Form FpFormat::form() const {
  if ((fFlags & READY) == 0 || (fWidth != 4 && fWidth != 8)) return NO_FORM;
  if ((fFlags & VAX) != 0) return fWidth == 8 ? VAX_DOUBLE : VAX_SINGLE;
  if ((fFlags & SWAPPED) != 0) return fWidth == 8 ? SWAPPED_DOUBLE : SWAPPED_SINGLE;
  return fWidth == 8 ? HOST_DOUBLE : HOST_SINGLE;
}

// ... and with a width of 4 behind the set-up for one of 8, whose mark lay behind the first four bytes.
std::int32_t FpFormat::mark_offset() const { return fWidth == 8 ? fMarkOffset : 0; }

/// Calls `use` with the codec of the stored form.
template <typename Use>
void FpFormat::with_codec(Use use) const {
  using namespace floatfmt;
  switch (fForm & ~AFTER_REFUSAL) {
    case HOST_DOUBLE:
      return use(HostOrder<std::uint64_t>());
    case SWAPPED_DOUBLE:
      return use(Swapped<std::uint64_t>());
    case VAX_DOUBLE:
      return use(VaxDouble());
    case HOST_SINGLE:
      return use(HostOrder<std::uint32_t>());
    case SWAPPED_SINGLE:
      return use(Swapped<std::uint32_t>());
    case VAX_SINGLE:
      return use(VaxSingle());
    default:
      break;
  }
  refuse(FPError::NOT_READY);
}

// Hosts that were built before these two were inline call them here.
[[gnu::used]] constexpr auto READ = &FpFormat::getHostValue;
[[gnu::used]] constexpr auto WRITE = &FpFormat::putHostValue;

void FpFormat::getHostValues(const void* stored, double* values, std::size_t count, std::size_t stride) const {
  with_codec([&]<typename Codec>(Codec) {
    decodeAll<Codec>(static_cast<const unsigned char*>(stored), values, count, stride, {fMarks, mark_offset() * 8});
  });
}

void FpFormat::putHostValues(void* stored, const double* values, std::size_t count, std::size_t stride) const {
  static_assert(SPECIALS_BEGIN == LOWEST_PATTERN);
  with_codec([&]<typename Codec>(Codec) {
    encodeAll<Codec>(static_cast<unsigned char*>(stored), values, count, stride, fMarks);
  });
}

std::int32_t FpFormat::getHostMARK(std::uint32_t* mark) const {
  if (fForm == NO_FORM) refuse(FPError::NOT_READY);
  *mark = fMarks[3];
  return mark_offset();
}

}  // namespace zqcore27
