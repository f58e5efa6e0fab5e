#include "zqcore27/strings/string.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <unordered_set>
#include <vector>

#include "tests/support/text.h"
#include "zqcore27/errors/mem_error.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/nat_string.h"
#include "zqcore27/strings/wide_string.h"

namespace {

using Units = std::vector<std::uint16_t>;

/// Bytes of the block of a string class: size() of the classes themselves counts units.
std::uint32_t blockSize(const MemResizable& s) { return s.size(); }

const std::uint16_t* wide(const char16_t* s) { return reinterpret_cast<const std::uint16_t*>(s); }

TEST(StringTest, OnlyDefaultsAndNullConstructorsAllocateNothing) {
  const std::uint16_t* nullUnits = nullptr;
  const char* nullBytes = nullptr;
  String moved(String{});
  for (const String* s : {new String, new String(nullptr), new String(nullUnits), new String(nullBytes),
                          new String(nullUnits, 5), new String(nullBytes, 5)}) {
    EXPECT_EQ(s->begin(), strNULL);
    EXPECT_EQ(blockSize(*s), 0u);
    delete s;
  }
  String assignedNull;
  assignedNull = nullUnits;
  String copyOfEmpty{String()};
  const String empty;
  for (const String& s : {String(""), String(u""), String(empty), String(strNULL, 0), assignedNull}) {
    EXPECT_NE(s.begin(), strNULL);
    EXPECT_EQ(blockSize(s), 2u);
    EXPECT_EQ(s.size(), 0u);
    EXPECT_EQ(s.begin()[0], 0);
  }
}

TEST(StringTest, BlocksAreExactAndKept) {
  String s("ab", 100);
  EXPECT_EQ(blockSize(s), 202u);
  EXPECT_EQ(utf8(s), "ab");
  s = "cdefg";
  EXPECT_EQ(blockSize(s), 202u);
  String t("abc");
  EXPECT_EQ(blockSize(t), 8u);
  t += u"de";
  EXPECT_EQ(blockSize(t), 12u);
  t += std::uint16_t('f');
  EXPECT_EQ(blockSize(t), 14u);
  t += std::uint16_t(0);
  t += static_cast<const std::uint16_t*>(nullptr);
  EXPECT_EQ(blockSize(t), 14u);
  EXPECT_EQ(utf8(t), "abcdef");
  EXPECT_EQ(t.end() - t.begin(), 7);
  const String counted(wide(u"a\0b"), 3);
  EXPECT_EQ(counted.size(), 3u);
  EXPECT_EQ(utf8(String("ab\0cd", 5)), "ab");
}

TEST(StringTest, ASourceInTheOwnBlockWorks) {
  String s("abc");
  for (int i = 0; i < 3; ++i) s += s;
  EXPECT_EQ(utf8(s), "abcabcabcabcabcabcabcabc");
  s = s.begin() + 20;
  EXPECT_EQ(utf8(s), "cabc" + std::string());
  s += s.begin() + 1;
  EXPECT_EQ(utf8(s), "cabcabc");
  const String same("xyz");
  String t(same);
  t = *&t;
  t = std::move(*&t);
  EXPECT_EQ(utf8(t), "xyz");
  EXPECT_EQ(t.replace(t, t), 1);
  EXPECT_EQ(utf8(t), "xyz");
}

TEST(StringTest, TerminateRefusesWhatDoesNotFit) {
  String empty;
  EXPECT_EQ(empty.terminate(0u), 0u);
  EXPECT_EQ(empty.begin(), strNULL);
  String s("abcdef");
  EXPECT_EQ(s.terminate(7u), 6u);
  EXPECT_EQ(s.terminate(0xFFFFFFFFu), 6u);
  EXPECT_EQ(s.terminate(s.begin() + 7), 6u);
  EXPECT_EQ(s.terminate(s.begin() - 1), 6u);
  EXPECT_EQ(s.terminate(s.begin() + 3), 3u);
  EXPECT_EQ(utf8(s), "abc");
  EXPECT_EQ(s.terminate(6u), 6u);
  EXPECT_EQ(s.size(), 6u);
  EXPECT_EQ(s.terminate(), 3u);
}

TEST(StringTest, ABlockThatWasWrittenFullOrShrunkStaysText) {
  String s("abcdef");
  s[6] = 'y';
  EXPECT_EQ(s.terminate(), 6u);
  EXPECT_EQ(utf8(s), "abcdef");
  s.resize(4);
  EXPECT_EQ(utf8(s), "a");
  s.resize(0);
  EXPECT_EQ(s.begin(), strNULL);
  EXPECT_TRUE(s == "");
  s.resize(6);
  EXPECT_EQ(utf8(s += u"ab"), "ab");
}

TEST(StringTest, WhatFailsOrMovesLeavesText) {
  setACPid(65001);
  String s;
  EXPECT_THROW(s = "ab\xFF", StringError);
  EXPECT_EQ(utf8(s), "ab");
  EXPECT_EQ(s.begin()[2], 0);
  const String taken(std::move(s));
  s += 'x';  // NOLINT: a moved-from text is empty
  EXPECT_EQ(utf8(s), "x");
  String bytes(u"\u6261\u6463");  // "abcd" in the bytes of a little-endian machine
  bytes = reinterpret_cast<const char*>(*bytes);
  EXPECT_EQ(utf8(bytes), "abcd");
  EXPECT_EQ(nullString().size(), 0u);
}

TEST(StringTest, HugeLengthsAreRefusedAndNothingChanges) {
  String s("abc");
  EXPECT_THROW(s.fill(0x7FFFFFFF, 'x'), MemError);
  EXPECT_THROW(s.fill(0xFFFFFFFF, 'x'), MemError);
  EXPECT_THROW(String(wide(u"a"), 0xFFFFFFFFu), MemError);
  EXPECT_THROW(String("a", 0xFFFFFFFFu), MemError);
  EXPECT_EQ(utf8(s), "abc");
  String many, longText;
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
  } ROWS[] = {
      {__LINE__, u"abc", u"abc", 0, 0},
      {__LINE__, u"abc", u"ABC", 65 - 97, 0},
      {__LINE__, u"a", u"B", 66 - 97, 66 - 97},
      {__LINE__, u"ab", u"a", -98, -98},
      {__LINE__, u"a", u"ab", 98, 98},
      {__LINE__, u"", u"", 0, 0},
      {__LINE__, u"i\u0130\u0131I", u"\u0131Ii\u0130", 0x131 - 'i', 0},
      {__LINE__, u"\u03C3", u"\u03C2", -1, 0},
      {__LINE__, u"\uFFFF", u"a", 'a' - 0xFFFF, 'a' - 0xFFFF},
  };
  const String any;
  for (const auto& row : ROWS) {
    SCOPED_TRACE(row.line);
    EXPECT_EQ(any.compare(wide(row.a), wide(row.b), false), row.exact);
    EXPECT_EQ(any.compare(wide(row.a), wide(row.b), true), row.folded);
    EXPECT_EQ(String(row.a) == String(row.b), row.folded == 0);
    EXPECT_EQ(String(row.a) != row.b, row.folded != 0);
    EXPECT_EQ(String(row.a) < String(row.b), row.folded < 0);
    if (row.folded == 0) {
      EXPECT_EQ(std::hash<String>()(String(row.a)), std::hash<String>()(String(row.b)));
    }
    EXPECT_EQ(StringLess()(String(row.a), String(row.b)) || StringLess()(String(row.b), String(row.a)),
              row.folded != 0);
  }
  EXPECT_TRUE(String("a") == String(wide(u"a\0b"), 3));  // comparison ends at a zero unit
  const std::set<String, StringLess> ordered{"b", "A", "a", "C"};
  EXPECT_EQ(ordered.size(), 3u);
  EXPECT_EQ(utf8(*ordered.begin()), "A");
}

TEST(StringTest, OperatorsOfAHostAreNotAmbiguous) {
  String s("abc");
  std::uint16_t* mutableUnits = s.begin();
  EXPECT_TRUE(s == mutableUnits && mutableUnits == s && !(s != mutableUnits));
  EXPECT_TRUE(s == "ABC" && s == u"abc" && s != nullptr && String() == nullptr);
  EXPECT_TRUE(s[1L] == 'b' && s[1] == 'b' && s[1u] == 'b' && s[std::size_t{1}] == 'b');
  const String& readOnly = s;
  readOnly[0] = 'x';
  EXPECT_EQ(utf8(s), "xbc");
  s += 'c';
  s += 0x64;
  s += u'e';
  s += 0;
  EXPECT_EQ(utf8(s), "xbccde");
  std::unordered_set<String> set{"one", "ONE", "two"};
  EXPECT_EQ(set.size(), 2u);
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
  static constexpr struct {
    std::uint16_t unit, lower, upper;
  } ROWS[] = {{'A', 'a', 'A'},          {'@', '@', '@'},          {0x0130, 'i', 'I'},       {0x00FF, 0x00FF, 0x0178},
              {0x00DF, 0x00DF, 0x00DF}, {0x01C5, 0x01C6, 0x01C4}, {0x1E9B, 0x1E61, 0x1E60}, {0x2126, 0x03C9, 0x03A9},
              {0x24B6, 0x24D0, 0x24B6}, {0x1FFC, 0x1FF3, 0x1FFC}, {0x00D7, 0x00D7, 0x00D7}, {0x03A2, 0x03A2, 0x03A2}};
  for (const auto& row : ROWS) {
    EXPECT_EQ(String::chrToLower(row.unit), row.lower) << row.unit;
    EXPECT_EQ(String::chrToUpper(row.unit), row.upper) << row.unit;
  }
}

TEST(NatStringTest, CountsItsTerminator) {
  EXPECT_EQ(NatString(String("ab")).size(), 3u);
  EXPECT_EQ(blockSize(NatString(String("ab"))), 7u);
  NatString n(static_cast<const std::uint16_t*>(nullptr));
  EXPECT_EQ(n.size(), 1u);
  EXPECT_EQ(blockSize(n), 1u);
  n += reinterpret_cast<const unsigned char*>("");
  EXPECT_EQ(blockSize(n), 1u);
  n += reinterpret_cast<const unsigned char*>("abc");
  n += reinterpret_cast<const unsigned char*>(n.begin());
  EXPECT_STREQ(n.begin(), "abcabc");
  EXPECT_EQ(n.size(), 7u);
  EXPECT_EQ(blockSize(n), 7u);
  NatString assigned;
  assigned = n;
  EXPECT_STREQ(assigned.begin(), "abcabc");
  assigned.erase();
  EXPECT_EQ(blockSize(assigned), 1u);
  const NatString moved(std::move(n));
  EXPECT_STREQ(moved.begin(), "abcabc");
  EXPECT_STREQ(n.begin(), "");  // NOLINT: a moved-from text is empty
  EXPECT_EQ(NatString(String(wide(u"a\0b"), 3)).size(), 2u);
}

TEST(WideStringTest, CountsItsTerminator) {
  const WideString w(String("ab"));
  EXPECT_EQ(w.size(), 3u);
  EXPECT_EQ(blockSize(w), 6u);
  const WideString none(static_cast<const std::uint16_t*>(nullptr));
  const WideString copy(none);
  WideString assigned(none);
  assigned = w;
  EXPECT_EQ(assigned.begin()[1], 'b');
  EXPECT_EQ(none.size(), 0u);
  EXPECT_EQ(copy.begin()[0], 0);
  EXPECT_EQ(blockSize(copy), 0u);
}

TEST(StringSearchTest, FindsUnits) {
  const String s("abCb"), empty;
  EXPECT_EQ(s.locateNext('b', 2, false), 3u);
  EXPECT_EQ(s.locateNext('B', 2, true), 3u);
  EXPECT_EQ(s.locateFirst('c', false), String::NOT_FOUND);
  EXPECT_EQ(s.locateFirst('c', true), 2u);
  EXPECT_EQ(s.locateNext(0, 0, false), 4u);
  EXPECT_EQ(s.locateNext(0, 4, false), String::NOT_FOUND);
  EXPECT_EQ(empty.locateNext(0, 0, false), String::NOT_FOUND);
  EXPECT_EQ(s.locateLast('b', false), 3u);
  EXPECT_EQ(s.locateLast(0, false), String::NOT_FOUND);
  EXPECT_EQ(empty.locateLast(0, true), String::NOT_FOUND);
}

TEST(StringSearchTest, FindsTexts) {
  static constexpr struct {
    int line;
    const char *text, *s;
    bool ignoreCase;
    int index;  // -1: null
  } ROWS[] = {
      {__LINE__, "aaab", "aab", false, 1},   {__LINE__, "aaAb", "aab", false, -1}, {__LINE__, "aaAb", "aab", true, 1},
      {__LINE__, "abc", "", false, -1},      {__LINE__, "", "", false, -1},        {__LINE__, "ab", "abc", false, -1},
      {__LINE__, "xabab", "abab", false, 1}, {__LINE__, "aab", "ab", false, 1},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(row.line);
    const String text(row.text);
    const std::uint16_t* found = text.find(String(row.s), row.ignoreCase);
    EXPECT_EQ(found == nullptr ? -1 : found - text.begin(), row.index);
  }
  const String text("abab");
  EXPECT_EQ(text.findNext(String("ab"), text.begin() + 1, false), text.begin() + 2);
  EXPECT_EQ(text.findNext(String("ab"), text.begin() + 5, false), nullptr);
  EXPECT_EQ(text.findNext(String("ab"), text.begin() - 1, false), nullptr);
  EXPECT_EQ(text.find(static_cast<const std::uint16_t*>(nullptr), false), nullptr);
  const String zero(wide(u"a\0b"), 3);
  EXPECT_EQ(zero.find(String("b"), false), nullptr);  // the text ends at a zero unit
}

TEST(StringSearchTest, Replaces) {
  static constexpr struct {
    int line;
    const char *text, *from, *to, *result;
    int count;
  } ROWS[] = {
      {__LINE__, "aaa", "aa", "b", "ba", 1},      {__LINE__, "abc", "x", "y", "abc", 0},
      {__LINE__, "abc", "", "y", "abc", 0},       {__LINE__, "ab", "abc", "", "ab", 0},
      {__LINE__, "aXaX", "X", "aX", "aaXaaX", 2}, {__LINE__, "abab", "ab", "", "", 2},
      {__LINE__, "Aa", "a", "b", "Ab", 1},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(row.line);
    String text(row.text, 40);
    EXPECT_EQ(text.replace(String(row.from), String(row.to)), row.count);
    EXPECT_EQ(utf8(text), row.result);
    EXPECT_EQ(blockSize(text), row.count == 0 ? 82 : 2 * (text.size() + 1));
  }
  String zeros(wide(u"a\0bc\0"), 5);
  EXPECT_EQ(zeros.replace(String("x"), String("y")), 0);
  EXPECT_EQ(zeros.size(), 5u);
  EXPECT_EQ(zeros.replace(String("b"), String("y")), 1);
  EXPECT_EQ(utf8(zeros), "ayc");
  String self("abab");
  EXPECT_EQ(self.replace(String("a"), self), 2);
  EXPECT_EQ(utf8(self), "ababbababb");
}

TEST(StringSearchTest, EditsAndTests) {
  String empty;
  empty.toUpper();
  empty.toLower();
  empty.replaceChars(0, 'x');
  String source("source");
  empty.copyMax(source, 3);
  EXPECT_EQ(empty.begin(), strNULL);
  EXPECT_EQ(strNULL[0], 0);
  String s(wide(u"aB\0z"), 4);
  s.toUpper();
  EXPECT_EQ(utf8(s), std::string("AB\0Z", 4));
  s.replaceChars(0, '-');
  EXPECT_EQ(utf8(s), "AB-Z");
  s.copyMax(source, 2);
  EXPECT_EQ(utf8(s), "so-Z");
  s.fill(3, 'x');
  EXPECT_EQ(utf8(s), "xxx");
  s.fill(3, 0);
  EXPECT_EQ(s.size(), 0u);
  EXPECT_TRUE(String().isBlank() && String(" \t\r\n").isBlank() && String(wide(u"\0 "), 2).isBlank());
  EXPECT_FALSE(String("\v").isBlank());
  EXPECT_TRUE(String().isNumber() && String("0129").isNumber());
  EXPECT_FALSE(String("-1").isNumber() || String(u"\uFF11").isNumber() || String(u"\u0131").isNumber());
}

}  // namespace
