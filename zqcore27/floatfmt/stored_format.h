#pragma once

// For fp_format.h alone: the forms that a stored number can have, as bits. A codec turns the word that lies in memory,
// read in host order, into the bits of a host float or double and back. Values travel as bits, so that no NaN is
// quieted on the way. Threads: any; no state.

#include <bit>
#include <cstdint>
#include <type_traits>

inline namespace zqcore27 {
namespace floatfmt {

static_assert(std::endian::native == std::endian::little, "marks and VAX words are given for little-endian hosts");

// Two or four words in a register. What turns one word turns several, so that columns go fast on every machine; the
// compilers' own loops don't find the two shuffles that it takes.
typedef std::uint64_t Words64 __attribute__((vector_size(16)));
typedef std::uint32_t Words32 __attribute__((vector_size(16)));
typedef std::uint16_t Words16 __attribute__((vector_size(16)));

/// VAX stores its 16-bit words from the top down: this puts the first one on top, and back.
constexpr std::uint32_t reverseWords(std::uint32_t v) { return std::rotl(v, 16); }
constexpr std::uint64_t reverseWords(std::uint64_t v) {
  return std::uint64_t{reverseWords(static_cast<std::uint32_t>(v))} << 32 |
         reverseWords(static_cast<std::uint32_t>(v >> 32));
}
inline Words32 reverseWords(Words32 v) {
  const auto w = (Words16)v;
  return (Words32)__builtin_shufflevector(w, w, 1, 0, 3, 2, 5, 4, 7, 6);
}
inline Words64 reverseWords(Words64 v) {
  const auto w = (Words16)v;
  return (Words64)__builtin_shufflevector(w, w, 3, 2, 1, 0, 7, 6, 5, 4);
}

constexpr std::uint32_t reverse(std::uint32_t v) { return __builtin_bswap32(v); }
constexpr std::uint64_t reverse(std::uint64_t v) { return __builtin_bswap64(v); }
template <typename Words>
Words reverse(Words v) {
  const auto w = (Words16)reverseWords(v);
  return (Words)(w << 8 | w >> 8);
}

// VAX single: sign, exponent and fraction stand where an IEEE single has them; the exponent is 2 larger.
constexpr std::uint32_t VAX_SINGLE_TOO_SMALL = 0x00800000;  // read for exponents below 2, without the sign

template <typename Words>
constexpr Words fp_from_vax_single(Words stored) {
  const Words bits = reverseWords(stored);
  const Words large = -((-(bits & 0x7F000000u)) >> 31);  // all ones for exponents from 2 on, else 0
  return ((bits - (2u << 23)) & large) | (VAX_SINGLE_TOO_SMALL & ~large);
}

template <typename Words>
constexpr Words fp_to_vax_single(Words bits) {
  return reverseWords((bits & 0x80000000u) | ((bits + (2u << 23)) & 0x7FFFFFFFu));
}

// VAX double: sign, 8 bits of exponent, 55 of fraction, 3 more than an IEEE double has. They are dropped.
constexpr std::uint64_t SIGN = std::uint64_t{1} << 63;

template <typename Words>
constexpr Words fp_from_vax_double(Words stored) {
  const Words bits = reverseWords(stored);
  return (bits & SIGN) | ((bits << 1 >> 4) + (std::uint64_t{894} << 52));
}

template <typename Words>
constexpr Words fp_to_vax_double(Words bits) {
  return reverseWords((bits & SIGN) | ((bits << 4) - (std::uint64_t{126} << 56)) >> 1);
}

/// Whether the bits of a double or float are neither a NaN nor infinite.
template <typename Bits>
constexpr bool isFinite(Bits bits) {
  constexpr std::uint32_t EXPONENT = sizeof bits == 8 ? 0x7FF00000 : 0x7F800000;
  return static_cast<std::uint32_t>(bits >> (8 * sizeof bits - 32)) * 2 < EXPONENT * 2;
}

/// At width 8 a codec's words are 64 bits, those of doubles; at width 4 32 bits, those of floats. One that decodes zero
/// makes it 0.0 by itself. A word that is ordinary is none of the marks for its width.
template <typename Bits>
struct PlainCodec {
  using Word = Bits;
  using Words = std::conditional_t<sizeof(Bits) == 8, Words64, Words32>;
  static constexpr bool DECODES_ZERO = true;
  static constexpr bool ordinary(Word, Word decoded) { return isFinite(decoded); }
};

template <typename Bits>
struct HostOrder : PlainCodec<Bits> {
  template <typename Words>
  static constexpr Words decode(Words stored) {
    return stored;
  }
  template <typename Words>
  static constexpr Words encode(Words bits) {
    return bits;
  }
};

template <typename Bits>
struct Swapped : PlainCodec<Bits> {
  template <typename Words>
  static constexpr Words decode(Words stored) {
    return reverse(stored);
  }
  template <typename Words>
  static constexpr Words encode(Words bits) {
    return reverse(bits);
  }
};

template <typename Bits>
struct VaxCodec : PlainCodec<Bits> {
  static constexpr bool DECODES_ZERO = false;
  static constexpr bool ordinary(Bits stored, Bits) { return (stored & 0x7F80) != 0; }  // by its exponent
};

struct VaxSingle : VaxCodec<std::uint32_t> {
  template <typename Words>
  static constexpr Words decode(Words stored) {
    return fp_from_vax_single(stored);
  }
  template <typename Words>
  static constexpr Words encode(Words bits) {
    return fp_to_vax_single(bits);
  }
};

struct VaxDouble : VaxCodec<std::uint64_t> {
  template <typename Words>
  static constexpr Words decode(Words stored) {
    return fp_from_vax_double(stored);
  }
  template <typename Words>
  static constexpr Words encode(Words bits) {
    return fp_to_vax_double(bits);
  }
};

/// One word. In halves of its own a VAX double takes ten steps to turn round, in a vector two.
template <typename Codec>
typename Codec::Word decodeOne(typename Codec::Word stored) {
  if constexpr (std::is_same_v<Codec, VaxDouble>) return Codec::decode(Words64{stored, 0})[0];
  return Codec::decode(stored);
}
template <typename Codec>
typename Codec::Word encodeOne(typename Codec::Word bits) {
  if constexpr (std::is_same_v<Codec, VaxDouble>) return Codec::encode(Words64{bits, 0})[0];
  return Codec::encode(bits);
}

}  // namespace floatfmt
}  // namespace zqcore27
