// What fits a format and what doesn't: what the tables refuse would be a compiler error for a literal.

#include "zqcore27/strings/checked_format.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/text.h"
#include "zqcore27/errors/string_error.h"

namespace {

enum Plain { PLAIN };
using Units = const std::uint16_t*;
using Narrow = const char*;
using Count = std::int32_t*;

/// A derived class whose begin() isn't that of the text.
template <class Text>
struct Hiding : Text {
  using Text::Text;
  int begin() const { return 1; }
};

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
struct TakenRow {
  int line;
  const char *directives, *taken;
};
/// Formats between bars, each behind the types that it is checked with and a blank, and what is wrong with all of them.
struct FaultRow {
  int line;
  FormatFault fault;
  const char* formats;
};

void expectChecked(const Arguments& all, Check check, std::span<const TakenRow> taking,
                   std::span<const FaultRow> faulty) {
  for (const TakenRow& row : taking) {
    std::istringstream directives(row.directives);
    for (std::string directive; directives >> directive;) {
      std::string taken;
      for (const auto& [letter, argument] : all) {
        FormatCheck one(directive.c_str(), {&argument, 1});
        if ((one.*check)() == FormatFault::NONE) taken += letter;
      }
      EXPECT_EQ(taken, row.taken) << directive << " in line " << row.line;
    }
  }
  for (const FaultRow& row : faulty) {
    std::istringstream formats(row.formats);
    for (std::string format; std::getline(formats, format, '|');) {
      std::vector<FormatArgument> passed;
      for (const char letter : format.substr(0, format.find(' '))) {
        passed.push_back(std::ranges::find(all, letter, &Arguments::value_type::first)->second);
      }
      FormatCheck one(format.c_str() + passed.size() + 1, passed);
      EXPECT_EQ(static_cast<int>((one.*check)()), static_cast<int>(row.fault)) << format << " in line " << row.line;
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
  static constexpr TakenRow TAKEN[] = {{__LINE__, "%d %hd %ld %+5d %.3i %-08i", "bchiqs"},
                                       {__LINE__, "%u %hu %5u", "bhq"},
                                       {__LINE__, "%lu %hlu", "bhjq"},
                                       {__LINE__, "%x %#X %b %ho", "bchqs"},
                                       {__LINE__, "%lx %lX %lb %#lo %p %lp %hlp", "bchijqs"},
                                       {__LINE__, "%hp %c", "bchqs"},
                                       {__LINE__, "%f %8.3g %e %LG %E", "df"},
                                       {__LINE__, "%s %ls %hs %.3s %9s", "0ABCDEF"},
                                       {__LINE__, "%Ns %Ls %NLs %lNs", "01234"},
                                       {__LINE__, "%P %.2P", "234"},  // counted bytes
                                       {__LINE__, "%n", "n"}};
  using enum FormatFault;  // asterisks come before the value
  static constexpr FaultRow FAULTS[] = {{__LINE__, NONE, " | 100 %% %5%|isd %0*.*f|ii %d%*%|bch %d%i%x"},
                                        {__LINE__, TOO_MANY_ARGUMENTS, "i 100 %%|i "},
                                        {__LINE__, TOO_FEW_ARGUMENTS, "i %d%d|i %.*d"},
                                        {__LINE__, WRONG_ARGUMENT, "di %*f|ji %*d|j %d|A %Ns"}};
  expectChecked(all, &FormatCheck::build, TAKEN, FAULTS);
}

TEST(CheckedFormatTest, TakesForScanWhatTheEngineStores) {
  const Arguments all =
      targets<char[8], bool, char, double, float, std::int16_t, int, std::uint32_t, std::uint16_t, long double, Plain,
              std::int64_t, const int, int*, char*, const char[8], std::uint16_t[8], String>("8bcdfhijkuvwxyzXYZ");
  // A place is named itself. Texts are bounded: s and sets write a terminator, c doesn't.
  static constexpr TakenRow TAKEN[] = {{__LINE__, "%d %i %3d %Ld %n %hn", "i"},
                                       {__LINE__, "%hd %hi", "h"},
                                       {__LINE__, "%u %lu", "j"},
                                       {__LINE__, "%hu", "k"},
                                       {__LINE__, "%x %X %o %b %p", "ij"},
                                       {__LINE__, "%hx %ho %hb", "hk"},
                                       {__LINE__, "%f %hg", "f"},
                                       {__LINE__, "%lE %LG", "d"},
                                       {__LINE__, "%c %1c", "8c"},
                                       {__LINE__, "%2c %8c %7s %1S %7[^]%d] %7[]a]", "8"},
                                       {__LINE__, "%8s %s %0s %[a] %99999999999999999999s %9c", ""}};
  using enum FormatFault;
  static constexpr FaultRow FAULTS[] = {
      {__LINE__, NONE, " ab %% %*%|i %*d %d %*5s %*[^,]|i %*f%n"},
      {__LINE__, TOO_MANY_ARGUMENTS, "i ab"},
      {__LINE__, TOO_FEW_ARGUMENTS, "i %d %d"},
      {__LINE__, BAD_DIRECTIVE, " %|i %*q%d|i %lld|i %5*d|8 %7[]|8 %7[^"},  // one size only
      {__LINE__, NO_ROOM, "8 %8s|8 %s|8 %[a]|c %2c|c %1s"},
      {__LINE__, WRONG_ARGUMENT, "i %7s|y %7s|h %d"}};
  expectChecked(all, &FormatCheck::scan, TAKEN, FAULTS);
}

TEST(CheckedFormatTest, BuildsAsThePlainOperationDoes) {
  const String wide(u"r\u00f6hre");
  const std::uint16_t* const units = wide.begin();
  const short small = -1;
  std::int32_t count = 0, plainCount = 0;
  String checked, plain;
  buildChecked(checked, "%s|%9ls|%.2s|%s|%Ns|%*Ls|%P%n %d %+d %u %lu %x %lx", wide, WideString(wide), units, nullptr,
               NatString(wide), -7, "bytes", "\3abcd", &count, small, true, u'\xFFFF', 4000000000u, small, small);
  plain.build("%s|%9ls|%.2s|%s|%Ns|%*Ls|%P%n %d %+d %u %lu %x %lx", units, units, units, units - units,
              NatString(wide).begin(), -7, "bytes", "\3abcd", &plainCount, -1, 1, 0xFFFF, 4000000000u, -1, -1);
  EXPECT_EQ(utf8(checked), utf8(plain));
  EXPECT_EQ(count, plainCount);
  EXPECT_NE(count, 0);

  buildChecked(checked, "%b %c%c %hp %.1f %e", u'\5', 'x', u'\u00f6', small, 2.5f, -1.5);
  plain.build("%b %c%c %hp %.1f %e", 5, 'x', 0xF6, -1, 2.5, -1.5);
  EXPECT_EQ(utf8(checked), utf8(plain));
  buildChecked(checked, RuntimeFormat("<%s>"), checked);
  EXPECT_EQ(utf8(checked), "<" + utf8(plain) + ">");
  buildChecked(checked, "%s %s %Ns", Hiding<String>(u"a"), Hiding<WideString>(String(u"b")), Hiding<NatString>(wide));
  EXPECT_EQ(utf8(checked), "a b " + utf8(wide));
}

TEST(CheckedFormatTest, ScansAsThePlainOperationDoes) {
  struct Values {
    std::int32_t number = 0, end = 0;
    std::uint16_t small = 0;
    float real = 0;
    double wide = 0;
    char word[6] = "", set[4] = "", letter = 0;
    auto operator<=>(const Values&) const = default;
  } checked, plain;
  static constexpr char FORMAT[] = "%d %*d %hx %f %lf %5s%3[abc] %c%n";
  for (const char* source : {"-12 7 1F 1.5 2.5 longer aab z", "-12 7 1F 1.5 2.5 longcab", "", "12 x"}) {
    String text(source);
    const std::int32_t stored = scanChecked(text, FORMAT, checked.number, checked.small, checked.real, checked.wide,
                                            checked.word, checked.set, checked.letter, checked.end);
    EXPECT_EQ(stored, text.scan(FORMAT, &plain.number, &plain.small, &plain.real, &plain.wide, plain.word, plain.set,
                                &plain.letter, &plain.end));
    EXPECT_TRUE(checked == plain) << source;
  }
  EXPECT_EQ(checked.number, 12);
  EXPECT_EQ(std::string(checked.word), "longc");
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
  EXPECT_EQ(refusal([&] { buildChecked(text, RuntimeFormat(nullptr), &number); }), "");
  EXPECT_EQ(refusal([&] { scanChecked(String("1 abcdef"), RuntimeFormat("%d %s"), number, word); }), "%d %s");
  EXPECT_EQ(number, 7);

  // A place, or the room of a count, in what is being read.
  alignas(std::int32_t) char own[16] = "%8c%c";
  char single = 0;
  char(&room)[8] = reinterpret_cast<char(&)[8]>(own);
  EXPECT_EQ(refusal([&] { scanChecked(String("%%%%%%%%%%"), RuntimeFormat(own), room, single); }), "%8c%c");
  EXPECT_EQ(refusal([&] { scanChecked(String("%%%%%%%%%%"), RuntimeFormat(own), room, own[5]); }), "%8c%c");
  EXPECT_EQ(refusal([&] { scanChecked(text, "%c%hx", single, text.begin()[9]); }), "%c%hx");
  EXPECT_EQ(refusal([&] { buildChecked(text, RuntimeFormat(own + 3), 'c'); }), "none");
  EXPECT_EQ(utf8(text), "c");
  text = u"as before";
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
  const char bytes[2] = {5, 'a'}, counted[2] = {1, 'a'}, negative[2] = {'\xFF', 'a'};  // the count is signed
  EXPECT_EQ(refusal([&] { buildChecked(text, "%.1s", units); }), "%.1s");
  EXPECT_EQ(refusal([&] { buildChecked(text, "%Ns", counted); }), "%Ns");
  EXPECT_EQ(refusal([&] { buildChecked(text, "%P", bytes); }), "%P");
  EXPECT_EQ(utf8(text), "as before");
  EXPECT_EQ(refusal([&] { buildChecked(text, "%P%P%Ns", negative, counted, "\5a"); }), "none");
  EXPECT_EQ(utf8(text), "a\5a");
}

}  // namespace
