#pragma once

// Internal: one UTF-8 sequence of 1 to 3 bytes for one unit, inline for loops over whole texts.

#include <cstddef>
#include <cstdint>

inline namespace zqcore27 {

constexpr std::int32_t MAX_UTF8_SEQUENCE = 3;

/// The bytes that the unit takes, 1 to 3.
constexpr std::int32_t utf8Length(std::uint16_t c) { return c < 0x80 ? 1 : c < 0x800 ? 2 : 3; }

/// The bytes that a sequence with this first byte takes, 1 to 3; 0 if none begins with it.
constexpr std::int32_t utf8LengthByFirst(unsigned char first) {
  return first < 0x80 ? 1 : first < 0xC0 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 0;
}

constexpr bool isUTF8Continuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

/// Writes the sequence of `c` and returns its bytes, utf8Length(c).
constexpr std::int32_t encodeUTF8(std::uint16_t c, unsigned char* out) {
  const std::int32_t length = utf8Length(c);
  if (length == 1) {
    out[0] = static_cast<unsigned char>(c);
  } else if (length == 2) {
    out[0] = static_cast<unsigned char>(0xC0 | c >> 6);
    out[1] = static_cast<unsigned char>(0x80 | (c & 0x3F));
  } else {
    out[0] = static_cast<unsigned char>(0xE0 | c >> 12);
    out[1] = static_cast<unsigned char>(0x80 | (c >> 6 & 0x3F));
    out[2] = static_cast<unsigned char>(0x80 | (c & 0x3F));
  }
  return length;
}

/// Reads one sequence out of `left` bytes, of which there must be at least one. Returns the bytes consumed, or -1 with
/// 0 in `out` if it is ill-formed or cut off. A byte is read only if the one before it is in order.
constexpr std::int32_t decodeUTF8(const unsigned char* in, std::size_t left, std::uint16_t* out) {
  const std::int32_t length = utf8LengthByFirst(in[0]);
  if (length == 1) {
    *out = in[0];
  } else if (length == 2 && left >= 2 && isUTF8Continuation(in[1])) {
    *out = static_cast<std::uint16_t>((in[0] & 0x1F) << 6 | (in[1] & 0x3F));
  } else if (length == 3 && left >= 3 && isUTF8Continuation(in[1]) && isUTF8Continuation(in[2])) {
    *out = static_cast<std::uint16_t>((in[0] & 0x0F) << 12 | (in[1] & 0x3F) << 6 | (in[2] & 0x3F));
  } else {
    *out = 0;
    return -1;
  }
  return length;
}

}  // namespace zqcore27
