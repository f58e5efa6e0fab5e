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

/// The rules of a platform with another separator of directories, and none of extensions.
struct ForeignLocator : FileLocator {
  explicit ForeignLocator(const String& s) { from_string(s); }
  using FileLocator::operator=;
  std::uint16_t dir_sep() const override { return u'\\'; }
  std::uint16_t ext_sep() const override { return 0; }
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
                                            {".cst", ".|.cst||cst|./.cst"},
                                            {"a.", ".|a.|a||./a."},
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
  ForeignLocator f(String("D:\\dir\\a.b.txt"));
  EXPECT_EQ(pieces(f), "D:\\dir|a.b.txt|a.b.txt||D:\\dir\\a.b.txt");
  f.setName(String("n"));
  f.setExtension(String("e"));
  f.addDirEnd(String("x"));
  EXPECT_EQ(pieces(f), "D:\\dir\\x|ne|n|e|D:\\dir\\x\\ne");
  f = FileLocator(String("/q\\r.s"));  // parsed again, by the rules of the target
  EXPECT_EQ(pieces(f), "/q|r.s|r.s|e|/q\\r.s");
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
  const std::uint16_t units[] = {'d', '/', 'e', '.', 'f', 0}, *pointer = units;
  target = pointer;
  EXPECT_EQ(pieces(target), "d|e.f|e|f|d/e.f");
  EXPECT_EQ(pieces(FileLocator(pointer)), "d|e.f|e|f|d/e.f");
  target = static_cast<const std::uint16_t*>(nullptr);
  EXPECT_EQ(pieces(target), ".|||f|./");
}

TEST(FileLocatorTest, TakesItsOwnTextsAsArguments) {
  using Get = const String& (FileLocator::*)() const;
  using Set = void (FileLocator::*)(const String&);
  static constexpr Get GETTERS[] = {&FileLocator::name, &FileLocator::extension, &FileLocator::fullName,
                                    &FileLocator::location, &FileLocator::path};
  static constexpr Set SETTERS[] = {&FileLocator::setLocation, &FileLocator::setName,   &FileLocator::setExtension,
                                    &FileLocator::setFullName, &FileLocator::addDirEnd, &FileLocator::addDirStart};
  for (const Get get : GETTERS) {
    FileLocator assigned(String("some/where/a.b.txt")), parsed(assigned);
    const String text = (assigned.*get)();
    assigned = (assigned.*get)();
    parsed = text;
    EXPECT_EQ(pieces(assigned), pieces(parsed)) << "with " << utf8(text);
    for (const Set set : SETTERS) {
      FileLocator own(String("some/where/a.b.txt")), foreign(own);
      (own.*set)((own.*get)());
      (foreign.*set)(text);
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
                                            {"*t", ".cst a.cst g.cst \xC3\xA4.cst "},
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
