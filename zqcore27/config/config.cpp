#include "zqcore27/config/config.h"

#include <algorithm>
#include <utility>

#include "zqcore27/config/channel.h"
#include "zqcore27/config/config_chars.h"
#include "zqcore27/config/decrypt_channel.h"
#include "zqcore27/config/file_channel.h"
#include "zqcore27/errors/string_error.h"

inline namespace zqcore27 {

Config::Config(std::unique_ptr<ConfigDataChannel> channel)
    : fChannel(std::move(channel)), fError(fChannel->good() ? ERR_NONE : ERR_NOT_READABLE) {
  fToken.fill(STRING_SIZE, ' ');
}

Config::Config(std::istream& s) : Config(std::make_unique<ConfigDataChannelIStream>(s)) {}
Config::Config(const String& s) : Config(std::make_unique<ConfigDataChannelString>(s)) {}
Config::Config(String& s) : Config(std::make_unique<ConfigDataChannelString>(s)) {}

Config::Config(const FileLocator& f) : Config(std::make_unique<ConfigDataChannelIFile>(f)) {
  const std::uint16_t first = fChannel->getC();
  fChannel->ungetC(first);
  fHashSyntax = first == '#';
}

Config::~Config() = default;

void Config::enableSeparators(SeparatorType mask) { fSeparators = mask; }

void Config::enableDecryption(std::int32_t key, bool honourMarker) {
  if (honourMarker) {
    const std::uint16_t next = fChannel->getC();
    fChannel->ungetC(next);
    if (next == '!') return;
  }
  fChannel = std::make_unique<ConfigDataChannelIDecrypt>(std::move(fChannel), key);
  if (fNext == Place()) fNext = Place(0, 1);
}

void Config::setUTF8(bool utf8) {
  if (fChannel) fChannel->setUTF8(utf8);
}

std::uint32_t Config::line() const { return std::max<std::uint32_t>(fSeen.line(), 1); }
std::uint32_t Config::tokenLine() const { return std::max<std::uint32_t>(fTokenPlace.line(), 1); }

std::uint16_t Config::putC(std::uint16_t c) { return fChannel->putC(c); }

void Config::skipLine() {
  fHeld = false;
  fInStatement = false;
  if (fNext.column() == 1) return;
  for (std::uint16_t c = 0; c != '\n' && c != EOF_CHAR;) {
    try {
      c = skip_to_line_end();
    } catch (const StringError&) {
      // Bytes that are no text: stepped over like the rest.
    }
    if (c == EOF_CHAR) ungetC(c);
  }
}

}  // namespace zqcore27
