#include "zqcore27/files/basic_file.h"

#include <limits>
#include <utility>

#include "zqcore27/files/native_file_locator.h"
#include "zqcore27/platform/descriptor_file.h"
#include "zqcore27/strings/nat_string.h"

inline namespace zqcore27 {

namespace {

constexpr std::uint32_t NO_POSITION = 0xFFFFFFFF;

platform::OpenFlags flagsOf(std::uint32_t access) {
  switch (access) {
    case BasicFile::MODE_READ:
      return {.read = true};
    case BasicFile::MODE_WRITE:
      return {.write = true, .create = true, .truncate = true};
    case BasicFile::MODE_READ_WRITE:
      return {.read = true, .write = true, .create = true, .truncate = true};
    case BasicFile::MODE_APPEND:
      return {.write = true, .append = true};
    default:  // MODE_UPDATE
      return {.read = true, .write = true, .create = true};
  }
}

}  // namespace

BasicFile::BasicFile() = default;

BasicFile::~BasicFile() { close(); }

int BasicFile::open(const FileLocator& f, Mode m) {
  fError = FILE_ERR_ACCESS;  // until the file is open, also where the conversion of the path raises
  const std::uint32_t access = m & 15;
  if (!close() || f.name().size() == 0) return -1;
  if (access < MODE_READ || access > MODE_UPDATE) {
    fError = FILE_ERR_MODE;
    return 0;
  }
  platform::OpenFlags flags = flagsOf(access);
  flags.binary = (m & MODE_BINARY) != 0;
  NatString path;
  if (!toNativePath(NativeFileLocator(f.path()).path(), path)) return -1;
  fHandle = platform::openFile(path.begin(), flags);
  fOpen = fHandle >= 0;
  if (fOpen) fError = FILE_ERR_NONE;
  return fHandle;
}

bool BasicFile::close() {
  if (!fOpen) return true;
  fOpen = false;
  return platform::closeFile(std::exchange(fHandle, -1));
}

bool BasicFile::read(void* p, unsigned int n) { return fOpen && platform::readFile(fHandle, p, n); }

bool BasicFile::write(const void* p, unsigned int n) { return fOpen && platform::writeFile(fHandle, p, n) == n; }

bool BasicFile::seek(std::uint32_t offset, SeekMode m) {
  if (fOpen && platform::seekFile(fHandle, static_cast<std::int32_t>(offset), m) >= 0) return true;
  fError = FILE_ERR_SEEK;
  return false;
}

std::uint32_t BasicFile::stell() {
  const std::int64_t position = fOpen ? platform::seekFile(fHandle, 0, platform::SEEK_ORIGIN_CURRENT) : -1;
  return position >= 0 && position <= NO_POSITION ? static_cast<std::uint32_t>(position) : NO_POSITION;
}

unsigned int BasicFile::size() {
  const std::int64_t size = fOpen ? platform::fileSize(fHandle) : -1;
  if (size >= 0 && size <= std::numeric_limits<unsigned int>::max()) return static_cast<unsigned int>(size);
  fError = FILE_ERR_SEEK;
  return std::numeric_limits<unsigned int>::max();
}

bool BasicFile::lockedSeekAndRead(unsigned int offset, SeekMode m, void* p, unsigned int n) {
  const OrlanSynchronized lock(fLock);
  return seek(offset, m) && read(p, n);
}

}  // namespace zqcore27
