#include "zqcore27/strings/transcode.h"

#include "zqcore27/strings/utf8_sequence.h"

inline namespace zqcore27 {

std::int32_t uni2utf(std::uint16_t c, char* out, std::int32_t room) {
  if (room < utf8Length(c)) return -1;
  return encodeUTF8(c, reinterpret_cast<unsigned char*>(out));
}

std::int32_t utf2uni(const char* in, std::uint16_t* out) {
  return decodeUTF8(reinterpret_cast<const unsigned char*>(in), MAX_UTF8_SEQUENCE, out);
}

}  // namespace zqcore27
