#pragma once

// Internal: the bytes of a file, read ahead by a thread of its own.

#include <array>
#include <cstdint>
#include <memory>

#include "zqcore27/config/channel.h"
#include "zqcore27/core/memory.h"
#include "zqcore27/files/basic_file.h"
#include "zqcore27/files/file_locator.h"
#include "zqcore27/threads/condition.h"
#include "zqcore27/threads/mutex.h"
#include "zqcore27/threads/thread.h"

inline namespace zqcore27 {

class ConfigDataChannelIFile;

/// Reads the file of a channel into its blocks.
class ConfigReadThread : public OrlanThread {
 public:
  explicit ConfigReadThread(ConfigDataChannelIFile& channel);
  /// Tells the channel when nothing more will come, whatever ended the thread.
  void run() override;
  void* work(void* channel) override;

 private:
  ConfigDataChannelIFile& fChannel;
};

/// A file. A reader thread fills a ring of five blocks while the consumer takes characters out of an earlier one.
///
/// A block is a head of 6 bytes and a payload of 16000, which is full in every block but the last. Nearly at the end of
/// a block, with fewer than 3 bytes left, the consumer copies the last 6 payload bytes to the head of the next block,
/// goes on there, and releases the old one. So a character across the seam lies in one run of memory, and the character
/// read before it can be given back. The last block is never released.
///
/// Invariants: 1. fTaken is set exactly while the block under the cursor is known to be delivered; its bytes are then
/// read without the lock. 2. Otherwise the cursor is in the head of fReadBlock, or, before the first block, behind it.
/// 3. fCursor <= fDataEnd: what lies between them has been delivered. 4. fPlainEnd <= fDataEnd: in front of it a
/// character of one byte needs no look at the state.
/// Threads: one consumer and the reader. Under fMutex stand fFilled, fStop and fFailed alone. A payload belongs to the
/// reader until its block is counted in fFilled, then to the consumer until it is released. Heads and all other fields
/// belong to the consumer, and fFile, after construction, to the reader.
class ConfigDataChannelIFile : public ConfigDataChannelIStream {
 public:
  static constexpr std::uint32_t HEAD_SIZE = 6;
  static constexpr std::uint32_t PAYLOAD_SIZE = 16000;
  static constexpr std::uint32_t BLOCK_SIZE = HEAD_SIZE + PAYLOAD_SIZE;
  static constexpr std::uint32_t HAND_OVER_OFFSET = BLOCK_SIZE - 2;
  static constexpr std::uint16_t BLOCKS = 5;

  /// Errors: ConfigError::CANNOT_OPEN with the path, also for a file of 4 GiB or more and where the system has no
  /// thread to give; MemError.
  explicit ConfigDataChannelIFile(FileLocator locator);
  ~ConfigDataChannelIFile() override;

  /// Also skips a UTF-8 byte order mark at the start of the file. A byte of Config::EOF_CHAR in the file is the end of
  /// the text, one of CUT_OFF_CHAR cuts the text off.
  /// Errors: ConfigError::READ_FAILED behind the last byte that could be read, at every call from then on; StringError
  /// of native text, with one byte stepped over.
  std::uint16_t getC() override;
  std::uint16_t ungetC(std::uint16_t ch) override;
  bool good() const override { return fOpen; }
  bool cutOff() const override { return fEnded; }

  /// The reader's loop. Errors: ConfigError::READ_FAILED.
  void readAhead();
  /// What the reader says when it ends by an error.
  void readingFailed();

 private:
  struct ReleaseBlock {
    void operator()(unsigned char* block) const { MemAllocator::deallocate(block); }
  };

  void open(const FileLocator& locator);
  void start_reader(const FileLocator& locator);
  bool wait_for_space();
  std::uint16_t get_other();
  bool take_block();
  void skip_byte_order_mark();
  void hand_over();
  std::uint32_t decode_here(bool more, std::uint16_t* ch);
  unsigned char* block() { return fBlocks[fReadBlock].get(); }

  BasicFile fFile;
  std::uint32_t fSize = 0;  // bytes in the file, as it was opened; constant from then on
  OrlanMutex fMutex;
  std::unique_ptr<OrlanCondition> fDataReady;   // a block was delivered, or the reader failed; the consumer waits
  std::unique_ptr<OrlanCondition> fSpaceReady;  // a block was released, or fStop was set; the reader waits
  std::array<std::unique_ptr<unsigned char, ReleaseBlock>, BLOCKS> fBlocks;
  std::uint16_t fFilled ZQCORE27_GUARDED_BY(fMutex) = 0;  // blocks delivered and not released
  bool fStop ZQCORE27_GUARDED_BY(fMutex) = false;
  bool fFailed ZQCORE27_GUARDED_BY(fMutex) = false;  // no further block will come, although bytes are left

  std::uint16_t fReadBlock = 0;
  const unsigned char* fDataEnd = nullptr;
  std::uint32_t fLeft = 0;  // bytes of the file behind the blocks that were taken
  bool fTaken = false;
  bool fEnded = false;
  bool fOpen = false;
  JTCHandleT<ConfigReadThread> fReader;
};

}  // namespace zqcore27
