#include <set>

#include "tests/support/text.h"
#include "tests/tools/zqtool_process.h"
#include "zqcore27/catalogue/cstr_error.h"
#include "zqcore27/catalogue/cstr_file.h"
#include "zqcore27/core/core.h"

namespace {

using CatalogueCommandsTest = ZqtoolTest;

std::string entry(const std::string& handle, const std::string& english, const std::string& text) {
  return "msgctxt \"" + handle + "\"\nmsgid \"" + english + "\"\nmsgstr \"" + text + "\"\n\n";
}

TEST_F(CatalogueCommandsTest, TheLibraryReadsWhatWasCompiled) {
  dir.write("a.po", entry("0xC2010001", "one {1}", R"(eins {1} {{ {8} \"\\\n\t\0071)") +
                        entry("0xC2010150", "far", "fern") + entry("0xC2010003", "three", "") +
                        entry("0xC2010004", "語", "語"));
  EXPECT_EQ(zqtool("catalogue compile a.po -o t.cst"),
            (Outcome{0, "", "a.po:9: warning: 0xC2010003 has no translation; its English text stands in\n"}));
  EXPECT_EQ(fileCount(), 2);

  gCore->fStringDirectory = String(dir.path().c_str());
  FileLocator locator;
  locator.setFullName(String("t.cst"));
  CStrFile file(nullptr, locator, gCore->fVersion->fFull);
  gCore->fStringDirectory = nullptr;
  EXPECT_EQ(utf8(file.get(0xC2010001)), "eins \u00131 { \u00138 \"\\\n\t\a1");
  EXPECT_EQ(utf8(file.get(0xC2010002)), "");
  EXPECT_EQ(utf8(file.get(0xC2010003)), "three");
  EXPECT_EQ(utf8(file.get(0xC2010004)), "語");
  EXPECT_EQ(utf8(file.get(0xC2010150)), "fern");
  EXPECT_THROW(file.get(0xC2010151), CStrError);

  const Outcome dumped = zqtool("catalogue dump t.cst --language de");
  EXPECT_EQ(dumped.status, 0);
  EXPECT_NE(dumped.out.find("\"Language: de\\n\""), std::string::npos);
  EXPECT_EQ(zqtool("catalogue compile - -o u.cst", dumped.out), (Outcome{0, "", ""}));
  EXPECT_EQ(dir.read("u.cst"), dir.read("t.cst"));
  EXPECT_EQ(zqtool("catalogue check t.cst").out, "t.cst: 4 texts on 2 pages, 0xC2010001 to 0xC2010150\n");
}

TEST_F(CatalogueCommandsTest, CompileRefusesWithFileAndLineAndLeavesTheOldFile) {
  static const struct {
    int line;
    std::string text, err;
  } ROWS[] = {
      {__LINE__, entry("0x2", "e", "a") + entry("0x1", "e", "{1}" + std::string(253, 'x')), "a.po:5: the text has 255"},
      {__LINE__, entry("0x1", "e", "a") + entry("0x01", "f", "b"), "a.po:5: the handle 0x00000001 is there twice"},
      {__LINE__, "", "a.po: there is no text"},
  };
  dir.write("t.cst", "old");
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    dir.write("a.po", row.text);
    const Outcome outcome = zqtool("catalogue compile a.po -o t.cst");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.err.starts_with(row.err)) << outcome.err;
    EXPECT_EQ(dir.read("t.cst"), "old");
    EXPECT_EQ(fileCount(), 2);
  }
  dir.write("a.po", entry("0x1", "e", "a"));
  for (const std::string target : {"absent/t.cst", "/dev/full"}) {
    const Outcome outcome = zqtool("catalogue compile a.po -o " + target);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.err.starts_with(target + ": ")) << outcome.err;
  }
}

TEST_F(CatalogueCommandsTest, CompileHoldsATranslationAgainstTheEnglishFile) {
  dir.write("en.po", entry("0x1", "one {1}", "one {1}") + entry("0x2", "two", "two") + entry("0x3", "three", "THREE") +
                         entry("0x4", "four", "four"));
  dir.write("de.po", entry("0x1", "one {1}", "eins {2}") + entry("0x3", "three", "") + entry("0x4", "four", "vier") +
                         entry("0x5", "five", "fünf"));
  EXPECT_EQ(zqtool("catalogue compile de.po --english en.po --output t.cst"),
            (Outcome{0, "de.po: 2 of 4 texts translated, 50 %\n",
                     "de.po:5: warning: 0x00000003 has no translation; its English text stands in\n"
                     "de.po:1: warning: the marks of 0x00000001 differ: {2} here, {1} in English (en.po:1)\n"
                     "de.po:13: warning: 0x00000005 isn't in en.po\n"
                     "de.po: warning: 0x00000002 is missing; its English text stands in (en.po:5)\n"}));
  const std::string dumped = zqtool("catalogue dump t.cst").out;
  for (const char* text : {"\"eins {2}\"", "\"two\"", "\"THREE\"", "\"vier\"", "\"fünf\""}) {
    EXPECT_NE(dumped.find(std::string("msgstr ") + text), std::string::npos) << text;
  }
}

TEST_F(CatalogueCommandsTest, CheckTellsWhatIsWrong) {
  dir.write("a.po", entry("0x1", "e", "a"));
  zqtool("catalogue compile a.po -o good.cst");
  std::string bytes = dir.read("good.cst");
  dir.write("cut.cst", bytes.substr(0, 2559));
  bytes[20] = '9';
  dir.write("version.cst", bytes);
  EXPECT_EQ(zqtool("catalogue check cut.cst version.cst good.cst absent.cst"),
            (Outcome{1,
                     "version.cst: 1 texts on 1 pages, 0x00000001 to 0x00000001\n"
                     "good.cst: 1 texts on 1 pages, 0x00000001 to 0x00000001\n",
                     "cut.cst: the file has 2559 bytes; 2560 are the least\n"
                     "version.cst: the version is '9.7.A'; the library reads 2.7.A\n"
                     "absent.cst: No such file or directory\n"}));
  EXPECT_EQ(zqtool("catalogue dump cut.cst -o d.po").status, 1);
  EXPECT_FALSE(std::filesystem::exists(dir / "d.po"));
}

TEST_F(CatalogueCommandsTest, ExplainGivesTheWordsOfACode) {
  static const struct {
    int line;
    const char *words, *environment;
    int status;
    const char* told;  // in what is printed
  } ROWS[] = {
      {__LINE__, "0xC2000106", "", 0, "The configuration file '{1}' can't be opened."},
      {__LINE__, "c2000106 /etc/x.conf", "", 0, "The configuration file '/etc/x.conf' can't be opened."},
      {__LINE__, "0xC2000106 x --language de", "", 0, "Die Konfigurationsdatei „x“ lässt sich nicht öffnen."},
      {__LINE__, "0xC2000106 x", "LC_ALL=fr_FR.UTF-8", 0, "d'ouvrir le fichier de configuration «\u00A0x\u00A0»."},
      {__LINE__, "0xC2000106 x", "LC_ALL=de_DE.ISO-8859-1", 0, "l\xE4sst sich nicht \xF6"},
      {__LINE__, "0xC2000106 x --language jpn", "", 0, "設定ファイル「x」を開けません。"},
      {__LINE__, "0xC2000106 x --language xx", "", 0, "The configuration file 'x'"},
      {__LINE__, "0xC2000103", "", 1, "zqtool: there is no text for 0xC2000103\n"},
      {__LINE__, "0xC5000001", "", 1, "Failed to open the constant string file"},
      {__LINE__, "0xC2000106", "tavio_language=/absent", 1, "Failed to open the constant string file"},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    const Outcome outcome = zqtool(std::string("explain ") + row.words, {}, row.environment);
    EXPECT_EQ(outcome.status, row.status);
    EXPECT_NE((row.status == 0 ? outcome.out : outcome.err).find(row.told), std::string::npos)
        << outcome.out << outcome.err;
  }
}

TEST_F(CatalogueCommandsTest, ExplainListsEveryCodeInEveryLanguage) {
  std::set<std::string> codes, words;
  for (const std::string language : {"en", "de", "fr", "ja"}) {
    for (const std::string& line : linesOf(zqtool("explain --list --language " + language).out)) {
      codes.insert(line.substr(0, 10));
      words.insert(line.substr(11));
    }
  }
  EXPECT_EQ(codes.size(), 34u);
  EXPECT_EQ(words.size(), 4 * 34u);
}

TEST_F(CatalogueCommandsTest, WrongUseIsToldInOneLineAndTheStatusIsTwo) {
  for (const char* words : {"", "nonsense", "config", "config check", "config check f --separators many",
                            "config check f --separators 0x100000000", "config check f --key", "explain", "explain xyz",
                            "explain 0xC20001061", "explain 0xC2000106 --list", "explain 0xC2000106 1 2 3 4 5 6 7 8 9",
                            "catalogue compile a.po", "catalogue dump", "scramble", "version 3"}) {
    SCOPED_TRACE(words);
    const Outcome outcome = zqtool(words);
    EXPECT_EQ(outcome, (Outcome{2, "", outcome.err}));
    EXPECT_EQ(linesOf(outcome.err).size(), 1u) << outcome.err;
    EXPECT_TRUE(outcome.err.starts_with("zqtool: ")) << outcome.err;
  }
  EXPECT_EQ(zqtool("--help").status, 0);
  EXPECT_NE(zqtool("config check --help").out.find("--separators"), std::string::npos);
  EXPECT_TRUE(zqtool("version").out.starts_with("zqcore 2.7A  ("));
}

}  // namespace
