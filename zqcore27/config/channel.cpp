#include "zqcore27/config/channel.h"

#include <istream>

#include "zqcore27/config/config.h"
#include "zqcore27/config/config_error.h"

inline namespace zqcore27 {

ConfigDataChannel::~ConfigDataChannel() = default;

ConfigDataChannelIStream::ConfigDataChannelIStream(std::istream& s) : fStream(&s) {}

std::uint16_t ConfigDataChannelIStream::putC(std::uint16_t ch) {
  if (!fWritable) throw ConfigError(ConfigError::NOT_WRITABLE, false);
  return ch;
}

std::uint16_t ConfigDataChannelIStream::getC() {
  char byte = 0;
  fStream->get(byte);
  if (fStream->fail()) {
    fLast = Config::EOF_CHAR;
    return Config::EOF_CHAR;
  }
  fLast = static_cast<std::uint16_t>(static_cast<signed char>(byte));
  return fLast == 0 ? Config::EOF_CHAR : fLast;
}

std::uint16_t ConfigDataChannelIStream::ungetC(std::uint16_t ch) {
  fStream->putback(static_cast<char>(ch != 0 ? ch : fLast));
  return ch;
}

bool ConfigDataChannelIStream::good() const { return fStream != nullptr && !fStream->fail(); }

ConfigDataChannelString::ConfigDataChannelString(const String& s) : fTarget(nullptr), fNext(s.begin()) {}
ConfigDataChannelString::ConfigDataChannelString(String& s) : fTarget(&s), fNext(s.begin()) {}

std::uint16_t ConfigDataChannelString::putC(std::uint16_t ch) {
  if (fTarget == nullptr) throw ConfigError(ConfigError::NOT_WRITABLE, false);
  if (ch == 0 || ch == Config::EOF_CHAR) return ch;
  const auto position = fNext - fTarget->begin();  // the text may move when it grows
  *fTarget += ch;
  fNext = fTarget->begin() + position;
  return ch;
}

std::uint16_t ConfigDataChannelString::getC() {
  if (fPushed) {
    fPushed = false;
    return fPushedChar;
  }
  return *fNext == 0 ? Config::EOF_CHAR : *fNext++;
}

std::uint16_t ConfigDataChannelString::ungetC(std::uint16_t ch) {
  fPushedChar = ch;
  fPushed = true;
  return ch;
}

bool ConfigDataChannelString::good() const { return fNext != nullptr; }

}  // namespace zqcore27
