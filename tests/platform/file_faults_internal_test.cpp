// Replaces single system calls, which only the library's own objects allow.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <string_view>

#include "tests/support/temp_dir.h"
#include "zqcore27/platform/descriptor_file.h"
#include "zqcore27/platform/directory.h"
#include "zqcore27/platform/module_path.h"
#include "zqcore27/platform/posix/system_calls.h"
#include "zqcore27/platform/stream_file.h"

namespace {

using platform::Stream;
using posix::gSystemCalls;

constexpr platform::OpenFlags READ{.read = true};
constexpr platform::OpenFlags READ_WRITE{.read = true, .write = true, .create = true, .truncate = true};

/// Puts the system's calls back behind each test.
class PlatformFaultTest : public testing::Test {
 protected:
  PlatformFaultTest() { sCalls = 0; }
  ~PlatformFaultTest() override { gSystemCalls = posix::SystemCalls(); }

  /// True for two calls in three, with errno as after a signal.
  static bool interrupted() {
    if (++sCalls % 3 == 0) return false;
    errno = EINTR;
    return true;
  }
  /// Reads and writes move 1 to 700 bytes at once, and every call is interrupted before it goes on.
  static void disturb() {
    gSystemCalls.open = [](const char* path, int flags, mode_t mode) {
      return interrupted() ? -1 : ::open(path, flags, mode);
    };
    gSystemCalls.read = [](int descriptor, void* to, size_t n) -> ssize_t {
      return interrupted() ? -1 : ::read(descriptor, to, std::min(n, size_t{1} + static_cast<size_t>(sCalls) % 700));
    };
    gSystemCalls.write = [](int descriptor, const void* from, size_t n) -> ssize_t {
      return interrupted() ? -1 : ::write(descriptor, from, std::min(n, size_t{1} + static_cast<size_t>(sCalls) % 700));
    };
    gSystemCalls.opendir = [](const char* path) -> DIR* { return interrupted() ? nullptr : ::opendir(path); };
    gSystemCalls.readdir = [](DIR* directory) -> dirent* { return interrupted() ? nullptr : ::readdir(directory); };
    gSystemCalls.close = [](int descriptor) {
      ::close(descriptor);
      errno = EINTR;
      return -1;
    };
  }

  static inline int sCalls;
  TempDir dir;
};

TEST_F(PlatformFaultTest, StreamIsAFileInMemoryWhateverInterrupts) {
  std::mt19937 random(20260131);
  const auto below = [&](std::size_t n) { return random() % n; };
  disturb();
  Stream* const stream = Stream::open((dir / "model").c_str(), READ_WRITE);
  ASSERT_NE(stream, nullptr);
  std::string model;
  std::size_t at = 0;
  const auto store = [&](const std::string& bytes) {
    model.resize(std::max(model.size(), at));
    model.replace(at, bytes.size(), bytes);
    at += bytes.size();
  };
  for (int step = 0; step < 20000; ++step) {
    SCOPED_TRACE(step);
    std::string bytes(below(50) == 0 ? below(20000) : below(100), static_cast<char>('a' + below(26)));
    const std::string_view rest = std::string_view(model).substr(std::min(at, model.size()));
    const std::size_t kind = below(7), taken = std::min(rest.size(), bytes.size());
    if (kind == 0) {
      ASSERT_TRUE(stream->write(bytes.data(), bytes.size()));
      store(bytes);
    } else if (kind == 1) {
      ASSERT_TRUE(stream->put('#'));
      store("#");
    } else if (kind == 2) {
      ASSERT_EQ(stream->read(bytes.data(), bytes.size()), taken == bytes.size());
      ASSERT_EQ(bytes.substr(0, taken), rest.substr(0, taken));
      at += taken;
    } else if (kind < 5) {  // a byte, and perhaps back again
      ASSERT_EQ(stream->get(), rest.empty() ? -1 : rest[0]);
      const bool back = kind == 4 && !rest.empty();
      ASSERT_TRUE(!back || stream->unget(static_cast<unsigned char>(rest[0])));
      at += kind == 3 && !rest.empty() ? 1 : 0;
    } else if (kind == 5) {
      const bool fromEnd = below(2) == 0;
      at = fromEnd ? model.size() : below(model.size() + 100);
      ASSERT_TRUE(stream->seek(fromEnd ? 0 : static_cast<std::int64_t>(at),
                               fromEnd ? platform::SEEK_ORIGIN_END : platform::SEEK_ORIGIN_START));
    } else {
      ASSERT_TRUE(stream->flush());
    }
    ASSERT_EQ(stream->tell(), static_cast<std::int64_t>(at));
  }
  EXPECT_TRUE(Stream::close(stream)) << "an interrupted close has closed";
  EXPECT_TRUE(dir.read("model") == model);
}

TEST_F(PlatformFaultTest, FailuresAreReported) {
  const std::string path = dir.write("file", "abc");
  char bytes[3];
  const int descriptor = platform::openFile(path.c_str(), READ);
  gSystemCalls.read = [](int, void*, size_t) -> ssize_t { return errno = EIO, -1; };
  EXPECT_FALSE(platform::readFile(descriptor, bytes, 3));
  EXPECT_EQ(platform::readFileSome(descriptor, bytes, 3), -1);
  Stream* const broken = Stream::open(path.c_str(), READ);
  EXPECT_EQ(broken->get(), -1);
  EXPECT_TRUE(broken->atEnd()) << "a loop over a broken disk must end";
  gSystemCalls.lseek = [](int fd, off_t offset, int origin) -> off_t {
    return origin == SEEK_SET ? -1 : ::lseek(fd, offset, origin);
  };
  EXPECT_EQ(platform::fileSize(descriptor), -1) << "a size that moves the position is none";
  gSystemCalls.close = [](int fd) {
    ::close(fd);
    errno = EIO;
    return -1;
  };
  EXPECT_FALSE(Stream::close(broken));
  EXPECT_FALSE(platform::closeFile(descriptor));

  gSystemCalls = posix::SystemCalls();
  gSystemCalls.write = [](int, const void*, size_t) -> ssize_t { return errno = ENOSPC, -1; };
  Stream* const stream = Stream::open((dir / "full").c_str(), READ_WRITE);
  EXPECT_TRUE(stream->write("abc", 3));
  EXPECT_FALSE(stream->seek(0, platform::SEEK_ORIGIN_START));
  gSystemCalls.write = ::write;  // room again, too late for the three bytes
  EXPECT_FALSE(stream->flush());
  EXPECT_FALSE(Stream::close(stream));
}

TEST_F(PlatformFaultTest, ListingsMatchStars) {
  for (const char* name : {"a.b", "a.b.c", "aXbXb", "b", "a?"}) dir.write(name, "");
  disturb();
  EXPECT_TRUE(platform::DirectoryListing((dir / "missing").c_str(), "*").failed());
  // Nothing but the star stands for another character.
  static constexpr const char* ROWS[][2] = {{"*", ". .. a.b a.b.c a? aXbXb b "},
                                            {"*.*", ". .. a.b a.b.c "},
                                            {"*b", "a.b aXbXb b "},
                                            {"a*b*", "a.b a.b.c aXbXb "},
                                            {"a?", "a? "},
                                            {"b**", "b "}};
  for (const auto& [pattern, names] : ROWS) {
    platform::DirectoryListing listing(dir.path().c_str(), pattern);
    std::set<std::string> found;
    while (const char* name = listing.next()) found.insert(name + std::string(" "));
    EXPECT_EQ(std::accumulate(found.begin(), found.end(), std::string()), names) << pattern;
    EXPECT_FALSE(listing.failed());
  }
}

TEST_F(PlatformFaultTest, ModulePathsAreWholeOrNone) {
  const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
  const auto pathOf = [](void* module, std::size_t room) {
    std::string path(1024, '#');
    const std::size_t n = platform::modulePath(module, path.data(), room);
    EXPECT_TRUE(n == 0 || path[n] == 0);
    return path.substr(0, n);
  };
  void* const self = dlopen(nullptr, RTLD_NOW);
  for (void* const module : {static_cast<void*>(nullptr), self}) {
    EXPECT_EQ(pathOf(module, program.size()), "") << "no room for the zero byte";
    EXPECT_EQ(pathOf(module, program.size() + 1), program);
  }
  dlclose(self);
  void* const library = dlopen("libc.so.6", RTLD_NOW);
  const std::string path = pathOf(library, 1024);
  EXPECT_TRUE(path.find("/libc") != path.npos && std::filesystem::exists(path)) << path;
  EXPECT_EQ(pathOf(library, path.size()), "");
  dlclose(library);
}

}  // namespace
