#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "zqcore27/floatfmt/stored_format.h"
#include "zqcore27/platform/export.h"

inline namespace zqcore27 {

/// Reads and writes floating-point values stored in the format of another machine, as host doubles. A converter is set
/// up for one format code and one width and keeps nothing else. Stored values may be unaligned; nothing beside the
/// 4 or 8 bytes of a value is touched.
///
///   code & 31     stored order                 a code's upper three bits are ignored
///   1             VAX: 16-bit words, the first one on top, each in host order
///   2, 7, 8, 9    host order                   7 marks its special values as 4 does, 2, 8, 9 as 3 does
///   3, 4          byte-swapped
///   5, 6, 10, 11  byte-swapped                 as 4 and 3, with a first mark of their own
///   0, 12 to 31   no format
///
/// Four kinds of special value have a stored form of their own in each format, a mark. At width 8 a mark is written
/// into both 32-bit words and looked for in one of them, the one that holds sign and exponent in host order.
///
/// What a host should know: a VAX value isn't checked for its range in either direction. A number that has no place
/// there wraps round silently: -0.0 as a VAX double reads back as -2.0, 2^127 as a VAX single becomes 0, and some
/// negative values fall on a mark and read back as special. On 32-bit x86 a double that a function returns passes a
/// register that makes a signalling NaN quiet, those of kinds 8 and 9 among them: what getHostValues writes keeps its
/// bits.
///
/// Threads: a converter that is set up may be shared; setting it up, one at a time.
class ZQCORE27_EXPORT FpFormat {
 public:
  /// The kinds of special value. The double of a kind holds the kind's pattern in both of its halves.
  enum FloatTYPE : int {
    FT_NORMAL = 0,     // no special value
    FT_SPECIAL_1 = 1,  // 0x7ffe0000, mark 0
    FT_SPECIAL_2 = 2,  // 0x7fff0000, mark 1
    FT_SPECIAL_3 = 3,  // 0x7f667782, mark 2
    FT_SPECIAL_4 = 4,  // 0x7f667783, can't be stored
    FT_SPECIAL_5 = 5,  // 0x7f667784; this one and those below without a mark travel as ordinary numbers
    FT_SPECIAL_6 = 6,  // 0x7f667785
    FT_SPECIAL_7 = 7,  // 0x7f667786, mark 3
    FT_SPECIAL_8 = 8,  // 0x7ff00000, the high half of infinity
    FT_SPECIAL_9 = 9   // 0xfff00000, the high half of negative infinity
  };

  /// Not ready, format and width 0.
  FpFormat() = default;
  /// initStandAlone with its result in `*status`, which may be null. Errors: as there, `*status` as before.
  FpFormat(unsigned char code, unsigned char width, std::int32_t* status);

  /// Sets the converter up for values of `width` bytes, 4 or 8. Returns 0 for a format in host order and for VAX, 1 for
  /// a swapped one, -1 for a code that names no format. Code and width are kept whatever comes out. A set-up that is
  /// refused leaves a ready converter ready, with the new width and the old format.
  /// Errors: FPError::BAD_WIDTH, before the code is looked at.
  std::int32_t initStandAlone(unsigned char code, unsigned char width);

  /// The code of the last set-up, all eight bits; 0 before the first.
  std::uint16_t format() const { return fFormat; }

  /// The kind of a double by its high 32 bits alone, and of a float by its bits. A NaN or an infinity with other bits
  /// than those of the kinds is FT_NORMAL. Threads: any.
  static FloatTYPE testValue(double value);
  static FloatTYPE testValue(float value);

  /// True for every kind but FT_NORMAL and FT_SPECIAL_4. It tests the bits: a NaN of other bits is none here, and kinds
  /// 3, 5, 6 and 7 are finite numbers. Threads: any.
  static bool isNAN(double value);

  /// The double of `kind`. Errors: FPError::BAD_KIND, fatal, for all but kinds 1 to 9. Threads: any.
  static double getNAN(FloatTYPE kind);

  /// Reads one stored value. At width 8 in host and swapped order the bits of a NaN survive.
  /// Errors: FPError::NOT_READY, also after a set-up with a width other than 4 and 8.
  ZQCORE27_EXPORT double getHostValue(const void* stored) const;

  /// Writes one stored value. A value with a high half of 0, subnormals among them, is stored as zero. At width 4 other
  /// values are narrowed with the host's rounding first.
  /// Errors: FPError::NOT_READY as above, FPError::NOT_STORABLE for kind 4; nothing is written then.
  ZQCORE27_EXPORT void putHostValue(void* stored, double value) const;

  /// Reads `count` stored values that lie `stride` bytes apart, 0 included, into consecutive doubles: as getHostValue
  /// for one after the other, wherever the two overlap. Errors: FPError::NOT_READY, also with a count of 0.
  void getHostValues(const void* stored, double* values, std::size_t count, std::size_t stride) const;

  /// Writes `count` consecutive doubles `stride` bytes apart: as putHostValue for one after the other.
  /// Errors: as there; with NOT_STORABLE the values before that one are written.
  void putHostValues(void* stored, const double* values, std::size_t count, std::size_t stride) const;

  /// Puts the stored form of kind 7 into `*mark`, as a 32-bit word in host order, and returns its byte offset in a
  /// stored value, 0 or 4: enough to test stored data for that kind without converting it. Errors: FPError::NOT_READY,
  /// also after a refused set-up with a width other than 4 and 8.
  std::int32_t getHostMARK(std::uint32_t* mark) const;

 private:
  enum Flag : std::uint32_t { READY = 1, SWAPPED = 2, VAX = 4 };
  // What hosts have compiled in: it keeps its values.
  enum Form : std::uint8_t {
    NO_FORM = 0,
    HOST_DOUBLE = 1,
    SWAPPED_DOUBLE = 2,
    VAX_DOUBLE = 3,
    HOST_SINGLE = 4,
    SWAPPED_SINGLE = 5,
    VAX_SINGLE = 6,
    AFTER_REFUSAL = 8  // beside one of these: the marks may be those of the other width
  };
  /// The least high half, without its sign, of a value that isn't written as an ordinary number, 0 apart.
  static constexpr std::uint32_t SPECIALS_BEGIN = 0x7F667782;

  static FloatTYPE testValue(std::uint32_t word);
  Form form() const;
  std::int32_t mark_offset() const;
  template <typename Use>
  void with_codec(Use use) const;
  template <typename Codec>
  static bool read_ordinary(const void* stored, double& value);
  template <typename Codec>
  static void write_ordinary(void* stored, double value, bool zero);

  std::uint32_t fFlags = 0;
  std::int32_t fMarkOffset = 0;           // of the word in a stored value that marks are compared with, in bytes
  std::array<std::uint32_t, 4> fMarks{};  // the stored forms of kinds 1, 2, 3 and 7
  std::uint8_t fFormat = 0;
  std::uint8_t fWidth = 0;  // bytes of a stored value
  Form fForm = NO_FORM;     // what flags and width come to; NO_FORM: nothing can be converted
};

// A single value costs less than a call: what is ordinary is converted where the call stands, and what may be special
// goes the way of the arrays.

/// False, with `value` as it was, if the stored value may be special.
template <typename Codec>
bool FpFormat::read_ordinary(const void* stored, double& value) {
  using Word = typename Codec::Word;
  Word word;
  std::memcpy(&word, stored, sizeof word);
  Word bits = floatfmt::decodeOne<Codec>(word);
  if (!Codec::ordinary(word, bits)) {
    if (Codec::DECODES_ZERO || word != 0) return false;
    bits = 0;
  }
  value = std::bit_cast<std::conditional_t<sizeof word == 8, double, float>>(bits);
  return true;
}

template <typename Codec>
void FpFormat::write_ordinary(void* stored, double value, bool zero) {
  using Word = typename Codec::Word;
  const auto number = static_cast<std::conditional_t<sizeof(Word) == 8, double, float>>(value);
  const Word word = zero ? 0 : floatfmt::encodeOne<Codec>(std::bit_cast<Word>(number));
  std::memcpy(stored, &word, sizeof word);
}

inline double FpFormat::getHostValue(const void* stored) const {
  using namespace floatfmt;
  double value;
  const Form form = fForm;
  if (form == VAX_SINGLE && read_ordinary<VaxSingle>(stored, value)) return value;
  if (form == VAX_DOUBLE && read_ordinary<VaxDouble>(stored, value)) return value;
  if (form == SWAPPED_SINGLE && read_ordinary<Swapped<std::uint32_t>>(stored, value)) return value;
  if (form == SWAPPED_DOUBLE && read_ordinary<Swapped<std::uint64_t>>(stored, value)) return value;
  if (form == HOST_SINGLE && read_ordinary<HostOrder<std::uint32_t>>(stored, value)) return value;
  if (form == HOST_DOUBLE && read_ordinary<HostOrder<std::uint64_t>>(stored, value)) return value;
  double special;
  getHostValues(stored, &special, 1, 0);
  return special;
}

inline void FpFormat::putHostValue(void* stored, double value) const {
  using namespace floatfmt;
  const auto high = static_cast<std::uint32_t>(std::bit_cast<std::uint64_t>(value) >> 32);
  if (high * 2 < SPECIALS_BEGIN * 2) {
    const Form form = fForm;
    if (form == VAX_SINGLE) return write_ordinary<VaxSingle>(stored, value, high == 0);
    if (form == VAX_DOUBLE) return write_ordinary<VaxDouble>(stored, value, high == 0);
    if (form == SWAPPED_SINGLE) return write_ordinary<Swapped<std::uint32_t>>(stored, value, high == 0);
    if (form == SWAPPED_DOUBLE) return write_ordinary<Swapped<std::uint64_t>>(stored, value, high == 0);
    if (form == HOST_SINGLE) return write_ordinary<HostOrder<std::uint32_t>>(stored, value, high == 0);
    if (form == HOST_DOUBLE) return write_ordinary<HostOrder<std::uint64_t>>(stored, value, high == 0);
  }
  const double special = value;  // whose address alone is taken: `value` stays in its register
  putHostValues(stored, &special, 1, 0);
}

}  // namespace zqcore27
