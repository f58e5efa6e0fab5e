#include "zqcore27/files/file.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <span>
#include <utility>

#include "zqcore27/errors/mem_error.h"
#include "zqcore27/files/native_file_locator.h"
#include "zqcore27/platform/stream_file.h"
#include "zqcore27/strings/nat_string.h"

inline namespace zqcore27 {

namespace {

constexpr unsigned int FIRST_LINE_BUFFER = 1000;  // bytes
constexpr unsigned int LOCKED_READ_PIECE = 16384;
constexpr unsigned char LINE_FEED = 10;
constexpr unsigned char CARRIAGE_RETURN = 13;

constexpr bool isLineEnd(int c) { return c == LINE_FEED || c == CARRIAGE_RETURN; }

/// The number of bytes in front of the first line end, all if there is none. In pieces, so that a text whose line ends
/// are all of one kind isn't searched to its end for the other.
unsigned int lineRun(std::span<const unsigned char> bytes) {
  constexpr std::size_t PIECE = 256;
  for (std::size_t done = 0; done < bytes.size(); done += PIECE) {
    const unsigned char* const from = bytes.data() + done;
    std::size_t n = std::min(PIECE, bytes.size() - done);
    const void* const lineFeed = std::memchr(from, LINE_FEED, n);
    if (lineFeed != nullptr) n = static_cast<std::size_t>(static_cast<const unsigned char*>(lineFeed) - from);
    const void* const carriageReturn = std::memchr(from, CARRIAGE_RETURN, n);
    const void* const end = carriageReturn != nullptr ? carriageReturn : lineFeed;
    if (end != nullptr) return static_cast<unsigned int>(static_cast<const unsigned char*>(end) - bytes.data());
  }
  return static_cast<unsigned int>(bytes.size());
}

platform::OpenFlags flagsOf(std::uint32_t access) {
  switch (access) {
    case File::MODE_READ:
      return {.read = true};
    case File::MODE_WRITE:
      return {.write = true, .create = true, .truncate = true};
    case File::MODE_READ_WRITE:
      return {.read = true, .write = true, .create = true, .truncate = true};
    case File::MODE_APPEND:
      return {.write = true, .create = true, .append = true};
    default:  // MODE_UPDATE
      return {.read = true, .write = true};
  }
}

}  // namespace

File::File() = default;

File::~File() { close(); }

bool File::open(const FileLocator& f, Mode m) {
  fError = FILE_ERR_ACCESS;  // until the file is open, also where the conversion of the path raises
  const std::uint32_t access = m & 15;
  if (!close() || f.name().size() == 0) return false;
  if (access < MODE_READ || access > MODE_UPDATE) {
    fError = FILE_ERR_MODE;
    return false;
  }
  platform::OpenFlags flags = flagsOf(access);
  flags.binary = (m & MODE_BINARY) != 0;
  NatString path;
  if (!toNativePath(NativeFileLocator(f.path()).path(), path)) return false;
  fFile = platform::Stream::open(path.begin(), flags);
  fOpen = fFile != nullptr;
  if (fOpen) fError = FILE_ERR_NONE;
  return fOpen;
}

bool File::close() {
  if (!fOpen) return true;
  fOpen = false;
  return platform::Stream::close(std::exchange(fFile, nullptr));
}

bool File::read(void* p, unsigned int n) { return fOpen && fFile->read(p, n); }

bool File::write(const void* p, unsigned int n) { return fOpen && fFile->write(p, n); }

bool File::write(const String& s) {
  const NatString native(s);
  return write(native.begin(), native.size() - 1);
}

bool File::writeLine(const String& s) {
  const bool written = write(s);
  return putChr(LINE_FEED) && written;
}

bool File::readLine(String& out, String::NativeType) {
  out = nullptr;
  if (!fOpen) return false;
  if (fLineBuffer == nullptr) hintBufferSize(FIRST_LINE_BUFFER);
  const unsigned int n = read_raw_line();
  (*fLineBuffer)[n] = 0;
  out = reinterpret_cast<const char*>(**fLineBuffer);
  return !fFile->atEnd();
}

/// Reads the bytes of one line into fLineBuffer, which has room for one more, and consumes its end.
unsigned int File::read_raw_line() {
  unsigned int n = 0;
  for (;;) {
    const auto bytes = fFile->ahead();
    if (bytes.empty()) return n;
    const unsigned int run = lineRun(bytes);
    while (run >= fLineBuffer->size() - n) grow_line_buffer();
    MemAllocator::copy(**fLineBuffer + n, bytes.data(), run);
    n += run;
    fFile->skip(run);
    if (run != bytes.size()) break;
  }
  const int c = fFile->get();
  const int next = fFile->get();
  const bool sameEnd = isLineEnd(next) && next != c;
  if (next >= 0 && !sameEnd && !fFile->unget(static_cast<unsigned char>(next))) fError = FILE_ERR_SEEK;
  return n;
}

void File::grow_line_buffer() {
  const unsigned int size = fLineBuffer->size();
  if (size > std::numeric_limits<unsigned int>::max() / 2) throw MemError(MemError::HEAP_EXHAUSTED, false);
  fLineBuffer->resize(size * 2);
}

std::int32_t File::getChr() { return fOpen ? fFile->get() : -1; }

bool File::putChr(std::uint16_t c) {
  if (fOpen && fFile->put(static_cast<unsigned char>(c))) return true;
  fError = FILE_ERR_ACCESS;
  return false;
}

bool File::seek(unsigned int offset, SeekMode m) {
  if (fOpen && fFile->seek(static_cast<std::int32_t>(offset), m)) return true;
  fError = FILE_ERR_SEEK;
  return false;
}

unsigned int File::size() {
  std::int64_t size = -1;
  if (fOpen) {
    const std::int64_t position = fFile->tell();
    if (position >= 0 && fFile->seek(0, platform::SEEK_ORIGIN_END)) {
      size = fFile->tell();
      if (!fFile->seek(position, platform::SEEK_ORIGIN_START)) fError = FILE_ERR_SEEK;
    }
  }
  if (size >= 0 && size <= std::numeric_limits<unsigned int>::max()) return static_cast<unsigned int>(size);
  fError = FILE_ERR_SEEK;
  return 0;
}

bool File::flush() { return fOpen && fFile->flush(); }

void File::hintBufferSize(unsigned int n) {
  if (n == 0) {
    fLineBuffer.reset();
  } else if (fLineBuffer == nullptr) {
    fLineBuffer = std::make_unique<MemResizable>(n);
  } else if (n > fLineBuffer->size()) {
    fLineBuffer->resize(n);
  }
}

bool File::lockedSeekAndRead(unsigned int offset, SeekMode m, void* p, unsigned int n) {
  const OrlanSynchronized lock(fLock);
  bool done = seek(offset, m);
  auto* to = static_cast<unsigned char*>(p);
  while (done && n > 0) {
    const unsigned int piece = std::min(n, LOCKED_READ_PIECE);
    done = read(to, piece);
    to += piece;
    n -= piece;
  }
  return done;
}

}  // namespace zqcore27
