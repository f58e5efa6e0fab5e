// Substitution and keyword search, over a catalogue that a host might write; and the words of CStrError.

#include "zqcore27/catalogue/cstr.h"

#include <map>

#include "tests/catalogue/catalogue_fixture.h"
#include "zqcore27/catalogue/checked_cstr.h"

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

const String ONE(u"one"), TWO(u"two"), FOUR(u"f\u00f6ur"), EIGHT(u"eight");
const std::uint16_t* const VALUES[] = {ONE.begin(), TWO.begin(), nullptr,       FOUR.begin(), nullptr,
                                       nullptr,     nullptr,     EIGHT.begin(), ONE.begin()};

std::string builtOf(CStr& catalogue) {
  String out("old text, longer than what comes");
  const auto& v = VALUES;
  const std::string failure =
      failureOf([&] { catalogue.build(out, 7, v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], v[8]); });
  return utf8(out) + failure;
}

std::string builtChecked(CStr& catalogue, std::size_t values) {
  String out("old");
  const std::string failure = failureOf([&] { buildChecked(catalogue, out, 7, std::span(VALUES, values)); });
  return utf8(out) + failure;
}

const std::string BAD_PARAMETER = "6!: Invalid substitution parameter ID in CStr string";
const std::string BAD_MARK = BAD_PARAMETER + "Bad call to String(hgCStr->..)";

TEST(CStrTest, PutsValuesWhereTheMarksStand) {
  static constexpr struct {
    const char16_t* text;
    const char* built;
    std::size_t needs;  // values
  } ROWS[] = {{u"", "", 0},
              {u"no marks", "no marks", 0},
              {u"<\u00132>", "<two>", 2},  // the first value is passed over
              {u"<\u00132\u00131\u00132>", "<twoonetwo>", 2},
              {u"\u00132\u00131 1", "twoone 1", 2},  // the digit belongs to the mark, the next doesn't
              {u"[\u00133]", "[]", 3},               // null
              {u"\u00134 \u001312", "f\u00f6ur one2", 4},
              {u"\u00138", "eight", 8},
              {u"\U0001F600\u00131", "\xED\xA0\xBD\xED\xB8\x80one", 1}};
  MapCStr catalogue;
  for (const auto& row : ROWS) {
    catalogue.texts[7] = String(row.text);
    EXPECT_EQ(builtOf(catalogue), row.built);
    for (const std::size_t n : {row.needs, std::size_t{9}}) EXPECT_EQ(builtChecked(catalogue, n), row.built);
    if (row.needs == 0) continue;
    EXPECT_EQ(builtChecked(catalogue, row.needs - 1), "old" + BAD_PARAMETER + ": it lies above the values passed");
  }
  String out("old");
  static_cast<CStr&>(catalogue).build(out, std::uint32_t{7});
  EXPECT_EQ(utf8(out), "\xED\xA0\xBD\xED\xB8\x80") << "no values at all";
  catalogue.build(out, 8, ONE.begin());
  EXPECT_EQ(utf8(out), "") << "a handle without a text";
}

TEST(CStrTest, RefusesAMarkWithoutItsDigit) {
  static constexpr std::pair<const char16_t*, const char*> ROWS[] = {{u"\u00131 and \u00139", "one and "},
                                                                     {u"a\u00130", "a"},
                                                                     {u"at the end\u0013", "at the end"},
                                                                     {u"x\u0013\u00131", "x"}};
  MapCStr catalogue;
  for (const auto& [text, before] : ROWS) {
    catalogue.texts[7] = String(text);
    EXPECT_EQ(builtOf(catalogue), before + BAD_MARK);
    EXPECT_EQ(builtChecked(catalogue, 9), "old" + BAD_MARK);
  }
}

TEST(CStrTest, ChecksTextsOfEveryKind) {
  MapCStr words;
  words.texts[7] = u"\u00131 \u00132 \u00133 \u00134 \u00135";
  String out(u"own");
  buildChecked(words, out, 7, out, WideString(String(u"wide")), u"literal", nullptr, String(u"units").begin());
  const char16_t endless[] = {'a', 'b'};
  EXPECT_THROW(buildChecked(words, out, 7, u"", u"", u"", u"", endless), CStrError);
  EXPECT_EQ(utf8(out), "own wide literal  units");
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
  static constexpr struct {
    std::uint32_t first, last;
    const char16_t* keyword;
    std::uint32_t found;
    int calls;
  } ROWS[] = {{1, 9, u"STOP", 5, 5}, {6, 6, u"\u00e4nderung", 6, 1},
              {1, 9, u"go", 0, 9},   {1, 9, u"", 1, 1},  // no text counts as empty text
              {9, 1, u"stop", 0, 0}, {0xFFFFFFF0, 0xFFFFFFFF, u"last", 0xFFFFFFFF, 16}};
  for (const auto& [first, last, keyword, found, calls] : ROWS) {
    catalogue.calls = 0;
    EXPECT_EQ(catalogue.findKeyword(first, last, String(keyword)), found);
    EXPECT_EQ(catalogue.calls, calls);
  }
}

TEST(CStrErrorTest, WordsItselfWithoutACatalogue) {
  static constexpr std::pair<std::uint32_t, const char*> ROWS[] = {
      {0, "CSTR_ERR_NONE"},
      {1, "Constant strings in Infinite loop"},
      {2, "CStr subsystem not initialized"},
      {9, "Problems loading in the constant string file's header: "},
      {12, "Memory allocation failed: "},
      {16, "Unknown CStr error (code 0x10)"}};
  MapCStr catalogue;
  for (const auto& [number, words] : ROWS) {
    const CStrError e(static_cast<CStrError::ErrorType>(number), "detail", false);
    CStrError assigned(CStrError::CSTR_ERR_NONE, static_cast<const char*>(nullptr), true);
    EXPECT_EQ(utf8(assigned.description(&catalogue)), "CSTR_ERR_NONE");
    assigned = e;
    EXPECT_EQ(failureOf([&] { throw CStrError(assigned); }), std::to_string(number) + ": " + words + "detail");
    EXPECT_EQ(utf8(assigned.description(&catalogue)), std::string(words) + "detail");
  }
  EXPECT_EQ(catalogue.calls, 0);
}

}  // namespace
