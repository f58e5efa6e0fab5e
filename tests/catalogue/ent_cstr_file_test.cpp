// The choice of file by code and locale, and the list of catalogues that the core keeps.

#include "zqcore27/catalogue/ent_cstr_file.h"

#include <atomic>
#include <filesystem>
#include <sstream>
#include <thread>
#include <utility>
#include <vector>

#include "tests/catalogue/catalogue_fixture.h"
#include "zqcore27/catalogue/cstr_enterprise.h"

namespace {

// The user's language is settled when it is first asked for, once in a process.
class GermanUser : public testing::Environment {
  void SetUp() override { setenv("LC_ALL", "de_DE.UTF-8", 1); }
};
const auto* const germanUser = testing::AddGlobalTestEnvironment(new GermanUser);

constexpr const char* NO_CATALOGUE = "7: Failed to open the constant string file - it probably isn't there: ";

class EntCStrFileTest : public CatalogueTest {
 protected:
  // A file whose text 1 of the code is its own name.
  void writeCatalogue(const std::string& name, std::uint32_t code = 0, const std::string& version = "2.7.A") {
    const std::u16string text(name.begin(), name.end());
    write(name, CatalogueBuilder{.version = version, .texts = {{code << 16 | 1, text}}}.bytes());
  }
  void clear() const {
    for (const auto& entry : std::filesystem::directory_iterator(fDirectory.path())) std::filesystem::remove(entry);
  }
  static std::size_t catalogues() {
    const OrlanSynchronizedRead lock(*gCore->fCatalogueLock);
    return gCore->fCatalogues->size();
  }
};

TEST_F(EntCStrFileTest, FallsBackFromTheLanguageToEnglish) {
  // Of the files "P_<suffix>.cst", with "-" for "P_.cst", the one that wins, and another locale that finds it later.
  // The locale "" is the user's own.
  static constexpr struct {
    const char *locale, *files, *wins, *fileLocale;
  } ROWS[] = {{"deu", "_deu _de - _en", "_deu", "deu"},
              {"deu", "_de - _en", "_de", "de"},
              {"deu", "- _en", "-", ""},
              {"deu", "_en", "_en", "en"},
              {"deu", "_fr", nullptr, nullptr},
              {"de", "_deu _de", "_de", "DE"},
              {"", "_deu _de", "_deu", "deu"},
              {"jpn", "_jp _ja", "_jp", "jp"},
              {"ja", "_jp _ja", "_jp", "jp"},
              {"japan", "_japan _jap _jp", "_jp", "Japan"},
              {"d", "_d -", "_d", "D"},
              {"DEU", "_deu _de -", "-", ""}};
  const auto nameOf = [](const std::string& suffix) { return "P_" + (suffix == "-" ? "" : suffix) + ".cst"; };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(std::string(row.locale) + " among " + row.files);
    clear();
    std::istringstream suffixes(row.files);
    for (std::string suffix; suffixes >> suffix;) writeCatalogue(nameOf(suffix));
    std::string text;
    const std::string failure = failureOf([&] {
      EntCStrFile file(nullptr, 7, String(row.locale), String("P_"), String("2.7.A"));
      text = utf8(file.get(1));
      EXPECT_EQ(file.code(), 7);
      EXPECT_TRUE(file.isLocale(String(row.fileLocale)));
      EXPECT_TRUE(file.isLocale(String(*row.locale == 0 ? "DEU" : row.locale)));
      EXPECT_FALSE(file.isLocale(String("fr")));
    });
    EXPECT_EQ(failure + text, row.wins == nullptr ? NO_CATALOGUE : nameOf(row.wins));
  }
}

TEST_F(EntCStrFileTest, TheCodeIsInTheName) {
  static constexpr std::pair<std::uint32_t, const char*> ROWS[] = {{0x03020001, "strings_302_.cst"},
                                                                   {0xCABC0001, "strings_abc_.cst"},
                                                                   {0xC0050001, "strings_  5_.cst"},
                                                                   {0xC0000001, "strings_.cst"}};
  CStrEnterprise cstr(nullptr, String(), String(u"de").begin());
  for (const auto& [handle, name] : ROWS) {
    SCOPED_TRACE(name);
    EXPECT_EQ(textOf(cstr, handle), NO_CATALOGUE);
    write(name, {{handle, u"found"}});
    EXPECT_EQ(textOf(cstr, handle), "found") << "a failure isn't remembered";
    std::filesystem::remove(pathOf(name));
    EXPECT_EQ(textOf(cstr, handle), "found") << "the catalogue is";
  }
  EXPECT_EQ(cstr.get(0xE000FEDC), strNULL) << "the empty text of catalogue 0, loaded above";
}

TEST_F(EntCStrFileTest, TheListGrowsByWhatIsNewOnly) {
  const std::size_t before = catalogues();
  EXPECT_EQ(gCore->getCStr(0x401, nullptr, String("fr")), nullptr);
  writeCatalogue("strings_401_.cst", 0x401, "2.7.B");
  EXPECT_EQ(gCore->getCStr(0x401, nullptr, String("fr")), nullptr) << "of another version than the library";
  EXPECT_EQ(catalogues(), before) << "a failure leaves no entry";
  writeCatalogue("strings_401__de.cst", 0x401);
  writeCatalogue("strings_401__en.cst", 0x401);
  CStr* users = gCore->getCStr(0x401, nullptr, String());
  ASSERT_NE(users, nullptr);
  EXPECT_EQ(utf8(users->get(0x04010001)), "strings_401__de.cst");
  const CStrEnterprise inUsersLanguage(nullptr, String(), nullptr);
  EXPECT_EQ(utf8(CStrEnterprise(inUsersLanguage).get(0x04010001)), "strings_401__de.cst");
  for (const char* same : {"", "deu", "de", "DE"}) EXPECT_EQ(gCore->getCStr(0x401, nullptr, String(same)), users);
  CStr* french = gCore->getCStr(0x401, nullptr, String("fr"));
  EXPECT_EQ(utf8(french->get(0x04010001)), "strings_401__en.cst");
  EXPECT_EQ(gCore->getCStr(0x401, nullptr, String("en")), french) << "what fell back to English is the English one";
  EXPECT_EQ(catalogues(), before + 2);
}

TEST_F(EntCStrFileTest, ThreadsThatAskAtOnceGetOneCatalogue) {
  constexpr int THREADS = 6, ROUNDS = 10;
  for (int round = 0; round < ROUNDS; ++round) {
    const std::uint16_t code = 0x500 + round;
    String name;
    name.build("strings_%3x_.cst", code);
    writeCatalogue(utf8(name), code);
    const std::size_t before = catalogues();
    std::vector<CStr*> got(THREADS);
    std::vector<std::jthread> threads;
    std::atomic<int> started{0};
    {
      // All search in vain while this lock is held, and make the entry when it goes. The yields let them come so far;
      // a thread that is late still has to find the one entry.
      const OrlanSynchronizedRead hold(*gCore->fCatalogueLock);
      for (int t = 0; t < THREADS; ++t) {
        threads.emplace_back([&, t] {
          ++started;
          got[t] = gCore->getCStr(code, nullptr, String(t % 2 == 0 ? "deu" : "DEU"));
          EXPECT_NE(got[t] == nullptr ? nullptr : got[t]->get(code << 16 | 1), nullptr);
        });
      }
      while (started < THREADS) std::this_thread::yield();
      for (int i = 0; i < 200; ++i) std::this_thread::yield();
    }
    threads.clear();
    EXPECT_EQ(got, std::vector<CStr*>(THREADS, got[0]));
    EXPECT_EQ(catalogues(), before + 1);
  }
}

}  // namespace
