#pragma once

// The one way from this folder to the operating system. The library never changes the table; a test replaces entries
// to make a call fail, be interrupted or come up short.

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

inline namespace zqcore27 {
namespace posix {

static_assert(sizeof(off_t) == 8, "file offsets have 64 bits");

struct SystemCalls {
  int (*open)(const char* path, int flags, mode_t mode) = [](const char* path, int flags, mode_t mode) {
    return ::open(path, flags, mode);
  };
  int (*close)(int descriptor) = ::close;
  ssize_t (*read)(int descriptor, void* to, size_t n) = ::read;
  ssize_t (*write)(int descriptor, const void* from, size_t n) = ::write;
  off_t (*lseek)(int descriptor, off_t offset, int origin) = ::lseek;
  int (*fstat)(int descriptor, struct stat* status) = [](int descriptor, struct stat* status) {
    return ::fstat(descriptor, status);
  };
  DIR* (*opendir)(const char* path) = ::opendir;
  dirent* (*readdir)(DIR* directory) = ::readdir;
  int (*closedir)(DIR* directory) = ::closedir;
  ssize_t (*readlink)(const char* path, char* out, size_t room) = ::readlink;
  int (*socket)(int domain, int type, int protocol) = ::socket;
  ssize_t (*sendmsg)(int descriptor, const msghdr* message, int flags) = ::sendmsg;
};

inline constinit SystemCalls gSystemCalls;

/// Makes a call again as long as a signal interrupts it.
template <typename Call>
auto uninterrupted(Call call) {
  auto result = call();
  while (result == static_cast<decltype(result)>(-1) && errno == EINTR) result = call();
  return result;
}

}  // namespace posix
}  // namespace zqcore27
