#include "zqcore27/platform/stream_file.h"

#include <pthread.h>

#include <algorithm>
#include <cassert>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

inline namespace zqcore27 {
namespace platform {

using Lock = std::lock_guard<CriticalSection>;

constinit CriticalSection Stream::sListLock;
constinit Stream* Stream::sWriting = nullptr;
constinit std::atomic<bool> Stream::sEnding{false};
const Stream::ExitStep Stream::sExitStep;

/// The list is whole in a forked child, and free.
Stream::ExitStep::ExitStep() {
  pthread_atfork([] { sListLock.lock(); }, [] { sListLock.unlock(); },
                 [] {
                   for (Stream* each = sWriting; each != nullptr; each = each->fNextWriting) each->leave_to_parent();
                   sListLock.unlock();
                 });
}

Stream::ExitStep::~ExitStep() {
  const Lock list(sListLock);
  sEnding.store(true, std::memory_order_relaxed);
  for (Stream* each = sWriting; each != nullptr; each = each->fNextWriting) {
    const Lock lock(each->fLock);
    const std::size_t from = each->fInherited, n = each->fHeld - from;
    each->fInherited = each->fHeld = 0;
    if (n != 0) each->store(each->fBuffer.data() + from, n);
  }
}

/// In a forked child: a thread that held the lock isn't there.
void Stream::leave_to_parent() {
  if (!fLock.isMine()) std::construct_at(&fLock);
  fInherited = fHeld;
}

void Stream::enlist() {
  const Lock list(sListLock);
  fNextWriting = std::exchange(sWriting, this);
}

void Stream::delist() {
  const Lock list(sListLock);
  Stream** at = &sWriting;
  while (*at != this) at = &(*at)->fNextWriting;
  *at = fNextWriting;
}

// The C runtime's own streams give up, and drop what they hold, when a signal interrupts them, and they can't be looked
// into.

Stream* Stream::open(const char* path, OpenFlags flags) try {
  std::unique_ptr<Stream, void (*)(Stream*)> stream(new Stream(flags), [](Stream* unused) { delete unused; });
  stream->fDescriptor = openFile(path, flags);
  if (stream->fDescriptor < 0) return nullptr;
  stream->fSeekable = seekFile(stream->fDescriptor, 0, SEEK_ORIGIN_CURRENT) >= 0;
  if (flags.write) stream->enlist();
  return stream.release();
} catch (const std::bad_alloc&) {
  return nullptr;
}

bool Stream::close(Stream* stream) {
  const bool flushed = stream->flush();
  if (stream->fFlags.write) stream->delist();
  const bool closed = closeFile(stream->fDescriptor);
  delete stream;
  return flushed && closed;
}

/// False if the stream can't be read or what was written before couldn't be stored.
bool Stream::start_reading() {
  if (fDirection == Direction::READING) return true;
  if (!fFlags.read || !store_buffer()) return false;
  fDirection = Direction::READING;
  fNext = fEnd = 0;
  return true;
}

/// Writes go on behind the last byte that was taken, not behind those read ahead.
bool Stream::start_writing() {
  if (fDirection == Direction::WRITING) return true;
  if (!fFlags.write) return false;
  if (fNext != fEnd)
    seekFile(fDescriptor, static_cast<std::int64_t>(fNext) - static_cast<std::int64_t>(fEnd), SEEK_ORIGIN_CURRENT);
  fDirection = Direction::WRITING;
  fAtEnd = false;
  fNext = fEnd = 0;
  return true;
}

/// Reads on behind bytes that have all been taken, and returns how many came: 0 at the end and at a failure.
std::size_t Stream::receive(unsigned char* to, std::size_t n) {
  assert(fDirection == Direction::READING && fNext == fEnd);
  const std::int64_t got = fAtEnd ? 0 : readFileSome(fDescriptor, to, n);
  fAtEnd = got == 0;
  fEnded = fEnded || got <= 0;
  return got > 0 ? static_cast<std::size_t>(got) : 0;
}

bool Stream::store(const unsigned char* from, std::size_t n) {
  if (writeFile(fDescriptor, from, n) == n) return true;
  fLost = true;
  return false;
}

/// What can't be stored is dropped. Requires: fLock is held.
bool Stream::store_held() {
  fInherited = 0;
  const std::size_t n = std::exchange(fHeld, 0);
  return n == 0 || store(fBuffer.data(), n);
}

bool Stream::store_buffer() {
  if (!fFlags.write) return true;
  const Lock lock(fLock);
  return store_held();
}

std::span<const unsigned char> Stream::refilled() {
  if (!start_reading()) {
    fEnded = true;
    return {};
  }
  if (fNext == fEnd) {
    fEnd = receive(fBuffer.data(), BUFFER);
    fNext = 0;
  }
  return {fBuffer.data() + fNext, fEnd - fNext};
}

bool Stream::read(void* to, std::size_t n) {
  auto* out = static_cast<unsigned char*>(to);
  while (n != 0) {
    std::size_t taken;
    if (fDirection == Direction::READING && fNext == fEnd && n >= BUFFER) {
      taken = receive(out, n);  // past the buffer
    } else {
      const auto bytes = ahead();
      taken = std::min(n, bytes.size());
      std::copy_n(bytes.data(), taken, out);
      skip(taken);
    }
    if (taken == 0) return false;
    out += taken;
    n -= taken;
  }
  return true;
}

bool Stream::write(const void* from, std::size_t n) {
  if (n == 0) return true;  // `from` may be null then
  if (!start_writing()) return false;
  const Lock lock(fLock);
  if (n > BUFFER - fHeld && !store_held()) return false;
  const auto* const bytes = static_cast<const unsigned char*>(from);
  if (n >= BUFFER) return store(bytes, n);
  std::memcpy(fBuffer.data() + fHeld, bytes, n);
  fHeld += n;
  return !sEnding.load(std::memory_order_relaxed) || store_held();
}

bool Stream::put(unsigned char byte) { return write(&byte, 1); }

bool Stream::unget([[maybe_unused]] unsigned char byte) {
  assert(fDirection == Direction::READING && fNext != 0 && fBuffer[fNext - 1] == byte);
  --fNext;
  return fSeekable;
}

bool Stream::seek(std::int64_t offset, int origin) {
  if (!store_buffer()) return false;
  const std::size_t unread = fEnd - fNext;
  if (origin == SEEK_ORIGIN_CURRENT) offset -= static_cast<std::int64_t>(unread);
  if (seekFile(fDescriptor, offset, origin) < 0) return false;
  fDirection = Direction::NONE;
  fNext = fEnd = 0;
  fEnded = fAtEnd = false;
  return true;
}

std::int64_t Stream::tell() {
  if (!store_buffer()) return -1;
  const std::int64_t position = seekFile(fDescriptor, 0, SEEK_ORIGIN_CURRENT);
  return position < 0 ? -1 : position - static_cast<std::int64_t>(fEnd - fNext);
}

bool Stream::flush() {
  if (!fFlags.write) return true;
  const Lock lock(fLock);
  return store_held() && !fLost;
}

}  // namespace platform
}  // namespace zqcore27
