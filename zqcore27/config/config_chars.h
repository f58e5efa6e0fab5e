#pragma once

// Internal: how Config takes characters from its channel. Inline, since the scanners do little else.

#include <cstdint>
#include <span>

#include "zqcore27/config/channel.h"
#include "zqcore27/config/config.h"

inline namespace zqcore27 {

static_assert(Config::EOF_CHAR == ConfigDataChannel::END_CHAR);

inline bool Config::channel_is_cut_off(std::uint16_t c) const {
  return c == ConfigDataChannel::CUT_OFF_CHAR && fChannel->cutOff();
}

inline std::uint16_t Config::getC() {
  fSeen = fNext;
  const std::uint16_t c = fChannel->take();
  ++fChars;
  if (channel_is_cut_off(c)) return fCutOffShown ? EOF_CHAR : c;
  if (c == '\n') {
    fNext = fNext.nextLine();
  } else if (c != EOF_CHAR) {
    fNext = fNext.columnsOn(1);
  }
  return c;
}

inline void Config::ungetC(std::uint16_t c) {
  fChannel->giveBack(c);
  --fChars;
  fNext = fSeen;
}

/// Bytes that can be taken at once, each as getC would: up to the first that isn't plain, or is a line feed.
inline std::span<const unsigned char> Config::ahead() const { return fChannel->ahead(); }

/// Looks at the next character as getC and ungetC would, or gives NO_CHAR where only these can tell.
inline std::uint32_t Config::peek() {
  const auto bytes = ahead();
  if (bytes.empty() || !ConfigDataChannel::isPlain(bytes[0])) return NO_CHAR;
  fSeen = fNext;
  return bytes[0];
}

/// Takes the first `n` bytes of ahead.
inline void Config::skip(std::uint32_t n) {
  if (n == 0) return;
  fSeen = fNext.columnsOn(n - 1);
  fNext = fNext.columnsOn(n);
  fChars += n;
  fChannel->skip(n);
}

}  // namespace zqcore27
