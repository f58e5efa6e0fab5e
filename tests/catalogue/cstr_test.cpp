// Substitution and keyword search, over a catalogue that a host might write; and the words of CStrError.

#include "zqcore27/catalogue/cstr.h"

#include <gtest/gtest.h>

#include <map>

#include "tests/support/text.h"
#include "zqcore27/catalogue/cstr_error.h"
#include "zqcore27/errors/error_container.h"

namespace {

class MapCStr : public CStr {
 public:
  const std::uint16_t* get(std::uint32_t handle) override {
    ++calls;
    const auto found = texts.find(handle);
    return found == texts.end() ? nullptr : found->second.begin();
  }
  std::map<std::uint32_t, String> texts;
  int calls = 0;
};

TEST(CStrTest, PutsValuesWhereTheMarksStand) {
  static const struct {
    int line;
    const char16_t* text;
    const char* built;
  } ROWS[] = {{__LINE__, u"no marks", "no marks"},
              {__LINE__, u"", ""},
              {__LINE__, u"\u00131", "one"},
              {__LINE__, u"<\u00132>", "<two>"},  // the first value is passed over
              {__LINE__, u"\u00131 and \u00131", "one and one"},
              {__LINE__, u"\u00132\u00131 1", "twoone 1"},  // the digit belongs to the mark, the next doesn't
              {__LINE__, u"[\u00133]", "[]"},               // null
              {__LINE__, u"\u00134 \u001312", "f\u00f6ur one2"},
              {__LINE__, u"a\u00135b\u00138c", "abc"},  // above the values passed
              {__LINE__, u"\U0001F600\u00131", "\xED\xA0\xBD\xED\xB8\x80one"}};
  MapCStr catalogue;
  const String one(u"one"), two(u"two"), four(u"f\u00f6ur");
  const std::uint16_t* none = nullptr;
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    catalogue.texts[7] = String(row.text);
    String out("old text, longer than what comes");
    catalogue.build(out, 7, one.begin(), two.begin(), none, four.begin());
    EXPECT_EQ(utf8(out), row.built);
  }
  catalogue.texts[7] = u"\u00131";
  String out("old");
  catalogue.texts[7] = String(u"\u00131");
  CStr& front = catalogue;
  front.build(out, std::uint32_t{7});
  EXPECT_EQ(utf8(out), "") << "no values at all";
  catalogue.build(out, 8, one.begin());
  EXPECT_EQ(utf8(out), "") << "a handle without a text";
}

TEST(CStrTest, EightValuesReachAText) {
  MapCStr catalogue;
  catalogue.texts[1] = u"\u00138\u00137\u00136\u00135\u00134\u00133\u00132\u00131";
  const String v[] = {u"a", u"b", u"c", u"d", u"e", u"f", u"g", u"h"};
  String out;
  catalogue.build(out, 1, v[0].begin(), v[1].begin(), v[2].begin(), v[3].begin(), v[4].begin(), v[5].begin(),
                  v[6].begin(), v[7].begin());
  EXPECT_EQ(utf8(out), "hgfedcba");
}

TEST(CStrTest, RefusesAMarkWithoutItsDigit) {
  static const struct {
    int line;
    const char16_t* text;
    const char* before;
  } ROWS[] = {{__LINE__, u"\u00131 and \u00139", "one and "},
              {__LINE__, u"a\u00130", "a"},
              {__LINE__, u"at the end\u0013", "at the end"},
              {__LINE__, u"\u0013", ""},
              {__LINE__, u"x\u0013\u00131", "x"},
              {__LINE__, u"\u0013\u0131", ""}};  // a letter whose low byte is a digit
  MapCStr catalogue;
  const String one(u"one");
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    catalogue.texts[7] = String(row.text);
    String out("old");
    try {
      catalogue.build(out, 7, one.begin());
      ADD_FAILURE() << "built " << utf8(out);
    } catch (const CStrError& e) {
      EXPECT_EQ(e.code(), CStrError::CSTR_ERR_BAD_PARAMETER);
      EXPECT_TRUE(e.fatal());
      EXPECT_EQ(utf8(String(e.description(nullptr))),
                "Invalid substitution parameter ID in CStr stringBad call to String(hgCStr->..)");
    }
    EXPECT_EQ(utf8(out), row.before);
  }
}

TEST(CStrTest, ValuesAndTextMayLieInTheTarget) {
  MapCStr catalogue;
  catalogue.texts[1] = u"twice: \u00131\u00131";
  String out("value");
  catalogue.build(out, 1, out.begin());
  EXPECT_EQ(utf8(out), "twice: valuevalue");
  String& text = catalogue.texts[1];
  catalogue.build(text, 1, out.begin());
  EXPECT_EQ(utf8(text), "twice: twice: valuevaluetwice: valuevalue");
}

TEST(CStrTest, FindsTheFirstKeywordOfARange) {
  MapCStr catalogue;
  catalogue.texts = {{0, u"zero"}, {5, u"Stop"}, {6, u"\u00c4nderung"}, {7, u"stop"}, {9, u""}, {0xFFFFFFFF, u"Last"}};
  static const struct {
    int line;
    std::uint32_t first, last;
    const char16_t* keyword;
    std::uint32_t found;
    int calls;
  } ROWS[] = {{__LINE__, 1, 9, u"STOP", 5, 5},
              {__LINE__, 6, 7, u"stop", 7, 2},  // the last one is included
              {__LINE__, 6, 6, u"\u00e4nderung", 6, 1},
              {__LINE__, 1, 9, u"go", 0, 9},
              {__LINE__, 1, 9, u"", 1, 1},  // no text counts as empty text
              {__LINE__, 9, 1, u"stop", 0, 0},
              {__LINE__, 0, 3, u"zero", 0, 1},  // found, yet as not found
              {__LINE__, 0xFFFFFFF0, 0xFFFFFFFF, u"last", 0xFFFFFFFF, 16},
              {__LINE__, 0xFFFFFFF0, 0xFFFFFFFF, u"go", 0, 16}};
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    catalogue.calls = 0;
    EXPECT_EQ(catalogue.findKeyword(row.first, row.last, String(row.keyword)), row.found);
    EXPECT_EQ(catalogue.calls, row.calls);
  }
}

TEST(CStrErrorTest, WordsItselfWithoutACatalogue) {
  static const struct {
    int line;
    std::uint32_t number;
    const char* words;
  } ROWS[] = {{__LINE__, 0, "CSTR_ERR_NONE"},
              {__LINE__, 1, "Constant strings in Infinite loop"},
              {__LINE__, 2, "CStr subsystem not initialized"},
              {__LINE__, 3, "CStr string not found"},
              {__LINE__, 4, "CStr handle out of range"},
              {__LINE__, 5, "CStr handle invalid"},
              {__LINE__, 6, "Invalid substitution parameter ID in CStr string"},
              {__LINE__, 7, "Failed to open the constant string file - it probably isn't there: "},
              {__LINE__, 8, "The constant string file's too small to hold any strings: "},
              {__LINE__, 9, "Problems loading in the constant string file's header: "},
              {__LINE__, 10, "The constant string file isn't the correct size: "},
              {__LINE__, 11, "The index in the constant string file is out of order: "},
              {__LINE__, 12, "Memory allocation failed: "},
              {__LINE__, 13, "Seek in the constant string file failed: "},
              {__LINE__, 14, "Read to the constant string file failed: "},
              {__LINE__, 15, "Constant string file's header was bad"},
              {__LINE__, 16, "Unknown CStr error (code 0x10)"},
              {__LINE__, 0xFFFFABCD, "Unknown CStr error (code 0xFFFFABCD)"}};
  MapCStr catalogue;
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    const CStrError e(static_cast<CStrError::ErrorType>(row.number), "detail", false);
    EXPECT_EQ(e.code(), row.number);
    const std::string expected = std::string(row.words) + "detail";
    EXPECT_EQ(utf8(String(e.description(nullptr))), expected);
    EXPECT_EQ(utf8(String(e.description(&catalogue))), expected) << "the second time";
    EXPECT_EQ(catalogue.calls, 0);
    const CStrError copy(e);
    CStrError assigned(CStrError::CSTR_ERR_NONE, static_cast<const char*>(nullptr), true);
    EXPECT_EQ(utf8(String(assigned.description(nullptr))), "CSTR_ERR_NONE");
    assigned = e;
    EXPECT_EQ(utf8(String(copy.description(nullptr))), expected);
    EXPECT_EQ(utf8(String(assigned.description(nullptr))), expected);
    EXPECT_FALSE(assigned.fatal());
  }
}

TEST(CStrErrorTest, KeepsItsNumberButNotItsWordsInAContainer) {
  MapCStr catalogue;
  catalogue.texts[7] = u"seven";
  const ErrorContainer held(CStrError(CStrError::CSTR_ERR_NO_FILE, String("x"), false));
  EXPECT_EQ(held.code(), 7u);
  EXPECT_STREQ(held.module(), "Constant Strings");
  EXPECT_EQ(utf8(String(held.description(&catalogue))), "seven");
}

}  // namespace
