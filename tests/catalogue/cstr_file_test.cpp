#include "zqcore27/catalogue/cstr_file.h"

#include <dlfcn.h>
#include <link.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <tuple>

#include "tests/catalogue/catalogue_fixture.h"
#include "tests/support/at_once.h"

namespace {

using CStrFileTest = CatalogueTest;
constexpr const char* NAME = "strings_200_.cst";
constexpr std::size_t PAGES_AT = CatalogueBuilder::PAGES_AT, INDEX_AT = CatalogueBuilder::INDEX_AT;

// One text a page, 0x1000 apart, with n as its text.
std::string ofPages(int n) {
  CatalogueBuilder b;
  for (int i = 1; i <= n; ++i) b.texts[0x1000 * i] = std::u16string(1, static_cast<char16_t>(u'0' + i % 10));
  return b.bytes();
}

TEST_F(CStrFileTest, RefusesWhatIsUnfit) {
  const auto check = [this](int line, const std::string& bytes, const std::string& failure) {
    SCOPED_TRACE(testing::Message() << "case of line " << line);
    write(NAME, bytes);
    EXPECT_EQ(failureOf([] { CStrFile(nullptr, named(NAME), String("2.7.A")); }), failure);
  };
  const std::string small = "8: The constant string file's too small to hold any strings: strings_200_.cst";
  const std::string size = "10: The constant string file isn't the correct size: strings_200_.cst";
  const std::string order = "11: The index in the constant string file is out of order: strings_200_.cst";
  const std::string header = "15: Constant string file's header was badCstr::load_header_block";
  const std::string one = ofPages(1), three = ofPages(3);
  check(__LINE__, one, "");
  check(__LINE__, ofPages(502), "");
  check(__LINE__, ofPages(503), order);  // more than the header block names
  check(__LINE__, one.substr(1), small);
  check(__LINE__, std::string(2560, '\0'), header);
  for (std::size_t at = 0; at < PAGES_AT; ++at) {  // of signature, type, version and platform, and behind each
    std::string bad = one + "x";                   // the header comes before the size
    bad[at] ^= 0x20;
    check(__LINE__, bad, header);
  }
  check(__LINE__, one + std::string(512, 'x'), size);
  check(__LINE__, three.substr(0, three.size() - 1), size);
  for (const std::uint32_t pages : {0u, 0x00800001u, 0xFFFFFFFFu}) {  // the second wraps to one page in 32 bits
    std::string bad = one;
    poke(bad, PAGES_AT, 4, pages);
    check(__LINE__, bad, size);
  }
  const std::tuple<std::size_t, std::uint32_t, std::string> INDICES[] = {
      {0, 0, order}, {1, 0x1000, order}, {3, 0x2FFF, order}, {3, 0x3000, ""}};  // the last entry is the end
  for (const auto& [entry, handle, failure] : INDICES) {
    std::string bytes = three;
    poke(bytes, INDEX_AT + 4 * entry, 4, handle);
    check(__LINE__, bytes, failure);
    check(__LINE__, bytes + "x", size);  // which comes before the index
  }
  write(NAME, one);
  std::error_code failed;
  std::filesystem::resize_file(pathOf(NAME), (std::uint64_t{1} << 32) + 2560, failed);
  if (failed) GTEST_SKIP() << "no sparse files here: " << failed.message();
  EXPECT_EQ(failureOf([] { CStrFile(nullptr, named(NAME)); }), size);
}

TEST_F(CStrFileTest, FindsEveryTextAndKeepsItInPlace) {
  CatalogueBuilder b;
  std::mt19937 random(4);
  for (std::uint32_t handle = 0x7FFFF100; handle < 0x80001000; handle += random() % 40 == 0 ? 300 : 1) {  // unsigned
    b.texts[handle] = std::u16string(random() % 60, static_cast<char16_t>('a' + handle % 26));
  }
  b.texts[0x80001000] = std::u16string(254, u'\u3042');  // fills a page by itself
  write(NAME, b.bytes());
  CStrFile file(nullptr, named(NAME), String("2.7.A"));  // its pages are read by whichever thread comes first
  std::map<std::uint32_t, const std::uint16_t*> places[4];
  atOnce(4, [&](int t) {
    for (const auto& [handle, text] : b.texts) {
      places[t][handle] = file.get(handle);
      EXPECT_EQ(utf8(places[t][handle]), utf8(String(text))) << handle;
    }
  });
  for (const auto& each : places) EXPECT_EQ(each, places[0]);
}

TEST_F(CStrFileTest, TellsHandlesThatDoNotFit) {
  CatalogueBuilder b;
  b.texts = {{0x100, u"a"}, {0x101, u"b"}, {0x300, u"c"}};
  std::string bytes = b.bytes();
  poke(bytes, INDEX_AT + 8, 4, 0x500);  // the end lies far behind the last page's first text
  write(NAME, bytes);
  CStrFile file(nullptr, named(NAME));
  const std::string range = "4: CStr handle out of range", gap = "5: CStr handle invalid";
  const std::pair<std::uint32_t, std::string> ROWS[] = {
      {0xFF, range},     {0x100, "a"},   {0x101, "b"},     {0x102, "(null)"},
      {0x1FF, "(null)"}, {0x200, gap},   {0x2FF, gap},     {0x300, "c"},
      {0x500, gap},      {0x501, range}, {0xE000FEDC, ""}, {0xE000FCDE, "3: CStr string not found"}};
  for (const auto& [handle, result] : ROWS) EXPECT_EQ(textOf(file, handle), result) << handle;
}

TEST_F(CStrFileTest, APageTellsWhatItHolds) {
  write(NAME, ofPages(2));
  File file, closed;
  ASSERT_TRUE(file.open(FileLocator(String(pathOf(NAME).c_str())), File::MODE_READ | File::MODE_BINARY));
  CStrFileCachePage page;
  EXPECT_EQ(page.page(), 0xFEFE);
  EXPECT_TRUE(page.load(file, 1));
  for (const std::uint32_t none : {0xFEFEu, 0xFFFFFFFCu}) EXPECT_FALSE(page.load(file, none));
  EXPECT_FALSE(page.load(closed, 0));
  EXPECT_TRUE(page.page() == 1 && utf8(page.get(0)) == "2") << "no file has those, and a failed seek leaves the page";
  EXPECT_FALSE(page.load(file, 2));
  EXPECT_EQ(page.page(), 0xFEFE) << "a failed read doesn't";
  EXPECT_EQ(page.get(0), nullptr);
  EXPECT_TRUE(page.load(file, 0) && utf8(page.get(0)) == "1");
}

TEST_F(CStrFileTest, SearchesItsDirectoriesInOrder) {
  const TempDir second;
  const auto beside = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  const std::string name = "zqcore27_search_test_" + second.path().filename().string() + ".cst";
  const auto holding = [](const char16_t* text) { return CatalogueBuilder{.texts = {{1, text}}}.bytes(); };
  std::string found;
  const auto search = [&](void* module = nullptr) {
    return failureOf([&] { found = utf8(CStrFile(module, named(name.c_str())).get(1)); });
  };
  const auto finds = [&](const char* text) { return search() == "" && found == text; };
  const auto remembered = [] { return utf8(gCore->fStringDirectory); };
  const std::string first = remembered();

  EXPECT_EQ(search(),
            "7: Failed to open the constant string file - it probably isn't there: " + (beside / name).string());
  void* module = dlopen("libzqcore27.so.2", RTLD_NOW | RTLD_NOLOAD);
  link_map* library = nullptr;
  ASSERT_TRUE(module != nullptr && dlinfo(module, RTLD_DI_LINKMAP, &library) == 0);
  EXPECT_EQ(search(module).substr(70), (std::filesystem::path(library->l_name).parent_path() / name).string());
  dlclose(module);
  std::ofstream(beside / name, std::ios::binary) << holding(u"beside the program");
  setenv("tavio_language", (second / "").c_str(), 1);
  EXPECT_TRUE(finds("beside the program"));
  second.write(name, holding(u"by environment"));
  EXPECT_TRUE(finds("by environment"));
  std::filesystem::create_directory(pathOf(name));
  EXPECT_TRUE(finds("by environment")) << "a directory is no file";
  std::filesystem::remove(pathOf(name));
  write(name, holding(u"where the last was"));
  EXPECT_TRUE(finds("where the last was"));
  write(name, "unfit");
  EXPECT_EQ(search().substr(0, 2), "8:") << "an unfit file ends the search";
  EXPECT_EQ(remembered(), first) << "what is remembered stays";
  second.write(name, "unfit");
  gCore->fStringDirectory = nullptr;
  EXPECT_EQ(search().substr(0, 2), "8:");
  EXPECT_EQ(remembered(), second.path().string()) << "before the file is looked at";
  gCore->fStringDirectory = nullptr;
  setenv("tavio_language", "\xFF/no text", 1);
  EXPECT_TRUE(finds("beside the program"));
  std::filesystem::remove(beside / name);
}

}  // namespace
