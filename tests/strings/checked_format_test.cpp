// What fits a format and what doesn't: what the tables refuse would be a compiler error for a literal.

#include "zqcore27/strings/checked_format.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <span>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/text.h"
#include "zqcore27/errors/string_error.h"

namespace {

enum Plain { PLAIN };
using Units = const std::uint16_t*;
using Narrow = const char*;
using Count = std::int32_t*;

/// Types by the letters that the tables have for them, in their order.
using Arguments = std::vector<std::pair<char, FormatArgument>>;
template <class... Types>
Arguments values(const char* letters) {
  return {{*letters++, FormatArgument::value<Types>()}...};
}
template <class... Types>
Arguments targets(const char* letters) {
  return {{*letters++, FormatArgument::target<Types>()}...};
}
using Check = FormatFault (FormatCheck::*)();

/// Directives between blanks, and all types that they take.
using Taken = std::pair<const char*, const char*>;
/// What is wrong with all formats between bars, each behind the types that it is checked with and a blank.
using Faulty = std::pair<FormatFault, const char*>;

void expectChecked(const Arguments& all, Check check, std::span<const Taken> taking, std::span<const Faulty> faulty) {
  for (const auto& [directives, takes] : taking) {
    std::istringstream in(directives);
    for (std::string directive; in >> directive;) {
      std::string taken;
      for (const auto& [letter, argument] : all) {
        FormatCheck one(directive.c_str(), {&argument, 1});
        if ((one.*check)() == FormatFault::NONE) taken += letter;
      }
      EXPECT_EQ(taken, takes) << directive;
    }
  }
  for (const auto& [fault, formats] : faulty) {
    std::istringstream in(formats);
    for (std::string format; std::getline(in, format, '|');) {
      std::vector<FormatArgument> passed;
      for (const char letter : format.substr(0, format.find(' '))) {
        passed.push_back(std::ranges::find(all, letter, &Arguments::value_type::first)->second);
      }
      FormatCheck one(format.c_str() + passed.size() + 1, passed);
      EXPECT_EQ(static_cast<int>((one.*check)()), static_cast<int>(fault)) << format;
    }
  }
}

TEST(CheckedFormatTest, TakesForBuildWhatTheEngineReads) {
  const Arguments all =
      values<std::nullptr_t, NatString, Narrow, char*, char[4], String, WideString, Units, const char16_t*,
             std::uint16_t[4], char16_t[3], bool, char, double, float, std::uint16_t, int, std::uint32_t, Count,
             char16_t, short, long double, Plain, std::int64_t, std::uint64_t, const wchar_t*, void*,
             const std::int32_t*, short*, std::int32_t[1]>("01234ABCDEFbcdfhijnqsuvwxyzXYZ");
  // Numbers: d has 32 bits whatever is asked for, p unless h is, the others 16 without l. Texts are of units without N
  // and L, of bytes with either.
  static constexpr Taken TAKEN[] = {{"%d %hd %ld %+5d %.3i %-08i", "bchiqs"},
                                    {"%u %hu %5u", "bhq"},
                                    {"%lu %hlu", "bhjq"},
                                    {"%x %#X %b %ho", "bchqs"},
                                    {"%lx %lX %lb %#lo %p %lp %hlp", "bchijqs"},
                                    {"%hp %c", "bchqs"},
                                    {"%f %8.3g %e %LG %E", "df"},
                                    {"%s %ls %hs %.3s %9s", "0ABCDEF"},
                                    {"%Ns %Ls %NLs %lNs", "01234"},
                                    {"%P %.2P", "234"},  // counted bytes
                                    {"%n", "n"}};
  using enum FormatFault;  // asterisks come before the value
  static constexpr Faulty FAULTS[] = {{NONE, " | 100 %% %5%|isd %0*.*f|ii %d%*%|bch %d%i%x"},
                                      {TOO_MANY_ARGUMENTS, "i 100 %%|i "},
                                      {TOO_FEW_ARGUMENTS, "i %d%d|i %.*d"},
                                      {WRONG_ARGUMENT, "di %*f|ji %*d|j %d|A %Ns"}};
  expectChecked(all, &FormatCheck::build, TAKEN, FAULTS);
}

TEST(CheckedFormatTest, TakesForScanWhatTheEngineStores) {
  const Arguments all =
      targets<char[8], bool, char, double, float, std::int16_t, int, std::uint32_t, std::uint16_t, long double, Plain,
              std::int64_t, const int, int*, char*, const char[8], std::uint16_t[8], String>("8bcdfhijkuvwxyzXYZ");
  // A place is named itself. Texts are bounded: s and sets write a terminator, c doesn't.
  static constexpr Taken TAKEN[] = {{"%d %i %3d %Ld %n %hn", "i"},
                                    {"%hd %hi", "h"},
                                    {"%u %lu", "j"},
                                    {"%hu", "k"},
                                    {"%x %X %o %b %p", "ij"},
                                    {"%hx %ho %hb", "hk"},
                                    {"%f %hg", "f"},
                                    {"%lE %LG", "d"},
                                    {"%c %1c", "8c"},
                                    {"%2c %8c %7s %1S %7[^]%d] %7[]a]", "8"},
                                    {"%8s %s %0s %[a] %99999999999999999999s %9c", ""}};
  using enum FormatFault;
  static constexpr Faulty FAULTS[] = {{NONE, " ab %% %*%|i %*d %d %*5s %*[^,]|i %*f%n"},
                                      {TOO_MANY_ARGUMENTS, "i ab"},
                                      {TOO_FEW_ARGUMENTS, "i %d %d"},
                                      {BAD_DIRECTIVE, " %|i %*q%d|i %lld|i %5*d|8 %7[]|8 %7[^"},  // one size only
                                      {NO_ROOM, "8 %8s|8 %s|8 %[a]|c %2c|c %1s"},
                                      {WRONG_ARGUMENT, "i %7s|y %7s|h %d"}};
  expectChecked(all, &FormatCheck::scan, TAKEN, FAULTS);
}

TEST(CheckedFormatTest, BuildsAsThePlainOperationDoes) {
  const String wide(u"r\u00f6hre");
  const std::uint16_t* const units = wide.begin();
  const short small = -1;
  std::int32_t count = 0, plainCount = 0;
  String checked, plain;
  buildChecked(checked, "%s|%9ls|%.2s|%s|%Ns|%*Ls|%P%n %d %u %lu %x %c %.1f %e", wide, WideString(wide), units, nullptr,
               NatString(wide), -7, "bytes", "\3abcd", &count, true, u'\xFFFF', 4000000000u, small, 'x', 2.5f, -1.5);
  plain.build("%s|%9ls|%.2s|%s|%Ns|%*Ls|%P%n %d %u %lu %x %c %.1f %e", units, units, units, units - units,
              NatString(wide).begin(), -7, "bytes", "\3abcd", &plainCount, 1, 0xFFFF, 4000000000u, -1, 'x', 2.5, -1.5);
  EXPECT_TRUE(count == plainCount && count != 0);
  buildChecked(checked, RuntimeFormat("<%s>"), checked);
  EXPECT_EQ(utf8(checked), "<" + utf8(plain) + ">");
}

TEST(CheckedFormatTest, ScansAsThePlainOperationDoes) {
  std::int32_t number = 0, end = 0;
  std::uint16_t small = 0;
  float real = 0;
  double wide = 0;
  char word[6] = "", set[4] = "", letter = 0;
  const auto scanned = [&](const char* text) {
    return scanChecked(String(text), "%d %*d %hx %f %lf %5s%3[abc] %c%n", number, small, real, wide, word, set, letter,
                       end);
  };
  EXPECT_EQ(scanned("-12 7 1F 1.5 2.5 wordsaab z"), 7);
  EXPECT_TRUE(number == -12 && small == 0x1F && real == 1.5f && wide == 2.5 && letter == 'z' && end == 28);
  EXPECT_EQ(std::string(word) + set, "wordsaab");
  EXPECT_EQ(scanned("12 x"), 1);
  EXPECT_EQ(scanned(""), -1);
  EXPECT_EQ(number, 12);
}

TEST(CheckedFormatTest, RefusesAtRunTimeBeforeAnythingChanges) {
  const auto refusal = [](auto call) -> std::string {
    try {
      call();
    } catch (StringError& e) {
      EXPECT_TRUE(e.fatal());
      EXPECT_EQ(e.code(), StringError::BAD_FORMAT);
      return e.numInserts() == 1 ? utf8(String(e.getInsert(0)->get(nullptr))) : "inserts";
    }
    return "none";
  };
  String text(u"as before");
  std::int32_t number = 7;
  char word[4] = "abc";
  EXPECT_EQ(refusal([&] { buildChecked(text, RuntimeFormat("%d\xE4 %s"), 1); }), "%d\xEF\xBF\xBD %s");
  EXPECT_EQ(refusal([&] { scanChecked(String("1 abcdef"), RuntimeFormat("%d %s"), number, word); }), "%d %s");
  EXPECT_EQ(number, 7);

  // A place, or the room of a count, in what is being read.
  alignas(std::int32_t) char own[16] = "%c%c";
  char single = 0;
  EXPECT_EQ(refusal([&] { scanChecked(String("%%%%"), RuntimeFormat(own), own[4], single); }), "%c%c");
  EXPECT_EQ(refusal([&] { scanChecked(text, "%c%hx", single, text.begin()[9]); }), "%c%hx");
  std::memcpy(own, "%n", 3);
  EXPECT_EQ(refusal([&] { buildChecked(text, RuntimeFormat(own), reinterpret_cast<Count>(own)); }), "%n");

  // A format that fitted once.
  std::memcpy(own, "%3s", 4);
  const ScanFormat<char[4]> kept = RuntimeFormat(own);
  EXPECT_EQ(refusal([&] { scanChecked(String("abcdef"), kept, word); }), "none");
  std::memcpy(own, "%15s", 5);
  EXPECT_EQ(refusal([&] { scanChecked(String("abcdef"), kept, word); }), "%15s");

  // Arrays that their text runs out of; what isn't read as a text with a zero needs none.
  const char16_t units[2] = {'a', 'b'};
  const char bytes[2] = {2, 'a'}, counted[2] = {1, 'a'}, negative[2] = {'\xFF', 'a'};  // the count is signed
  EXPECT_EQ(refusal([&] { buildChecked(text, "%.1s", units); }), "%.1s");
  EXPECT_EQ(refusal([&] { buildChecked(text, "%Ns", counted); }), "%Ns");
  EXPECT_EQ(refusal([&] { buildChecked(text, "%P", bytes); }), "%P");
  EXPECT_EQ(utf8(text), "as before");
  EXPECT_EQ(refusal([&] { buildChecked(text, "%P%P%Ns", negative, counted, "\5a"); }), "none");
  EXPECT_EQ(utf8(text), "a\5a");
}

}  // namespace
