#include "zqcore27/platform/descriptor_file.h"

#include "zqcore27/platform/posix/system_calls.h"

inline namespace zqcore27 {
namespace platform {

using posix::gSystemCalls;
using posix::uninterrupted;

namespace {

constexpr mode_t READ_AND_WRITE_FOR_ALL = 0666;  // less the umask

int platformFlags(OpenFlags flags) {
  int result = O_CLOEXEC;
  result |= flags.write ? (flags.read ? O_RDWR : O_WRONLY) : O_RDONLY;
  if (flags.create) result |= O_CREAT;
  if (flags.truncate) result |= O_TRUNC;
  if (flags.append) result |= O_APPEND;
  return result;
}

bool isDirectory(int descriptor) {
  struct stat status;
  return gSystemCalls.fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

int openFile(const char* path, OpenFlags flags) {
  const int descriptor =
      uninterrupted([&] { return gSystemCalls.open(path, platformFlags(flags), READ_AND_WRITE_FOR_ALL); });
  if (descriptor >= 0 && isDirectory(descriptor)) {
    closeFile(descriptor);
    errno = EISDIR;
    return -1;
  }
  return descriptor;
}

// An interrupted close has released the descriptor: trying again could close another thread's file.
bool closeFile(int descriptor) { return gSystemCalls.close(descriptor) == 0 || errno == EINTR; }

bool readFile(int descriptor, void* to, std::size_t n) {
  for (std::size_t done = 0; done < n;) {
    const std::int64_t got = readFileSome(descriptor, static_cast<unsigned char*>(to) + done, n - done);
    if (got <= 0) return false;
    done += static_cast<std::size_t>(got);
  }
  return true;
}

std::int64_t readFileSome(int descriptor, void* to, std::size_t n) {
  return uninterrupted([&] { return gSystemCalls.read(descriptor, to, n); });
}

std::size_t writeFile(int descriptor, const void* from, std::size_t n) {
  std::size_t done = 0;
  while (done < n) {
    const auto* rest = static_cast<const unsigned char*>(from) + done;
    const ssize_t put = uninterrupted([&] { return gSystemCalls.write(descriptor, rest, n - done); });
    if (put <= 0) break;
    done += static_cast<std::size_t>(put);
  }
  return done;
}

std::int64_t seekFile(int descriptor, std::int64_t offset, int origin) {
  static_assert(SEEK_SET == SEEK_ORIGIN_START && SEEK_CUR == SEEK_ORIGIN_CURRENT && SEEK_END == SEEK_ORIGIN_END);
  if (origin < SEEK_ORIGIN_START || origin > SEEK_ORIGIN_END) return -1;  // the platform has further ones
  return gSystemCalls.lseek(descriptor, offset, origin);
}

std::int64_t fileSize(int descriptor) {
  const std::int64_t position = seekFile(descriptor, 0, SEEK_ORIGIN_CURRENT);
  if (position < 0) return -1;
  const std::int64_t size = seekFile(descriptor, 0, SEEK_ORIGIN_END);
  const std::int64_t back = seekFile(descriptor, position, SEEK_ORIGIN_START);
  return back == position ? size : -1;
}

}  // namespace platform
}  // namespace zqcore27
