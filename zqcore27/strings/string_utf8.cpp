// UTF-8 in and out of String. Text is taken in blocks: a block of plain ASCII is widened or narrowed as a whole.

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>
#include <limits>
#include <tuple>
#include <utility>

#include "zqcore27/errors/mem_error.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/long_ascii.h"
#include "zqcore27/strings/nat_string.h"
#include "zqcore27/strings/string.h"
#include "zqcore27/strings/text_kernels.h"
#include "zqcore27/strings/utf8_sequence.h"
#include "zqcore27/strings/utf8_triples.h"

inline namespace zqcore27 {

namespace {

constexpr std::size_t BLOCK = BestBytes::SIZE;

/// Sums `size(item)`, at most 3, over the items, in chunks whose sums fit a byte each time, which compilers turn into
/// vectors.
template <typename Item, typename Size>
std::uint64_t sumOf(std::span<const Item> items, Size size) {
  constexpr std::size_t CHUNK = 64;
  std::uint64_t sum = 0;
  for (; items.size() >= CHUNK; items = items.subspan(CHUNK)) {
    Item part = 0;
    for (std::size_t i = 0; i < CHUNK; ++i) part = static_cast<Item>(part + size(items[i]));
    sum += part;
  }
  for (const Item item : items) sum += size(item);
  return sum;
}

/// The bytes of the text as UTF-8, zero units left out.
std::uint64_t utf8Size(std::span<const std::uint16_t> text) {
  return sumOf(text, [](std::uint16_t c) { return static_cast<unsigned>((c != 0) + (c >= 0x80) + (c >= 0x800)); });
}

/// Writes the units before the next plain one, zero units left out. Returns the places behind them.
std::pair<const std::uint16_t*, unsigned char*> encodeRun(const std::uint16_t* in, const std::uint16_t* end,
                                                          unsigned char* out, const unsigned char* outEnd) {
  const std::size_t triples =
      encodeTriples(in, static_cast<std::size_t>(end - in), out, static_cast<std::size_t>(outEnd - out));
  in += triples;
  out += 3 * triples;
  // Each length has a branch of its own, so that the next unit needn't wait for it.
  for (; in != end && !isPlain(*in); ++in) {
    if (*in >= 0x800) {
      encodeUTF8(*in, out);
      out += 3;
    } else if (*in >= 0x80) {
      encodeUTF8(*in, out);
      out += 2;
    }
  }
  return {in, out};
}

/// Writes the text as UTF-8, zero units left out, and returns the end. Writes nothing behind `outEnd`, up to which
/// there is room for all.
unsigned char* encode(std::span<const std::uint16_t> text, unsigned char* out, const unsigned char* outEnd) {
  const std::uint16_t* in = text.data();
  const std::uint16_t* const end = in + text.size();
  while (in != end) {
    const auto room = static_cast<std::size_t>(std::min(end - in, outEnd - out));
    // The longest sequences of a block, and a block of ASCII behind them.
    const bool blocks = room >= (MAX_UTF8_SEQUENCE + 1) * BLOCK;
    unsigned wide = blocks ? notPlain(BestBytes::narrow(in)) : 0;
    if (wide == 0) {
      const std::size_t run = narrowAscii(in, room, out);
      in += run;
      out += run;
      if (!blocks) std::tie(in, out) = encodeRun(in, end, out, outEnd);
      continue;
    }
    // The runs of one block are found in its bits, which is quicker than looking for each where the last one ended.
    const std::uint16_t* next = in;
    while (wide != 0) {
      const std::uint16_t* const first = in + std::countr_zero(wide);
      if (first != next) {
        BestBytes::narrow(next).store(out);
        out += first - next;
      }
      next = first;
      if (utf8Length(*next) == 2) {
        out += encodeUTF8(*next++, out);
        wide &= wide - 1;
        continue;
      }
      std::tie(next, out) = encodeRun(next, end, out, outEnd);
      const auto past = static_cast<std::size_t>(next - in);
      wide = past < BLOCK ? wide >> past << past : 0;
    }
    if (next < in + BLOCK) {
      BestBytes::narrow(next).store(out);
      out += in + BLOCK - next;
      next = in + BLOCK;
    }
    in = next;
  }
  return out;
}

/// The units that `n` bytes decode to at most: every sequence has exactly one byte that is no continuation byte, so
/// that the bound is exact for well-formed text.
std::uint64_t maxUnits(const unsigned char* s, std::size_t n) {
  return sumOf(std::span(s, n), [](unsigned char byte) { return static_cast<unsigned>(!isUTF8Continuation(byte)); });
}

struct Decoded {
  std::size_t units;  // written
  bool complete;      // false: stopped at an ill-formed sequence
};

/// Decodes as many sequences of two or three bytes as follow each other at `in`. Returns the places behind them.
std::pair<const unsigned char*, std::uint16_t*> decodeRun(const unsigned char* in, const unsigned char* end,
                                                          std::uint16_t* out, const std::uint16_t* outEnd) {
  const std::size_t triples =
      decodeTriples(in, static_cast<std::size_t>(end - in), out, static_cast<std::size_t>(outEnd - out));
  in += 3 * triples;
  out += triples;
  // Each length has a branch of its own, so that the next sequence needn't wait for it.
  while (in != end && *in >= 0x80) {
    const auto left = static_cast<std::size_t>(end - in);
    if (utf8LengthByFirst(*in) == 3 && decodeUTF8(in, left, out) == 3) {
      in += 3;
    } else if (utf8LengthByFirst(*in) == 2 && decodeUTF8(in, left, out) == 2) {
      in += 2;
    } else {
      break;
    }
    ++out;
  }
  return {in, out};
}

/// Decodes `n` bytes. Requires: there is room for maxUnits.
Decoded decode(const unsigned char* s, std::size_t n, std::span<std::uint16_t> room) {
  const unsigned char* const end = s + n;
  std::uint16_t* out = room.data();
  std::uint16_t* const outEnd = out + room.size();
  const auto done = [&](bool complete) { return Decoded{static_cast<std::size_t>(out - room.data()), complete}; };
  while (s != end) {
    const auto left = static_cast<std::size_t>(std::min(end - s, outEnd - out));
    if (left < 2 * BLOCK) {
      const std::size_t run = widenAscii(s, left, out);
      s += run;
      out += run;
      std::tie(s, out) = decodeRun(s, end, out, outEnd);
      if (s != end && *s >= 0x80) return done(false);
      continue;
    }
    unsigned wide = BestBytes::load(s).nonAscii();
    if (wide == 0) {
      const std::size_t run = widenAscii(s, left, out);
      s += run;
      out += run;
      continue;
    }
    // The runs of one block are found in its bits, which is quicker than looking for each where the last one ended.
    const unsigned char* next = s;
    while (wide != 0) {
      const unsigned char* const first = s + std::countr_zero(wide);
      if (first != next) {
        BestBytes::load(next).widen(out);
        out += first - next;
      }
      next = first;
      if (utf8LengthByFirst(*next) == 2 && isUTF8Continuation(next[1])) {
        decodeUTF8(next, 2, out++);
        next += 2;
        wide &= ~(3u << (first - s));
        continue;
      }
      std::tie(next, out) = decodeRun(next, end, out, outEnd);
      if (next != end && *next >= 0x80) return done(false);
      const auto past = static_cast<std::size_t>(next - s);
      wide = past < BLOCK ? wide >> past << past : 0;
    }
    if (next < s + BLOCK) {
      BestBytes::load(next).widen(out);
      out += s + BLOCK - next;
      next = s + BLOCK;
    }
    s = next;
  }
  return done(true);
}

/// The longest text that leaves room for a terminator in a block of 32-bit size.
constexpr std::size_t MAX_LENGTH = 0x7FFFFFFE;

}  // namespace

/// The bytes may lie in the old block. An ill-formed sequence raises the error; the units before it are then the text.
void String::decode_utf8(const unsigned char* s, std::size_t n) {
  // A text that begins with ASCII is taken for ASCII; only what stands behind that is counted first.
  String text;
  std::size_t run = 0;
  if (n >= BLOCK && n <= MAX_LENGTH && BestBytes::load(s).isAscii()) {
    text.replace_block(static_cast<std::uint32_t>(n));
    run = widenLongAscii(s, n, text.data());
  }
  const std::uint64_t bound = run + maxUnits(s + run, n - run);
  if (bound > MAX_LENGTH) throw MemError(MemError::TOO_LARGE, false);
  Decoded decoded{run, run == n};
  if (bound != run) {
    const auto units = static_cast<std::uint32_t>(bound);
    if (run == 0) {
      text.replace_block(units);
    } else {
      text.resize(dataSize(units + 1));
    }
    decoded = decode(s + run, n - run, std::span(text.data(), units).subspan(run));
    decoded.units += run;
  }
  if (decoded.units == 0) {
    text.flush_data();
  } else {
    text.terminate(static_cast<unsigned int>(decoded.units));
    text.resize(dataSize(text.fLength + 1));
  }
  *this = std::move(text);
  if (!decoded.complete) throw StringError(StringError::BAD_UTF8, false);
}

void String::toUTF8(NatString& out) const {
  // ASCII is written as it comes; only what follows is measured first.
  const std::span<const std::uint16_t> text = units();
  MemResizable block(fLength + 1);
  const std::size_t run = narrowAscii(text.data(), text.size(), *block);
  if (run != text.size()) {
    const std::span<const std::uint16_t> rest = text.subspan(run);
    const std::uint64_t size = run + utf8Size(rest) + 1;
    if (size > std::numeric_limits<std::uint32_t>::max()) throw MemError(MemError::TOO_LARGE, false);
    MemResizable whole(static_cast<unsigned int>(size));
    MemAllocator::copy(*whole, *block, static_cast<unsigned int>(run));
    [[maybe_unused]] const unsigned char* const end = encode(rest, *whole + run, *whole + size - 1);
    assert(end == *whole + size - 1);
    block = std::move(whole);
  }
  block[block.size() - 1] = 0;
  out.fLength = block.size();
  out.MemResizable::operator=(std::move(block));
}

void String::buildfromUTF8(const unsigned char* s) {
  decode_utf8(s, s == nullptr ? 0 : std::strlen(reinterpret_cast<const char*>(s)));
}

void String::buildfromUTF8(const unsigned char* s, unsigned int n) { decode_utf8(s, s == nullptr ? 0 : n); }

String String::fromUTF8(std::string_view s) {
  String text;
  text.decode_utf8(reinterpret_cast<const unsigned char*>(s.data()), s.size());
  return text;
}

}  // namespace zqcore27
