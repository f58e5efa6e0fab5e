#include "zqcore27/strings/string.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/text.h"
#include "zqcore27/errors/mem_error.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/print_to.h"

namespace {

/// Bytes of the block of a string class: size() of the classes themselves counts units.
std::uint32_t blockSize(const MemResizable& s) { return s.size(); }

/// Text|units|bytes of the block.
template <class Text>
std::string state(const Text& s, const std::string& text) {
  return text + "|" + std::to_string(s.size()) + "|" + std::to_string(blockSize(s));
}
std::string state(const String& s) { return state(s, utf8(s)); }
std::string state(const NatString& s) { return state(s, s.begin()); }
std::string state(const WideString& s) { return state(s, utf8(String(s.begin()))); }

const std::uint16_t* wide(const char16_t* s) { return reinterpret_cast<const std::uint16_t*>(s); }
const std::uint16_t* const NO_UNITS = nullptr;
const char* const NO_BYTES = nullptr;

TEST(StringTest, BlocksAreExactAndKept) {
  for (const String& s : {String(), String(nullptr), String(NO_UNITS, 5), String(NO_BYTES), String(NO_BYTES, 5)}) {
    EXPECT_EQ(state(s), "|0|0");
    EXPECT_EQ(s.begin(), strNULL);
  }
  String s("ab", 100), t("abc"), none, assignedNull;
  assignedNull = NO_UNITS;
  for (const String& empty : {String(""), String(u""), String(none), String(strNULL, 0), assignedNull}) {
    EXPECT_EQ(state(empty), "|0|2");
    EXPECT_EQ(empty.begin()[0], 0);
  }
  EXPECT_EQ(state(s), "ab|2|202");
  s = "cdefg";
  EXPECT_EQ(state(s), "cdefg|5|202");
  EXPECT_EQ(state(t), "abc|3|8");
  t += u"de";
  EXPECT_EQ(state(t), "abcde|5|12");
  t += 'f';
  t += 0;
  EXPECT_EQ(state(t), "abcdef|6|14");
  EXPECT_EQ(String(wide(u"a\0b"), 3).size(), 3u);
  EXPECT_EQ(utf8(String("ab\0cd", 5)), "ab");
}

TEST(StringTest, ASourceInTheOwnBlockWorks) {
  String s("abc"), bytes(u"\u6261\u6463");  // "abcd" in the bytes of a little-endian machine
  s += s.begin() + 1;
  s = *&s;
  s = std::move(*&s);
  EXPECT_EQ(utf8(s), "abcbc");
  bytes = reinterpret_cast<const char*>(*bytes);
  EXPECT_EQ(utf8(bytes), "abcd");
}

TEST(StringTest, WhatEndsShrinksFailsOrMovesLeavesText) {
  EXPECT_EQ(String().terminate(0u), 0u);
  String s("abcdef");
  s[6] = 'y';  // written full
  EXPECT_EQ(s.terminate(), 6u);
  EXPECT_EQ(s.terminate(7u), 6u);
  for (const int n : {7, -1}) EXPECT_EQ(s.terminate(s.begin() + n), 6u);
  EXPECT_EQ(s.terminate(s.begin() + 3), 3u);
  EXPECT_EQ(utf8(s), "abc");
  for (const auto& [bytes, text] : {std::pair{8, "abc|3|8"}, {6, "ab|2|6"}, {4, "a|1|4"}, {1, "|0|0"}}) {
    s.resize(static_cast<unsigned>(bytes));
    EXPECT_EQ(state(s), text);
  }
  EXPECT_EQ(s.begin(), strNULL);
  setACPid(65001);
  EXPECT_THROW(s = "ab\xFF", StringError);
  EXPECT_EQ(utf8(s), "ab");
  EXPECT_EQ(s.begin()[2], 0);
  const String taken(std::move(s));
  s += 'x';  // NOLINT: a moved-from text is empty
  EXPECT_EQ(utf8(s), "x");

  // Huge lengths are refused, and nothing changes.
  String many, longText;
  for (const unsigned n : {0x7FFFFFFFu, 0xFFFFFFFFu}) EXPECT_THROW(s.fill(n, 'x'), MemError);
  EXPECT_THROW(String("a", 0xFFFFFFFFu), MemError);
  EXPECT_EQ(utf8(s), "x");
  many.fill(65536, 'x');
  longText.fill(65537, 'y');
  EXPECT_THROW(many.replace(String("x"), longText), MemError);
  EXPECT_EQ(many.size(), 65536u);
}

TEST(StringTest, OperatorsOfAHostAreNotAmbiguous) {
  String s("abc");
  std::uint16_t* mutableUnits = s.begin();
  EXPECT_TRUE(s == mutableUnits && mutableUnits == s && !(s != mutableUnits));
  EXPECT_TRUE(s == "ABC" && s == u"abc" && s != nullptr && String() == nullptr);
  EXPECT_TRUE(String("abd") < s && !(s < "abd") && !(s < "ABC")) << "compare is second minus first";
  EXPECT_TRUE(s[1L] == 'b' && s[1] == 'b' && s[1u] == 'b' && s[std::size_t{1}] == 'b');
}

TEST(NatStringTest, CountsItsTerminatorAsWideStringDoes) {
  NatString n(NO_UNITS), assigned;
  n += reinterpret_cast<const unsigned char*>("abc");
  n += reinterpret_cast<const unsigned char*>(n.begin());
  EXPECT_EQ(state(n), "abcabc|7|7");
  assigned = n;
  EXPECT_EQ(state(assigned), "abcabc|7|7");
  EXPECT_EQ(state(NatString(std::move(n))), "abcabc|7|7");
  EXPECT_STREQ(n.begin(), "");  // NOLINT: a moved-from text is empty
  for (const NatString& made : {NatString(String("ab")), NatString(wide(u"ab"))}) EXPECT_EQ(state(made), "ab|3|7");
  EXPECT_EQ(NatString(String(wide(u"a\0b"), 3)).size(), 2u);

  const WideString w(String("ab")), none(NO_UNITS);
  WideString wideAssigned(none);
  wideAssigned = w;
  EXPECT_EQ(state(wideAssigned), "ab|3|6");
  EXPECT_EQ(state(WideString(std::move(wideAssigned))), "ab|3|6");
  EXPECT_EQ(state(none), "|0|0");
}

// What a search finds otherwise, and what changes make of a text, is held against plain loops by a fuzz target.
TEST(StringSearchTest, EndsOfTextsAndOfBlocks) {
  const String text("abab"), other("abab"), part("ab");
  EXPECT_EQ(text.findNext(part, text.end() - 1, false), nullptr);
  EXPECT_EQ(text.findNext(part, other.begin(), false), nullptr);  // in front of it or behind it,
  EXPECT_EQ(other.findNext(part, text.begin(), false), nullptr);  // and the other way round
  EXPECT_EQ(text.find(NO_UNITS, false), nullptr);
  EXPECT_EQ(text.locateNext(0, 4, false), String::NOT_FOUND);
  String zeros(wide(u"a\0bc\0"), 5);
  EXPECT_EQ(zeros.replace(String("x"), String("y")), 0);
  EXPECT_EQ(zeros.size(), 5u);
  zeros.resize(42);  // room behind the text
  EXPECT_EQ(zeros.replace(String("b"), String("y")), 1);
  EXPECT_EQ(state(zeros), "ayc|3|8");

  String empty, source("source"), s("aBcz");
  empty.toUpper();
  empty.replaceChars(0, 'x');
  empty.copyMax(source, 3);
  EXPECT_TRUE(empty.begin() == strNULL && strNULL[0] == 0);
  s.copyMax(source, 2);
  EXPECT_EQ(utf8(s), "socz");
  EXPECT_TRUE(String(" \t\r\n").isBlank() && !String("\v").isBlank() && String("0129").isNumber());
  for (const char16_t* digits : {u"/", u":", u"1x", u"\uFF11"}) EXPECT_FALSE(String(digits).isNumber());
}

// What texts give otherwise is held against a decoder of its own by a fuzz target.
TEST(StringTest, UTF8ComesInBlocksOfExactSizeFromAnySource) {
  String s(u"x\uA9C3z");  // holds the source that follows
  s.buildfromUTF8(reinterpret_cast<const unsigned char*>(s.begin() + 1));
  EXPECT_EQ(utf8(s), "\u00E9z");
  NatString out;
  s.toUTF8(out);
  EXPECT_EQ(state(out), "\u00E9z|4|4");
  s.buildfromUTF8(nullptr, 0);  // nothing is read
  EXPECT_EQ(s.begin(), strNULL);

  // The prefix before an error stays; the second ends at the end of a block.
  const std::string block = "0123456789abcdef0123456789abcde";
  for (const auto& [in, prefix] :
       {std::pair{std::string("ab\xE2\x82"), std::string("ab")}, {block + "\xC3", block}, {"\xF0\x9F\x98\x80", ""}}) {
    SCOPED_TRACE(testing::PrintToString(in));
    const std::vector<unsigned char> exact(in.begin(), in.end());  // so that a sanitizer sees a read past the end
    EXPECT_THROW(s.buildfromUTF8(exact.data(), static_cast<unsigned>(exact.size())), StringError);
    EXPECT_EQ(utf8(s), prefix);
    EXPECT_EQ(s.MemResizable::size(), prefix.empty() ? 0 : 2 * prefix.size() + 2);
  }
}

TEST(StringTest, BlocksAreClearBehindNativeText) {
  setACPid(65001);
  const std::string bytes = "\xC3\xA4, \xC3\xB6, \xC3\xBC: a block that is longer than what the bytes come to";
  { const String used(std::u16string(bytes.size(), u'x')); }  // what the heap gives next isn't clear
  const String s(bytes.c_str());
  const MemResizable& block = s;
  EXPECT_EQ(block.size(), 2 * (bytes.size() + 1));
  for (unsigned i = 2 * s.size(); i < block.size(); ++i) EXPECT_EQ(block[i], 0) << i;
  setACPid(0);
}

TEST(PrintTest, TestsShowWhatStreamsHide) {
  setACPid(65001);
  const String text(u"gr\u00fc\u00df \u20ac \"\\\n\t\u007f\u0085b\ufeff");
  const auto check = [](const auto& t) {
    std::ostringstream streamed;
    streamed << t;
    EXPECT_EQ(streamed.str(), "gr\u00fc\u00df \u20ac \"\\\n\t\x7f\u0085b\ufeff");
    EXPECT_EQ(testing::PrintToString(t),
              "\"gr\u00fc\u00df \u20ac "
              R"(\"\\\n\u0009\u007f\u0085b\ufeff")");
  };
  check(text);
  check(WideString(text));
  check(NatString(text));
  EXPECT_EQ(testing::PrintToString(String(std::u16string_view(u"a\0b\xd83d\xde00", 5))), R"("a\u0000b\ud83d\ude00")");
  setACPid(0);
}

}  // namespace
