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
#include <stdlib.h>
#include <string.h>
#include <sys/auxv.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <mutex>

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
std::atomic<std::uint32_t> gTarget{0}, gCounted{0}, gCalls{0}, gDelivered{0}, gKinds{0};
std::atomic<std::uint64_t> gRead{0};

struct Module {
  bool holds(void* place) const {
    const auto at = reinterpret_cast<std::uintptr_t>(place);
    return at >= begin && at < end;
  }
  std::uintptr_t begin = 0, end = 0;
};
Module gLinker;   // keeps blocks with the stacks of threads that it keeps: they are nobody's leak
Module gRuntime;  // the C runtime where a sanitizer's own threads go through it, which can't do without memory

/// Those taken between the marks, which no scenario has more of.
struct Blocks {
  void** find(void* block) { return std::find(live, live + count, block); }
  void add(void* block) {
    const std::lock_guard hold(lock);
    if (count == std::size(live)) abort();
    if (find(block) == live + count) live[count++] = block;
  }
  bool remove(void* block) {
    const std::lock_guard hold(lock);
    void** const at = find(block);
    if (at == live + count) return false;
    *at = live[--count];
    return true;
  }
  std::mutex lock;
  std::uint32_t count = 0;
  void* live[10000] = {};
};
constinit Blocks gBlocks;

/// Counts a call, of the kinds that the mode is about. True if it is the one to be hit.
bool hit(std::uint32_t kind) {
  if (!gCounting || gPaused != 0 || (gCounted & kind) == 0) return false;
  const std::uint32_t call = ++gCalls;
  if (call < gTarget || (call > gTarget && gMode != FaultMode::FROM_THEN)) return false;
  ++gDelivered;
  gKinds |= kind;
  return true;
}

/// The same for a call that fails then. Sets errno.
bool fails(std::uint32_t kind, int error) {
  if (!hit(kind)) return false;
  errno = gMode == FaultMode::INTERRUPTED ? EINTR : error;
  return true;
}
bool noHeap(void* caller) { return !gRuntime.holds(caller) && fails(FAULT_HEAP, ENOMEM); }

/// Whether read or write goes on, with `n` made shorter.
bool moves(std::uint32_t kind, int error, size_t& n) {
  if (gMode != FaultMode::SHORT) return !fails(kind, error);
  if (n > 1 && hit(kind)) n = 1;
  return true;
}

void* noted(void* block, void* caller) {
  if (block != nullptr && gCounting && gPaused == 0 && !gLinker.holds(caller)) gBlocks.add(block);
  return block;
}

// What the C runtime's headers call these functions where file sizes and times have 64 bits, but addresses haven't.
#ifdef __LP64__
constexpr char OPEN[] = "open", LSEEK[] = "lseek", READDIR[] = "readdir", FSTAT[] = "fstat";
#else
constexpr char OPEN[] = "open64", LSEEK[] = "lseek64", READDIR[] = "readdir64", FSTAT[] = "__fstat64_time64";
#endif

/// The function that this object hides. The look-up may take memory.
template <class Function>
Function* next(const char* name, Function*) {
  static_assert(sizeof(Function*) == sizeof(void*));
  ++gPaused;
  void* const found = dlsym(RTLD_NEXT, name);
  --gPaused;
  return reinterpret_cast<Function*>(found);
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

#pragma GCC visibility push(default)
#define CALLER __builtin_return_address(0)

extern "C" {

void faultsStart(std::uint32_t n, FaultMode mode) {
  constexpr std::uint32_t INTERRUPTIBLE = FAULT_OPEN | FAULT_READ | FAULT_WRITE | FAULT_CLOSE;
  dl_iterate_phdr(findModules, nullptr);
  gTarget = mode == FaultMode::NONE ? ~0u : n;
  gMode = mode;
  gCounted = mode == FaultMode::INTERRUPTED ? INTERRUPTIBLE : mode == FaultMode::SHORT ? FAULT_READ | FAULT_WRITE : ~0u;
  gCalls = gDelivered = gKinds = 0;
  gTracking = gCounting = true;
}
void faultsStop() { gCounting = false; }
FaultsSeen faultsSeen() {
  const std::lock_guard hold(gBlocks.lock);
  return {gCalls, gDelivered, gKinds, gRead, gBlocks.count};
}
void faultsPause(int by) { gPaused += by; }

void* malloc(size_t n) { return noHeap(CALLER) ? nullptr : noted(HEAP(malloc)(n), CALLER); }
void* calloc(size_t count, size_t n) { return noHeap(CALLER) ? nullptr : noted(HEAP(calloc)(count, n), CALLER); }
void* realloc(void* block, size_t n) {
  if (noHeap(CALLER)) return nullptr;
  const bool known = block != nullptr && gTracking && gBlocks.remove(block);
  void* const moved = HEAP(realloc)(block, n);
  if (known && (moved != nullptr || n != 0)) gBlocks.add(moved != nullptr ? moved : block);
  return block == nullptr ? noted(moved, CALLER) : moved;
}
int posix_memalign(void** block, size_t alignment, size_t n) {
  void* const taken = noHeap(CALLER) ? nullptr : noted(HEAP(memalign)(alignment, n), CALLER);
  if (taken != nullptr) *block = taken;
  return taken != nullptr ? 0 : ENOMEM;
}
void free(void* block) {
  if (block != nullptr && gTracking) gBlocks.remove(block);
  HEAP(free)(block);
}

int open(const char* path, int flags, ...) {
  va_list args;
  va_start(args, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(args, mode_t) : 0;
  va_end(args);
  return fails(FAULT_OPEN, EMFILE) ? -1 : next(OPEN, ::open)(path, flags, mode);
}
DIR* opendir(const char* path) { return fails(FAULT_OPEN, EMFILE) ? nullptr : next("opendir", ::opendir)(path); }
iconv_t iconv_open(const char* to, const char* from) {
  return gMode != FaultMode::INTERRUPTED && fails(FAULT_OPEN, ENOMEM) ? reinterpret_cast<iconv_t>(-1)
                                                                      : next("iconv_open", ::iconv_open)(to, from);
}

ssize_t read(int descriptor, void* to, size_t n) {
  const ssize_t got = moves(FAULT_READ, EIO, n) ? next("read", ::read)(descriptor, to, n) : -1;
  if (got > 0) gRead += static_cast<std::uint64_t>(got);
  return got;
}
dirent* readdir(DIR* directory) {
  return gMode != FaultMode::SHORT && fails(FAULT_READ, EIO) ? nullptr : next(READDIR, ::readdir)(directory);
}
ssize_t write(int descriptor, const void* from, size_t n) {
  return moves(FAULT_WRITE, ENOSPC, n) ? next("write", ::write)(descriptor, from, n) : -1;
}
ssize_t sendmsg(int descriptor, const msghdr* message, int flags) {
  return fails(FAULT_WRITE, ENOBUFS) ? -1 : next("sendmsg", ::sendmsg)(descriptor, message, flags);
}
off_t lseek(int descriptor, off_t offset, int origin) {
  return fails(FAULT_SEEK, EIO) ? -1 : next(LSEEK, ::lseek)(descriptor, offset, origin);
}
int close(int descriptor) {
  const int closed = next("close", ::close)(descriptor);
  return fails(FAULT_CLOSE, EIO) ? -1 : closed;
}
int closedir(DIR* directory) {
  const int closed = next("closedir", ::closedir)(directory);
  return fails(FAULT_CLOSE, EIO) ? -1 : closed;
}
int fstat(int descriptor, struct stat* status) noexcept {
  return fails(FAULT_STATUS, EIO) ? -1 : next(FSTAT, ::fstat)(descriptor, status);
}
ssize_t readlink(const char* path, char* out, size_t room) noexcept {
  return fails(FAULT_STATUS, EIO) ? -1 : next("readlink", ::readlink)(path, out, room);
}
int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) {
  const auto create = next("pthread_create", ::pthread_create);
  return fails(FAULT_THREAD, EAGAIN) ? EAGAIN : create(thread, attributes, body, argument);
}

}  // extern "C"
