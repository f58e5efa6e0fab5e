#include "zqcore27/floatfmt/fp_format.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "zqcore27/floatfmt/fp_error.h"

namespace {

// On 32-bit x86 a double returned passes a register that makes a signalling NaN quiet, those of kinds 8 and 9 too.
#ifdef __i386__
constexpr bool QUIETS = true;
#else
constexpr bool QUIETS = false;
#endif

constexpr std::uint64_t bits(double value) { return std::bit_cast<std::uint64_t>(value); }
constexpr double fromBits(std::uint64_t b) { return std::bit_cast<double>(b); }
constexpr FpFormat::FloatTYPE kind(int k) { return static_cast<FpFormat::FloatTYPE>(k); }
double special(int k) { return FpFormat::getNAN(kind(k)); }
std::int32_t setUp(FpFormat& f, int code, int width) {
  return f.initStandAlone(static_cast<unsigned char>(code), static_cast<unsigned char>(width));
}

FpFormat converter(int code, std::size_t width) {
  FpFormat f;
  EXPECT_GE(setUp(f, code, static_cast<int>(width)), 0) << "code " << code << ", width " << width;
  return f;
}

std::string hex(const void* bytes, std::size_t n) {
  std::string text;
  for (std::size_t i = 0; i < 2 * n; ++i) {
    text += "0123456789abcdef"[static_cast<const unsigned char*>(bytes)[i / 2] >> (i % 2 == 0 ? 4 : 0) & 15];
  }
  return text;
}

/// A stored value as it lies in memory, in hexadecimal. That nothing is written beside it the fuzz target sees to.
std::string put(const FpFormat& f, double value, std::size_t width) {
  unsigned char bytes[8];
  f.putHostValue(bytes, value);
  return hex(bytes, width);
}

double get(const FpFormat& f, const std::string& stored) {
  const std::size_t width = stored.size() / 2;
  std::vector<unsigned char> bytes(width);  // exactly as many bytes as there are, so that a read behind them shows
  for (std::size_t i = 0; i < width; ++i) {
    bytes[i] = static_cast<unsigned char>(std::stoi(stored.substr(2 * i, 2), nullptr, 16));
  }
  return f.getHostValue(bytes.data());
}

/// The code that `use` raises, 0 for none; `fatal` as expected.
template <typename Use>
std::uint32_t raised(Use use, bool fatal = false) {
  try {
    use();
  } catch (const FPError& e) {
    EXPECT_EQ(e.fatal(), fatal);
    EXPECT_STREQ(e.module(), "Floating Point");
    return e.code();
  }
  return 0;
}

/// What the five conversions of a converter raise, which is the same for all of them.
std::uint32_t raisedByUse(const FpFormat& f) {
  unsigned char stored[8] = {};
  double value = 1;
  std::uint32_t mark;
  const std::uint32_t code = raised([&] { f.getHostValue(stored); });
  EXPECT_EQ(raised([&] { f.putHostValue(stored, value); }), code);
  EXPECT_EQ(raised([&] { f.getHostMARK(&mark); }), code);
  EXPECT_EQ(raised([&] { f.getHostValues(stored, &value, 0, 8); }), code);
  EXPECT_EQ(raised([&] { f.putHostValues(stored, &value, 0, 8); }), code);
  return code;
}

TEST(FpFormatTest, KindsAreToldByTheirBits) {
  static constexpr std::uint32_t PATTERNS[] = {0x7ffe0000, 0x7fff0000, 0x7f667782, 0x7f667783, 0x7f667784,
                                               0x7f667785, 0x7f667786, 0x7ff00000, 0xfff00000};
  static constexpr int NEXT[] = {0, 0, 4, 5, 6, 7, 0, 0, 0};  // the kind of the pattern that is 1 larger
  for (int k = 1; k <= (QUIETS ? 7 : 9); ++k) {
    SCOPED_TRACE(k);
    const std::uint64_t pattern = PATTERNS[k - 1];
    EXPECT_EQ(bits(special(k)), pattern << 32 | pattern);
    EXPECT_EQ(FpFormat::testValue(fromBits(pattern << 32 | 0x12345)), kind(k)) << "the low half doesn't count";
    EXPECT_EQ(FpFormat::testValue(fromBits((pattern + 1) << 32 | pattern)), kind(NEXT[k - 1]));
    EXPECT_EQ(FpFormat::testValue(std::bit_cast<float>(PATTERNS[k - 1])), kind(k));
    EXPECT_EQ(FpFormat::isNAN(special(k)), k != 4);
  }
  for (const int k : {0, 10, -1, 0x7fffffff}) {
    EXPECT_EQ(raised([&] { special(k); }, true), FPError::BAD_KIND) << k;
  }
  EXPECT_FALSE(FpFormat::isNAN(2147352576.0)) << "0x7ffe0000 as a number";
  EXPECT_FALSE(FpFormat::isNAN(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_EQ(FpFormat::testValue(0.0f), FpFormat::FT_NORMAL);
}

TEST(FpFormatTest, EveryCodeAndWidthIsAnswered) {
  const std::string RESULTS = "-00111100011" + std::string(20, '-');  // of codes 0 to 31, - for -1
  for (int code = 0; code < 256; ++code) {
    for (int width = 0; width < 256; ++width) {
      FpFormat f;
      const char expected = width == 4 || width == 8 ? RESULTS[static_cast<std::size_t>(code & 31)] : 'x';
      std::int32_t result = 'x' - '0';
      ASSERT_EQ(raised([&] { result = setUp(f, code, width); }), expected == 'x' ? FPError::BAD_WIDTH : 0) << width;
      ASSERT_EQ(result < 0 ? '-' : '0' + result, expected) << code << ", " << width;
      ASSERT_EQ(f.format(), code);
      ASSERT_EQ(raisedByUse(f), expected == '0' || expected == '1' ? 0 : FPError::NOT_READY) << code << ", " << width;
    }
  }
}

TEST(FpFormatTest, MarksStandInEveryFormat) {
  static const struct {
    int line;
    std::vector<int> codes;
    int offset;                // at width 8
    std::string wide, narrow;  // the marks of kinds 1, 2, 3 and 7 at width 8 and 4, as they lie in memory
  } ROWS[] = {
      {__LINE__, {1}, 0, "00800000 40800000 20800000 60800000", "00800000 40800000 20800000 60800000"},
      {__LINE__, {2, 8, 9, 34}, 4, "0000f8ff 0030f87f 0020f87f 0040f87f", "0000c0ff 0000c37f 0000c27f 0000c47f"},
      {__LINE__, {3}, 0, "7ff40000 7ff83000 7ff82000 7ff84000", "7fa00000 7fc30000 7fc20000 7fc40000"},
      {__LINE__, {4}, 0, "7ff80000 7ff43000 7ff42000 7ff44000", "7fc00000 7fa30000 7fa20000 7fa40000"},
      {__LINE__, {5, 6}, 0, "7fffffff 7ff43000 7ff42000 7ff44000", "7fffffff 7fa30000 7fa20000 7fa40000"},
      {__LINE__, {7}, 4, "0000f8ff 0030f47f 0020f47f 0040f47f", "0000c0ff 0000a37f 0000a27f 0000a47f"},
      {__LINE__, {10, 11}, 0, "7ff7ffff 7ff83000 7ff82000 7ff84000", "7fbfffff 7fc30000 7fc20000 7fc40000"},
  };
  for (const auto& row : ROWS) {
    for (const int code : row.codes) {
      SCOPED_TRACE(testing::Message() << "row of line " << row.line << ", code " << code);
      const FpFormat wide = converter(code, 8), narrow = converter(code, 4);
      for (std::size_t i = 0; i < 4; ++i) {
        const double value = special(i == 3 ? 7 : static_cast<int>(i) + 1);
        const std::string mark = row.wide.substr(9 * i, 8), short4 = row.narrow.substr(9 * i, 8), other = "12345678";
        EXPECT_EQ(put(wide, fromBits(bits(value) >> 32 << 32), 8), mark + mark) << "the low half doesn't count";
        EXPECT_EQ(put(narrow, value, 4), short4);
        EXPECT_EQ(bits(get(narrow, short4)), bits(value));
        EXPECT_EQ(bits(get(wide, row.offset == 0 ? mark + other : other + mark)), bits(value));
        EXPECT_EQ(FpFormat::testValue(get(wide, row.offset == 0 ? other + mark : mark + other)), FpFormat::FT_NORMAL);
      }
      std::uint32_t mark = 0;
      EXPECT_EQ(wide.getHostMARK(&mark), row.offset);
      EXPECT_EQ(hex(&mark, 4), row.wide.substr(27));
      EXPECT_EQ(narrow.getHostMARK(&mark), 0);
      EXPECT_EQ(hex(&mark, 4), row.narrow.substr(27));
    }
  }
}

TEST(FpFormatTest, NumbersLieInMemoryAsTheMachineHasThem) {
  const double high0 = 4.9e-324, signalling = fromBits(0x7ff0000000000001);
  const auto readOnly = std::nullopt;
  const struct {
    int line, code;
    std::optional<double> value;
    const char* stored;
    double back;
    bool signals = false;
  } ROWS[] = {
      {__LINE__, 2, 1.0, "000000000000f03f", 1.0},
      {__LINE__, 3, -2.5, "c0200000", -2.5},
      {__LINE__, 2, high0, "0000000000000000", 0.0},
      {__LINE__, 2, signalling, "010000000000f07f", signalling, true},  // moved as bits, or it would be quieted
      {__LINE__, 3, signalling, "7ff0000000000001", signalling, true},
      {__LINE__, 2, special(5), "0000807f", HUGE_VAL},                // beyond a float
      {__LINE__, 2, 1 + 0x1p-24 + 0x1p-40, "0100803f", 1 + 0x1p-23},  // rounded, not cut
      {__LINE__, 2, readOnly, "0100000000000000", high0},             // a zero word where the mark would be is no zero
      {__LINE__, 1, 0x1p127, "00000000", 0.0},                        // no place for its exponent
      {__LINE__, 1, -0x1.56789ap-100, "ab8e4d3c", -0x1.56789ap-100},  // each digit of each field at its own place
      {__LINE__, 1, 0x1.23456789abcdep77, "1167b3a2d5c4f0e6", 0x1.23456789abcdep77},
      {__LINE__, 1, readOnly, "0000000000000000", 0},
      {__LINE__, 1, readOnly, "0000000008000000", fromBits(0x37e0000000010000)},  // exponent 0 + 894, and a fraction
      {__LINE__, 1, readOnly, "8040000000000700", 1.0},  // the lowest three bits are dropped, not rounded
  };
  for (const auto& row : ROWS) {
    if (QUIETS && row.signals) continue;
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    const std::size_t width = std::strlen(row.stored) / 2;
    const FpFormat f = converter(row.code, width);
    EXPECT_EQ(row.value ? put(f, *row.value, width) : row.stored, row.stored);
    EXPECT_EQ(bits(get(f, row.stored)), bits(row.back));
  }
}

TEST(FpFormatTest, ARefusedSetUpLeavesAConverterReadyAndWithinItsWidth) {
  FpFormat refused = converter(2, 8);
  EXPECT_EQ(setUp(refused, 12, 4), -1);
  EXPECT_EQ(refused.format(), 12);
  EXPECT_EQ(put(refused, special(7), 4), "0040f87f") << "the mark of the width before";
  EXPECT_EQ(bits(get(refused, "0040f87f")), bits(special(7)));
  EXPECT_EQ(put(refused, 1, 4), "0000803f");
  EXPECT_EQ(get(refused, "0000803f"), 1.0);
  std::uint32_t mark;
  EXPECT_EQ(refused.getHostMARK(&mark), 0);
  EXPECT_EQ(raised([&] { setUp(refused, 3, 16); }), FPError::BAD_WIDTH);
  EXPECT_EQ(refused.format(), 3);
  EXPECT_EQ(raisedByUse(refused), FPError::NOT_READY);
  EXPECT_EQ(setUp(refused, 12, 8), -1);
  EXPECT_EQ(raisedByUse(refused), 0u) << "the flag was left as it was";
  FpFormat f = converter(1, 8);
  for (const auto& [code, result, one] : {std::tuple{3, 1, "3ff0000000000000"}, {2, 0, "000000000000f03f"}}) {
    EXPECT_EQ(setUp(f, code, 8), result);
    EXPECT_EQ(get(f, one), 1.0) << "neither VAX nor swapped as before";
  }
  std::int32_t status = 7;
  EXPECT_EQ(raised([&] { FpFormat(2, 5, &status); }), FPError::BAD_WIDTH);
  EXPECT_EQ(status, 7);
  EXPECT_EQ(FpFormat(3, 8, &status).format(), 3);
  EXPECT_EQ(status, 1);
  FpFormat(2, 8, nullptr);
}

}  // namespace
