#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "zqcore27/catalogue/cstr.h"
#include "zqcore27/catalogue/cstr_file_cache_page.h"
#include "zqcore27/files/file.h"
#include "zqcore27/files/file_locator.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/platform/module.h"
#include "zqcore27/platform/thread_annotations.h"
#include "zqcore27/threads/mutex.h"

inline namespace zqcore27 {

/// One catalogue file, open for the object's whole life. Its index is kept, its pages of text are read when first
/// asked for and stay where they are, so that a text is good as long as the object.
///
/// The file is looked for under the name of the locator, whose own location is not tried, in gCore's fStringDirectory,
/// then in the directory that the environment variable `tavio_language` names, then beside `module`. The directory of
/// the first file that could be opened becomes fStringDirectory if there was none, also where the file turns out to be
/// unfit, and it stays for the life of the core. A file that is found but unfit ends the search.
///
/// Threads: `get` from any number of threads. Construction reads and may write fStringDirectory, which has no lock:
/// leave it to OrlanCore::getCStr, or construct on one thread at a time.
class ZQCORE27_EXPORT CStrFile : public CStr {
 public:
  /// The most pages that an index in the header block can name.
  static constexpr std::uint32_t MAX_PAGES = 502;
  /// The handle of the empty text in every file.
  static constexpr std::uint32_t EMPTY_TEXT = 0xE000FEDC;
  /// The handle that no file has.
  static constexpr std::uint32_t NO_TEXT = 0xE000FCDE;

  /// A file of any version. Errors: as below.
  CStrFile(HINSTANCE module, const FileLocator& f);
  /// A file of this version, of which 6 bytes count; empty text accepts any. Errors: CStrError 7 to 15, not fatal;
  /// MemError. The detail of CStrError 7 is the path that was tried last, that of `f` where no directory could be
  /// tried.
  CStrFile(HINSTANCE module, const FileLocator& f, const String& version);
  CStrFile(const CStrFile&) = delete;
  CStrFile& operator=(const CStrFile&) = delete;
  ~CStrFile() override;

  /// The text of `handle`; null where its page has no such text or can't be read. After a failed read the next call
  /// tries again; each failure costs the memory of a page until the object goes. Errors: CStrError, not fatal: 3 for
  /// NO_TEXT, 4 for a handle below the first or above the last of the file, 5 for one in a gap between pages;
  /// std::bad_alloc where there is no memory for a page.
  const std::uint16_t* get(std::uint32_t handle) override;

 private:
  static constexpr std::uint32_t GUIDE_STEPS = 256;

  struct BlockDeleter {
    void operator()(unsigned char* p) const { MemAllocator::deallocate(p); }
  };

  void init(HINSTANCE module, const FileLocator& f, const String& version);
  bool open_in_search_path(HINSTANCE module, FileLocator& f);
  bool open_in(const String& directory, FileLocator& f);
  bool load_header_block(const String& version);
  bool check_index_order();
  std::uint32_t find_page(std::uint32_t handle);
  std::uint32_t search_page(std::uint32_t handle, std::uint32_t lo, std::uint32_t hi) const;
  void make_guide();
  const CStrFileCachePage* loaded_page(std::uint32_t page) ZQCORE27_REQUIRES(fPagesLock);
  std::uint32_t page_count() const;
  std::uint32_t index(std::uint32_t i) const;

  bool fInitialised = false;
  File fFile;                                            // its position is guarded by fPagesLock
  std::unique_ptr<unsigned char, BlockDeleter> fHeader;  // 2048 bytes, not changed after construction
  std::vector<std::unique_ptr<CStrFileCachePage>> fPages
      ZQCORE27_GUARDED_BY(fPagesLock);  // failed loads stay as dead entries
  OrlanMutex fPagesLock;
  // Where the search for a handle begins and ends: the pages of the handles n << fGuideShift above the first.
  std::array<std::uint16_t, GUIDE_STEPS + 1> fGuide{};
  int fGuideShift = 0;
  // By number, the pages of fPages that are there for good: set under fPagesLock, read without it.
  std::unique_ptr<std::atomic<const CStrFileCachePage*>[]> fLoaded;
};

}  // namespace zqcore27
