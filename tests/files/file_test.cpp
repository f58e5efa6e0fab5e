#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "tests/support/at_once.h"
#include "tests/support/temp_dir.h"
#include "tests/support/text.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/files/basic_file.h"
#include "zqcore27/files/file.h"
#include "zqcore27/files/file_bin_header.h"

namespace {

/// The names and contents below are UTF-8, whatever the user's locale is.
[[maybe_unused]] const bool gNativeTextIsUTF8 = (setACPid(65001), true);

FileLocator locator(const std::string& path) { return FileLocator(String(path.c_str())); }

/// Open descriptors of the process, that of the walk included.
auto descriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

/// Each line in brackets, T or F behind it for the result; stops at the first false.
std::string lines(File& file) {
  std::string all;
  String line;
  for (bool more = true; more;) {
    more = file.readLine(line, String::NativeChar);
    all += "[" + utf8(line) + "]" + (more ? "T" : "F");
  }
  return all;
}

/// Both classes behind one face, for what they have in common.
template <typename AnyFile>
class AnyFileTest : public testing::Test {
 public:
  static constexpr bool STREAM = std::is_same_v<AnyFile, File>;

  static bool open(AnyFile& file, const std::string& path, int mode) {
    return static_cast<int>(file.open(locator(path), static_cast<typename AnyFile::Mode>(mode))) > 0;
  }
  bool open(const std::string& path, int mode) { return open(fFile, path, mode); }

  AnyFile fFile;
  TempDir dir;
};
using AnyFiles = testing::Types<File, BasicFile>;
TYPED_TEST_SUITE(AnyFileTest, AnyFiles);
struct FileTest : AnyFileTest<File> {
  File& file = fFile;
};
struct BasicFileTest : AnyFileTest<BasicFile> {
  BasicFile& file = fFile;
};

TYPED_TEST(AnyFileTest, OpenSaysWhy) {
  TypeParam& file = this->fFile;
  EXPECT_EQ(file.getError(), 1) << "a new object reports a failed access";
  const std::string there = this->dir.write("there.txt", "x"), sub = this->dir / "sub", link = this->dir / "link";
  const auto before = descriptors();
  std::filesystem::create_directory(sub);
  std::filesystem::create_symlink(sub, link);
  const auto check = [&](const std::string& path, int mode, int error) {
    SCOPED_TRACE(testing::Message() << path << " by " << mode);
    EXPECT_EQ(this->open(path, mode), error == 0);
    EXPECT_EQ(file.getError(), error);
    for (int i = 0; i < 2; ++i) EXPECT_TRUE(file.close());
    EXPECT_EQ(file.getError(), error) << "close leaves the error";
    EXPECT_EQ(descriptors(), before);
  };
  check(there, 17 + 32, 0);  // bits above 16 play no part
  for (const int mode : {0, 6, 16}) check(there, mode, 2);
  for (const int mode : {1, 2}) check(sub, mode, 1);
  check(link, 17, 1);
  check(this->dir / "missing", 1, 1);
  check(this->dir / ".cst", 0, 1);  // the missing name comes before the bad mode
  check("/dev/null/x", 2, 1);
  EXPECT_TRUE(this->open(*std::make_unique<TypeParam>(), there, 17));
  EXPECT_EQ(descriptors(), before) << "the destructor closes";

  // Paths that would name another file: there is no page 1 to convert by, and a zero unit would cut it.
  String path(this->dir.write("n\xC3\xA4me", "kept").c_str());
  for (const unsigned codePage : {1u, 65001u}) {
    setACPid(codePage);
    EXPECT_EQ(static_cast<int>(file.open(FileLocator(path), TypeParam::MODE_WRITE)), (this->STREAM ? 0 : -1));
    EXPECT_EQ(file.getError(), 1);
    path += String(std::u16string_view(u"\0", 1));
  }
  EXPECT_EQ(this->dir.read("n\xC3\xA4me"), "kept");
  EXPECT_FALSE(std::filesystem::exists(this->dir / "nme"));
}

TYPED_TEST(AnyFileTest, ModesMakeKeepAndEmptyFilesAsTheTableSays) {
  const struct {
    int mode;
    bool makes;
    const char* after;  // a file of "12345" after "AB" was written, or null if writing must fail
    bool reads;
  } rows[] = {{1, false, nullptr, true},
              {2, true, "AB", false},
              {3, true, "AB", true},
              {4, this->STREAM, "12345AB", false},
              {5, !this->STREAM, "AB345", true}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.mode);
    const std::string fresh = this->dir / std::to_string(row.mode);
    TypeParam& file = this->fFile;
    char byte = 0;
    EXPECT_EQ(this->open(fresh, row.mode), row.makes);
    EXPECT_EQ(std::filesystem::exists(fresh), row.makes);
    ASSERT_TRUE(this->open(this->dir.write("old", "12345"), row.mode + 16));
    EXPECT_EQ(file.write("AB", 2), row.after != nullptr);
    EXPECT_TRUE(file.seek(0, TypeParam::SEEK_FROM_START));
    EXPECT_EQ(file.read(&byte, 1), row.reads);
    EXPECT_TRUE(file.close());
    EXPECT_EQ(this->dir.read("old"), row.after != nullptr ? row.after : "12345");
  }
}

TYPED_TEST(AnyFileTest, TakesBothSlashesAndTheUmaskAndClosesOnExec) {
  std::filesystem::create_directory(this->dir / "sub");
  const mode_t before = umask(027);
  EXPECT_TRUE(this->open((this->dir / "sub") + "\\new.txt", 2));
  umask(before);
  struct stat status, open;
  ASSERT_EQ(stat((this->dir / "sub/new.txt").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640u);
  int closing = 0;
  for (int fd = 3; fd < 64; ++fd) {
    if (fstat(fd, &open) == 0 && open.st_ino == status.st_ino) closing += fcntl(fd, F_GETFD) == FD_CLOEXEC ? 1 : 99;
  }
  EXPECT_EQ(closing, 1);
}

TYPED_TEST(AnyFileTest, SeeksBySignedOffsetsAndKeepsThePositionInSize) {
  TypeParam& file = this->fFile;
  ASSERT_TRUE(this->open(this->dir.write("digits", "0123456789"), 17));
  const auto seek = [&](std::int64_t offset, int mode) {
    return file.seek(static_cast<unsigned int>(offset), static_cast<typename TypeParam::SeekMode>(mode));
  };
  char part[4] = {'-'};
  const auto next = [&] { return file.size() == 10 && file.read(part, 1) ? part[0] : '-'; };
  EXPECT_TRUE(seek(3, 0) && next() == '3');
  EXPECT_TRUE(seek(-2, 1) && next() == '2');
  EXPECT_TRUE(seek(-1, 2) && next() == '9');
  EXPECT_EQ(file.getError(), 0);
  for (const auto& [offset, mode] : {std::pair{0xFFFFFFFFu, 0}, {0xFFFFFFF5u, 2}, {0u, 3}}) {
    EXPECT_FALSE(seek(offset, mode)) << offset << " in mode " << mode;
    EXPECT_EQ(file.getError(), 3);
  }
  EXPECT_TRUE(seek(7, 0));
  EXPECT_FALSE(file.read(part, 4)) << "a short read is a failure";
  EXPECT_EQ(std::string(part, 3), "789") << "that leaves what was read";
  EXPECT_EQ(file.getError(), 3) << "only open clears the error";
  ASSERT_TRUE(this->open(this->dir / "digits", 17));
  EXPECT_EQ(file.getError(), 0);

  std::error_code failed;
  std::filesystem::resize_file(this->dir / "digits", 0x100000005ull, failed);
  if (failed) GTEST_SKIP() << "no room for sparse files of 4 GiB";
  EXPECT_EQ(file.size(), this->STREAM ? 0 : 0xFFFFFFFF);
  EXPECT_EQ(file.getError(), 3);
}

TYPED_TEST(AnyFileTest, ClosedFilesRefuse) {
  TypeParam& file = this->fFile;
  char byte = 0;
  EXPECT_FALSE(file.read(&byte, 1) || file.write(&byte, 1) || file.seek(0, TypeParam::SEEK_FROM_START));
  EXPECT_FALSE(file.lockedSeekAndRead(0, TypeParam::SEEK_FROM_START, &byte, 1));
  EXPECT_EQ(file.size(), this->STREAM ? 0 : 0xFFFFFFFF);
  if constexpr (TestFixture::STREAM) {
    String line;
    EXPECT_FALSE(file.flush() || file.putChr('x') || file.writeLine(line) || file.readLine(line, String::NativeChar));
    EXPECT_EQ(file.getChr(), -1);
  } else {
    EXPECT_EQ(file.stell(), 0xFFFFFFFF);
  }
}

TYPED_TEST(AnyFileTest, LockedReadsAreWholeAmongThreads) {
  constexpr unsigned int RECORD = 20000, RECORDS = 8, ROUNDS = 3000;  // more than a piece of the stream's reads
  constexpr auto START = TypeParam::SEEK_FROM_START;
  const auto record = [](unsigned int n) { return std::string(RECORD, static_cast<char>('a' + n)); };
  std::string content;
  for (unsigned int n = 0; n < RECORDS; ++n) content += record(n);
  TypeParam& file = this->fFile;
  ASSERT_TRUE(this->open(this->dir.write("records", content), 17));
  std::atomic<unsigned int> good = 0;
  atOnce(4, [&](unsigned int t) {
    std::string read(RECORD, '\0');
    for (unsigned int i = 0; i < ROUNDS; ++i) {
      const unsigned int n = (i * 5 + t * 3) % RECORDS;
      good += file.lockedSeekAndRead(n * RECORD, START, read.data(), RECORD) && read == record(n);
    }
  });
  EXPECT_EQ(good, 4 * ROUNDS);
  EXPECT_TRUE(file.lockedSeekAndRead(3, START, content.data(), 0));
  EXPECT_EQ(file.getError(), 0);
  EXPECT_FALSE(file.lockedSeekAndRead(RECORD * RECORDS - 1, START, content.data(), 2));
  EXPECT_EQ(file.getError(), 0) << "a short read is no error";
  EXPECT_FALSE(file.lockedSeekAndRead(0xFFFFFFFF, START, content.data(), 1));
  EXPECT_EQ(file.getError(), 3);
}

TEST_F(BasicFileTest, ResultsOfOpenAndStell) {
  const auto result = [&](const char* name, int mode) {
    return file.open(locator(dir / name), static_cast<BasicFile::Mode>(mode));
  };
  EXPECT_EQ(result("x", 6), 0) << "not -1: an odd answer to a bad mode";
  EXPECT_EQ(result("x", BasicFile::MODE_READ), -1);
  EXPECT_EQ(result(".x", BasicFile::MODE_READ), -1);
  const int descriptor = result("x", BasicFile::MODE_UPDATE | BasicFile::MODE_BINARY);
  ASSERT_GE(descriptor, 3);
  EXPECT_TRUE(file.write("12345", 5));
  EXPECT_EQ(file.stell(), 5u);
  EXPECT_EQ(dir.read("x"), "12345") << "no buffer stands between";
  EXPECT_TRUE(file.seek(2, BasicFile::SEEK_FROM_START));
  EXPECT_EQ(file.stell(), 2u);
  EXPECT_EQ(result("x", BasicFile::MODE_READ), descriptor) << "the open file was closed first";
  EXPECT_TRUE(file.seek(0x7FFFFFFF, BasicFile::SEEK_FROM_START));
  for (const std::uint32_t position : {0xFFFFFFFEu, 0xFFFFFFFFu}) {  // the last: beyond 32 bits
    EXPECT_TRUE(file.seek(0x7FFFFFFF, BasicFile::SEEK_FROM_CURRENT));
    EXPECT_EQ(file.stell(), position);
  }
}

TEST_F(FileTest, ReadsLinesWithEveryEnd) {
  const std::string x(999, 'x'), y(1000, 'y'), z(5001, 'z');
  const std::string ROWS[][2] = {
      {"", "[]F"},
      {"a\r\nb", "[a]T[b]F"},
      {"a\n\nb", "[a]T[]T[b]F"},
      {"a\r\n\r\nb\n", "[a]T[]T[b]F"},
      {"a\n", "[a]F"},  // the end of the file is met behind the lone end of the line
      {"a\r\n", "[a]T[]F"},
      {std::string("a\0b\nc", 5), "[a]T[c]F"},
      {"\xC3\xA4\n\xE2\x82\xAC", "[\xC3\xA4]T[\xE2\x82\xAC]F"},
      {x + "\n" + y + "\n" + z, "[" + x + "]T[" + y + "]T[" + z + "]F"},
  };
  for (const auto& [content, expected] : ROWS) {
    for (const unsigned int hint : {0u, 1u, 7u}) {
      SCOPED_TRACE(testing::Message() << testing::PrintToString(content.substr(0, 20)) << ", hint " << hint);
      ASSERT_TRUE(open(dir.write("lines", content), 1));
      file.hintBufferSize(hint / 7);
      file.hintBufferSize(hint);
      EXPECT_EQ(lines(file), expected);
      EXPECT_EQ(file.getError(), 0);
    }
  }
  String line;
  ASSERT_TRUE(open(dir.write("bad", "a\xFFz\nnext\n"), 1));
  EXPECT_THROW(file.readLine(line, String::NativeChar), StringError);
  EXPECT_EQ(lines(file), "[next]F") << "a bad line is consumed before its error";
}

TEST_F(FileTest, APipeLosesNoByteToThePushBack) {
  const std::string path = dir / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const std::jthread writer([&] {
    File out;
    EXPECT_TRUE(open(out, path, File::MODE_WRITE));
    EXPECT_TRUE(out.write(String("a\r\nb\nc\n\nd")));
  });
  EXPECT_TRUE(open(path, File::MODE_READ));
  String line;
  EXPECT_TRUE(file.readLine(line, String::NativeChar));
  EXPECT_EQ(file.getError(), 0) << "a pair needs no push back";
  EXPECT_TRUE(file.readLine(line, String::NativeChar));
  EXPECT_EQ(utf8(line), "b");
  EXPECT_EQ(file.getError(), 3);
  EXPECT_EQ(lines(file), "[c]T[]T[d]F");
  EXPECT_EQ(file.size(), 0u);
}

TEST_F(FileTest, WritesTextAndBytes) {
  ASSERT_TRUE(open(dir / "out", File::MODE_WRITE | File::MODE_BINARY));
  EXPECT_TRUE(file.writeLine(String("gr\xC3\xBC\xC3\x9F")) && file.write(String("end")));
  EXPECT_TRUE(file.putChr(0x4121));  // the low byte
  EXPECT_TRUE(file.writeLine(String()) && file.write(nullptr, 0) && file.flush());
  EXPECT_EQ(dir.read("out"), "gr\xC3\xBC\xC3\x9F\nend!\n");
  EXPECT_TRUE(file.close());
  ASSERT_TRUE(open(dir / "out", File::MODE_READ));
  EXPECT_EQ(file.getChr(), 'g');
  EXPECT_TRUE(file.seek(2, File::SEEK_FROM_START));
  EXPECT_EQ(file.getChr(), 0xC3);
  EXPECT_TRUE(file.seek(0, File::SEEK_FROM_END));
  EXPECT_EQ(file.getChr(), -1);
  EXPECT_FALSE(file.putChr('x')) << "open for reading only";
  EXPECT_EQ(file.getError(), 1);
  EXPECT_TRUE(file.write(String()));
  EXPECT_FALSE(file.writeLine(String())) << "the line end counts too";
}

TEST_F(FileTest, WhatTheDiskRefusesShows) {
  const auto openFull = [&] { return open("/dev/full", File::MODE_WRITE); };
  if (!openFull()) GTEST_SKIP() << "no /dev/full";
  EXPECT_TRUE(file.write("x", 1)) << "into the buffer";
  EXPECT_FALSE(file.flush() || file.close());
  ASSERT_TRUE(openFull());
  String large;
  large.fill(100000, 'x');
  EXPECT_FALSE(file.writeLine(large)) << "though there is room for the line feed";
  EXPECT_EQ(file.getError(), 0);
  int accepted = 0;
  while (accepted < 1 << 20 && file.putChr('x')) ++accepted;
  EXPECT_LT(accepted, 1 << 20);
  EXPECT_EQ(file.getError(), 1);
  EXPECT_FALSE(open("/dev/null", File::MODE_WRITE)) << "the loss shows where the file is closed";
  EXPECT_TRUE(open("/dev/null", File::MODE_WRITE));
}

const unsigned char* bytes(const char* s) { return reinterpret_cast<const unsigned char*>(s); }

// What each byte of a header counts for, the tests of catalogue files try.
TEST(FileBinHeaderTest, PadsAndCutsItsFieldsAndComparesThemWhole) {
  FileBinHeader header;
  const auto image = [&header] { return std::string(reinterpret_cast<const char*>(&header), sizeof header); };
  const std::string signature("\x9E\x85\x0D\x0A\x54\x61\xFE\x56\x69\x07\x4F\x00", 12);
  std::memset(static_cast<void*>(&header), 0xAA, sizeof header);
  header.set(bytes("CATALOGUES"), nullptr, bytes("windows"));
  EXPECT_EQ(image(), signature + std::string("CATALOGU\0\0\0\0\0\0window", 20));
  header.set(bytes("CONSTR"), bytes("2.7.A"), bytes("WIN"));
  EXPECT_EQ(image(), signature + std::string("CONSTR\0\0002.7.A\0WIN\0\0\0", 20));
  EXPECT_EQ(header.getVersionSize(), 6);
  EXPECT_TRUE(header.check(bytes("CONSTR"), bytes("2.7.A"), bytes("WIN")));
  EXPECT_TRUE(header.check(nullptr, nullptr, nullptr));
  EXPECT_FALSE(header.check(bytes("CONST"), nullptr, nullptr)) << "what stands in front isn't enough";
}

}  // namespace
