#include "zqcore27/errors/error.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/support/text.h"
#include "zqcore27/catalogue/cstr_error.h"
#include "zqcore27/zqcore27.h"

namespace {

constexpr std::uint32_t CODE = 0xC2000119;

/// Knows one text, `text`, for every handle, or throws.
class FakeCatalogue : public CStr {
 public:
  explicit FakeCatalogue(const char16_t* text) : fText(text) {}
  const std::uint16_t* get(std::uint32_t handle) override {
    ++gets;
    lastHandle = handle;
    if (fails) throw 5;  // anything at all
    return fText.begin();
  }
  int gets = 0;
  std::uint32_t lastHandle = 0;
  bool fails = false;

 private:
  String fText;
};

std::string words(const Error& e, CStr* c) { return utf8(String(e.description(c))); }

TEST(ErrorTest, FixedWordsListTheInserts) {
  FakeCatalogue catalogue(u"text");
  static constexpr struct {
    int line;
    std::uint32_t code;
    bool useCatalogue;
    int inserts;
    const char* words;
  } ROWS[] = {
      {__LINE__, 0, false, 0, "No Error code."},
      {__LINE__, 0, true, 0, "No Error code."},
      {__LINE__, 0, true, 2, "No Error code, replacement strings:a, a, "},
      {__LINE__, CODE, false, 0, "Could not obtain text from Error code."},
      {__LINE__, CODE, false, 1, "Could not obtain text from Error code, replacement strings:a, "},
      {__LINE__, CODE, true, 0, "text"},
      {__LINE__, CODE, true, 3, "text"},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(row.line);
    StringError e(row.code, false);
    for (int i = 0; i < row.inserts; ++i) e.addInsert(String("a"));
    EXPECT_EQ(words(e, row.useCatalogue ? &catalogue : nullptr), row.words);
  }
}

TEST(ErrorTest, InsertsAreBuiltInUpToTen) {
  FakeCatalogue catalogue(u"<\u00131\u00138>");
  for (const int n : {1, 8, 10, 11}) {
    StringError e(CODE, false);
    for (int i = 0; i < n; ++i) e.addInsert(String(i == 0 ? "first" : i == 7 ? "eighth" : "other"));
    const std::string expected = n == 1    ? "<first>"
                                 : n == 11 ? "<\x13"
                                             "1\x13"
                                             "8>"
                                           : "<firsteighth>";
    EXPECT_EQ(words(e, &catalogue), expected) << n;
  }
}

TEST(ErrorTest, WordsAreFetchedOnceAndNotCopiedWithTheError) {
  FakeCatalogue first(u"first"), second(u"second"), none(u"");
  StringError e(CODE, true);
  EXPECT_EQ(words(e, &none), "");  // an empty text leaves it unworded
  EXPECT_EQ(words(e, &first), "first");
  EXPECT_EQ(words(e, &second), "first");
  const StringError copy(e);
  EXPECT_EQ(words(copy, &second), "second");
  StringError assigned(0, false);
  assigned.addInsert(String("gone"));
  assigned = e;
  EXPECT_EQ(words(assigned, &second), "first");
  EXPECT_EQ(assigned.numInserts(), 0);
  EXPECT_TRUE(assigned.fatal() && assigned.code() == CODE);
  StringError source(CODE, false);
  source.addInsert(String("one"));
  source.addInsert(String("two"));
  assigned = source;
  assigned = *&assigned;
  EXPECT_EQ(words(assigned, nullptr), "Could not obtain text from Error code, replacement strings:one, two, ");
  String quoted;
  e.get(quoted, nullptr);
  EXPECT_EQ(utf8(quoted), "\"first\"");
}

TEST(ErrorTest, AFailingCatalogueGivesTheFixedSentence) {
  FakeCatalogue catalogue(u"\u00131");
  catalogue.fails = true;
  StringError e(CODE, false);
  e.addInsert(String("a"));
  EXPECT_EQ(words(e, &catalogue), "Error in obtaining description of previous error.");
  StringError codeless(0, false);
  codeless.addInsert(std::uint32_t{0xC2000106});
  EXPECT_THROW(codeless.description(&catalogue), int);  // the list of a code-less error has no handler
}

TEST(ErrorTest, InsertsAnswerByTheirClass) {
  FakeCatalogue catalogue(u"text");
  StringError inner(CODE, true);
  inner.addInsert(String("deep"));
  StringError e(0, false);
  e.addInsert(String("s"));
  e.addInsert(std::uint32_t{77});
  e.addInsert(inner);
  ASSERT_EQ(e.numInserts(), 3);
  static constexpr struct {
    int type;
    std::uint32_t code;
    int inserts;
    const char* text;
  } ROWS[] = {{0, 65535, 0, "s"}, {1, 77, 0, "text"}, {1, CODE, 1, "text"}};
  for (int i = 0; i < 3; ++i) {
    const std::unique_ptr<ErrorInsert> copy(e.getInsert(i)->duplicate());
    for (ErrorInsert* insert : {e.getInsert(i), copy.get()}) {
      EXPECT_EQ(insert->type(), ROWS[i].type);
      EXPECT_EQ(insert->code(), ROWS[i].code);
      EXPECT_EQ(insert->numInserts(), ROWS[i].inserts);
      EXPECT_EQ(insert->getInsert(0) != nullptr, ROWS[i].inserts != 0);
      EXPECT_EQ(utf8(String(insert->get(&catalogue))), ROWS[i].text);
    }
  }
  EXPECT_EQ(CStrErrorInsert(5).get(nullptr), nullptr);
  StringError withHandle(CODE, false);
  withHandle.addInsert(std::uint32_t{77});
  EXPECT_EQ(words(withHandle, nullptr), "Could not obtain text from Error code, replacement strings:, ");
}

TEST(ErrorTest, AContainerWordsItselfThroughTheCatalogue) {
  FakeCatalogue catalogue(u"from the catalogue");
  CStrError source(CStrError::CSTR_ERR_NO_FILE, "detail", true);
  source.addInsert(String("x"));
  ErrorContainer container(source);
  EXPECT_EQ(container.code(), 7u);
  EXPECT_TRUE(container.fatal());
  EXPECT_STREQ(container.module(), "Constant Strings");
  EXPECT_EQ(container.numInserts(), 1);
  EXPECT_EQ(words(container, &catalogue), "from the catalogue");
  ErrorContainer copy(container);
  EXPECT_STREQ(copy.module(), "Constant Strings");
}

/// Answers another code than it holds, and another result than its flag.
class OtherCode : public StringError {
 public:
  OtherCode() : StringError(CODE, false) {}
  std::uint32_t code() const override { return 77; }
  bool post_process(bool b) override { return !b; }
};

TEST(ErrorTest, TheStoredCodeIsWordedAndTheAnsweredOneIsContained) {
  FakeCatalogue catalogue(u"text");
  OtherCode e;
  e.description(&catalogue);
  EXPECT_EQ(catalogue.lastHandle, CODE);
  EXPECT_EQ(ErrorContainer(e).code(), 77u);
  EXPECT_TRUE(e.process());
}

TEST(ErrorTest, TheFamilyNamesItsModules) {
  const auto check = [](Error&& e, const char* module, std::uint32_t code, bool fatal) {
    EXPECT_STREQ(e.module(), module);
    EXPECT_EQ(e.code(), code);
    EXPECT_EQ(e.fatal(), fatal);
    EXPECT_EQ(e.process(), fatal);
    EXPECT_EQ(e.getfCode(), code);
  };
  check(ToDoError("dropped"), "TO DO!", 0, true);
  check(UnwindError(), "Unwind Error", 0, true);
  check(FpExceptError(FpExceptError::FP_EXCEPT_OVERFLOW), "Floating-point exception", 0, false);
  check(MemError(MemError::HEAP_EXHAUSTED, true), "Memory sub-system", 0xC2000101, true);
  check(StringError(StringError::BAD_UTF8, false), "String System", 0xC200011C, false);
}

}  // namespace
