// Bytes into armour and back, and any text as armour.

#include "zqcore27/strings/armour.h"

#include "fuzz/support/fuzz.h"

namespace {

using Bytes = std::vector<unsigned char>;
using fuzz::require;

/// Asks for the room first, as a host does, and gives exactly that.
template <class Convert>
bool convert(Convert f, const Bytes& in, Bytes& out) {
  std::int32_t length = 0;
  const auto n = static_cast<std::int32_t>(in.size());
  out.assign(1, 0);
  if (f(in.data(), n, out.data(), &length)) {
    require(n == 0 && length == 0, "only the empty text needs no room");
    out.clear();
    return true;
  }
  if (length == 0) return false;
  const std::int32_t wanted = length;
  require(wanted > 0, "the room wanted is positive");
  out = Bytes(static_cast<std::size_t>(wanted));
  const bool done = f(in.data(), n, out.data(), &length);
  require(length == (done ? wanted - 3 : 0), "three bytes more are wanted than used");
  out.resize(static_cast<std::size_t>(length));
  return done;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Bytes bytes(data, data + size);
  Bytes text;
  Bytes back;
  require(convert(StringInOut, bytes, text), "all bytes can be armoured");
  if (size != 0) {
    require(text.size() == LengthInAscii(static_cast<std::uint32_t>(size)) + 1, "the text has the length told");
    require(text[0] == 'z', "the text begins with the marker");
    for (std::size_t i = 1; i < text.size(); ++i) require(text[i] >= 0x30 && text[i] <= 0x6F, "armour is printable");
    require(convert(StringOutIn, text, back) && back == bytes, "armour gives the bytes back");
  }

  Bytes decoded;
  if (!convert(StringOutIn, bytes, decoded) || decoded.empty()) return 0;
  require(size >= 8 && LengthInAscii(static_cast<std::uint32_t>(decoded.size())) == size - (bytes[0] == 'z' ? 1 : 0),
          "a text is as long as its length group says");
  if (bytes[0] == 'z' && decoded.size() % 3 == 0) {
    require(convert(StringInOut, decoded, back) && back == bytes, "a text without padding has one form");
  }
  return 0;
}
