#pragma once

// What the fuzz targets share. A target is one source with one LLVMFuzzerTestOneInput; whatever it finds ends the
// program.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// Ends the program, and so makes the present input a finding.
inline void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "fuzz: it doesn't hold that %s\n", what);
  std::abort();
}

/// An input, taken from the front: choices first, text behind them. Behind its end there are zeros and empty texts, so
/// that every sequence of bytes is an input. A choice is a character modulo a small number, and seeds are plain text.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : fRest(reinterpret_cast<const char*>(data), size) {}

  bool empty() const { return fRest.empty(); }
  std::uint8_t byte() {
    if (fRest.empty()) return 0;
    const char c = fRest.front();
    fRest.remove_prefix(1);
    return static_cast<std::uint8_t>(c);
  }
  /// 0 to n - 1; `0` gives 0, `1` gives 1.
  std::uint32_t below(std::uint32_t n) { return (byte() + 256U - '0') % n; }
  template <class T>
  T value() {
    T v{};
    const std::string_view bytes = take(sizeof v);
    if (!bytes.empty()) std::memcpy(&v, bytes.data(), bytes.size());
    return v;
  }
  std::string_view take(std::size_t n) {
    const std::string_view bytes = fRest.substr(0, n);
    fRest.remove_prefix(bytes.size());
    return bytes;
  }
  /// All up to the separator, which is dropped, or to the end.
  std::string_view upTo(char separator) {
    const std::string_view bytes = take(std::min(fRest.find(separator), fRest.size()));
    byte();
    return bytes;
  }
  std::string_view rest() { return take(fRest.size()); }

 private:
  std::string_view fRest;
};

/// The bytes in a block of exactly their size, so that the sanitizer sees a read behind them.
inline std::vector<char> exact(std::string_view bytes) { return {bytes.begin(), bytes.end()}; }
/// The same, terminated, up to the first zero byte.
inline std::vector<char> terminated(std::string_view bytes) {
  std::vector<char> out(exact(bytes.substr(0, bytes.find('\0'))));
  out.push_back('\0');
  out.shrink_to_fit();
  return out;
}

/// Text units: a byte below 0x80 is one, a higher one is the high half of one, with the byte behind it as its low half.
inline std::u16string unitsOf(std::string_view bytes) {
  std::u16string out;
  Input in(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  while (!in.empty()) {
    const unsigned b = in.byte();
    out += static_cast<char16_t>(b < 0x80 ? b : (b & 0x7F) << 8 | in.byte());
  }
  return out;
}

}  // namespace fuzz
