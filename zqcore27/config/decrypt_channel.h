#pragma once

// Internal: another channel's scrambled lines, as text.

#include <cstdint>
#include <memory>
#include <vector>

#include "zqcore27/config/channel.h"
#include "zqcore27/core/memory.h"

inline namespace zqcore27 {

/// The lines of another channel, each of them decoded if it is armoured text and passed on as it stands otherwise.
/// Every line is led by a line feed, the first one too; empty lines vanish. The source is expected to be 7-bit: the low
/// bytes of its characters count. A zero byte in a decoded line ends it.
class ConfigDataChannelIDecrypt : public ConfigDataChannel {
 public:
  /// `key` is kept and takes no part in the decoding.
  /// Takes `source` over once nothing can fail any more. Errors: MemError.
  ConfigDataChannelIDecrypt(std::unique_ptr<ConfigDataChannel>&& source, std::int32_t key);
  ~ConfigDataChannelIDecrypt() override;

  std::uint16_t putC(std::uint16_t ch) override;
  /// Errors: what the source raises; StringError of native text, with one byte stepped over; MemError.
  std::uint16_t getC() override;
  std::uint16_t ungetC(std::uint16_t ch) override;
  bool good() const override;

 private:
  bool read_raw_line();
  bool extend_raw_line();
  void fetch_line();
  void decode_raw_line();

  MemResizable fText;  // a line feed, the decoded line, a zero byte
  std::unique_ptr<ConfigDataChannel> fSource;
  [[maybe_unused]] std::int32_t fKey;
  std::vector<unsigned char> fRaw;  // the line as read
  bool fRawComplete = true;         // false: the source raised an error in the middle of the line
  bool fSourceEnded = false;        // nothing more is read from the source
};

}  // namespace zqcore27
