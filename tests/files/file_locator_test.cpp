#include "zqcore27/files/file_locator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
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
  static constexpr struct {
    int line;
    const char *text, *pieces;
  } ROWS[] = {
      {__LINE__, "", ".||||./"},
      {__LINE__, "a.txt", ".|a.txt|a|txt|./a.txt"},
      {__LINE__, "dir/a", "dir|a|a||dir/a"},
      {__LINE__, "a.b.txt", ".|a.b.txt|a.b|txt|./a.b.txt"},
      {__LINE__, ".cst", ".|.cst||cst|./.cst"},
      {__LINE__, "a.", ".|a.|a||./a."},
      {__LINE__, "/a", "|a|a||/a"},
      {__LINE__, "d.x/", "d.x||||d.x/"},
      {__LINE__, "/x//a.b", "/x/|a.b|a|b|/x//a.b"},
      {__LINE__, "a\\b.txt", ".|a\\b.txt|a\\b|txt|./a\\b.txt"},  // the other slash is no separator
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line << ": " << row.text);
    EXPECT_EQ(pieces(FileLocator(String(row.text))), row.pieces);
    FileLocator assigned;
    assigned = String(row.text);
    EXPECT_EQ(pieces(assigned), row.pieces);
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
  EXPECT_EQ(pieces(f), "|strings.cst|strings|cst|/strings.cst");
  f.setLocation(String("/usr/"));
  EXPECT_EQ(pieces(f), "/usr|strings.cst|strings|cst|/usr/strings.cst");
  f.setLocation(String("/usr//"));
  EXPECT_EQ(utf8(f.location()), "/usr/");
  f.setLocation(String());
  EXPECT_EQ(utf8(f.path()), "/strings.cst");
  f.addDirStart(String("a"));
  EXPECT_EQ(utf8(f.location()), "a");
  f.setLocation(String());
  f.addDirEnd(String("a"));
  EXPECT_EQ(utf8(f.location()), "/a");
  f.addDirEnd(String("b/"));
  f.addDirStart(String("r"));
  EXPECT_EQ(utf8(f.path()), "r//a/b/strings.cst");
  f.setExtension(String());
  EXPECT_EQ(utf8(f.fullName()), "strings.");
  f.setFullName(String("x.y"));
  f.setFullName(String("z"));
  EXPECT_EQ(pieces(f), "r//a/b|z|z|y|r//a/b/z");
}

TEST(FileLocatorTest, CopiesPiecesButParsesAssignments) {
  FileLocator f(String("/a/x.y"));
  f.setFullName(String("z"));
  const std::string all = pieces(f);
  FileLocator copy(f);
  EXPECT_EQ(pieces(copy), all);
  FileLocator moved(std::move(copy));
  EXPECT_EQ(pieces(moved), all);
  EXPECT_EQ(pieces(copy), "||||");

  FileLocator target(String("b.old"));
  target = f;
  EXPECT_EQ(pieces(target), "/a|z|z|old|/a/z") << "without an extension in the text the target's stays";
  target = FileLocator(String("/c"));
  EXPECT_EQ(pieces(target), "|c|c|old|/c");
  const FileLocator& same = target;
  target = same;
  EXPECT_EQ(pieces(target), "|c|c|old|/c");
  const std::uint16_t units[] = {'d', '/', 'e', '.', 'f', 0};
  const std::uint16_t* pointer = units;
  target = pointer;
  EXPECT_EQ(pieces(target), "d|e.f|e|f|d/e.f");
  EXPECT_EQ(pieces(FileLocator(pointer)), "d|e.f|e|f|d/e.f");
  target = static_cast<const std::uint16_t*>(nullptr);
  EXPECT_EQ(pieces(target), ".|||f|./");
}

TEST(FileLocatorTest, TakesItsOwnTextsAsArguments) {
  using Set = void (FileLocator::*)(const String&);
  using Get = const String& (FileLocator::*)() const;
  static constexpr Set SETTERS[] = {&FileLocator::setLocation, &FileLocator::setName,   &FileLocator::setExtension,
                                    &FileLocator::setFullName, &FileLocator::addDirEnd, &FileLocator::addDirStart};
  static constexpr Get GETTERS[] = {&FileLocator::name, &FileLocator::extension, &FileLocator::fullName,
                                    &FileLocator::location, &FileLocator::path};
  for (const Get get : GETTERS) {
    for (const Set set : SETTERS) {
      FileLocator own(String("some/where/a.b.txt")), foreign(own);
      const String text = (own.*get)();
      (own.*set)((own.*get)());
      (foreign.*set)(text);
      EXPECT_EQ(pieces(own), pieces(foreign)) << "with " << utf8(text);
    }
    FileLocator own(String("some/where/a.b.txt")), foreign(own);
    const String text = (own.*get)();
    own = (own.*get)();
    foreign = text;
    EXPECT_EQ(pieces(own), pieces(foreign)) << "with " << utf8(text);
  }
}

std::string listed(const FileLocator& f, bool* result = nullptr) {
  std::vector<String> names;
  const bool done = f.listFiles(names);
  if (result != nullptr) *result = done;
  std::vector<std::string> sorted;
  for (const String& name : names) sorted.push_back(utf8(name));
  std::sort(sorted.begin(), sorted.end());
  std::string all;
  for (const std::string& name : sorted) all += name + " ";
  return all;
}

TEST(FileLocatorTest, ListsByExtension) {
  const TempDir dir;
  for (const char* name : {"a.cst", "b.CST", "c.cst.x", "d", ".cst", "ecst", "f.cs", "\xC3\xA4.cst"})
    dir.write(name, "");
  std::filesystem::create_directory(dir / "g.cst");
  std::filesystem::create_directory(dir / "empty");
  FileLocator f(String((dir / "name.cst").c_str()));
  static constexpr struct {
    int line;
    const char *extension, *names;
  } ROWS[] = {
      {__LINE__, "cst", ".cst a.cst g.cst \xC3\xA4.cst "},
      {__LINE__, "x", "c.cst.x "},
      {__LINE__, "cst.x", "c.cst.x "},
      {__LINE__, "c*", ".cst a.cst c.cst.x f.cs g.cst \xC3\xA4.cst "},
      {__LINE__, "none", ""},
      {__LINE__, "", ". .. .cst a.cst b.CST c.cst.x d ecst empty f.cs g.cst \xC3\xA4.cst "},
      {__LINE__, "*", ". .. .cst a.cst b.CST c.cst.x d ecst empty f.cs g.cst \xC3\xA4.cst "},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    f.setExtension(String(row.extension));
    bool done = false;
    EXPECT_EQ(listed(f, &done), row.names);
    EXPECT_TRUE(done);
  }
}

TEST(FileLocatorTest, ListingTellsFailureFromNothing) {
  const TempDir dir;
  dir.write("file", "");
  std::vector<String> out{String("kept")};
  EXPECT_TRUE(FileLocator(String((dir / "x.none").c_str())).listFiles(out));
  EXPECT_FALSE(FileLocator(String((dir / "missing/x.none").c_str())).listFiles(out));
  EXPECT_FALSE(FileLocator(String((dir / "file/x.none").c_str())).listFiles(out));
  FileLocator f(String((dir / "x.none").c_str()));
  f.setExtension(String(std::u16string_view(u"\0x", 2)));
  EXPECT_FALSE(f.listFiles(out)) << "an extension isn't cut at a zero unit";
  f.setExtension(String(u"\u00e4"));
  setACPid(1);  // no code page has this number
  EXPECT_FALSE(f.listFiles(out)) << "an extension that can't be converted isn't an empty one";
  setACPid(65001);
  f.setExtension(String());
  String location(f.location());
  f.setLocation(location += String(std::u16string_view(u"\0x", 2)));
  EXPECT_FALSE(f.listFiles(out)) << "nor is a location cut";
  ASSERT_EQ(out.size(), 1u);
  EXPECT_EQ(utf8(out[0]), "kept");
}

TEST(FileLocatorTest, EmptyLocationListsTheCurrentDirectory) {
  const TempDir dir;
  dir.write("here.cst", "");
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(dir.path());
  FileLocator f;
  f.setExtension(String("cst"));
  EXPECT_EQ(listed(f), "here.cst ");
  f.setLocation(String(".//"));  // one separator stays, and no second one is needed
  EXPECT_EQ(listed(f), "here.cst ");
  std::filesystem::current_path(before);
}

}  // namespace
