#include "zqcore27/config/decrypt_channel.h"

#include <cstring>
#include <utility>

#include "zqcore27/config/config.h"
#include "zqcore27/config/decode.h"
#include "zqcore27/errors/mem_error.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/armour.h"

inline namespace zqcore27 {

namespace {

constexpr unsigned char LF = 10;
constexpr unsigned char CR = 13;
constexpr std::size_t LONGEST_LINE = 0x7FFFFF00;  // so that sizes computed from it fit 32 signed bits
constexpr std::uint32_t SPARE = 20;               // beside the text: the line feed, the padding, the zero byte

}  // namespace

ConfigDataChannelIDecrypt::ConfigDataChannelIDecrypt(std::unique_ptr<ConfigDataChannel>&& source, std::int32_t key)
    : fText(256), fSource(std::move(source)), fKey(key) {
  fText[0] = 0;
  fCursor = fPlainEnd = *fText;
}

ConfigDataChannelIDecrypt::~ConfigDataChannelIDecrypt() = default;

std::uint16_t ConfigDataChannelIDecrypt::putC(std::uint16_t ch) { return fSource->putC(ch); }

bool ConfigDataChannelIDecrypt::good() const { return fSource->good(); }

std::uint16_t ConfigDataChannelIDecrypt::getC() {
  fLastBytes = 0;
  if (*fCursor == 0) {
    fetch_line();
    fLastBytes = 1;
    return LF;
  }
  if (*fCursor == Config::EOF_CHAR) return Config::EOF_CHAR;
  std::uint16_t ch = 0;
  try {
    fLastBytes = decodeCharacter(fCursor, static_cast<std::uint32_t>(fPlainEnd - fCursor), utf8(), false, &ch);
  } catch (const StringError&) {
    ++fCursor;
    throw;
  }
  if (ch == Config::EOF_CHAR) fLastBytes = 0;  // an over-long one, which stays as well
  fCursor += fLastBytes;
  return ch;
}

std::uint16_t ConfigDataChannelIDecrypt::ungetC(std::uint16_t ch) {
  fCursor -= fLastBytes;
  fLastBytes = 0;
  return ch;
}

// The next line of the source that isn't empty, into fRaw. False at its end. After an error of the source the next call
// goes on with the same line.
bool ConfigDataChannelIDecrypt::read_raw_line() {
  if (fRawComplete) std::vector<unsigned char>().swap(fRaw);
  fRawComplete = false;
  const bool line = extend_raw_line();
  fRawComplete = true;
  return line;
}

bool ConfigDataChannelIDecrypt::extend_raw_line() {
  while (!fSourceEnded) {
    const auto c = static_cast<unsigned char>(fSource->getC());
    if (c == 0) return true;
    if (c == LF || c == CR) {
      if (!fRaw.empty()) return true;
    } else if (c == Config::EOF_CHAR) {
      fSourceEnded = true;
    } else {
      if (fRaw.size() == LONGEST_LINE) {
        fRawComplete = true;  // or every further character would be an error
        throw MemError(MemError::TOO_LARGE, false);
      }
      fRaw.push_back(c);
      fSourceEnded = fSource->cutOff();  // or the line would never end
    }
  }
  return !fRaw.empty();
}

void ConfigDataChannelIDecrypt::fetch_line() {
  const bool line = read_raw_line();
  const auto size = static_cast<std::uint32_t>(fRaw.size());
  fText.resize(size + SPARE);
  MemAllocator::zero(*fText, fText.size());
  fText[0] = LF;
  if (!line) {
    fText[1] = static_cast<unsigned char>(Config::EOF_CHAR);
  } else if (size != 0) {
    decode_raw_line();
  }
  fCursor = *fText + 1;
  fPlainEnd = fCursor + std::strlen(reinterpret_cast<const char*>(fCursor));
}

void ConfigDataChannelIDecrypt::decode_raw_line() {
  unsigned char* const text = *fText + 1;
  const auto size = static_cast<std::int32_t>(fRaw.size());
  std::int32_t length = size + static_cast<std::int32_t>(SPARE) - 1;
  if (!StringOutIn(fRaw.data(), size, text, &length)) {
    MemAllocator::copy(text, fRaw.data(), static_cast<std::uint32_t>(size));
    length = size;
  }
  text[length] = 0;  // what stands behind it is padding, or the leavings of a failed try
}

}  // namespace zqcore27
