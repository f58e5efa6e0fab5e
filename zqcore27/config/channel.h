#pragma once

// Internal: where the characters under a Config come from.

#include <cstdint>
#include <iosfwd>
#include <span>

#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

/// A source of 16-bit characters. At the end of its text it delivers Config::EOF_CHAR, again and again.
/// Threads: one at a time, as its Config.
class ConfigDataChannel {
 public:
  /// What a file channel delivers once a byte of this value has ended it.
  static constexpr std::uint16_t CUT_OFF_CHAR = 1;
  /// Config::EOF_CHAR.
  static constexpr std::uint16_t END_CHAR = 26;

  ConfigDataChannel() = default;
  ConfigDataChannel(const ConfigDataChannel&) = delete;
  ConfigDataChannel& operator=(const ConfigDataChannel&) = delete;
  virtual ~ConfigDataChannel();

  /// Writes `ch` where the channel can be written. Returns `ch`. Errors: ConfigError::NOT_WRITABLE.
  virtual std::uint16_t putC(std::uint16_t ch) = 0;
  virtual std::uint16_t getC() = 0;
  /// Gives back `ch`, which the last getC returned, for the next one. One character deep. Returns `ch`.
  virtual std::uint16_t ungetC(std::uint16_t ch) = 0;
  /// Whether the channel can deliver.
  virtual bool good() const = 0;
  /// Whether the channel has ended before its end, with CUT_OFF_CHAR: all further characters are that one.
  virtual bool cutOff() const { return false; }

  /// getC and ungetC, without a call where a plain byte lies ready.
  std::uint16_t take() {
    if (fCursor >= fPlainEnd || !isPlain(*fCursor)) return getC();
    fLastBytes = 1;
    return *fCursor++;
  }
  void giveBack(std::uint16_t ch) {
    if (fLastBytes != 1) {
      ungetC(ch);
      return;
    }
    --fCursor;
    fLastBytes = 0;
  }
  /// Bytes that lie ready, none in a channel that has no bytes in hand. Each one up to the first that isn't plain is a
  /// character of its own. Valid until the next call.
  std::span<const unsigned char> ahead() const {
    if (fCursor >= fPlainEnd) return {};
    return {fCursor, fPlainEnd};
  }
  /// Takes the first `n` bytes of ahead, 1 or more, all of them plain.
  void skip(std::uint32_t n) {
    fCursor += n;
    fLastBytes = 1;
  }
  /// One byte, one character, and nothing to look at besides: the ends of a text are told apart elsewhere.
  static constexpr bool isPlain(unsigned char byte) { return byte < 0x80 && byte != END_CHAR && byte != CUT_OFF_CHAR; }

  void setUTF8(bool utf8) { fUTF8 = utf8; }
  bool utf8() const { return fUTF8; }

 protected:
  const unsigned char* fCursor = nullptr;    // the next byte, of a channel that has bytes in hand
  const unsigned char* fPlainEnd = nullptr;  // up to here a plain byte needs no look at the channel's state
  std::uint32_t fLastBytes = 0;              // of the character read last; 0: none of these bytes to give back

 private:
  bool fUTF8 = false;  // bytes are UTF-8, not native text; acts where bytes are decoded
};

/// The bytes of a stream, each sign-extended to one character.
class ConfigDataChannelIStream : public ConfigDataChannel {
 public:
  /// The stream must outlive the channel.
  explicit ConfigDataChannelIStream(std::istream& s);

  std::uint16_t putC(std::uint16_t ch) override;
  std::uint16_t getC() override;
  std::uint16_t ungetC(std::uint16_t ch) override;
  bool good() const override;

 protected:
  ConfigDataChannelIStream() = default;  // without a stream, for a source that brings its own bytes

 private:
  std::istream* fStream = nullptr;
  bool fWritable = false;
  std::uint16_t fLast = 0;  // what the last getC read
};

/// The units of a String before its first zero unit.
class ConfigDataChannelString : public ConfigDataChannel {
 public:
  /// The string must outlive the channel, its text unchanged but for putC.
  explicit ConfigDataChannelString(const String& s);
  explicit ConfigDataChannelString(String& s);

  std::uint16_t putC(std::uint16_t ch) override;
  std::uint16_t getC() override;
  std::uint16_t ungetC(std::uint16_t ch) override;
  bool good() const override;

 private:
  String* fTarget;  // null where the string can't be written
  const std::uint16_t* fNext;
  bool fPushed = false;
  std::uint16_t fPushedChar = 0;
};

}  // namespace zqcore27
