#include "zqcore27/files/file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/support/temp_dir.h"
#include "tests/support/text.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/files/basic_file.h"

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
  bool more = true;
  while (more) {
    more = file.readLine(line, String::NativeChar);
    all += "[" + utf8(line) + "]" + (more ? "T" : "F");
  }
  return all;
}

/// Both classes behind one face, for what they have in common.
template <typename AnyFile>
class AnyFileTest : public testing::Test {
 public:
  using Mode = typename AnyFile::Mode;
  using SeekMode = typename AnyFile::SeekMode;

  static bool open(AnyFile& file, const std::string& path, int mode) {
    const auto result = file.open(locator(path), static_cast<Mode>(mode));
    if constexpr (std::is_same_v<AnyFile, File>) {
      return result;
    } else {
      return result > 0;
    }
  }
  TempDir dir;
};
using AnyFiles = testing::Types<File, BasicFile>;
TYPED_TEST_SUITE(AnyFileTest, AnyFiles);

TYPED_TEST(AnyFileTest, OpenSaysWhy) {
  TypeParam file;
  EXPECT_EQ(file.getError(), 1) << "a new object reports a failed access";
  const std::string there = this->dir.write("there.txt", "x");
  const std::string link = this->dir / "link";
  const auto before = descriptors();
  std::filesystem::create_directory(this->dir / "sub");
  std::filesystem::create_symlink(this->dir / "sub", link);
  const struct {
    int line;
    std::string path;
    int mode, error;
  } rows[] = {
      {__LINE__, there, 1, 0},
      {__LINE__, there, 17, 0},
      {__LINE__, there, 17 + 32, 0},  // bits above 16 play no part
      {__LINE__, this->dir / "missing", 1, 1},
      {__LINE__, there, 0, 2},
      {__LINE__, there, 6, 2},
      {__LINE__, there, 15, 2},
      {__LINE__, there, 16, 2},
      {__LINE__, this->dir / ".cst", 0, 1},  // the missing name comes before the bad mode
      {__LINE__, this->dir / "sub", 1, 1},
      {__LINE__, this->dir / "sub", 2, 1},
      {__LINE__, link, 17, 1},
      {__LINE__, "/dev/null/x", 2, 1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line << ": " << row.path);
    EXPECT_EQ(this->open(file, row.path, row.mode), row.error == 0);
    EXPECT_EQ(file.getError(), row.error);
    EXPECT_TRUE(file.close());
    EXPECT_TRUE(file.close());
    EXPECT_EQ(file.getError(), row.error) << "close leaves the error";
    EXPECT_EQ(descriptors(), before);
  }
  EXPECT_TRUE(this->open(*std::make_unique<TypeParam>(), there, 17));
  EXPECT_EQ(descriptors(), before) << "the destructor closes";
}

TYPED_TEST(AnyFileTest, RefusesPathsThatWouldNameAnotherFile) {
  using namespace std::literals;
  static const struct {
    int line;
    unsigned int codePage;
    std::u16string_view tail;
  } ROWS[] = {{__LINE__, 65001, u"\0"sv}, {__LINE__, 1, u""sv}};  // no code page has number 1
  const std::string there = this->dir.write("n\xC3\xA4me", "kept");
  for (const auto& row : ROWS) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    String path(there.c_str());
    path += String(row.tail);
    TypeParam file;
    setACPid(row.codePage);
    const auto result = file.open(FileLocator(path), TypeParam::MODE_WRITE);
    setACPid(65001);
    EXPECT_EQ(static_cast<int>(result), (std::is_same_v<TypeParam, File> ? 0 : -1));
    EXPECT_EQ(file.getError(), 1);
    EXPECT_EQ(this->dir.read("n\xC3\xA4me"), "kept");
    EXPECT_FALSE(std::filesystem::exists(this->dir / "nme"));
  }
}

TYPED_TEST(AnyFileTest, ModesMakeKeepAndEmptyFilesAsTheTableSays) {
  constexpr bool STREAM = std::is_same_v<TypeParam, File>;
  const struct {
    int line, mode;
    bool makes;
    const char* after;  // a file of "12345" after "AB" was written, or null if writing must fail
    bool reads;
  } rows[] = {
      {__LINE__, 1, false, nullptr, true},     {__LINE__, 2, true, "AB", false},      {__LINE__, 3, true, "AB", true},
      {__LINE__, 4, STREAM, "12345AB", false}, {__LINE__, 5, !STREAM, "AB345", true},
  };
  for (const auto& row : rows) {
    for (const int binary : {0, 16}) {
      SCOPED_TRACE(testing::Message() << "row of line " << row.line << ", " << binary);
      const std::string fresh = this->dir / "fresh";
      std::filesystem::remove(fresh);
      TypeParam file;
      EXPECT_EQ(this->open(file, fresh, row.mode + binary), row.makes);
      EXPECT_TRUE(file.close());
      EXPECT_EQ(std::filesystem::exists(fresh), row.makes);

      ASSERT_TRUE(this->open(file, this->dir.write("old", "12345"), row.mode + binary));
      EXPECT_EQ(file.write("AB", 2), row.after != nullptr);
      EXPECT_TRUE(file.seek(0, TypeParam::SEEK_FROM_START));
      char byte = 0;
      EXPECT_EQ(file.read(&byte, 1), row.reads);
      EXPECT_TRUE(file.close());
      EXPECT_EQ(this->dir.read("old"), row.after != nullptr ? row.after : "12345");
    }
  }
}

TYPED_TEST(AnyFileTest, TakesBothSlashesAndTheUmaskAndClosesOnExec) {
  std::filesystem::create_directory(this->dir / "sub");
  const mode_t before = umask(027);
  TypeParam file;
  EXPECT_TRUE(this->open(file, (this->dir / "sub") + "\\new.txt", 2));
  umask(before);
  struct stat status;
  ASSERT_EQ(stat((this->dir / "sub/new.txt").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640u);
  int descriptors = 0;
  for (int fd = 3; fd < 64; ++fd) {
    struct stat open;
    if (fstat(fd, &open) != 0 || open.st_ino != status.st_ino) continue;
    ++descriptors;
    EXPECT_TRUE((fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0);
  }
  EXPECT_EQ(descriptors, 1);
}

TYPED_TEST(AnyFileTest, SeeksBySignedOffsetsAndKeepsThePositionInSize) {
  TypeParam file;
  ASSERT_TRUE(this->open(file, this->dir.write("digits", "0123456789"), 17));
  const auto seek = [&](unsigned int offset, int mode) {
    return file.seek(offset, static_cast<typename TypeParam::SeekMode>(mode));
  };
  const auto next = [&] {
    char byte = '-';
    file.read(&byte, 1);
    return byte;
  };
  EXPECT_TRUE(seek(3, 0));
  EXPECT_EQ(file.size(), 10u);
  EXPECT_EQ(next(), '3');
  EXPECT_TRUE(seek(static_cast<unsigned int>(-2), 1));
  EXPECT_EQ(next(), '2');
  EXPECT_TRUE(seek(static_cast<unsigned int>(-1), 2));
  EXPECT_EQ(next(), '9');
  EXPECT_EQ(file.getError(), 0);
  for (const auto& [offset, mode] : {std::pair{0xFFFFFFFFu, 0}, {0x80000000u, 0}, {0xFFFFFFF5u, 2}, {0u, 3}, {0u, 7}}) {
    EXPECT_FALSE(seek(offset, mode)) << offset << " in mode " << mode;
    EXPECT_EQ(file.getError(), 3);
  }
  char part[4] = {};
  EXPECT_TRUE(seek(8, 0));
  EXPECT_FALSE(file.read(part, 4)) << "a short read is a failure";
  EXPECT_EQ(std::string(part), "89") << "that leaves what was read";
  EXPECT_EQ(file.getError(), 3) << "only open clears the error";
  ASSERT_TRUE(this->open(file, this->dir / "digits", 17));
  EXPECT_EQ(file.getError(), 0);
}

TYPED_TEST(AnyFileTest, SizesAboveThirtyTwoBitsAreFailures) {
  constexpr bool STREAM = std::is_same_v<TypeParam, File>;
  const std::string path = this->dir.write("huge", "x");
  const struct {
    int line;
    std::uintmax_t bytes;
    unsigned int size;
    int error;
  } rows[] = {{__LINE__, 0x80000000u, 0x80000000u, 0},
              {__LINE__, 0xFFFFFFFFu, 0xFFFFFFFFu, 0},
              {__LINE__, 0x100000000u, STREAM ? 0 : 0xFFFFFFFF, 3},
              {__LINE__, 0x100000005u, STREAM ? 0 : 0xFFFFFFFF, 3}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << "row of line " << row.line);
    std::error_code failed;
    std::filesystem::resize_file(path, row.bytes, failed);
    if (failed) GTEST_SKIP() << "no room for sparse files of 4 GiB";
    TypeParam file;
    ASSERT_TRUE(this->open(file, path, 17));
    EXPECT_EQ(file.size(), row.size);
    EXPECT_EQ(file.getError(), row.error);
  }
}

TYPED_TEST(AnyFileTest, ClosedFilesRefuse) {
  constexpr bool STREAM = std::is_same_v<TypeParam, File>;
  TypeParam file;
  char byte = 0;
  EXPECT_FALSE(file.read(&byte, 1));
  EXPECT_FALSE(file.write(&byte, 1));
  EXPECT_FALSE(file.seek(0, TypeParam::SEEK_FROM_START));
  EXPECT_FALSE(file.lockedSeekAndRead(0, TypeParam::SEEK_FROM_START, &byte, 1));
  EXPECT_EQ(file.size(), STREAM ? 0 : 0xFFFFFFFF);
  if constexpr (STREAM) {
    String line;
    EXPECT_FALSE(file.flush());
    EXPECT_FALSE(file.putChr('x'));
    EXPECT_FALSE(file.writeLine(line));
    EXPECT_FALSE(file.readLine(line, String::NativeChar));
    EXPECT_EQ(file.getChr(), -1);
  } else {
    EXPECT_EQ(file.stell(), 0xFFFFFFFF);
  }
}

TYPED_TEST(AnyFileTest, LockedReadsAreWholeAmongThreads) {
  constexpr unsigned int RECORD = 20000;  // more than a piece of the stream's reads
  constexpr int RECORDS = 8, ROUNDS = 200;
  std::string content;
  for (int i = 0; i < RECORDS; ++i) content.append(RECORD, static_cast<char>('a' + i));
  TypeParam file;
  ASSERT_TRUE(this->open(file, this->dir.write("records", content), 17));
  std::atomic<int> good = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      std::string record(RECORD, '\0');
      for (int i = 0; i < ROUNDS; ++i) {
        const auto n = static_cast<unsigned int>((i * 5 + t * 3) % RECORDS);
        if (file.lockedSeekAndRead(n * RECORD, TypeParam::SEEK_FROM_START, record.data(), RECORD) &&
            record == std::string(RECORD, static_cast<char>('a' + n))) {
          ++good;
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(good, 4 * ROUNDS);
  char byte = 0;
  EXPECT_TRUE(file.lockedSeekAndRead(3, TypeParam::SEEK_FROM_START, &byte, 0));
  EXPECT_EQ(file.getError(), 0);
  EXPECT_FALSE(file.lockedSeekAndRead(RECORD * RECORDS - 1, TypeParam::SEEK_FROM_START, content.data(), 2));
  EXPECT_EQ(file.getError(), 0) << "a short read is no error";
  EXPECT_FALSE(file.lockedSeekAndRead(0xFFFFFFFF, TypeParam::SEEK_FROM_START, &byte, 1));
  EXPECT_EQ(file.getError(), 3);
}

TEST(BasicFileTest, ResultsOfOpenAndStell) {
  const TempDir dir;
  BasicFile file;
  EXPECT_EQ(file.open(locator(dir / "x"), static_cast<BasicFile::Mode>(6)), 0) << "not -1: an odd answer to a bad mode";
  EXPECT_EQ(file.open(locator(dir / "x"), BasicFile::MODE_READ), -1);
  EXPECT_EQ(file.open(locator(dir / ".x"), BasicFile::MODE_READ), -1);
  const int descriptor = file.open(locator(dir / "x"), BasicFile::MODE_UPDATE | BasicFile::MODE_BINARY);
  ASSERT_GE(descriptor, 3);
  EXPECT_TRUE(file.write("12345", 5));
  EXPECT_EQ(file.stell(), 5u);
  EXPECT_EQ(dir.read("x"), "12345") << "no buffer stands between";
  EXPECT_TRUE(file.seek(2, BasicFile::SEEK_FROM_START));
  EXPECT_EQ(file.stell(), 2u);
  EXPECT_EQ(file.open(locator(dir / "x"), BasicFile::MODE_READ), descriptor) << "the open file was closed first";
  EXPECT_TRUE(file.seek(0x7FFFFFFF, BasicFile::SEEK_FROM_START));
  EXPECT_TRUE(file.seek(0x7FFFFFFF, BasicFile::SEEK_FROM_CURRENT));
  EXPECT_EQ(file.stell(), 0xFFFFFFFEu);
  EXPECT_TRUE(file.seek(0x7FFFFFFF, BasicFile::SEEK_FROM_CURRENT));
  EXPECT_EQ(file.stell(), 0xFFFFFFFFu) << "beyond 32 bits";
}

TEST(FileTest, ReadsLinesWithEveryEnd) {
  const TempDir dir;
  static const struct {
    int line;
    std::string content, lines;
  } ROWS[] = {
      {__LINE__, "", "[]F"},
      {__LINE__, "a\r\nb", "[a]T[b]F"},
      {__LINE__, "a\n\rb", "[a]T[b]F"},
      {__LINE__, "a\n\nb", "[a]T[]T[b]F"},
      {__LINE__, "a\r\rb", "[a]T[]T[b]F"},
      {__LINE__, "a\r\n\r\nb\n", "[a]T[]T[b]F"},
      {__LINE__, "a\n", "[a]F"},  // the end of the file is met behind the lone end of the line
      {__LINE__, "a\r\n", "[a]T[]F"},
      {__LINE__, "\n\n", "[]T[]F"},
      {__LINE__, std::string("a\0b\nc", 5), "[a]T[c]F"},
      {__LINE__, "\xC3\xA4\n\xE2\x82\xAC", "[\xC3\xA4]T[\xE2\x82\xAC]F"},
      {__LINE__, std::string(999, 'x') + "\n" + std::string(1000, 'y') + "\n" + std::string(5001, 'z'),
       "[" + std::string(999, 'x') + "]T[" + std::string(1000, 'y') + "]T[" + std::string(5001, 'z') + "]F"},
  };
  for (const auto& row : ROWS) {
    for (const unsigned int hint : {0u, 1u, 7u}) {
      SCOPED_TRACE(testing::Message() << "row of line " << row.line << ", hint " << hint);
      File file;
      ASSERT_TRUE(file.open(locator(dir.write("lines", row.content)), File::MODE_READ));
      file.hintBufferSize(hint);
      EXPECT_EQ(lines(file), row.lines);
      EXPECT_EQ(file.getError(), 0);
      file.hintBufferSize(0);
      EXPECT_TRUE(file.seek(0, File::SEEK_FROM_START));
      EXPECT_EQ(lines(file), row.lines) << "again from the start";
    }
  }
}

TEST(FileTest, ABadLineIsConsumedBeforeItsError) {
  const TempDir dir;
  File file;
  ASSERT_TRUE(file.open(locator(dir.write("bad", "a\xFFz\nnext\n")), File::MODE_READ));
  String line;
  try {
    file.readLine(line, String::NativeChar);
    ADD_FAILURE() << "no error";
  } catch (const StringError& e) {
    EXPECT_EQ(e.code(), StringError::BAD_NATIVE_TEXT);
  }
  EXPECT_EQ(lines(file), "[next]F");
}

TEST(FileTest, APipeLosesNoByteToThePushBack) {
  const TempDir dir;
  const std::string path = dir / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  std::thread writer([&] {
    File out;
    EXPECT_TRUE(out.open(locator(path), File::MODE_WRITE));
    EXPECT_TRUE(out.write(String("a\r\nb\nc\n\nd")));
    EXPECT_TRUE(out.close());
  });
  File file;
  EXPECT_TRUE(file.open(locator(path), File::MODE_READ));
  String line;
  EXPECT_TRUE(file.readLine(line, String::NativeChar));
  EXPECT_EQ(utf8(line), "a");
  EXPECT_EQ(file.getError(), 0) << "a pair needs no push back";
  EXPECT_TRUE(file.readLine(line, String::NativeChar));
  EXPECT_EQ(utf8(line), "b");
  EXPECT_EQ(file.getError(), 3);
  EXPECT_EQ(lines(file), "[c]T[]T[d]F");
  EXPECT_EQ(file.size(), 0u);
  writer.join();
}

TEST(FileTest, WritesTextAndBytes) {
  const TempDir dir;
  File file;
  ASSERT_TRUE(file.open(locator(dir / "out"), File::MODE_WRITE | File::MODE_BINARY));
  EXPECT_TRUE(file.writeLine(String("gr\xC3\xBC\xC3\x9F")));
  EXPECT_TRUE(file.write(String("end")));
  EXPECT_TRUE(file.putChr(0x4121));  // the low byte
  EXPECT_TRUE(file.writeLine(String()));
  EXPECT_TRUE(file.write(nullptr, 0));
  EXPECT_TRUE(file.flush());
  EXPECT_EQ(dir.read("out"), "gr\xC3\xBC\xC3\x9F\nend!\n");
  EXPECT_TRUE(file.close());
  ASSERT_TRUE(file.open(locator(dir / "out"), File::MODE_READ));
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

TEST(FileTest, WhatTheDiskRefusesShows) {
  File file;
  if (!file.open(locator("/dev/full"), File::MODE_WRITE)) GTEST_SKIP() << "no /dev/full";
  EXPECT_TRUE(file.write("x", 1)) << "into the buffer";
  EXPECT_FALSE(file.flush());
  EXPECT_FALSE(file.flush()) << "the byte is still lost";
  EXPECT_FALSE(file.close());
  ASSERT_TRUE(file.open(locator("/dev/full"), File::MODE_WRITE));
  EXPECT_TRUE(file.write("x", 1));
  EXPECT_FALSE(file.close());
  ASSERT_TRUE(file.open(locator("/dev/full"), File::MODE_WRITE));
  int accepted = 0;
  while (accepted < 1 << 20 && file.putChr('x')) ++accepted;
  EXPECT_LT(accepted, 1 << 20);
  EXPECT_EQ(file.getError(), 1);
  EXPECT_FALSE(file.open(locator("/dev/null"), File::MODE_WRITE)) << "the loss shows where the file is closed";
  EXPECT_EQ(file.getError(), 1);
  EXPECT_TRUE(file.open(locator("/dev/null"), File::MODE_WRITE));
}

}  // namespace
