#include "zqcore27/errors/error.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

#include "tests/support/text.h"
#include "zqcore27/catalogue/cstr_error.h"
#include "zqcore27/zqcore27.h"

namespace {

constexpr std::uint32_t CODE = 0xC2000119;

/// Knows one text for every handle; without one it throws.
struct FakeCatalogue : CStr {
  explicit FakeCatalogue(const char16_t* words) : text(words), fails(words == nullptr) {}
  const std::uint16_t* get(std::uint32_t handle) override {
    lastHandle = handle;
    if (fails) throw 5;  // anything at all
    return text.begin();
  }
  String text;
  bool fails;
  std::uint32_t lastHandle = 0;
};

std::string words(const Error& e, CStr* c) { return utf8(String(e.description(c))); }

TEST(ErrorTest, WordsComeFromTheCatalogueOrAreFixed) {
  FakeCatalogue plain(u"text"), marked(u"<\u00131\u00138>"), failing(nullptr), broken(u"<\u00139");
  const struct {
    std::uint32_t code;
    CStr* catalogue;
    int inserts;  // "1", "2" and so on
    const char* words;
  } ROWS[] = {
      {0, &plain, 0, "No Error code."},
      {0, &plain, 2, "No Error code, replacement strings:1, 2, "},
      {CODE, nullptr, 0, "Could not obtain text from Error code."},
      {CODE, nullptr, 1, "Could not obtain text from Error code, replacement strings:1, "},
      {CODE, &plain, 0, "text"},
      {CODE, &marked, 1, "<1>"},
      {CODE, &marked, 10, "<18>"},
      {CODE, &marked, 11, "<\0231\0238>"},
      {CODE, &failing, 1, "Error in obtaining description of previous error."},
      {CODE, &broken, 1, "Error in obtaining description of previous error."},
  };
  for (const auto& row : ROWS) {
    StringError e(row.code, false);
    for (int i = 1; i <= row.inserts; ++i) e.addInsert(String(std::to_string(i).c_str()));
    EXPECT_EQ(words(e, row.catalogue), row.words);
  }
}

TEST(ErrorTest, WordsAreFetchedOnceAndNotCopiedWithTheError) {
  FakeCatalogue first(u"first"), second(u"second"), none(u"");
  StringError e(CODE, true), assigned(0, false), source(CODE, false);
  EXPECT_EQ(words(e, &none), "");  // an empty text leaves it unworded
  for (FakeCatalogue* catalogue : {&first, &second}) EXPECT_EQ(words(e, catalogue), "first");
  EXPECT_EQ(words(StringError(e), &second), "second");
  String quoted;
  e.get(quoted, nullptr);
  EXPECT_EQ(utf8(quoted), "\"first\"");
  assigned.addInsert(String("gone"));
  assigned = e;
  EXPECT_EQ(words(assigned, &second), "first");
  EXPECT_TRUE(assigned.fatal() && assigned.code() == CODE && assigned.numInserts() == 0);
  source.addInsert(String("one"));
  source.addInsert(std::uint32_t{77});  // nothing without a catalogue
  assigned = source;
  assigned = *&assigned;
  EXPECT_EQ(words(assigned, nullptr), "Could not obtain text from Error code, replacement strings:one, , ");
}

TEST(ErrorTest, InsertsAnswerByTheirClass) {
  struct : CStr {
    const std::uint16_t* get(std::uint32_t) override { throw MemError(MemError::HEAP_EXHAUSTED, true); }
  } failing;
  FakeCatalogue catalogue(u"text");
  StringError inner(CODE, true), e(0, false);
  inner.addInsert(String("deep"));
  e.addInsert(String("s"));
  e.addInsert(std::uint32_t{77});
  e.addInsert(inner);
  EXPECT_THROW(e.description(&failing), MemError) << "the list of a code-less error has no handler";
  EXPECT_EQ(words(e, &failing), "No Error code, replacement strings:s, ") << "the words so far stay";
  ASSERT_EQ(e.numInserts(), 3);
  const std::string ANSWERS[] = {"0 65535 0 0 s", "1 77 0 0 text", "1 " + std::to_string(CODE) + " 1 1 text"};
  for (int i = 0; i < 3; ++i) {
    const std::unique_ptr<ErrorInsert> copy(e.getInsert(i)->duplicate());
    for (ErrorInsert* insert : {e.getInsert(i), copy.get()}) {
      std::ostringstream answers;
      answers << insert->type() << ' ' << insert->code() << ' ' << insert->numInserts() << ' '
              << (insert->getInsert(0) != nullptr) << ' ' << utf8(String(insert->get(&catalogue)));
      EXPECT_EQ(answers.str(), ANSWERS[i]);
    }
  }
}

/// Answers another code than it holds, and another result than its flag.
struct OtherCode : StringError {
  OtherCode() : StringError(CODE, false) {}
  std::uint32_t code() const override { return 77; }
  bool post_process(bool b) override { return !b; }
};

TEST(ErrorTest, AContainerKeepsWhatAnErrorAnswersButNotItsClass) {
  FakeCatalogue catalogue(u"from the catalogue");
  CStrError source(CStrError::CSTR_ERR_NO_FILE, "detail", true);
  source.addInsert(String("x"));
  ErrorContainer container(source), copy(container);
  EXPECT_TRUE(container.code() == 7 && container.fatal() && container.numInserts() == 1);
  EXPECT_EQ(words(container, &catalogue), "from the catalogue");
  EXPECT_STREQ(copy.module(), "Constant Strings");
  OtherCode e;
  EXPECT_EQ(ErrorContainer(e).code(), 77u);
  EXPECT_TRUE(e.process());
  e.description(&catalogue);
  EXPECT_EQ(catalogue.lastHandle, CODE) << "the stored one is worded";
}

TEST(ErrorTest, TheFamilyNamesItsModules) {
  const auto facts = [](Error&& e) {
    EXPECT_EQ(e.process(), e.fatal());
    EXPECT_EQ(e.getfCode(), e.code());
    return std::string(e.module()) + (e.fatal() ? ", fatal " : " ") + std::to_string(e.code());
  };
  EXPECT_EQ(facts(ToDoError("dropped")), "TO DO!, fatal 0");
  EXPECT_EQ(facts(UnwindError()), "Unwind Error, fatal 0");
  EXPECT_EQ(facts(FpExceptError(FpExceptError::FP_EXCEPT_OVERFLOW)), "Floating-point exception 0");
  EXPECT_EQ(facts(MemError(MemError::HEAP_EXHAUSTED, true)), "Memory sub-system, fatal " + std::to_string(0xC2000101));
  EXPECT_EQ(facts(StringError(StringError::BAD_UTF8, false)), "String System " + std::to_string(0xC200011C));
}

}  // namespace
