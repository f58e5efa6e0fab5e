#include "zqcore27/files/file_locator.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <numeric>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/temp_dir.h"
#include "tests/support/text.h"

namespace {

/// The names and contents below are UTF-8, whatever the user's locale is.
[[maybe_unused]] const bool gNativeTextIsUTF8 = (setACPid(65001), true);

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// The rules of a platform with other separators; 0 for none.
class ForeignLocator : public FileLocator {
 public:
  ForeignLocator(char16_t directory, char16_t extension, const String& s) : fDir(directory), fExt(extension) {
    from_string(s);
  }
  using FileLocator::operator=;

 protected:
  std::uint16_t dir_sep() const override { return fDir; }
  std::uint16_t ext_sep() const override { return fExt; }

 private:
  char16_t fDir, fExt;
};

#pragma GCC diagnostic pop

/// location|full name|name|extension|path
std::string pieces(const FileLocator& f) {
  return utf8(f.location()) + "|" + utf8(f.fullName()) + "|" + utf8(f.name()) + "|" + utf8(f.extension()) + "|" +
         utf8(f.path());
}

TEST(FileLocatorTest, ParsesIntoPiecesThatAgree) {
  static constexpr const char* ROWS[][2] = {{"", ".||||./"},
                                            {"a.b.txt", ".|a.b.txt|a.b|txt|./a.b.txt"},
                                            {"dir/a", "dir|a|a||dir/a"},
                                            {".cst", ".|.cst||cst|./.cst"},
                                            {"a.", ".|a.|a||./a."},
                                            {"/a", "|a|a||/a"},
                                            {"d.x/", "d.x||||d.x/"},
                                            {"/x//a.b", "/x/|a.b|a|b|/x//a.b"},
                                            {"a\\b.txt", ".|a\\b.txt|a\\b|txt|./a\\b.txt"}};
  for (const auto& [text, expected] : ROWS) {
    FileLocator assigned;
    assigned = String(text);
    EXPECT_EQ(pieces(FileLocator(String(text))), expected);
    EXPECT_EQ(pieces(assigned), expected);
  }
}

TEST(FileLocatorTest, FollowsTheSeparatorsOfADerivedClass) {
  ForeignLocator dos(u'\\', u'.', String("D:\\dir\\a.b.txt"));
  EXPECT_EQ(pieces(dos), "D:\\dir|a.b.txt|a.b|txt|D:\\dir\\a.b.txt");
  dos = String("a/b.txt");
  EXPECT_EQ(pieces(dos), ".|a/b.txt|a/b|txt|.\\a/b.txt");
  dos.setLocation(String("D:\\"));
  dos.addDirEnd(String("x"));
  dos.addDirStart(String("y\\"));
  EXPECT_EQ(pieces(dos), "y\\\\D:\\x|a/b.txt|a/b|txt|y\\\\D:\\x\\a/b.txt");
  dos = FileLocator(String("/q\\r.s"));  // parsed again, by the rules of the target
  EXPECT_EQ(pieces(dos), "/q|r.s|r|s|/q\\r.s");

  ForeignLocator none(0, 0, String("a/b.c"));
  EXPECT_EQ(pieces(none), ".|a/b.c|a/b.c||.a/b.c");
  none.setName(String("n"));
  none.setExtension(String("e"));
  none.addDirEnd(String("x"));
  EXPECT_EQ(pieces(none), ".x|ne|n|e|.xne");
}

TEST(FileLocatorTest, SettersKeepThePiecesInStep) {
  FileLocator f;
  EXPECT_EQ(pieces(f), "||||");
  f.setExtension(String("cst"));
  EXPECT_EQ(pieces(f), "|.cst||cst|/.cst");
  f.setName(String("strings"));
  f.setLocation(String("/usr//"));
  EXPECT_EQ(pieces(f), "/usr/|strings.cst|strings|cst|/usr//strings.cst");
  f.setLocation(String());
  f.addDirStart(String("a"));
  EXPECT_EQ(utf8(f.location()), "a");
  f.setLocation(String());
  f.addDirEnd(String("a"));
  EXPECT_EQ(utf8(f.location()), "/a");
  f.addDirEnd(String("b/"));
  f.addDirStart(String("r"));
  f.setExtension(String());
  EXPECT_EQ(pieces(f), "r//a/b|strings.|strings||r//a/b/strings.");
  f.setFullName(String("x.y"));
  f.setFullName(String("z"));
  EXPECT_EQ(pieces(f), "r//a/b|z|z|y|r//a/b/z");
}

TEST(FileLocatorTest, CopiesPiecesButParsesAssignments) {
  FileLocator f(String("/a/x.y"));
  f.setFullName(String("z"));
  FileLocator copy(f);
  const FileLocator moved(std::move(copy));
  EXPECT_EQ(pieces(moved), pieces(f));
  EXPECT_EQ(pieces(copy), "||||");

  FileLocator target(String("b.old"));
  target = f;
  EXPECT_EQ(pieces(target), "/a|z|z|old|/a/z") << "without an extension in the text the target's stays";
  target = FileLocator(String("/c"));
  target = *&target;
  EXPECT_EQ(pieces(target), "|c|c|old|/c");
  const std::uint16_t units[] = {'d', '/', 'e', '.', 'f', 0}, *pointer = units;
  target = pointer;
  EXPECT_EQ(pieces(target), "d|e.f|e|f|d/e.f");
  EXPECT_EQ(pieces(FileLocator(pointer)), "d|e.f|e|f|d/e.f");
  target = static_cast<const std::uint16_t*>(nullptr);
  EXPECT_EQ(pieces(target), ".|||f|./");
}

TEST(FileLocatorTest, TakesItsOwnTextsAsArguments) {
  using Get = const String& (FileLocator::*)() const;
  using Set = void (*)(FileLocator&, const String&);
  static constexpr Get GETTERS[] = {&FileLocator::name, &FileLocator::extension, &FileLocator::fullName,
                                    &FileLocator::location, &FileLocator::path};
  static constexpr Set SETTERS[] = {[](FileLocator& f, const String& s) { f.setLocation(s); },
                                    [](FileLocator& f, const String& s) { f.setName(s); },
                                    [](FileLocator& f, const String& s) { f.setExtension(s); },
                                    [](FileLocator& f, const String& s) { f.setFullName(s); },
                                    [](FileLocator& f, const String& s) { f.addDirEnd(s); },
                                    [](FileLocator& f, const String& s) { f.addDirStart(s); },
                                    [](FileLocator& f, const String& s) { f = s; }};
  for (const Get get : GETTERS) {
    for (const Set set : SETTERS) {
      FileLocator own(String("some/where/a.b.txt")), foreign(own);
      const String text = (own.*get)();
      set(own, (own.*get)());
      set(foreign, text);
      EXPECT_EQ(pieces(own), pieces(foreign)) << "with " << utf8(text);
    }
  }
}

/// The names, sorted, or "failed".
std::string listed(const FileLocator& f) {
  std::vector<String> names;
  if (!f.listFiles(names)) return "failed";
  std::set<std::string> sorted;
  for (const String& name : names) sorted.insert(utf8(name) + " ");
  return std::accumulate(sorted.begin(), sorted.end(), std::string());
}

TEST(FileLocatorTest, ListsByExtension) {
  const TempDir dir;
  for (const char* name : {"a.cst", "b.CST", "c.cst.x", "d", ".cst", "ecst", "f.cs", "\xC3\xA4.cst"})
    dir.write(name, "");
  std::filesystem::create_directory(dir / "g.cst");
  FileLocator f(String((dir / "name.cst").c_str()));
  static constexpr const char* ROWS[][2] = {{"cst", ".cst a.cst g.cst \xC3\xA4.cst "},
                                            {"c*", ".cst a.cst c.cst.x f.cs g.cst \xC3\xA4.cst "},
                                            {"", ". .. .cst a.cst b.CST c.cst.x d ecst f.cs g.cst \xC3\xA4.cst "},
                                            {"*", ". .. .cst a.cst b.CST c.cst.x d ecst f.cs g.cst \xC3\xA4.cst "}};
  for (const auto& [extension, names] : ROWS) {
    f.setExtension(String(extension));
    EXPECT_EQ(listed(f), names) << extension;
  }
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(dir.path());
  f.setExtension(String("x"));
  for (const char* here : {"", ".//"}) {  // one separator stays, and no second one is needed
    f.setLocation(String(here));
    EXPECT_EQ(listed(f), "c.cst.x ");
  }
  std::filesystem::current_path(before);
}

TEST(FileLocatorTest, ListingTellsFailureFromNothing) {
  const TempDir dir;
  dir.write("file", "");
  FileLocator f(String((dir / "x.none").c_str()));
  std::vector<String> out{String("kept")};
  EXPECT_TRUE(f.listFiles(out));
  EXPECT_EQ(out.size(), 1u);
  for (const char* path : {"missing/x.none", "file/x.none"}) {
    EXPECT_EQ(listed(FileLocator(String((dir / path).c_str()))), "failed");
  }
  const String zero(std::u16string_view(u"\0x", 2));
  f.setExtension(zero);
  EXPECT_EQ(listed(f), "failed") << "an extension isn't cut at a zero unit";
  f.setExtension(String(u"\u00e4"));
  setACPid(1);  // no code page has this number
  EXPECT_EQ(listed(f), "failed") << "an extension that can't be converted isn't an empty one";
  setACPid(65001);
  f.setExtension(String());
  String location(f.location());
  f.setLocation(location += zero);
  EXPECT_EQ(listed(f), "failed") << "nor is a location cut";
}

}  // namespace
