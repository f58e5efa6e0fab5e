// What fits a format and what doesn't. The tables stand for compiler errors too: a literal goes through the same check.

#include "zqcore27/strings/checked_format.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <span>
#include <string>
#include <string_view>
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

struct Row {
  int line;
  FormatFault actual;
  FormatFault wanted;
};

template <class... Values>
constexpr FormatFault building(const char* format) {
  const std::array<FormatArgument, sizeof...(Values)> values{FormatArgument::value<Values>()...};
  return FormatCheck(format, values).build();
}

template <class... Targets>
constexpr FormatFault scanning(const char* format) {
  const std::array<FormatArgument, sizeof...(Targets)> targets{FormatArgument::target<Targets>()...};
  return FormatCheck(format, targets).scan();
}

void expectWanted(std::span<const Row> rows) {
  for (const Row& row : rows) EXPECT_EQ(static_cast<int>(row.actual), static_cast<int>(row.wanted)) << row.line;
}

TEST(CheckedFormatTest, TakesForBuildWhatTheEngineReads) {
  using enum FormatFault;
  static constexpr Row ROWS[] = {
      {__LINE__, building(""), NONE},
      {__LINE__, building("100 %% %5%"), NONE},
      {__LINE__, building<int>("100 %%"), TOO_MANY_ARGUMENTS},
      {__LINE__, building<int>("%d%d"), TOO_FEW_ARGUMENTS},
      {__LINE__, building<int, int>("%d\0%d"), TOO_MANY_ARGUMENTS},  // the format ends at its zero
      {__LINE__, building("%"), BAD_DIRECTIVE},
      {__LINE__, building<int>("%-08.3l"), BAD_DIRECTIVE},
      {__LINE__, building<double>("%F"), BAD_DIRECTIVE},
      {__LINE__, building<int>("%.-3d"), BAD_DIRECTIVE},
      {__LINE__, building<int, int>("%*-d"), BAD_DIRECTIVE},  // no flag behind the asterisk
      {__LINE__, building<int>("%ld %q"), BAD_DIRECTIVE},
      // Numbers: d has 32 bits whatever is asked for, the others 16 without l.
      {__LINE__, building<int, short, bool, char, std::uint16_t>("%d%hd%ld%+5d% .3i"), NONE},
      {__LINE__, building<std::uint32_t>("%d"), WRONG_ARGUMENT},
      {__LINE__, building<std::int64_t>("%ld"), WRONG_ARGUMENT},
      {__LINE__, building<double>("%d"), WRONG_ARGUMENT},
      {__LINE__, building<Plain>("%d"), WRONG_ARGUMENT},
      {__LINE__, building<std::uint16_t, std::uint32_t, bool>("%u%lu%lu"), NONE},
      {__LINE__, building<std::uint32_t>("%hu"), WRONG_ARGUMENT},
      {__LINE__, building<short>("%u"), WRONG_ARGUMENT},
      {__LINE__, building<std::uint64_t>("%lu"), WRONG_ARGUMENT},
      {__LINE__, building<short, int, std::uint32_t, char>("%#x%lX%lb%#o"), NONE},
      {__LINE__, building<int>("%x"), WRONG_ARGUMENT},
      {__LINE__, building<int>("%X"), WRONG_ARGUMENT},
      {__LINE__, building<int>("%b"), WRONG_ARGUMENT},
      {__LINE__, building<int>("%o"), WRONG_ARGUMENT},
      {__LINE__, building<std::uint32_t, short, int>("%p%hp%hlp"), NONE},
      {__LINE__, building<int>("%hp"), WRONG_ARGUMENT},
      {__LINE__, building<void*>("%p"), WRONG_ARGUMENT},  // 32 bits are read
      {__LINE__, building<char, char16_t>("%c%c"), NONE},
      {__LINE__, building<int>("%c"), WRONG_ARGUMENT},
      {__LINE__, building<float, double>("%8.3f%LG"), NONE},
      {__LINE__, building<long double>("%Lf"), WRONG_ARGUMENT},
      {__LINE__, building<int>("%g"), WRONG_ARGUMENT},
      // Asterisks come before the value.
      {__LINE__, building<int, short, double>("%0*.*f"), NONE},
      {__LINE__, building<double, int>("%*f"), WRONG_ARGUMENT},
      {__LINE__, building<std::uint32_t, int>("%*d"), WRONG_ARGUMENT},
      {__LINE__, building<int>("%.*d"), TOO_FEW_ARGUMENTS},
      {__LINE__, building<int, int>("%d%*%"), NONE},
      // Texts: units without N and L, bytes with either.
      {__LINE__,
       building<String, WideString, Units, const char16_t*, std::uint16_t[4], char16_t[3]>("%s%ls%hs%.3s%9s%s"), NONE},
      {__LINE__, building<NatString, Narrow, char[4], char*>("%Ns%Ls%NLs%lN.s"), BAD_DIRECTIVE},
      {__LINE__, building<NatString, Narrow, char[4], char*>("%Ns%Ls%NLs%lNs"), NONE},
      {__LINE__, building<std::nullptr_t, std::nullptr_t>("%s%Ns"), NONE},
      {__LINE__, building<Narrow>("%s"), WRONG_ARGUMENT},
      {__LINE__, building<NatString>("%s"), WRONG_ARGUMENT},
      {__LINE__, building<String>("%Ns"), WRONG_ARGUMENT},
      {__LINE__, building<Units>("%Ls"), WRONG_ARGUMENT},
      {__LINE__, building<const wchar_t*>("%s"), WRONG_ARGUMENT},
      {__LINE__, building<int>("%s"), WRONG_ARGUMENT},
      {__LINE__, building<String>("%d"), WRONG_ARGUMENT},
      {__LINE__, building<Narrow, char[3]>("%P%.2P"), NONE},
      {__LINE__, building<NatString>("%P"), WRONG_ARGUMENT},  // not counted
      {__LINE__, building<Units>("%P"), WRONG_ARGUMENT},
      {__LINE__, building<int, Count>("%d%n"), NONE},
      {__LINE__, building<const std::int32_t*>("%n"), WRONG_ARGUMENT},
      {__LINE__, building<short*>("%hn"), WRONG_ARGUMENT},
      {__LINE__, building<std::int32_t[1]>("%n"), WRONG_ARGUMENT},  // may be a constant
      {__LINE__, building<int>("%n"), WRONG_ARGUMENT},
  };
  expectWanted(ROWS);
}

TEST(CheckedFormatTest, TakesForScanWhatTheEngineStores) {
  using enum FormatFault;
  static constexpr Row ROWS[] = {
      {__LINE__, scanning("ab %% %*%"), NONE},
      {__LINE__, scanning<int>("ab"), TOO_MANY_ARGUMENTS},
      {__LINE__, scanning<int>("%d %d"), TOO_FEW_ARGUMENTS},
      {__LINE__, scanning<int>("%*d %d %*5s %*[^,]"), NONE},
      {__LINE__, scanning<int>("%*q%d"), BAD_DIRECTIVE},
      {__LINE__, scanning<int>("%lld"), BAD_DIRECTIVE},  // one size only
      {__LINE__, scanning<int>("%5*d"), BAD_DIRECTIVE},
      {__LINE__, scanning("%"), BAD_DIRECTIVE},
      {__LINE__, scanning<int, long, std::int16_t>("%d%i%hd"), sizeof(long) == 4 ? NONE : WRONG_ARGUMENT},
      {__LINE__, scanning<int, std::int16_t, std::int32_t>("%3d%hi%Ld"), NONE},
      {__LINE__, scanning<std::int16_t>("%d"), WRONG_ARGUMENT},
      {__LINE__, scanning<int>("%hd"), WRONG_ARGUMENT},
      {__LINE__, scanning<std::uint32_t>("%d"), WRONG_ARGUMENT},
      {__LINE__, scanning<const int>("%d"), WRONG_ARGUMENT},
      {__LINE__, scanning<int*>("%d"), WRONG_ARGUMENT},  // the place itself, not its address
      {__LINE__, scanning<Plain>("%d"), WRONG_ARGUMENT},
      {__LINE__, scanning<std::uint32_t, std::uint16_t>("%u%hu"), NONE},
      {__LINE__, scanning<int>("%u"), WRONG_ARGUMENT},
      {__LINE__, scanning<int, std::uint32_t, std::uint16_t, std::uint32_t, int>("%x%X%ho%b%p"), NONE},
      {__LINE__, scanning<std::uint16_t>("%x"), WRONG_ARGUMENT},
      {__LINE__, scanning<bool>("%hb"), WRONG_ARGUMENT},
      {__LINE__, scanning<float, float, double, double>("%f%hg%lE%LG"), NONE},
      {__LINE__, scanning<double>("%f"), WRONG_ARGUMENT},
      {__LINE__, scanning<float>("%le"), WRONG_ARGUMENT},
      {__LINE__, scanning<long double>("%Lf"), WRONG_ARGUMENT},
      {__LINE__, scanning<int>("%*f%n"), NONE},
      {__LINE__, scanning<std::int16_t>("%hn"), WRONG_ARGUMENT},
      // Texts are bounded: s and sets write a terminator, c doesn't.
      {__LINE__, scanning<char[8], char[8], char[8]>("%7s%1S%7[^]%d]"), NONE},
      {__LINE__, scanning<char[8]>("%8s"), NO_ROOM},
      {__LINE__, scanning<char[8]>("%s"), NO_ROOM},
      {__LINE__, scanning<char[8]>("%0s"), NO_ROOM},
      {__LINE__, scanning<char[8]>("%[a]"), NO_ROOM},
      {__LINE__, scanning<char[8]>("%99999999999999999999s"), NO_ROOM},
      {__LINE__, scanning<char[8]>("%7[]"), BAD_DIRECTIVE},
      {__LINE__, scanning<char[8]>("%7[^"), BAD_DIRECTIVE},
      {__LINE__, scanning<char, char[8], char[1]>("%c%8c%c"), NONE},
      {__LINE__, scanning<char>("%2c"), NO_ROOM},
      {__LINE__, scanning<char>("%1s"), NO_ROOM},
      {__LINE__, scanning<char*>("%7s"), WRONG_ARGUMENT},  // nobody knows its size
      {__LINE__, scanning<const char[8]>("%7s"), WRONG_ARGUMENT},
      {__LINE__, scanning<std::uint16_t[8]>("%7s"), WRONG_ARGUMENT},
      {__LINE__, scanning<String>("%7s"), WRONG_ARGUMENT},
  };
  expectWanted(ROWS);
}

/// Arguments that the check accepts one after the other, up to where it finds no fault or a bad directive.
FormatFault findArguments(const char* format, std::vector<FormatArgument>& found) {
  static constexpr FormatArgument CANDIDATES[] = {{FormatArgument::UNSIGNED, 2},
                                                  {FormatArgument::FLOATING, 8},
                                                  {FormatArgument::NULL_TEXT, 0},
                                                  {FormatArgument::NARROW_TEXT, 0},
                                                  {FormatArgument::COUNT, 0}};
  while (true) {
    FormatFault fault = FormatCheck(format, found).build();
    if (fault != FormatFault::TOO_FEW_ARGUMENTS) return fault;
    found.emplace_back();
    for (const FormatArgument& candidate : CANDIDATES) {
      found.back() = candidate;
      if ((fault = FormatCheck(format, found).build()) != FormatFault::WRONG_ARGUMENT) break;
    }
    if (fault == FormatFault::WRONG_ARGUMENT) return fault;
  }
}

constexpr std::size_t MOST = 4;

template <class... Passed>
String builtWith(const std::string& format, std::span<const FormatArgument> rest, Passed... passed) {
  static std::int32_t count;
  if constexpr (sizeof...(Passed) < MOST) {
    if (!rest.empty()) {
      const FormatArgument::Kind kind = rest.front().kind;
      rest = rest.subspan(1);
      if (kind == FormatArgument::UNSIGNED) return builtWith(format, rest, passed..., 3);
      if (kind == FormatArgument::FLOATING) return builtWith(format, rest, passed..., 1.5);
      if (kind == FormatArgument::COUNT) return builtWith(format, rest, passed..., &count);
      return builtWith(format, rest, passed..., kind == FormatArgument::NARROW_TEXT ? "\3abc" : Narrow());
    }
  }
  String text;
  text.build(format.c_str(), passed..., 12345);
  return text;
}

// The check reads the grammar a second time: where it sees a bad directive the engine stops, and what it counts the
// engine takes, so that the next value is the one meant for it.
TEST(CheckedFormatTest, ReadsFormatsAsTheEngineDoes) {
  static constexpr std::string_view PIECES = "%%%%%%dddsscPnfgeuoxXbpilhNLq-+ #0.**12";
  std::mt19937 random(20261123);
  int fitting = 0, bad = 0;
  for (int i = 0; i < 50000; ++i) {
    std::string format;
    for (std::size_t n = random() % 12; n != 0; --n) format += PIECES[random() % PIECES.size()];
    std::vector<FormatArgument> arguments;
    const FormatFault fault = findArguments(format.c_str(), arguments);
    if (arguments.size() > MOST) continue;
    const std::string text = utf8(builtWith(format + "|%d|", arguments));
    if (fault == FormatFault::NONE) {
      ++fitting;
      EXPECT_TRUE(text.ends_with("|12345|")) << format << " gives " << text;
    } else {
      ++bad;
      EXPECT_EQ(fault, FormatFault::BAD_DIRECTIVE) << format;
      EXPECT_EQ(text.find('|'), text.npos) << format << " gives " << text;
    }
  }
  EXPECT_GT(fitting, 5000);
  EXPECT_GT(bad, 5000);
}

TEST(CheckedFormatTest, BuildsAsThePlainOperationDoes) {
  const String wide(u"r\u00f6hre");
  const std::uint16_t* const units = wide.begin();
  std::int32_t count = 0, plainCount = 0;
  String checked, plain;
  buildChecked(checked, "%s|%9ls|%.2s|%s|%Ns|%*Ls|%P%n", wide, WideString(wide), units, nullptr, NatString(wide), -7,
               "bytes", "\3abcd", &count);
  plain.build("%s|%9ls|%.2s|%s|%Ns|%*Ls|%P%n", units, units, units, units - units, NatString(wide).begin(), -7, "bytes",
              "\3abcd", &plainCount);
  EXPECT_EQ(utf8(checked), utf8(plain));
  EXPECT_EQ(count, plainCount);
  EXPECT_NE(count, 0);

  const short small = -1;
  buildChecked(checked, "%d %+d %u %lu %x %lx %#lX %b %c%c %p %hp %.1f %e", small, true, u'\xFFFF', 4000000000u, small,
               small, 0xBEEFu, u'\5', 'x', u'\u00f6', 0x12345678, small, 2.5f, -1.5);
  plain.build("%d %+d %u %lu %x %lx %#lX %b %c%c %p %hp %.1f %e", -1, 1, 0xFFFF, 4000000000u, -1, -1, 0xBEEFu, 5, 'x',
              0xF6, 0x12345678, -1, 2.5, -1.5);
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
  EXPECT_EQ(refusal([&] { buildChecked(text, RuntimeFormat("%d%n"), 5, 6); }), "%d%n");
  EXPECT_EQ(refusal([&] { scanChecked(String("1 abcdef"), RuntimeFormat("%d %s"), number, word); }), "%d %s");
  EXPECT_EQ(refusal([&] { scanChecked(String("1 abcdef"), RuntimeFormat("%d %3s"), number, word); }), "none");
  EXPECT_EQ(number, 1);

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
  const char bytes[2] = {5, 'a'}, counted[2] = {1, 'a'};
  EXPECT_EQ(refusal([&] { buildChecked(text, "%s", units); }), "%s");
  EXPECT_EQ(refusal([&] { buildChecked(text, "%.1s", units); }), "%.1s");
  EXPECT_EQ(refusal([&] { buildChecked(text, "%Ns", counted); }), "%Ns");
  EXPECT_EQ(refusal([&] { buildChecked(text, "%P", bytes); }), "%P");
  EXPECT_EQ(utf8(text), "as before");
  EXPECT_EQ(refusal([&] { buildChecked(text, "%P%Ns", counted, "\5a"); }), "none");
  EXPECT_EQ(utf8(text), "a\5a");
}

}  // namespace
