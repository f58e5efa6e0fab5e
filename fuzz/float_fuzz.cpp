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

/// One value by itself. Not as a result on 32-bit x86, where it would pass a register that makes a signalling NaN
/// quiet.
void getOne(const FpFormat& format, const unsigned char* stored, unsigned char* value, std::size_t width) {
  double one;
  format.getHostValues(stored, &one, 1, width);
#ifndef __i386__
  require(same(one, format.getHostValue(stored)), "an array of one is read as a value");
#endif
  std::memcpy(value, &one, sizeof one);
}
void putOne(const FpFormat& format, unsigned char* stored, const unsigned char* value, std::size_t width) {
  double one;
  std::memcpy(&one, value, sizeof one);
#ifdef __i386__
  format.putHostValues(stored, &one, 1, width);
#else
  static_cast<void>(width);
  format.putHostValue(stored, one);
#endif
}

/// Arrays of several blocks give what single calls give one after the other, also over each other.
void inBulk(const FpFormat& format, std::size_t width, std::string_view raw, std::size_t stride, fuzz::Input& in) {
  constexpr std::size_t MOST = 600, VALUES_AT = 8;
  if (raw.empty()) return;
  const std::size_t count = in.below(4) == 0 ? in.byte() : MOST;
  const bool behind = in.below(3) != 0;  // ... the values, or over them
  const std::size_t at = behind ? VALUES_AT + MOST * 8 + in.below(8) : in.below(32);
  std::vector<std::uint64_t> one((at + MOST * 24) / 8 + 1);
  auto* const stored = reinterpret_cast<unsigned char*>(one.data()) + at;
  auto* const values = reinterpret_cast<unsigned char*>(one.data()) + VALUES_AT;
  for (std::size_t i = 0; i < one.size() * 8; ++i)
    (values - VALUES_AT)[i] = static_cast<unsigned char>(raw[i % raw.size()]);
  const auto special = [&] { return FpFormat::getNAN(static_cast<FpFormat::FloatTYPE>("\1\2\3\7"[in.below(4)])); };
  for (std::uint32_t i = in.below(9); i != 0 && behind && stride >= width; --i) {  // here and there
    unsigned char* const there = stored + in.value<std::uint16_t>() % MOST * stride;
    in.below(2) == 0 ? format.putHostValue(there, special())
                     : static_cast<void>(std::memset(there + in.below(2) * (width - 4), 0, 4));
  }
  std::vector<std::uint64_t> all(one);
  auto* const column = reinterpret_cast<unsigned char*>(all.data()) + at;
  auto* const doubles = reinterpret_cast<double*>(all.data() + VALUES_AT / 8);
  for (std::size_t i = 0; i < count; ++i) getOne(format, stored + i * stride, values + i * 8, width);
  format.getHostValues(column, doubles, count, stride);
  require(one == all, "arrays are read as one by one");

  if (behind) std::memset(stored, 0xA5, count * width);  // nothing that is left unwritten may look written
  for (std::uint32_t i = in.below(4); i != 0; --i) {
    const double value = in.below(3) == 0 ? FpFormat::getNAN(FpFormat::FT_SPECIAL_4) : special();
    std::memcpy(values + in.value<std::uint16_t>() % MOST * 8, &value, sizeof value);
  }
  all = one;
  const std::uint32_t expected = errorOf([&] {
    for (std::size_t i = 0; i < count; ++i) putOne(format, stored + i * stride, values + i * 8, width);
  });
  const std::uint32_t error = errorOf([&] { format.putHostValues(column, doubles, count, stride); });
  require(error == expected && one == all, "arrays are written as one by one");
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
  fuzz::Input choices(data, size);
  inBulk(format, width, raw, stride, choices);
  for (fuzz::Input values(data + 3, raw.size()); !values.empty();) {
    const auto value = values.value<double>();
    thereAndBack(format, width, value);
    Bytes stored(1 + width);
    std::memcpy(stored.data() + 1, &value, width);
    thereAndBack(format, width, format.getHostValue(stored.data() + 1));
  }
  return 0;
}
