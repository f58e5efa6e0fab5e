// UTF-8 in and out of String. Text is taken in blocks: a block of plain ASCII is widened or narrowed as a whole.

#include <algorithm>
#include <cassert>
#include <cstring>
#include <limits>
#include <utility>

#include "zqcore27/errors/mem_error.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/nat_string.h"
#include "zqcore27/strings/string.h"
#include "zqcore27/strings/utf8_sequence.h"

inline namespace zqcore27 {

namespace {

constexpr std::size_t BLOCK = 16;

bool isPlain(const unsigned char* block) {
  unsigned char bits = 0;
  for (std::size_t i = 0; i < BLOCK; ++i) bits |= block[i];
  return bits < 0x80;
}

/// True if every unit is ASCII and none is zero.
bool isPlain(const std::uint16_t* block) {
  bool plain = true;
  for (std::size_t i = 0; i < BLOCK; ++i) plain &= static_cast<std::uint16_t>(block[i] - 1) < 0x7F;
  return plain;
}

/// The bytes of the text as UTF-8, zero units left out.
std::uint64_t utf8Size(std::span<const std::uint16_t> text) {
  std::uint64_t size = 0;
  for (const std::uint16_t c : text) size += (c != 0) + (c >= 0x80) + (c >= 0x800);
  return size;
}

unsigned char* encode(std::span<const std::uint16_t> text, unsigned char* out) {
  const std::uint16_t* in = text.data();
  for (std::size_t left = text.size(); left != 0;) {
    const std::size_t n = std::min(left, BLOCK);
    if (n == BLOCK && isPlain(in)) {
      for (std::size_t i = 0; i < BLOCK; ++i) out[i] = static_cast<unsigned char>(in[i]);
      out += BLOCK;
    } else {
      for (std::size_t i = 0; i < n; ++i) {
        if (in[i] != 0) out += encodeUTF8(in[i], out);
      }
    }
    in += n;
    left -= n;
  }
  return out;
}

/// The units that `n` bytes decode to at most: every sequence has exactly one byte that is no continuation byte, so
/// that the bound is exact for well-formed text.
std::size_t maxUnits(const unsigned char* s, std::size_t n) {
  std::size_t units = 0;
  for (std::size_t i = 0; i < n; ++i) units += !isUTF8Continuation(s[i]);
  return units;
}

struct Decoded {
  std::size_t units;  // written
  bool complete;      // false: stopped at an ill-formed sequence
};

Decoded decode(const unsigned char* s, std::size_t n, std::uint16_t* out) {
  const std::uint16_t* const start = out;
  const unsigned char* const end = s + n;
  while (s != end) {
    if (static_cast<std::size_t>(end - s) >= BLOCK && isPlain(s)) {
      for (std::size_t i = 0; i < BLOCK; ++i) out[i] = s[i];
      s += BLOCK;
      out += BLOCK;
      continue;
    }
    const unsigned char* const blockEnd = s + std::min<std::size_t>(static_cast<std::size_t>(end - s), BLOCK);
    while (s < blockEnd) {
      std::uint16_t unit;
      const std::int32_t consumed = decodeUTF8(s, static_cast<std::size_t>(end - s), &unit);
      if (consumed < 0) return {static_cast<std::size_t>(out - start), false};
      *out++ = unit;
      s += consumed;
    }
  }
  return {static_cast<std::size_t>(out - start), true};
}

/// The longest text that leaves room for a terminator in a block of 32-bit size.
constexpr std::size_t MAX_LENGTH = 0x7FFFFFFE;

/// Makes `out` the text of `n` bytes, in a block of its own, so that the bytes may lie in the old one. An ill-formed
/// sequence raises the error; the units before it are then the text.
void decodeInto(String& out, const unsigned char* s, std::size_t n) {
  const std::size_t bound = maxUnits(s, n);
  if (bound > MAX_LENGTH) throw MemError(MemError::TOO_LARGE, false);
  String text;
  Decoded decoded{0, n == 0};
  if (bound != 0) {
    text.resize(static_cast<unsigned int>(2 * bound + 2));
    decoded = decode(s, n, text.begin());
    text.terminate(static_cast<unsigned int>(decoded.units));
  }
  if (decoded.units == 0) {
    text = String();
  } else if (decoded.units < bound) {
    text.resize(static_cast<unsigned int>(2 * decoded.units + 2));
  }
  out = std::move(text);
  if (!decoded.complete) throw StringError(StringError::BAD_UTF8, false);
}

}  // namespace

void String::toUTF8(NatString& out) const {
  const std::uint64_t size = utf8Size(units()) + 1;
  if (size > std::numeric_limits<std::uint32_t>::max()) throw MemError(MemError::TOO_LARGE, false);
  out.resize(static_cast<unsigned int>(size));
  unsigned char* const end = encode(units(), out.fData);
  assert(end == out.fData + size - 1);
  *end = 0;
  out.fLength = static_cast<std::uint32_t>(size);
}

void String::buildfromUTF8(const unsigned char* s) {
  decodeInto(*this, s, s == nullptr ? 0 : std::strlen(reinterpret_cast<const char*>(s)));
}

void String::buildfromUTF8(const unsigned char* s, unsigned int n) { decodeInto(*this, s, s == nullptr ? 0 : n); }

String String::fromUTF8(std::string_view s) {
  String text;
  decodeInto(text, reinterpret_cast<const unsigned char*>(s.data()), s.size());
  return text;
}

}  // namespace zqcore27
