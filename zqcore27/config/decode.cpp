#include "zqcore27/config/decode.h"

#include <algorithm>

#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/native_text.h"
#include "zqcore27/strings/transcode.h"

inline namespace zqcore27 {

namespace {

constexpr std::uint32_t LONGEST = 3;  // bytes of a character, UTF-8 or native

std::uint32_t decode_utf8(const unsigned char* in, std::uint32_t n, bool more, std::uint16_t* out) {
  char sequence[LONGEST + 1] = {};  // zeros behind what may be read: nothing foreign completes a sequence
  std::copy_n(in, n, sequence);
  const std::int32_t taken = utf2uni(sequence, out);
  if (taken >= 1) return static_cast<std::uint32_t>(taken);
  if (more && n < LONGEST) return 0;
  *out = REPLACEMENT_CHAR;
  return 1;
}

std::uint32_t decode_native(const unsigned char* in, std::uint32_t n, bool more, std::uint16_t* out) {
  try {
    return static_cast<std::uint32_t>(nat2uni(reinterpret_cast<const char*>(in), out, static_cast<std::int32_t>(n)));
  } catch (const StringError&) {
    if (more && n < LONGEST) return 0;
    throw;
  }
}

}  // namespace

std::uint32_t decodeCharacter(const unsigned char* in, std::uint32_t n, bool utf8, bool more, std::uint16_t* out) {
  const std::uint32_t readable = std::min(n, LONGEST);
  return utf8 ? decode_utf8(in, readable, more, out) : decode_native(in, readable, more, out);
}

}  // namespace zqcore27
