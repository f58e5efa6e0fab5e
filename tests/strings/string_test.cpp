#include "zqcore27/strings/string.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <string_view>

#include "tests/support/text.h"
#include "zqcore27/errors/mem_error.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/nat_string.h"
#include "zqcore27/strings/wide_string.h"

namespace {

/// Bytes of the block of a string class: size() of the classes themselves counts units.
std::uint32_t blockSize(const MemResizable& s) { return s.size(); }

/// Text|units|bytes of the block.
std::string state(const String& s) {
  return utf8(s) + "|" + std::to_string(s.size()) + "|" + std::to_string(blockSize(s));
}
std::string state(const NatString& s) {
  return std::string(s.begin()) + "|" + std::to_string(s.size()) + "|" + std::to_string(blockSize(s));
}

const std::uint16_t* wide(const char16_t* s) { return reinterpret_cast<const std::uint16_t*>(s); }

TEST(StringTest, OnlyDefaultsAndNullConstructorsAllocateNothing) {
  const std::uint16_t* nullUnits = nullptr;
  const char* nullBytes = nullptr;
  for (const String* s :
       {new String, new String(nullptr), new String(nullUnits, 5), new String(nullBytes), new String(nullBytes, 5)}) {
    EXPECT_EQ(s->begin(), strNULL);
    EXPECT_EQ(blockSize(*s), 0u);
    delete s;
  }
  String assignedNull;
  assignedNull = nullUnits;
  const String empty;
  for (const String& s : {String(""), String(u""), String(empty), String(strNULL, 0), assignedNull}) {
    EXPECT_NE(s.begin(), strNULL);
    EXPECT_EQ(state(s), "|0|2");
    EXPECT_EQ(s.begin()[0], 0);
  }
}

TEST(StringTest, BlocksAreExactAndKept) {
  String s("ab", 100), t("abc");
  EXPECT_EQ(state(s), "ab|2|202");
  s = "cdefg";
  EXPECT_EQ(state(s), "cdefg|5|202");
  EXPECT_EQ(s.end() - s.begin(), 6);
  EXPECT_EQ(state(t), "abc|3|8");
  t += u"de";
  EXPECT_EQ(state(t), "abcde|5|12");
  t += 'f';
  t += 0;
  t += static_cast<const std::uint16_t*>(nullptr);
  EXPECT_EQ(state(t), "abcdef|6|14");
  EXPECT_EQ(String(wide(u"a\0b"), 3).size(), 3u);
  EXPECT_EQ(utf8(String("ab\0cd", 5)), "ab");
}

TEST(StringTest, ASourceInTheOwnBlockWorks) {
  String s("abc");
  for (int i = 0; i < 3; ++i) s += s;
  s = s.begin() + 20;
  EXPECT_EQ(utf8(s), "cabc");
  s += s.begin() + 1;
  s = *&s;
  s = std::move(*&s);
  EXPECT_EQ(s.replace(s, s), 1);
  EXPECT_EQ(s.replace(String("a"), s), 2);
  EXPECT_EQ(utf8(s), "ccabcabcbccabcabcbc");
  String bytes(u"\u6261\u6463");  // "abcd" in the bytes of a little-endian machine
  bytes = reinterpret_cast<const char*>(*bytes);
  EXPECT_EQ(utf8(bytes), "abcd");
}

TEST(StringTest, TerminateRefusesWhatDoesNotFit) {
  EXPECT_EQ(String().terminate(0u), 0u);
  String s("abcdef");
  s[6] = 'y';  // written full
  EXPECT_EQ(s.terminate(), 6u);
  EXPECT_EQ(utf8(s), "abcdef");
  for (const unsigned n : {7u, 0xFFFFFFFFu}) EXPECT_EQ(s.terminate(n), 6u);
  for (const int n : {7, -1}) EXPECT_EQ(s.terminate(s.begin() + n), 6u);
  EXPECT_EQ(s.terminate(s.begin() + 3), 3u);
  EXPECT_EQ(utf8(s), "abc");
  EXPECT_EQ(s.terminate(6u), 6u);
  EXPECT_EQ(s.terminate(), 3u);
}

TEST(StringTest, WhatShrinksFailsOrMovesLeavesText) {
  setACPid(65001);
  String s("abcdef");
  s.resize(4);
  EXPECT_EQ(utf8(s), "a");
  s.resize(0);
  EXPECT_EQ(s.begin(), strNULL);
  EXPECT_THROW(s = "ab\xFF", StringError);
  EXPECT_EQ(utf8(s), "ab");
  EXPECT_EQ(s.begin()[2], 0);
  const String taken(std::move(s));
  s += 'x';  // NOLINT: a moved-from text is empty
  EXPECT_EQ(utf8(s), "x");
  EXPECT_EQ(nullString().size(), 0u);
}

TEST(StringTest, HugeLengthsAreRefusedAndNothingChanges) {
  String s("abc"), many, longText;
  EXPECT_THROW(s.fill(0x7FFFFFFF, 'x'), MemError);
  EXPECT_THROW(s.fill(0xFFFFFFFF, 'x'), MemError);
  EXPECT_THROW(String(wide(u"a"), 0xFFFFFFFFu), MemError);
  EXPECT_THROW(String("a", 0xFFFFFFFFu), MemError);
  EXPECT_EQ(utf8(s), "abc");
  many.fill(65536, 'x');
  longText.fill(65537, 'y');
  EXPECT_THROW(many.replace(String("x"), longText), MemError);
  EXPECT_EQ(many.size(), 65536u);
}

TEST(StringTest, ComparisonSubtractsTheStoredUnitsSecondMinusFirst) {
  static constexpr struct {
    int line;
    const char16_t *a, *b;
    int exact, folded;
  } ROWS[] = {{__LINE__, u"abc", u"ABC", 65 - 97, 0},
              {__LINE__, u"a", u"B", 66 - 97, 66 - 97},
              {__LINE__, u"ab", u"a", -98, -98},
              {__LINE__, u"a", u"ab", 98, 98},
              {__LINE__, u"", u"", 0, 0},
              {__LINE__, u"i\u0130\u0131I", u"\u0131Ii\u0130", 0x131 - 'i', 0},
              {__LINE__, u"\u03C3", u"\u03C2", -1, 0},
              {__LINE__, u"\uFFFF", u"a", 'a' - 0xFFFF, 'a' - 0xFFFF}};
  for (const auto& row : ROWS) {
    SCOPED_TRACE(row.line);
    const String a(row.a), b(row.b);
    EXPECT_EQ(a.compare(a.begin(), b.begin(), false), row.exact);
    EXPECT_EQ(a.compare(a.begin(), b.begin(), true), row.folded);
    EXPECT_EQ(a == b, row.folded == 0);
    EXPECT_EQ(a != row.b, row.folded != 0);
    EXPECT_EQ(a < b, row.folded < 0);
    EXPECT_EQ(std::hash<String>()(a) == std::hash<String>()(b), row.folded == 0);
    EXPECT_EQ(StringLess()(a, b) || StringLess()(b, a), row.folded != 0);
  }
  EXPECT_TRUE(String("a") == String(wide(u"a\0b"), 3));  // comparison ends at a zero unit
  EXPECT_EQ(utf8(*std::set<String, StringLess>{"b", "A", "a", "C"}.begin()), "A");
}

TEST(StringTest, OperatorsOfAHostAreNotAmbiguous) {
  String s("abc");
  std::uint16_t* mutableUnits = s.begin();
  EXPECT_TRUE(s == mutableUnits && mutableUnits == s && !(s != mutableUnits));
  EXPECT_TRUE(s == "ABC" && s == u"abc" && s != nullptr && String() == nullptr);
  EXPECT_TRUE(s[1L] == 'b' && s[1] == 'b' && s[1u] == 'b' && s[std::size_t{1}] == 'b');
}

TEST(StringTest, CaseMapsHaveTheirPairsAndVariants) {
  int lowered = 0, raised = 0;
  for (unsigned c = 0; c <= 0xFFFF; ++c) {
    const auto unit = static_cast<std::uint16_t>(c);
    const std::uint16_t lower = String::chrToLower(unit), upper = String::chrToUpper(unit);
    lowered += lower != unit;
    raised += upper != unit;
    if (lower != unit && upper == unit) {
      EXPECT_EQ(String::chrToUpper(lower), unit) << c;  // a pair
    }
  }
  EXPECT_EQ(lowered, 712);
  EXPECT_EQ(raised, 712);
  static constexpr std::uint16_t ROWS[][3] = {
      {'A', 'a', 'A'},          {'@', '@', '@'},          {0x0130, 'i', 'I'},       {0x00FF, 0x00FF, 0x0178},
      {0x00DF, 0x00DF, 0x00DF}, {0x01C5, 0x01C6, 0x01C4}, {0x1E9B, 0x1E61, 0x1E60}, {0x2126, 0x03C9, 0x03A9},
      {0x24B6, 0x24D0, 0x24B6}, {0x1FFC, 0x1FF3, 0x1FFC}, {0x00D7, 0x00D7, 0x00D7}, {0x03A2, 0x03A2, 0x03A2}};
  for (const auto& [unit, lower, upper] : ROWS) {
    EXPECT_EQ(String::chrToLower(unit), lower) << unit;
    EXPECT_EQ(String::chrToUpper(unit), upper) << unit;
  }
}

TEST(NatStringTest, CountsItsTerminator) {
  NatString n(static_cast<const std::uint16_t*>(nullptr)), assigned;
  n += reinterpret_cast<const unsigned char*>("");
  EXPECT_EQ(state(n), "|1|1");
  n += reinterpret_cast<const unsigned char*>("abc");
  n += reinterpret_cast<const unsigned char*>(n.begin());
  EXPECT_EQ(state(n), "abcabc|7|7");
  assigned = n;
  EXPECT_EQ(state(assigned), "abcabc|7|7");
  assigned.erase();
  EXPECT_EQ(blockSize(assigned), 1u);
  EXPECT_EQ(state(NatString(std::move(n))), "abcabc|7|7");
  EXPECT_STREQ(n.begin(), "");  // NOLINT: a moved-from text is empty
  EXPECT_EQ(blockSize(NatString(String("ab"))), 7u);
  EXPECT_EQ(NatString(String(wide(u"a\0b"), 3)).size(), 2u);
}

TEST(WideStringTest, CountsItsTerminator) {
  const WideString w(String("ab")), none(static_cast<const std::uint16_t*>(nullptr)), copy(none);
  WideString assigned(none);
  assigned = w;
  EXPECT_EQ(assigned.size(), 3u);
  EXPECT_EQ(blockSize(assigned), 6u);
  EXPECT_EQ(assigned.begin()[1], 'b');
  EXPECT_EQ(none.size(), 0u);
  EXPECT_EQ(copy.begin()[0], 0);
  EXPECT_EQ(blockSize(copy), 0u);
}

// Over so few characters that there are matches of every kind.
TEST(StringSearchTest, AgreesWithTheStandardLibrary) {
  std::mt19937 random(20240701);
  const auto any = [&random](std::size_t most) {
    std::u16string text(random() % (most + 1), 'a');
    for (char16_t& c : text) c = u"aaAb"[random() % 4];
    return text;
  };
  const auto folded = [](std::u16string text, bool fold) {
    if (fold) std::replace(text.begin(), text.end(), u'A', u'a');
    return text;
  };
  for (int i = 0; i < 4000; ++i) {
    const std::u16string t = any(9), s = any(3), to = any(3);
    const String text{std::u16string_view(t)};
    const bool fold = random() % 2 != 0;
    const std::size_t from = random() % 12;
    SCOPED_TRACE(utf8(text) + ", " + utf8(String(s)) + ", from " + std::to_string(from) + (fold ? ", folded" : ""));
    const std::u16string key = folded(t, fold), part = folded(s, fold);
    const std::size_t at = s.empty() ? t.npos : key.find(part, from);
    EXPECT_EQ(text.findNext(String(s), text.begin() + from, fold), at == t.npos ? nullptr : text.begin() + at);
    const char16_t c = folded(u"A", fold)[0];
    EXPECT_EQ(text.locateNext('A', static_cast<unsigned>(from), fold), static_cast<std::uint32_t>(key.find(c, from)));
    EXPECT_EQ(text.locateLast('A', fold), static_cast<std::uint32_t>(key.rfind(c)));
    std::u16string replaced = t;
    int count = 0;
    for (std::size_t p = 0; !s.empty() && (p = replaced.find(s, p)) != t.npos; p += to.size(), ++count) {
      replaced.replace(p, s.size(), to);
    }
    String edited(text);
    edited.resize(42);  // room behind the text
    EXPECT_EQ(edited.replace(String(s), String(to)), count);
    EXPECT_EQ(utf8(edited), utf8(String(replaced)));
    EXPECT_EQ(blockSize(edited), count == 0 ? 42 : 2 * (edited.size() + 1));
  }
}

TEST(StringSearchTest, TheEndsOfATextAndZeroUnits) {
  const String text("abab"), empty, zero(wide(u"a\0b"), 3);
  EXPECT_EQ(text.locateFirst('B', true), 1u);
  EXPECT_EQ(text.locateNext(0, 0, false), 4u);
  EXPECT_EQ(text.locateNext(0, 4, false), String::NOT_FOUND);
  EXPECT_EQ(text.locateLast(0, false), String::NOT_FOUND);
  EXPECT_EQ(empty.locateNext(0, 0, false), String::NOT_FOUND);
  EXPECT_EQ(empty.locateLast(0, true), String::NOT_FOUND);
  for (const int from : {-1, 5}) EXPECT_EQ(text.findNext(String("ab"), text.begin() + from, false), nullptr);
  EXPECT_EQ(text.find(static_cast<const std::uint16_t*>(nullptr), false), nullptr);
  EXPECT_EQ(text.find(String("b"), false), text.begin() + 1);
  EXPECT_EQ(zero.find(String("b"), false), nullptr);  // the text ends at a zero unit
  String zeros(wide(u"a\0bc\0"), 5);
  EXPECT_EQ(zeros.replace(String("x"), String("y")), 0);
  EXPECT_EQ(zeros.size(), 5u);
  EXPECT_EQ(zeros.replace(String("b"), String("y")), 1);
  EXPECT_EQ(utf8(zeros), "ayc");
}

TEST(StringSearchTest, EditsAndTests) {
  String empty, source("source"), s(wide(u"aB\0z"), 4);
  empty.toUpper();
  empty.toLower();
  empty.replaceChars(0, 'x');
  empty.copyMax(source, 3);
  EXPECT_EQ(empty.begin(), strNULL);
  EXPECT_EQ(strNULL[0], 0);
  s.toUpper();
  EXPECT_EQ(utf8(s), std::string("AB\0Z", 4));
  s.toLower();
  s.replaceChars(0, '-');
  EXPECT_EQ(utf8(s), "ab-z");
  s.copyMax(source, 2);
  EXPECT_EQ(utf8(s), "so-z");
  s.fill(3, 'x');
  EXPECT_EQ(utf8(s), "xxx");
  s.fill(3, 0);
  EXPECT_EQ(s.size(), 0u);
  EXPECT_TRUE(String().isBlank() && String(" \t\r\n").isBlank() && String(wide(u"\0 "), 2).isBlank());
  EXPECT_FALSE(String("\v").isBlank());
  EXPECT_TRUE(String().isNumber() && String("0129").isNumber());
  for (const char16_t* other : {u"/", u":", u"1x", u"\uFF11"}) EXPECT_FALSE(String(other).isNumber());
}

}  // namespace
