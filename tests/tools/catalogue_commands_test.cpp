#include <gtest/gtest.h>

#include <set>

#include "tests/support/text.h"
#include "tests/tools/zqtool_process.h"
#include "zqcore27/catalogue/cstr_error.h"
#include "zqcore27/catalogue/cstr_file.h"
#include "zqcore27/core/core.h"

namespace {

std::string entry(const std::string& handle, const std::string& english, const std::string& text) {
  return "msgctxt \"" + handle + "\"\nmsgid \"" + english + "\"\nmsgstr \"" + text + "\"\n\n";
}

TEST(CatalogueCompileTest, TheLibraryReadsWhatWasCompiled) {
  const Scratch scratch;
  scratch.write("a.po", entry("0xC2010001", "one {1}", "eins {1} {{") + entry("0xC2010150", "far", "fern") +
                            entry("0xC2010003", "three", "") + entry("0xC2010004", "語", "語"));
  const Outcome compiled = runZqtool(scratch, {"catalogue", "compile", "a.po", "-o", "t.cst"});
  EXPECT_EQ(compiled.status, 0);
  EXPECT_EQ(compiled.out, "");
  EXPECT_EQ(compiled.err, "a.po:9: warning: 0xC2010003 has no translation; its English text stands in\n");
  EXPECT_EQ(scratch.fileCount(), 2u);

  gCore->fStringDirectory = String(scratch.path("").c_str());
  FileLocator locator;
  locator.setName("t");
  locator.setExtension("cst");
  CStrFile file(nullptr, locator, gCore->fVersion->fFull);
  EXPECT_EQ(utf8(file.get(0xC2010001)),
            "eins \x13"
            "1 {");
  EXPECT_EQ(utf8(file.get(0xC2010002)), "");
  EXPECT_EQ(utf8(file.get(0xC2010003)), "three");
  EXPECT_EQ(utf8(file.get(0xC2010004)), "語");
  EXPECT_EQ(utf8(file.get(0xC2010150)), "fern");
  EXPECT_THROW(file.get(0xC2010151), CStrError);
  gCore->fStringDirectory = nullptr;

  const Outcome dumped = runZqtool(scratch, {"catalogue", "dump", "t.cst", "--language", "de"});
  EXPECT_EQ(dumped.status, 0);
  EXPECT_NE(dumped.out.find("\"Language: de\\n\""), std::string::npos);
  EXPECT_EQ(runZqtool(scratch, {"catalogue", "compile", "-", "-o", "u.cst"}, dumped.out).err, "");
  EXPECT_EQ(scratch.read("u.cst"), scratch.read("t.cst"));
  EXPECT_EQ(runZqtool(scratch, {"catalogue", "check", "t.cst"}).out,
            "t.cst: 4 texts on 2 pages, 0xC2010001 to 0xC2010150\n");
}

TEST(CatalogueCompileTest, RefusesWithFileAndLineAndLeavesTheOldFile) {
  std::string tooMany;
  for (int i = 0; i < 503; ++i) {
    char handle[16];
    std::snprintf(handle, sizeof handle, "0x%08X", 0xC2010001u + static_cast<unsigned>(i));
    tooMany += entry(handle, "e", std::string(254, 'x'));
  }
  static const struct {
    int line;
    std::string text, err;
  } ROWS[] = {
      {__LINE__, entry("0x1", "e", std::string(255, 'x')), "a.po:1: the text has 255 characters"},
      {__LINE__, entry("0x1", "e", "{1}" + std::string(253, 'x')), "a.po:1: the text has 255 characters"},
      {__LINE__, entry("0x1", "e", "a") + entry("1", "e", "b"), "a.po:5: 1 is no handle"},
      {__LINE__, entry("0x0", "e", "a"), "a.po:1: the handle 0"},
      {__LINE__, "msgid \"a\"\nmsgstr \"b\"\n", "a.po:1: the handle is missing"},
      {__LINE__, entry("0x1", "e", "a") + entry("0x01", "f", "b"), "a.po:5: the handle 0x00000001 is there twice"},
      {__LINE__, entry("0x1", "e", "a {9}"), "a.po:1: msgstr: {9} is no mark"},
      {__LINE__, tooMany, "a.po:2009: the texts from 0xC20101F7 on don't fit"},
      {__LINE__, "", "a.po: there is no text"},
  };
  const Scratch scratch;
  scratch.write("t.cst", "old");
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    scratch.write("a.po", row.text);
    const Outcome outcome = runZqtool(scratch, {"catalogue", "compile", "a.po", "-o", "t.cst"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.err.starts_with(row.err)) << outcome.err;
    EXPECT_EQ(scratch.read("t.cst"), "old");
    EXPECT_EQ(scratch.fileCount(), 2u);
  }
  scratch.write("a.po", entry("0x1", "e", "a"));
  for (const char* target : {"absent/t.cst", "/dev/full"}) {
    const Outcome outcome = runZqtool(scratch, {"catalogue", "compile", "a.po", "-o", target});
    EXPECT_EQ(outcome.status, 1) << target;
    EXPECT_TRUE(outcome.err.starts_with(std::string(target) + ": ")) << outcome.err;
  }
}

TEST(CatalogueCompileTest, HoldsATranslationAgainstTheEnglishFile) {
  const Scratch scratch;
  scratch.write("en.po", entry("0x1", "one {1}", "one {1}") + entry("0x2", "two", "two") +
                             entry("0x3", "three", "THREE") + entry("0x4", "four", "four"));
  scratch.write("de.po", entry("0x1", "one {1}", "eins {2}") + entry("0x3", "three", "") +
                             entry("0x4", "four", "vier") + entry("0x5", "five", "fünf"));
  const Outcome outcome =
      runZqtool(scratch, {"catalogue", "compile", "de.po", "--english", "en.po", "--output", "t.cst"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err,
            "de.po:5: warning: 0x00000003 has no translation; its English text stands in\n"
            "de.po:1: warning: the marks of 0x00000001 differ: {2} here, {1} in English (en.po:1)\n"
            "de.po:13: warning: 0x00000005 isn't in en.po\n"
            "de.po: warning: 0x00000002 is missing; its English text stands in (en.po:5)\n");
  EXPECT_EQ(outcome.out, "de.po: 2 of 4 texts translated, 50 %\n");
  const std::string dumped = runZqtool(scratch, {"catalogue", "dump", "t.cst"}).out;
  for (const char* text : {"\"eins {2}\"", "\"two\"", "\"THREE\"", "\"vier\"", "\"fünf\""}) {
    EXPECT_NE(dumped.find(std::string("msgstr ") + text), std::string::npos) << text;
  }
}

TEST(CatalogueCheckTest, TellsWhatIsWrong) {
  const Scratch scratch;
  scratch.write("a.po", entry("0x1", "e", "a"));
  runZqtool(scratch, {"catalogue", "compile", "a.po", "-o", "good.cst"});
  std::string bytes = scratch.read("good.cst");
  bytes[20] = '9';
  scratch.write("version.cst", bytes);
  scratch.write("cut.cst", bytes.substr(0, 2559));
  const Outcome outcome =
      runZqtool(scratch, {"catalogue", "check", "cut.cst", "version.cst", "good.cst", "absent.cst"});
  EXPECT_EQ(outcome.status, 1);
  const auto errors = linesOf(outcome.err);
  ASSERT_EQ(errors.size(), 3u) << outcome.err;
  EXPECT_EQ(errors[0], "cut.cst: the file has 2559 bytes; 2560 are the least");
  EXPECT_EQ(errors[1], "version.cst: the version is '9.7.A'; the library reads 2.7.A");
  EXPECT_TRUE(errors[2].starts_with("absent.cst: "));
  EXPECT_NE(outcome.out.find("good.cst: 1 texts"), std::string::npos);
  EXPECT_EQ(runZqtool(scratch, {"catalogue", "dump", "cut.cst", "-o", "d.po"}).status, 1);
  EXPECT_FALSE(std::filesystem::exists(scratch.path("d.po")));
}

TEST(ExplainTest, GivesTheWordsOfACode) {
  static const struct {
    int line;
    std::vector<std::string> arguments;
    std::string environment;
    int status;
    const char* words;  // in what is printed
  } ROWS[] = {
      {__LINE__, {"0xC2000106"}, "", 0, "The configuration file '{1}' can't be opened."},
      {__LINE__, {"c2000106", "/etc/x.conf"}, "", 0, "The configuration file '/etc/x.conf' can't be opened."},
      {__LINE__,
       {"0xC2000106", "x", "--language", "de"},
       "",
       0,
       "Die Konfigurationsdatei „x“ lässt sich nicht öffnen."},
      {__LINE__,
       {"0xC2000106", "x"},
       "LC_ALL=fr_FR.UTF-8",
       0,
       "Impossible d'ouvrir le fichier de configuration «\u00A0x\u00A0»."},
      {__LINE__, {"0xC2000106", "x"}, "LC_ALL=de_DE.ISO-8859-1", 0, "l\xE4sst sich nicht \xF6"},
      {__LINE__, {"0xC2000106", "x", "--language", "jpn"}, "", 0, "設定ファイル「x」を開けません。"},
      {__LINE__, {"0xC2000106", "x", "--language", "xx"}, "", 0, "The configuration file 'x'"},
      {__LINE__, {"0xC2000690"}, "", 0, "tree"},
      {__LINE__, {"0xC2000103"}, "", 1, "zqtool: there is no text for 0xC2000103\n"},
      {__LINE__, {"0xC2000FFF"}, "", 1, "no text"},
      {__LINE__, {"0xC5000001"}, "", 1, "Failed to open the constant string file"},
      {__LINE__, {"0xC2000106"}, "tavio_language=/absent", 1, "Failed to open the constant string file"},
  };
  const Scratch scratch;
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    std::vector<std::string> arguments = {"explain"};
    arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
    const Outcome outcome = runZqtool(scratch, arguments, {}, row.environment);
    EXPECT_EQ(outcome.status, row.status);
    const std::string& where = row.status == 0 ? outcome.out : outcome.err;
    EXPECT_NE(where.find(row.words), std::string::npos) << outcome.out << outcome.err;
  }
}

TEST(ExplainTest, ListsEveryCodeInEveryLanguage) {
  const Scratch scratch;
  std::set<std::string> words;
  std::set<std::string> codes;
  for (const char* language : {"en", "de", "fr", "ja"}) {
    const Outcome outcome = runZqtool(scratch, {"explain", "--list", "--language", language});
    EXPECT_EQ(outcome.status, 0);
    for (const std::string& line : linesOf(outcome.out)) {
      codes.insert(line.substr(0, 10));
      words.insert(line.substr(11));
    }
  }
  EXPECT_EQ(codes.size(), 33u);
  EXPECT_EQ(words.size(), 4 * 33u);
}

TEST(UsageTest, ErrorsAreOneLineAndTheStatusIsTwo) {
  static const std::vector<std::string> ROWS[] = {
      {},
      {"nonsense"},
      {"config"},
      {"config", "check"},
      {"config", "check", "f", "--separators", "many"},
      {"config", "check", "f", "--separators", "0x100000000"},
      {"config", "check", "f", "--key"},
      {"explain"},
      {"explain", "xyz"},
      {"explain", "0xC20001061"},
      {"explain", "0xC2000106", "--list"},
      {"explain", "0xC2000106", "1", "2", "3", "4", "5", "6", "7", "8", "9"},
      {"catalogue", "compile", "a.po"},
      {"catalogue", "dump"},
      {"scramble"},
      {"version", "3"},
  };
  const Scratch scratch;
  for (const auto& arguments : ROWS) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    const Outcome outcome = runZqtool(scratch, arguments);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(linesOf(outcome.err).size(), 1u) << outcome.err;
    EXPECT_TRUE(outcome.err.starts_with("zqtool: ")) << outcome.err;
  }
  EXPECT_EQ(runZqtool(scratch, {"--help"}).status, 0);
  EXPECT_NE(runZqtool(scratch, {"config", "check", "--help"}).out.find("--separators"), std::string::npos);
  EXPECT_TRUE(runZqtool(scratch, {"version"}).out.starts_with("zqcore 2.7A  ("));
}

}  // namespace
