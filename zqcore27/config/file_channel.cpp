#include "zqcore27/config/file_channel.h"

#include <algorithm>
#include <cassert>
#include <iterator>

#include "zqcore27/config/config.h"
#include "zqcore27/config/config_error.h"
#include "zqcore27/config/decode.h"
#include "zqcore27/errors/mem_error.h"
#include "zqcore27/errors/string_error.h"

inline namespace zqcore27 {

namespace {

[[noreturn]] void refuse(const FileLocator& locator) {
  ConfigError e(ConfigError::CANNOT_OPEN, false);
  e.addInsert(locator.path());
  throw e;
}

}  // namespace

ConfigReadThread::ConfigReadThread(ConfigDataChannelIFile& channel) : OrlanThread(&channel), fChannel(channel) {}

void ConfigReadThread::run() {
  try {
    OrlanThread::run();
  } catch (...) {
    fChannel.readingFailed();
    throw;
  }
}

void* ConfigReadThread::work(void*) {
  fChannel.readAhead();
  return nullptr;
}

ConfigDataChannelIFile::ConfigDataChannelIFile(FileLocator locator) {
  open(locator);
  fDataReady = std::make_unique<OrlanCondition>(&fMutex);
  fSpaceReady = std::make_unique<OrlanCondition>(&fMutex);
  for (auto& b : fBlocks) {
    b.reset(MemAllocator::allocate(BLOCK_SIZE));
    if (b == nullptr) throw MemError(MemError::HEAP_EXHAUSTED, true);
  }
  fLeft = fSize;
  fCursor = fDataEnd = fPlainEnd = block() + HEAD_SIZE;
  start_reader(locator);
}

ConfigDataChannelIFile::~ConfigDataChannelIFile() {
  {
    OrlanSynchronized lock(fMutex);
    fStop = true;
    fSpaceReady->signal();
  }
  fReader->join(nullptr);
}

void ConfigDataChannelIFile::open(const FileLocator& locator) {
  if (fFile.open(locator, BasicFile::MODE_READ | BasicFile::MODE_BINARY) < 0) refuse(locator);
  fSize = fFile.size();
  if (fFile.getError() != BasicFile::FILE_ERR_NONE) refuse(locator);
  fOpen = true;
}

void ConfigDataChannelIFile::start_reader(const FileLocator& locator) {
  fReader = JTCHandleT<ConfigReadThread>(new ConfigReadThread(*this));
  try {
    fReader->start_undetached();
  } catch (const JTCSystemCallException&) {
    refuse(locator);
  }
}

void ConfigDataChannelIFile::readAhead() {
  std::uint16_t write = 0;
  std::uint32_t remaining = fSize;
  while (remaining != 0) {
    const std::uint32_t chunk = std::min(remaining, PAYLOAD_SIZE);
    if (!wait_for_space()) return;
    if (!fFile.read(fBlocks[write].get() + HEAD_SIZE, chunk)) throw ConfigError(ConfigError::READ_FAILED, false);
    remaining -= chunk;
    write = static_cast<std::uint16_t>((write + 1) % BLOCKS);
    OrlanSynchronized lock(fMutex);
    ++fFilled;
    fDataReady->signal();
  }
}

bool ConfigDataChannelIFile::wait_for_space() {
  OrlanSynchronized lock(fMutex);
  while (fFilled == BLOCKS && !fStop) fSpaceReady->wait();
  return !fStop;
}

void ConfigDataChannelIFile::readingFailed() {
  OrlanSynchronized lock(fMutex);
  fFailed = true;
  fDataReady->signal();
}

std::uint16_t ConfigDataChannelIFile::getC() {
  if (fCursor >= fPlainEnd || !isPlain(*fCursor)) return get_other();
  fLastBytes = 1;
  return *fCursor++;
}

std::uint16_t ConfigDataChannelIFile::get_other() {
  fLastBytes = 0;
  if (fEnded) return CUT_OFF_CHAR;
  if (fTaken && fLeft != 0 && fCursor >= block() + HAND_OVER_OFFSET) hand_over();
  while (fCursor == fDataEnd) {
    if (fLeft == 0) return Config::EOF_CHAR;
    if (!take_block()) throw ConfigError(ConfigError::READ_FAILED, false);
  }
  if (*fCursor == Config::EOF_CHAR) return Config::EOF_CHAR;
  if (*fCursor == CUT_OFF_CHAR) {
    fEnded = true;
    return CUT_OFF_CHAR;
  }
  std::uint16_t ch = 0;
  fLastBytes = decode_here(!fTaken, &ch);
  if (fLastBytes == 0) {  // the character may reach into a block that hasn't been taken yet
    take_block();
    fLastBytes = decode_here(false, &ch);
  }
  if (ch == Config::EOF_CHAR) fLastBytes = 0;  // an over-long one, which stays as well
  fCursor += fLastBytes;
  return ch;
}

std::uint32_t ConfigDataChannelIFile::decode_here(bool more, std::uint16_t* ch) {
  try {
    return decodeCharacter(fCursor, static_cast<std::uint32_t>(fDataEnd - fCursor), utf8(), more, ch);
  } catch (const StringError&) {
    ++fCursor;
    throw;
  }
}

// Waits for the block under the cursor. False if it won't come.
bool ConfigDataChannelIFile::take_block() {
  assert(!fTaken && fLeft != 0);
  {
    OrlanSynchronized lock(fMutex);
    while (fFilled == 0 && !fFailed) fDataReady->wait();
    if (fFilled == 0) return false;
  }
  const bool first = fLeft == fSize;
  const std::uint32_t size = std::min(fLeft, PAYLOAD_SIZE);
  fLeft -= size;
  fTaken = true;
  fDataEnd = block() + HEAD_SIZE + size;
  fPlainEnd = fLeft == 0 ? fDataEnd : block() + HAND_OVER_OFFSET;
  if (first) skip_byte_order_mark();
  return true;
}

void ConfigDataChannelIFile::skip_byte_order_mark() {
  static constexpr unsigned char MARK[] = {0xEF, 0xBB, 0xBF};
  if (fDataEnd - fCursor >= 3 && std::equal(std::begin(MARK), std::end(MARK), fCursor)) fCursor += 3;
}

void ConfigDataChannelIFile::hand_over() {
  const unsigned char* const old = block();
  const auto offset = fCursor - old;
  fReadBlock = static_cast<std::uint16_t>((fReadBlock + 1) % BLOCKS);
  MemAllocator::copy(block(), old + PAYLOAD_SIZE, HEAD_SIZE);
  fCursor = block() + (offset - PAYLOAD_SIZE);
  fDataEnd = fPlainEnd = block() + HEAD_SIZE;
  fTaken = false;
  OrlanSynchronized lock(fMutex);
  --fFilled;
  fSpaceReady->signal();
}

// The bytes of the character are still in front of the cursor, whatever the hand-over did: it is they that come back,
// and not `ch`, whose low byte is another character in some code pages.
std::uint16_t ConfigDataChannelIFile::ungetC(std::uint16_t ch) {
  fCursor -= fLastBytes;
  fLastBytes = 0;
  return ch;
}

}  // namespace zqcore27
