// Any bytes as stored floats of any format: one by one, in bulk, and there and back.

#include <bit>

#include "fuzz/support/fuzz.h"
#include "zqcore27/floatfmt/fp_error.h"
#include "zqcore27/floatfmt/fp_format.h"

namespace {

using fuzz::require;
using Bytes = std::vector<unsigned char>;

bool same(double a, double b) { return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b); }

template <class F>
std::uint32_t errorOf(F f) {
  try {
    f();
  } catch (const FPError& e) {
    return e.code();
  }
  return 0;
}

/// Writes at an odd address, with nothing behind it. False for the kind that can't be stored.
bool put(const FpFormat& format, std::size_t width, double value, Bytes& stored) {
  stored.assign(1 + width, 0xA5);
  const Bytes before = stored;
  const std::uint32_t error = errorOf([&] { format.putHostValue(stored.data() + 1, value); });
  require(stored[0] == 0xA5, "nothing is written in front of a value");
  require(error == 0 || (error == FPError::NOT_STORABLE && stored == before), "only kind 4 can't be stored");
  require((error != 0) == (FpFormat::testValue(value) == FpFormat::FT_SPECIAL_4), "kind 4 can't be stored");
  return error == 0;
}

void thereAndBack(const FpFormat& format, std::size_t width, double value) {
  Bytes stored;
  double back[3];
  for (double& b : back) {
    if (!put(format, width, value, stored)) return;
    b = format.getHostValue(stored.data() + 1);
    const FpFormat::FloatTYPE kind = FpFormat::testValue(value);
    const bool marked = kind == 1 || kind == 2 || kind == 3 || kind == 7;
    if (marked) require(same(b, FpFormat::getNAN(kind)), "a kind with a mark comes back in its own form");
    value = b;
  }
  // The first way narrows, and what comes of that may look like a kind; the second gives it the form of its kind.
  require(same(back[1], back[2]), "what came back twice comes back again");
}

void inBulk(const FpFormat& format, std::size_t width, std::string_view raw, std::size_t stride) {
  if (raw.size() < width) return;
  const Bytes stored(raw.begin(), raw.end());
  const std::size_t count = stride == 0 ? 3 : (raw.size() - width) / stride + 1;
  std::vector<double> values(count);
  format.getHostValues(stored.data(), values.data(), count, stride);
  for (std::size_t i = 0; i < count; ++i) {
    require(same(values[i], format.getHostValue(stored.data() + i * stride)), "bulk reads as one by one");
  }
  Bytes one(raw.size());
  Bytes all(raw.size());
  const std::uint32_t error = errorOf([&] { format.putHostValues(all.data(), values.data(), count, stride); });
  const std::uint32_t expected = errorOf([&] {
    for (std::size_t i = 0; i < count; ++i) format.putHostValue(one.data() + i * stride, values[i]);
  });
  require(error == expected && one == all, "bulk writes as one by one");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input in(data, size);
  const std::uint8_t code = in.byte();
  const std::uint8_t width = in.below(2) != 0 ? 8 : 4;
  const std::size_t stride = in.below(20);
  const int named = code & 31;
  FpFormat format;
  require((format.initStandAlone(code, width) == -1) == (named == 0 || named > 11), "codes 1 to 11 name a format");
  const std::string_view raw = in.rest();
  if (named == 0 || named > 11) {
    const Bytes stored(8);
    require(errorOf([&] { format.getHostValue(stored.data()); }) == FPError::NOT_READY, "no format converts nothing");
    return 0;
  }
  inBulk(format, width, raw, stride);
  for (fuzz::Input values(data + 3, raw.size()); !values.empty();) {
    const auto value = values.value<double>();
    thereAndBack(format, width, value);
    Bytes stored(1 + width);
    std::memcpy(stored.data() + 1, &value, width);
    thereAndBack(format, width, format.getHostValue(stored.data() + 1));
  }
  return 0;
}
