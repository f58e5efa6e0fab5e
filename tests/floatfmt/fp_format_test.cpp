#include "zqcore27/floatfmt/fp_format.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "zqcore27/floatfmt/fp_error.h"

namespace {

constexpr std::uint64_t bits(double value) { return std::bit_cast<std::uint64_t>(value); }
constexpr double fromBits(std::uint64_t b) { return std::bit_cast<double>(b); }
FpFormat::FloatTYPE kind(int k) { return static_cast<FpFormat::FloatTYPE>(k); }

FpFormat converter(int code, int width) {
  std::int32_t status = -9;
  const FpFormat f(static_cast<unsigned char>(code), static_cast<unsigned char>(width), &status);
  EXPECT_GE(status, 0) << "code " << code << ", width " << width;
  return f;
}

/// A stored value as it lies in memory, in hexadecimal.
std::string put(const FpFormat& f, double value, std::size_t width) {
  unsigned char bytes[1 + 8 + 1];  // unaligned, with a guard on each side
  std::memset(bytes, 0xEE, sizeof bytes);
  f.putHostValue(bytes + 1, value);
  EXPECT_EQ(bytes[0], 0xEE);
  for (std::size_t i = 1 + width; i < sizeof bytes; ++i) EXPECT_EQ(bytes[i], 0xEE) << "behind the value";
  std::string hex;
  for (std::size_t i = 1; i <= width; ++i) {
    hex += "0123456789abcdef"[bytes[i] >> 4];
    hex += "0123456789abcdef"[bytes[i] & 15];
  }
  return hex;
}

double get(const FpFormat& f, const std::string& hex) {
  const std::size_t width = hex.size() / 2;
  std::vector<unsigned char> bytes(1 + width);  // exactly as many bytes as there are, so that a read behind them shows
  for (std::size_t i = 0; i < width; ++i) {
    bytes[1 + i] = static_cast<unsigned char>(std::stoi(hex.substr(2 * i, 2), nullptr, 16));
  }
  return f.getHostValue(bytes.data() + 1);
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

TEST(FpFormatTest, KindsAreToldByTheirBits) {
  static constexpr std::uint32_t PATTERNS[] = {0x7ffe0000, 0x7fff0000, 0x7f667782, 0x7f667783, 0x7f667784,
                                               0x7f667785, 0x7f667786, 0x7ff00000, 0xfff00000};
  for (int k = 1; k <= 9; ++k) {
    SCOPED_TRACE(k);
    const std::uint64_t pattern = PATTERNS[k - 1];
    EXPECT_EQ(bits(FpFormat::getNAN(kind(k))), pattern << 32 | pattern);
    EXPECT_EQ(FpFormat::testValue(fromBits(pattern << 32 | 0x12345)), kind(k)) << "the low half doesn't count";
    EXPECT_EQ(FpFormat::testValue(fromBits((pattern << 32) + (std::uint64_t{1} << 32))), kind(k == 3   ? 4
                                                                                              : k == 4 ? 5
                                                                                              : k == 5 ? 6
                                                                                              : k == 6 ? 7
                                                                                                       : 0));
    EXPECT_EQ(FpFormat::testValue(std::bit_cast<float>(PATTERNS[k - 1])), kind(k));
    EXPECT_EQ(FpFormat::isNAN(FpFormat::getNAN(kind(k))), k != 4);
  }
  for (const int k : {0, 10, -1, 0x7fffffff}) {
    EXPECT_EQ(raised([&] { FpFormat::getNAN(kind(k)); }, true), FPError::BAD_KIND) << k;
  }
  EXPECT_FALSE(FpFormat::isNAN(2147352576.0)) << "0x7ffe0000 as a number";
  EXPECT_FALSE(FpFormat::isNAN(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_TRUE(FpFormat::isNAN(std::numeric_limits<double>::infinity()));
  EXPECT_EQ(FpFormat::testValue(0.0f), FpFormat::FT_NORMAL);
}

TEST(FpFormatTest, EveryCodeAndWidthIsAnswered) {
  for (int code = 0; code < 256; ++code) {
    for (int width = 0; width < 256; ++width) {
      FpFormat f;
      const auto setUp = [&] {
        return f.initStandAlone(static_cast<unsigned char>(code), static_cast<unsigned char>(width));
      };
      const int selected = code & 31;
      unsigned char value[8] = {};
      bool ready = false;
      if (width != 4 && width != 8) {
        ASSERT_EQ(raised(setUp), FPError::BAD_WIDTH) << code << ", " << width;
      } else {
        const bool swapped = (selected >= 3 && selected <= 6) || selected == 10 || selected == 11;
        ready = selected >= 1 && selected <= 11;
        ASSERT_EQ(setUp(), !ready ? -1 : swapped ? 1 : 0) << code << ", " << width;
      }
      ASSERT_EQ(f.format(), code);
      std::uint32_t mark;
      double out;
      const std::uint32_t expected = ready ? 0 : FPError::NOT_READY;
      ASSERT_EQ(raised([&] { f.getHostValue(value); }), expected) << code << ", " << width;
      ASSERT_EQ(raised([&] { f.putHostValue(value, FpFormat::getNAN(kind(4))); }),
                ready ? FPError::NOT_STORABLE : FPError::NOT_READY);
      ASSERT_EQ(raised([&] { f.getHostMARK(&mark); }), expected);
      ASSERT_EQ(raised([&] { f.getHostValues(value, &out, 0, 8); }), expected);
      ASSERT_EQ(raised([&] { f.putHostValues(value, &out, 0, 8); }), expected);
    }
  }
}

TEST(FpFormatTest, MarksStandInEveryFormat) {
  static constexpr struct {
    int line, code, width, offset;
    const char* marks[4];  // of kinds 1, 2, 3 and 7, as they lie in memory
  } ROWS[] = {
      {__LINE__, 1, 8, 0, {"00800000", "40800000", "20800000", "60800000"}},
      {__LINE__, 1, 4, 0, {"00800000", "40800000", "20800000", "60800000"}},
      {__LINE__, 2, 8, 4, {"0000f8ff", "0030f87f", "0020f87f", "0040f87f"}},
      {__LINE__, 2, 4, 0, {"0000c0ff", "0000c37f", "0000c27f", "0000c47f"}},
      {__LINE__, 0x22, 8, 4, {"0000f8ff", "0030f87f", "0020f87f", "0040f87f"}},
      {__LINE__, 3, 8, 0, {"7ff40000", "7ff83000", "7ff82000", "7ff84000"}},
      {__LINE__, 3, 4, 0, {"7fa00000", "7fc30000", "7fc20000", "7fc40000"}},
      {__LINE__, 4, 8, 0, {"7ff80000", "7ff43000", "7ff42000", "7ff44000"}},
      {__LINE__, 4, 4, 0, {"7fc00000", "7fa30000", "7fa20000", "7fa40000"}},
      {__LINE__, 5, 8, 0, {"7fffffff", "7ff43000", "7ff42000", "7ff44000"}},
      {__LINE__, 6, 4, 0, {"7fffffff", "7fa30000", "7fa20000", "7fa40000"}},
      {__LINE__, 7, 8, 4, {"0000f8ff", "0030f47f", "0020f47f", "0040f47f"}},
      {__LINE__, 7, 4, 0, {"0000c0ff", "0000a37f", "0000a27f", "0000a47f"}},
      {__LINE__, 8, 8, 4, {"0000f8ff", "0030f87f", "0020f87f", "0040f87f"}},
      {__LINE__, 9, 4, 0, {"0000c0ff", "0000c37f", "0000c27f", "0000c47f"}},
      {__LINE__, 10, 8, 0, {"7ff7ffff", "7ff83000", "7ff82000", "7ff84000"}},
      {__LINE__, 11, 4, 0, {"7fbfffff", "7fc30000", "7fc20000", "7fc40000"}},
  };
  static constexpr int KINDS[] = {1, 2, 3, 7};
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    const FpFormat f = converter(row.code, row.width);
    for (int i = 0; i < 4; ++i) {
      const std::string mark = row.marks[i];
      const std::string stored = row.width == 8 ? mark + mark : mark;
      const double special = FpFormat::getNAN(kind(KINDS[i]));
      EXPECT_EQ(put(f, special, static_cast<std::size_t>(row.width)), stored);
      EXPECT_EQ(put(f, fromBits(bits(special) & ~std::uint64_t{0xFFFFFFFF}), stored.size() / 2), stored);
      EXPECT_EQ(bits(get(f, stored)), bits(special));
      if (row.width == 8) {  // the word at the offset alone makes the mark
        EXPECT_EQ(bits(get(f, row.offset == 0 ? mark + "12345678" : "12345678" + mark)), bits(special));
        EXPECT_EQ(FpFormat::testValue(get(f, row.offset == 0 ? "12345678" + mark : mark + "12345678")),
                  FpFormat::FT_NORMAL);
      }
    }
    std::uint32_t mark = 0;
    EXPECT_EQ(f.getHostMARK(&mark), row.offset);
    unsigned char bytes[4];
    std::memcpy(bytes, &mark, 4);
    EXPECT_EQ(put(f, FpFormat::getNAN(kind(7)), static_cast<std::size_t>(row.width)).substr(0, 8), row.marks[3]);
    EXPECT_EQ(bytes[0], std::stoi(std::string(row.marks[3], 2), nullptr, 16));
  }
}

TEST(FpFormatTest, NumbersLieInMemoryAsTheMachineHasThem) {
  const double subnormalHigh0 = 4.9e-324, signalling = fromBits(0x7ff0000000000001);
  static const struct {
    int line, code, width;
    double value;
    const char* stored;
    double back;
  } ROWS[] = {
      {__LINE__, 2, 8, 1.0, "000000000000f03f", 1.0},
      {__LINE__, 3, 8, 1.0, "3ff0000000000000", 1.0},
      {__LINE__, 2, 4, -2.5, "000020c0", -2.5},
      {__LINE__, 3, 4, -2.5, "c0200000", -2.5},
      {__LINE__, 2, 8, -0.0, "0000000000000080", -0.0},
      {__LINE__, 3, 4, -0.0, "80000000", -0.0},
      {__LINE__, 2, 8, subnormalHigh0, "0000000000000000", 0.0},
      {__LINE__, 1, 4, subnormalHigh0, "00000000", 0.0},
      {__LINE__, 2, 8, signalling, "010000000000f07f", signalling},  // moved as bits, or it would be quieted
      {__LINE__, 3, 8, signalling, "7ff0000000000001", signalling},
      {__LINE__, 2, 8, FpFormat::getNAN(kind(5)), "8477667f8477667f", FpFormat::getNAN(kind(5))},
      {__LINE__, 3, 8, FpFormat::getNAN(kind(6)), "7f6677857f667785", FpFormat::getNAN(kind(6))},
      {__LINE__, 3, 8, FpFormat::getNAN(kind(9)), "fff00000fff00000", FpFormat::getNAN(kind(9))},
      {__LINE__, 2, 4, FpFormat::getNAN(kind(5)), "0000807f", HUGE_VAL},  // beyond a float
      {__LINE__, 2, 4, 1e300, "0000807f", HUGE_VAL},
      {__LINE__, 2, 4, 1 + 0x1p-24 + 0x1p-40, "0100803f", 1 + 0x1p-23},  // rounded, not cut
      {__LINE__, 1, 4, 1.0, "80400000", 1.0},
      {__LINE__, 1, 4, -2.5, "20c10000", -2.5},
      {__LINE__, 1, 4, 1 + 0x1p-23, "80400100", 1 + 0x1p-23},
      {__LINE__, 1, 4, 0x1p127, "00000000", 0.0},                         // no place for its exponent
      {__LINE__, 1, 4, -0x1p127, "00800000", FpFormat::getNAN(kind(1))},  // ... and this falls on a mark
      {__LINE__, 1, 4, 0x1p-127, "40010000", 0x1p-127},                   // a subnormal float, and back
      {__LINE__, 1, 8, 1.0, "8040000000000000", 1.0},
      {__LINE__, 1, 8, -2.5, "20c1000000000000", -2.5},
      {__LINE__, 1, 8, 1 + 0x1p-52, "8040000000000800", 1 + 0x1p-52},
      {__LINE__, 1, 8, -0.0, "00c1000000000000", -2.0},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    const FpFormat f = converter(row.code, row.width);
    EXPECT_EQ(put(f, row.value, static_cast<std::size_t>(row.width)), row.stored);
    EXPECT_EQ(bits(get(f, row.stored)), bits(row.back));
  }
}

TEST(FpFormatTest, ReadsWhatNoWriterOfOursStores) {
  static constexpr struct {
    int line, code;
    const char* stored;
    std::uint64_t bits;
  } ROWS[] = {
      {__LINE__, 2, "0100000000000000", 0x1},  // a zero word where the mark would be is no zero
      {__LINE__, 3, "0000000000000001", 0x1},
      {__LINE__, 2, "00000000", 0},
      {__LINE__, 1, "0000000000000000", 0},
      {__LINE__, 1, "0000000008000000", 0x37e0000000010000},  // exponent 0 + 894, and a fraction
      {__LINE__, 1, "8040000000000700", bits(1.0)},           // the lowest three bits are dropped, not rounded
      {__LINE__, 1, "ff7fffffffffffff", 0x47dfffffffffffff},
      {__LINE__, 1, "80000000", bits(0x1p-126)},  // exponent 1: too small for a float
      {__LINE__, 1, "80800000", bits(0x1p-126)},  // its sign is lost; as a bare mark it would be kind 1
      {__LINE__, 1, "00000100", bits(0x1p-126)},  // exponent 0 with a fraction
      {__LINE__, 1, "00010000", 0},               // exponent 2 spells the float's bits 0
      {__LINE__, 1, "00010100", bits(0x1p-149)},  // ... and a subnormal
      {__LINE__, 1, "00810100", bits(-0x1p-149)},
      {__LINE__, 1, "ff7fffff", bits(0x1.fffffep126)},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    const FpFormat f = converter(row.code, static_cast<int>(std::strlen(row.stored) / 2));
    EXPECT_EQ(bits(get(f, row.stored)), row.bits);
  }
}

/// What a VAX means by its bits: 0.1f in base 2, with the exponent's excess of 128.
double vaxValue(bool negative, int exponent, std::uint64_t fraction, int fractionBits) {
  const double magnitude =
      std::ldexp(0.5 + std::ldexp(static_cast<double>(fraction), -fractionBits - 1), exponent - 128);
  return negative ? -magnitude : magnitude;
}

TEST(FpFormatTest, AgreesWithTheArithmeticOfAVax) {
  constexpr unsigned int SEED = 20260211;
  SCOPED_TRACE(testing::Message() << "seed " << SEED);
  std::mt19937_64 random(SEED);
  const FpFormat single = converter(1, 4), wide = converter(1, 8);
  for (int i = 0; i < 20000; ++i) {
    const bool negative = random() % 2 != 0;
    const int exponent = 3 + static_cast<int>(random() % 253);  // those that are normal floats
    const std::uint64_t fraction = random() >> 12;              // 52 bits
    const auto top = static_cast<std::uint16_t>(negative << 15 | exponent << 7);
    const auto words4 = std::array<std::uint16_t, 2>{static_cast<std::uint16_t>(top | fraction >> 45),
                                                     static_cast<std::uint16_t>(fraction >> 29)};
    EXPECT_EQ(single.getHostValue(words4.data()), vaxValue(negative, exponent, fraction >> 29, 23));
    const std::array<std::uint16_t, 4> words8{
        static_cast<std::uint16_t>(top | fraction >> 45), static_cast<std::uint16_t>(fraction >> 29),
        static_cast<std::uint16_t>(fraction >> 13), static_cast<std::uint16_t>(fraction << 3)};
    const double value = vaxValue(negative, exponent, fraction, 52);
    EXPECT_EQ(wide.getHostValue(words8.data()), value);
    std::array<std::uint16_t, 4> back{};
    wide.putHostValue(back.data(), value);
    EXPECT_EQ(back, words8);
    single.putHostValue(back.data(), vaxValue(negative, exponent, fraction >> 29, 23));
    EXPECT_TRUE(std::equal(words4.begin(), words4.end(), back.begin()));
  }
}

TEST(FpFormatTest, KindFourIsRefusedAndNothingWritten) {
  for (const int code : {1, 2, 3}) {
    for (const int width : {4, 8}) {
      const FpFormat f = converter(code, width);
      unsigned char bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
      EXPECT_EQ(raised([&] { f.putHostValue(bytes, fromBits(0x7f66778300000000)); }), FPError::NOT_STORABLE);
      for (unsigned char i = 0; i < 8; ++i) EXPECT_EQ(bytes[i], i + 1);
    }
  }
}

TEST(FpFormatTest, ARefusedSetUpLeavesAConverterReady) {
  FpFormat f = converter(2, 8);
  EXPECT_EQ(f.initStandAlone(12, 4), -1);
  EXPECT_EQ(f.format(), 12);
  // Now four bytes a value, the mark looked for in them; the marks are still those of width 8.
  EXPECT_EQ(put(f, FpFormat::getNAN(kind(7)), 4), "0040f87f");
  EXPECT_EQ(bits(get(f, "0040f87f")), bits(FpFormat::getNAN(kind(7))));
  EXPECT_EQ(get(f, "0000803f"), 1.0);
  std::uint32_t mark;
  EXPECT_EQ(f.getHostMARK(&mark), 0);

  EXPECT_EQ(raised([&] { f.initStandAlone(2, 16); }), FPError::BAD_WIDTH);
  unsigned char bytes[8] = {};
  EXPECT_EQ(raised([&] { f.getHostValue(bytes); }), FPError::NOT_READY);
  EXPECT_EQ(raised([&] { f.putHostValue(bytes, 1); }), FPError::NOT_READY);

  EXPECT_EQ(f.initStandAlone(1, 8), 0);
  EXPECT_EQ(f.initStandAlone(3, 8), 1);  // no longer VAX
  EXPECT_EQ(get(f, "3ff0000000000000"), 1.0);
  EXPECT_EQ(f.initStandAlone(2, 8), 0);  // no longer swapped
  EXPECT_EQ(get(f, "000000000000f03f"), 1.0);

  std::int32_t status = 7;
  EXPECT_EQ(raised([&] { FpFormat(2, 5, &status); }), FPError::BAD_WIDTH);
  EXPECT_EQ(status, 7);
  FpFormat(2, 8, nullptr);
}

/// Random bytes with marks, zeros and numbers among them.
std::vector<unsigned char> column(std::mt19937& random, const FpFormat& f, std::size_t n, std::size_t width,
                                  std::size_t stride, bool specials) {
  std::vector<unsigned char> bytes(n == 0 ? 0 : (n - 1) * stride + width);
  for (auto& b : bytes) b = static_cast<unsigned char>(random());
  for (std::size_t i = 0; specials && i < n; ++i) {
    static constexpr int KINDS[] = {1, 2, 3, 7};
    if (random() % 64 == 0) f.putHostValue(&bytes[i * stride], FpFormat::getNAN(kind(KINDS[random() % 4])));
    if (random() % 64 == 0) f.putHostValue(&bytes[i * stride], 0);
  }
  return bytes;
}

TEST(FpFormatTest, ArraysGiveWhatSingleCallsGive) {
  constexpr unsigned int SEED = 20260212;
  SCOPED_TRACE(testing::Message() << "seed " << SEED);
  std::mt19937 random(SEED);
  for (int code = 1; code <= 11; ++code) {
    for (const std::size_t width : {std::size_t{4}, std::size_t{8}}) {
      for (const std::size_t stride : {std::size_t{0}, std::size_t{3}, width, width + 1, std::size_t{24}}) {
        for (const std::size_t n : {0, 1, 255, 256, 1000}) {
          SCOPED_TRACE(testing::Message()
                       << "code " << code << ", width " << width << ", stride " << stride << ", n " << n);
          const FpFormat f = converter(code, static_cast<int>(width));
          const auto bytes = column(random, f, n, width, stride, stride >= width && n != 255);
          std::vector<double> single(n), all(n);
          for (std::size_t i = 0; i < n; ++i) single[i] = f.getHostValue(&bytes[i * stride]);
          f.getHostValues(bytes.data(), all.data(), n, stride);
          ASSERT_TRUE(n == 0 || std::memcmp(single.data(), all.data(), n * 8) == 0);

          std::vector<unsigned char> one(bytes), many(bytes);
          for (std::size_t i = 0; i < n; ++i) f.putHostValue(&one[i * stride], all[i]);
          f.putHostValues(many.data(), all.data(), n, stride);
          ASSERT_EQ(one, many);
        }
      }
    }
  }
}

TEST(FpFormatTest, ArraysThatOverlapGoOneByOne) {
  constexpr std::size_t N = 600, ROOM = N * 8 + 64;
  std::mt19937 random(7);
  for (const int width : {4, 8}) {
    const FpFormat f = converter(3, width);
    const auto stride = static_cast<std::size_t>(width);
    for (const std::size_t storedAt : {0, 3, 8, 24, 40}) {
      SCOPED_TRACE(testing::Message() << "width " << width << ", stored at " << storedAt);
      alignas(8) unsigned char one[ROOM], all[ROOM];
      for (auto& b : one) b = static_cast<unsigned char>(random());
      std::memcpy(all, one, ROOM);
      const std::size_t valuesAt = 16;
      for (std::size_t i = 0; i < N; ++i) {
        const double value = f.getHostValue(one + storedAt + i * stride);
        std::memcpy(one + valuesAt + i * 8, &value, 8);
      }
      f.getHostValues(all + storedAt, reinterpret_cast<double*>(all + valuesAt), N, stride);
      ASSERT_EQ(std::memcmp(one, all, ROOM), 0);
    }
  }
}

TEST(FpFormatTest, AnArrayStopsAtWhatCannotBeStored) {
  const FpFormat f = converter(3, 8);
  const double values[] = {1, FpFormat::getNAN(kind(4)), 2};
  unsigned char bytes[24] = {};
  EXPECT_EQ(raised([&] { f.putHostValues(bytes, values, 3, 8); }), FPError::NOT_STORABLE);
  EXPECT_EQ(f.getHostValue(bytes), 1.0);
  EXPECT_EQ(f.getHostValue(bytes + 8), 0.0);
  EXPECT_EQ(f.getHostValue(bytes + 16), 0.0);
}

}  // namespace
