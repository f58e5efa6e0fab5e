#pragma once

// Internal: where the characters under a Config come from.

#include <cstdint>
#include <iosfwd>

#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

/// A source of 16-bit characters. At the end of its text it delivers Config::EOF_CHAR, again and again.
/// Threads: one at a time, as its Config.
class ConfigDataChannel {
 public:
  /// What a file channel delivers once a byte of this value has ended it.
  static constexpr std::uint16_t CUT_OFF_CHAR = 1;

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

  void setUTF8(bool utf8) { fUTF8 = utf8; }
  bool utf8() const { return fUTF8; }

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
