// Stands between a program and the C runtime, and makes the calls fail that a test asks for.

#include "tests/faults/fault_calls.h"

#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <iconv.h>
#include <link.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/auxv.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>

#ifdef FAULTS_OVER_SANITIZER  // the sanitizer's heap, which stands behind this program's symbols
#define HEAP(name) __interceptor_##name
#else
#define HEAP(name) __libc_##name
#endif

extern "C" {
void* HEAP(malloc)(size_t n);
void* HEAP(calloc)(size_t count, size_t n);
void* HEAP(realloc)(void* block, size_t n);
void* HEAP(memalign)(size_t alignment, size_t n);
void HEAP(free)(void* block);
}

namespace {

thread_local int gPaused = 0;
std::atomic<FaultMode> gMode{FaultMode::NONE};
std::atomic<bool> gCounting{false};
std::atomic<bool> gTracking{false};  // once started, until the process ends
std::atomic<std::uint32_t> gTarget{0}, gCalls{0}, gDelivered{0}, gKinds{0};

struct Module {
  bool holds(void* place) const {
    const auto at = reinterpret_cast<std::uintptr_t>(place);
    return at >= begin && at < end;
  }
  std::uintptr_t begin = 0, end = 0;
};
Module gLinker;   // keeps blocks with the stacks of threads that it keeps: they are nobody's leak
Module gRuntime;  // the C runtime where a sanitizer's own threads go through it, which can't do without memory

/// Blocks taken between the marks: a table with open addressing.
class Blocks {
 public:
  void add(void* block) {
    const Hold hold(*this);
    if (fLive == SIZE / 2) abort("too many live blocks");
    std::size_t i = place(block);
    while (fSlots[i] != nullptr && fSlots[i] != GONE) i = (i + 1) % SIZE;
    fSlots[i] = block;
    ++fLive;
  }
  /// False if the block isn't one of them.
  bool remove(void* block) {
    const Hold hold(*this);
    for (std::size_t i = place(block); fSlots[i] != nullptr; i = (i + 1) % SIZE) {
      if (fSlots[i] != block) continue;
      fSlots[i] = fSlots[(i + 1) % SIZE] == nullptr ? nullptr : GONE;
      --fLive;
      return true;
    }
    return false;
  }
  std::uint32_t live() {
    const Hold hold(*this);
    return fLive;
  }
  [[noreturn]] static void abort(const char* why) {
    static_cast<void>(!::write(2, why, strlen(why)));
    _exit(99);
  }

 private:
  struct Hold {
    explicit Hold(Blocks& b) : blocks(b) { pthread_mutex_lock(&blocks.fLock); }
    ~Hold() { pthread_mutex_unlock(&blocks.fLock); }
    Blocks& blocks;
  };
  static constexpr std::size_t SIZE = std::size_t{1} << 16;
  static inline void* const GONE = reinterpret_cast<void*>(1);

  static std::size_t place(void* block) { return (reinterpret_cast<std::uintptr_t>(block) >> 4) * 2654435761u % SIZE; }

  pthread_mutex_t fLock = PTHREAD_MUTEX_INITIALIZER;
  void* fSlots[SIZE] = {};
  std::uint32_t fLive = 0;
};
Blocks gBlocks;

bool concerns(FaultMode mode, std::uint32_t kind) {
  if (mode == FaultMode::INTERRUPTED) return (kind & (FAULT_OPEN | FAULT_READ | FAULT_WRITE | FAULT_CLOSE)) != 0;
  if (mode == FaultMode::SHORT) return (kind & (FAULT_READ | FAULT_WRITE)) != 0;
  return true;
}

/// Counts a call. True if it is the one to be hit.
bool hit(std::uint32_t kind) {
  const FaultMode mode = gMode;
  if (!gCounting || gPaused != 0 || !concerns(mode, kind)) return false;
  const std::uint32_t call = ++gCalls;
  const std::uint32_t target = gTarget;
  if (mode == FaultMode::NONE || call < target || (call > target && mode != FaultMode::FROM_THEN)) return false;
  ++gDelivered;
  gKinds |= kind;
  return true;
}

/// The same for a call that a signal can interrupt. Sets errno.
bool fails(std::uint32_t kind, int error) {
  if (!hit(kind)) return false;
  errno = gMode == FaultMode::INTERRUPTED ? EINTR : error;
  return true;
}

/// Whether read or write goes on, with `n` made shorter.
bool moves(std::uint32_t kind, int error, size_t& n) {
  if (gMode == FaultMode::SHORT) {
    if (n > 1 && hit(kind)) n = 1;
    return true;
  }
  return !fails(kind, error);
}

bool noHeap(void* caller) {
  if (gRuntime.holds(caller)) return false;
  return gMode != FaultMode::INTERRUPTED && gMode != FaultMode::SHORT && fails(FAULT_HEAP, ENOMEM);
}
bool refused(std::uint32_t kind, int error) {
  return gMode != FaultMode::INTERRUPTED && gMode != FaultMode::SHORT && fails(kind, error);
}

void* noted(void* block, void* caller) {
  if (block != nullptr && gCounting && gPaused == 0 && !gLinker.holds(caller)) gBlocks.add(block);
  return block;
}

void forget(void* block) {
  if (block != nullptr && gTracking) gBlocks.remove(block);
}

/// The function that this object hides.
template <class Function>
Function* next(const char* name, Function*) {
  static_assert(sizeof(Function*) == sizeof(void*));
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// Looked up before the marks, since the look-up takes memory.
struct Next {
  decltype(&::open) open = next("open", ::open);
  decltype(&::openat) openat = next("openat", ::openat);
  decltype(&::fopencookie) fopencookie = next("fopencookie", ::fopencookie);
  decltype(&::opendir) opendir = next("opendir", ::opendir);
  decltype(&::iconv_open) iconv_open = next("iconv_open", ::iconv_open);
  decltype(&::read) read = next("read", ::read);
  decltype(&::pread) pread = next("pread", ::pread);
  decltype(&::readdir) readdir = next("readdir", ::readdir);
  decltype(&::write) write = next("write", ::write);
  decltype(&::pwrite) pwrite = next("pwrite", ::pwrite);
  decltype(&::sendmsg) sendmsg = next("sendmsg", ::sendmsg);
  decltype(&::lseek) lseek = next("lseek", ::lseek);
  decltype(&::close) close = next("close", ::close);
  decltype(&::closedir) closedir = next("closedir", ::closedir);
  decltype(&::fstat) fstat = next("fstat", ::fstat);
  decltype(&::readlink) readlink = next("readlink", ::readlink);
  decltype(&::pthread_create) pthread_create = next("pthread_create", ::pthread_create);
};

const Next& runtime() {
  static const Next found;
  return found;
}

int findModules(dl_phdr_info* module, std::size_t, void*) {
  Module found;
  for (int i = 0; i < module->dlpi_phnum; ++i) {
    if (module->dlpi_phdr[i].p_type != PT_LOAD) continue;
    const std::uintptr_t begin = module->dlpi_addr + module->dlpi_phdr[i].p_vaddr;
    if (found.begin == 0) found.begin = begin;
    found.end = begin + module->dlpi_phdr[i].p_memsz;
  }
  if (module->dlpi_addr == getauxval(AT_BASE)) gLinker = found;
#ifdef FAULTS_OVER_SANITIZER
  if (strstr(module->dlpi_name, "/libc.so") != nullptr) gRuntime = found;
#endif
  return 0;
}

}  // namespace

#define EXPORTED __attribute__((visibility("default")))
#define CALLER __builtin_return_address(0)

extern "C" {

EXPORTED void faultsStart(std::uint32_t n, FaultMode mode) {
  runtime();
  dl_iterate_phdr(findModules, nullptr);
  gTarget = n;
  gMode = mode;
  gCalls = gDelivered = gKinds = 0;
  gTracking = gCounting = true;
}
EXPORTED void faultsStop() { gCounting = false; }
EXPORTED FaultsSeen faultsSeen() { return {gCalls, gDelivered, gKinds, gBlocks.live()}; }
EXPORTED void faultsPause(int by) { gPaused += by; }

EXPORTED void* malloc(size_t n) { return noHeap(CALLER) ? nullptr : noted(HEAP(malloc)(n), CALLER); }
EXPORTED void* calloc(size_t count, size_t n) {
  return noHeap(CALLER) ? nullptr : noted(HEAP(calloc)(count, n), CALLER);
}
EXPORTED void* realloc(void* block, size_t n) {
  if (noHeap(CALLER)) return nullptr;
  const bool known = block != nullptr && gTracking && gBlocks.remove(block);
  void* const moved = HEAP(realloc)(block, n);
  if (moved == nullptr && n != 0 && known) gBlocks.add(block);
  if (known && moved != nullptr) return gBlocks.add(moved), moved;
  return block == nullptr ? noted(moved, CALLER) : moved;
}
EXPORTED void* aligned_alloc(size_t alignment, size_t n) {
  return noHeap(CALLER) ? nullptr : noted(HEAP(memalign)(alignment, n), CALLER);
}
EXPORTED int posix_memalign(void** block, size_t alignment, size_t n) {
  void* const taken = noHeap(CALLER) ? nullptr : noted(HEAP(memalign)(alignment, n), CALLER);
  if (taken == nullptr) return ENOMEM;
  *block = taken;
  return 0;
}
EXPORTED void free(void* block) {
  forget(block);
  HEAP(free)(block);
}

EXPORTED int open(const char* path, int flags, ...) {
  va_list args;
  va_start(args, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(args, mode_t) : 0;
  va_end(args);
  return fails(FAULT_OPEN, EMFILE) ? -1 : runtime().open(path, flags, mode);
}
EXPORTED int openat(int directory, const char* path, int flags, ...) {
  va_list args;
  va_start(args, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(args, mode_t) : 0;
  va_end(args);
  return fails(FAULT_OPEN, EMFILE) ? -1 : runtime().openat(directory, path, flags, mode);
}
EXPORTED FILE* fopencookie(void* cookie, const char* mode, cookie_io_functions_t functions) {
  return refused(FAULT_OPEN, ENOMEM) ? nullptr : runtime().fopencookie(cookie, mode, functions);
}
EXPORTED DIR* opendir(const char* path) { return refused(FAULT_OPEN, EMFILE) ? nullptr : runtime().opendir(path); }
EXPORTED iconv_t iconv_open(const char* to, const char* from) {
  return refused(FAULT_OPEN, ENOMEM) ? reinterpret_cast<iconv_t>(-1) : runtime().iconv_open(to, from);
}

EXPORTED ssize_t read(int descriptor, void* to, size_t n) {
  return moves(FAULT_READ, EIO, n) ? runtime().read(descriptor, to, n) : -1;
}
EXPORTED ssize_t pread(int descriptor, void* to, size_t n, off_t offset) {
  return moves(FAULT_READ, EIO, n) ? runtime().pread(descriptor, to, n, offset) : -1;
}
EXPORTED dirent* readdir(DIR* directory) { return refused(FAULT_READ, EIO) ? nullptr : runtime().readdir(directory); }
EXPORTED ssize_t write(int descriptor, const void* from, size_t n) {
  return moves(FAULT_WRITE, ENOSPC, n) ? runtime().write(descriptor, from, n) : -1;
}
EXPORTED ssize_t pwrite(int descriptor, const void* from, size_t n, off_t offset) {
  return moves(FAULT_WRITE, ENOSPC, n) ? runtime().pwrite(descriptor, from, n, offset) : -1;
}
EXPORTED ssize_t sendmsg(int descriptor, const msghdr* message, int flags) {
  return refused(FAULT_WRITE, ENOBUFS) ? -1 : runtime().sendmsg(descriptor, message, flags);
}
EXPORTED off_t lseek(int descriptor, off_t offset, int origin) {
  return refused(FAULT_SEEK, EIO) ? -1 : runtime().lseek(descriptor, offset, origin);
}
EXPORTED int close(int descriptor) {
  const bool failed = gMode != FaultMode::SHORT && hit(FAULT_CLOSE);
  const int closed = runtime().close(descriptor);
  if (failed) errno = gMode == FaultMode::INTERRUPTED ? EINTR : EIO;
  return failed ? -1 : closed;
}
EXPORTED int closedir(DIR* directory) {
  const bool failed = refused(FAULT_CLOSE, EIO);
  const int closed = runtime().closedir(directory);
  return failed ? -1 : closed;
}
EXPORTED int fstat(int descriptor, struct stat* status) noexcept {
  return refused(FAULT_STATUS, EIO) ? -1 : runtime().fstat(descriptor, status);
}
EXPORTED ssize_t readlink(const char* path, char* out, size_t room) noexcept {
  return refused(FAULT_STATUS, EIO) ? -1 : runtime().readlink(path, out, room);
}
EXPORTED int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) {
  return refused(FAULT_THREAD, EAGAIN) ? EAGAIN : runtime().pthread_create(thread, attributes, body, argument);
}

}  // extern "C"
