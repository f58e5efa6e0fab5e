#include "zqcore27/strings/armour.h"

#include <algorithm>
#include <cassert>
#include <limits>

#include "zqcore27/core/memory.h"
#include "zqcore27/strings/armour_codec.h"
#include "zqcore27/strings/armour_lanes.h"
#include "zqcore27/strings/scramble_table.h"

inline namespace zqcore27 {

namespace {

constexpr unsigned char MARKER = 'z';
constexpr unsigned char FIRST_CHARACTER = 0x30;
constexpr std::uint32_t PLAIN_GROUP = 3;  // bytes
constexpr std::uint32_t TEXT_GROUP = 4;   // characters

constexpr bool isGroupCharacter(unsigned char c) { return static_cast<unsigned char>(c - FIRST_CHARACTER) < 64; }
static_assert(!isGroupCharacter(MARKER), "the two forms can't be confused");

void encodeGroup(const unsigned char* in, unsigned char* out) {
  const unsigned a = in[0], b = in[1], c = in[2];
  out[0] = static_cast<unsigned char>(FIRST_CHARACTER + (a & 63));
  out[1] = static_cast<unsigned char>(FIRST_CHARACTER + ((a >> 2 & 48) | (b & 15)));
  out[2] = static_cast<unsigned char>(FIRST_CHARACTER + (b >> 4 | (c >> 2 & 48)));
  out[3] = static_cast<unsigned char>(FIRST_CHARACTER + (c & 63));
}

/// False, with nothing written, if a character is foreign.
bool decodeGroup(const unsigned char* in, unsigned char* out) {
  if (!std::all_of(in, in + TEXT_GROUP, isGroupCharacter)) return false;
  const unsigned x1 = in[0] - FIRST_CHARACTER, x2 = in[1] - FIRST_CHARACTER, x3 = in[2] - FIRST_CHARACTER,
                 x4 = in[3] - FIRST_CHARACTER;
  out[0] = static_cast<unsigned char>(x1 | (x2 & 48) << 2);
  out[1] = static_cast<unsigned char>((x2 & 15) | x3 << 4);
  out[2] = static_cast<unsigned char>(x4 | (x3 & 48) << 2);
  return true;
}

/// A room as the codec takes it: a negative one is none.
std::uint32_t roomOf(std::int32_t outLength) { return static_cast<std::uint32_t>(std::max(outLength, 0)); }

bool fail(std::uint32_t* outLength, std::uint32_t value) {
  *outLength = value;
  return false;
}

bool decodeAndUnscramble(const unsigned char* in, std::uint32_t n, unsigned char* out, std::int32_t* outLength,
                         std::uint32_t version) {
  std::uint32_t length = roomOf(*outLength);
  const bool decoded = armourDecode(in, n, out, &length);
  *outLength = static_cast<std::int32_t>(length);
  if (decoded) scrambleBytes(out, out, *outLength, version);
  return decoded;
}

}  // namespace

void scrambleBytes(const unsigned char* in, unsigned char* out, std::int32_t n, std::uint32_t version) {
  std::uint32_t place = version >= ARMOUR_CURRENT ? SCRAMBLE_CURRENT : 0;
  for (std::uint32_t left = roomOf(n), run; left != 0; left -= run) {
    run = std::min(left, SCRAMBLE_PERIOD - place);
    for (std::uint32_t i = 0; i < run; ++i) out[i] = in[i] ^ SCRAMBLE_WALK[place + i];
    in += run;
    out += run;
    place = 0;
  }
}

bool armourEncode(const unsigned char* in, std::uint32_t n, unsigned char* out, std::uint32_t* outLength) {
  assert(n <= MAX_ARMOURED_BYTES);
  const std::uint32_t needed = LengthInAscii(n);
  if (*outLength < needed) return fail(outLength, needed);
  const unsigned char length[PLAIN_GROUP] = {static_cast<unsigned char>(n >> 16), static_cast<unsigned char>(n >> 8),
                                             static_cast<unsigned char>(n)};
  encodeGroup(length, out);
  out += TEXT_GROUP;
  const std::uint32_t done = encodeGroups(in, n / PLAIN_GROUP, out);
  in += done * PLAIN_GROUP;
  n -= done * PLAIN_GROUP;
  out += done * TEXT_GROUP;
  for (; n >= PLAIN_GROUP; n -= PLAIN_GROUP, in += PLAIN_GROUP, out += TEXT_GROUP) encodeGroup(in, out);
  if (n != 0) {
    unsigned char last[PLAIN_GROUP] = {};
    std::copy_n(in, n, last);
    encodeGroup(last, out);
  }
  *outLength = needed;
  return true;
}

bool armourDecode(const unsigned char* in, std::uint32_t n, unsigned char* out, std::uint32_t* outLength) {
  unsigned char bytes[PLAIN_GROUP];
  if (n < TEXT_GROUP || !decodeGroup(in, bytes)) return fail(outLength, 0);
  const std::uint32_t length = static_cast<std::uint32_t>(bytes[0] << 16 | bytes[1] << 8 | bytes[2]);
  if (n != LengthInAscii(length)) return fail(outLength, 0);
  // The last group writes three bytes, whatever of them counts.
  if (*outLength < length + PLAIN_GROUP) return fail(outLength, length + PLAIN_GROUP);
  bool valid = true;
  const unsigned char* const end = in + n;
  in += TEXT_GROUP;
  const std::uint32_t done = decodeGroups(in, (n - TEXT_GROUP) / TEXT_GROUP, out, valid);
  out += done * PLAIN_GROUP;
  for (in += done * TEXT_GROUP; valid && in != end; in += TEXT_GROUP, out += PLAIN_GROUP) valid = decodeGroup(in, out);
  if (!valid) return fail(outLength, 0);
  *outLength = length;
  return true;
}

std::uint32_t LengthInAscii(std::uint32_t n) {
  const std::uint64_t groups = (std::uint64_t{n} + PLAIN_GROUP - 1) / PLAIN_GROUP;
  return static_cast<std::uint32_t>(
      std::min<std::uint64_t>(groups * TEXT_GROUP + TEXT_GROUP, std::numeric_limits<std::uint32_t>::max()));
}

bool StringInOut(const unsigned char* in, std::int32_t n, unsigned char* out, std::int32_t* outLength) {
  if (n == 0) {
    *out = 0;
    *outLength = 0;
    return true;
  }
  const auto size = static_cast<std::uint32_t>(n);
  if (size > MAX_ARMOURED_BYTES) {  // a negative number among them
    *outLength = 0;
    return false;
  }
  const std::uint32_t wanted = LengthInAscii(size) + 4;
  if (roomOf(*outLength) < wanted) {
    *outLength = static_cast<std::int32_t>(wanted);
    return false;
  }
  unsigned char* const scrambled = MemAllocator::allocate(size);
  if (scrambled == nullptr) return false;
  scrambleBytes(in, scrambled, n, ARMOUR_CURRENT);
  out[0] = MARKER;
  std::uint32_t length = roomOf(*outLength) - 1;
  const bool encoded = armourEncode(scrambled, size, out + 1, &length);
  assert(encoded);
  MemAllocator::deallocate(scrambled);
  *outLength = static_cast<std::int32_t>(length) + 1;
  return encoded;
}

bool StringOutIn(const unsigned char* in, std::int32_t n, unsigned char* out, std::int32_t* outLength) {
  if (n <= 0) {
    *outLength = 0;
    return false;
  }
  const std::int32_t room = *outLength;
  const auto size = static_cast<std::uint32_t>(n);
  if (in[0] == MARKER) {
    if (decodeAndUnscramble(in + 1, size - 1, out, outLength, ARMOUR_CURRENT)) return true;
    if (*outLength != 0) return false;
    *outLength = room;
  }
  return decodeAndUnscramble(in, size, out, outLength, ARMOUR_LEGACY);
}

}  // namespace zqcore27
