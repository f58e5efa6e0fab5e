#include "zqcore27/platform/stream_file.h"

#include <cstdio>
#include <memory>
#include <new>

#include "zqcore27/platform/posix/system_calls.h"

inline namespace zqcore27 {
namespace platform {

namespace {

FILE* fileOf(void* stream) { return static_cast<FILE*>(stream); }

}  // namespace

// What the C runtime's stream calls for its buffer. The runtime's own descriptor streams give up, and drop what they
// hold, when a signal interrupts them.
struct Stream::Cookie {
  static ssize_t read(void* cookie, char* to, size_t n) {
    return static_cast<ssize_t>(readFileSome(static_cast<Stream*>(cookie)->fDescriptor, to, n));
  }
  static ssize_t write(void* cookie, const char* from, size_t n) {
    auto* const stream = static_cast<Stream*>(cookie);
    const std::size_t put = writeFile(stream->fDescriptor, from, n);
    if (put < n) stream->fLost = true;  // the runtime forgets the rest
    return static_cast<ssize_t>(put);
  }
  static int seek(void* cookie, off64_t* offset, int origin) {
    const std::int64_t position = seekFile(static_cast<Stream*>(cookie)->fDescriptor, *offset, origin);
    if (position < 0) return -1;
    *offset = position;
    return 0;
  }
};

Stream* Stream::open(const char* path, OpenFlags flags) try {
  std::unique_ptr<Stream, void (*)(Stream*)> stream(new Stream, [](Stream* unused) { delete unused; });
  stream->fDescriptor = openFile(path, flags);
  if (stream->fDescriptor < 0) return nullptr;
  const char* const mode = flags.append ? "a" : !flags.write ? "r" : flags.read ? "r+" : "w";
  stream->fStream = fopencookie(stream.get(), mode, {Cookie::read, Cookie::write, Cookie::seek, nullptr});
  if (stream->fStream != nullptr) return stream.release();
  closeFile(stream->fDescriptor);
  return nullptr;
} catch (const std::bad_alloc&) {
  return nullptr;
}

bool Stream::close(Stream* stream) {
  const bool flushed = std::fclose(fileOf(stream->fStream)) == 0 && !stream->fLost;
  const bool closed = closeFile(stream->fDescriptor);
  delete stream;
  return flushed && closed;
}

// The runtime wants a flush between a write and a read, and a seek between a read and a write.
bool Stream::turn(Direction direction) {
  FILE* const file = fileOf(fStream);
  bool turned = true;
  if (fDirection == Direction::WRITING && direction == Direction::READING) turned = std::fflush(file) == 0;
  if (fDirection == Direction::READING && direction == Direction::WRITING) fseeko(file, 0, SEEK_CUR);
  fDirection = direction;
  return turned;
}

bool Stream::read(void* to, std::size_t n) {
  if (n == 0) return true;  // `to` may be null then, which the runtime doesn't take
  const bool complete = turn(Direction::READING) && std::fread(to, 1, n, fileOf(fStream)) == n;
  if (!complete) fEnded = true;
  return complete;
}

bool Stream::write(const void* from, std::size_t n) {
  if (n == 0) return true;
  turn(Direction::WRITING);
  return std::fwrite(from, 1, n, fileOf(fStream)) == n;
}

int Stream::get() {
  const int byte = turn(Direction::READING) ? getc_unlocked(fileOf(fStream)) : EOF;
  if (byte == EOF) fEnded = true;
  return byte;
}

bool Stream::put(unsigned char byte) {
  turn(Direction::WRITING);
  return putc_unlocked(byte, fileOf(fStream)) != EOF;
}

bool Stream::canSeek() { return seekFile(fDescriptor, 0, SEEK_ORIGIN_CURRENT) >= 0; }

bool Stream::unget(unsigned char byte) {
  const bool kept = std::ungetc(byte, fileOf(fStream)) == byte;  // a seek would drop the buffer
  return canSeek() && kept;
}

bool Stream::seek(std::int64_t offset, int origin) {
  if (origin < SEEK_ORIGIN_START || origin > SEEK_ORIGIN_END) return false;
  if (fseeko(fileOf(fStream), offset, origin) != 0) return false;
  fDirection = Direction::NONE;
  fEnded = false;
  return true;
}

std::int64_t Stream::tell() { return ftello(fileOf(fStream)); }

bool Stream::flush() { return std::fflush(fileOf(fStream)) == 0 && !fLost; }

}  // namespace platform
}  // namespace zqcore27
