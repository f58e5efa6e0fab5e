#include "zqcore27/catalogue/cstr_file.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cstring>
#include <utility>

#include "zqcore27/catalogue/cstr_error.h"
#include "zqcore27/core/core.h"
#include "zqcore27/core/core_hold.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/files/file_bin_header.h"
#include "zqcore27/platform/environment.h"
#include "zqcore27/platform/module_path.h"
#include "zqcore27/strings/nat_string.h"

inline namespace zqcore27 {

namespace {

constexpr std::uint32_t HEADER_BYTES = CStrFileCachePage::HEADER_BLOCKS * CStrFileCachePage::BYTES;
constexpr std::uint32_t PAGE_COUNT_OFFSET = sizeof(FileBinHeader);
constexpr std::uint32_t INDEX_OFFSET = PAGE_COUNT_OFFSET + 4;
static_assert(INDEX_OFFSET + 4 * (CStrFile::MAX_PAGES + 1) == HEADER_BYTES, "the largest index fills the header block");

constexpr std::size_t MAX_MODULE_PATH = 4096;

std::uint64_t fileBytes(std::uint32_t pages) {
  return (std::uint64_t{pages} + CStrFileCachePage::HEADER_BLOCKS) * CStrFileCachePage::BYTES;
}

std::uint32_t littleEndian(const unsigned char* p) {
  return p[0] | std::uint32_t{p[1]} << 8 | std::uint32_t{p[2]} << 16 | std::uint32_t{p[3]} << 24;
}

const unsigned char* bytes(const char* text) { return reinterpret_cast<const unsigned char*>(text); }

// False, with `out` as it was, for bytes that aren't native text: no directory can be reached by them.
bool fromNative(String& out, const char* text) {
  try {
    out = text;
    return true;
  } catch (const StringError&) {
    return false;
  }
}

// The directory of the module's file; the path as it stands if it has no separator. False if the path is unknown.
bool moduleDirectory(HINSTANCE module, String& out) {
  std::array<char, MAX_MODULE_PATH> path;
  if (platform::modulePath(module, path.data(), path.size()) == 0 || !fromNative(out, path.data())) return false;
  const std::uint32_t cut = out.locateLast(separators().dir, false);
  if (cut != String::NOT_FOUND) out.terminate(cut);
  return true;
}

}  // namespace

CStrFile::CStrFile(HINSTANCE module, const FileLocator& f) : CStrFile(module, f, nullString()) {}

CStrFile::CStrFile(HINSTANCE module, const FileLocator& f, const String& version) {
  init(module, f, version);
  fInitialised = true;
}

CStrFile::~CStrFile() {
  fHeader.reset();
  OrlanSynchronized lock(fPagesLock);
  fPages.clear();
  fFile.close();
}

void CStrFile::init(HINSTANCE module, const FileLocator& f, const String& version) {
  FileLocator found(f);
  if (!open_in_search_path(module, found)) throw CStrError(CStrError::CSTR_ERR_NO_FILE, found.path(), false);
  const CoreUse use;
  if (use.core() != nullptr && use.core()->fStringDirectory.size() == 0) {
    use.core()->fStringDirectory = found.location();
  }

  const std::uint32_t size = fFile.size();
  const bool sizeKnown = size != 0 || fFile.getError() == File::FILE_ERR_NONE;
  if (sizeKnown && size < fileBytes(1)) throw CStrError(CStrError::CSTR_ERR_TOO_SMALL, found.fullName(), false);
  load_header_block(version);
  if (!sizeKnown || size != fileBytes(page_count())) {
    throw CStrError(CStrError::CSTR_ERR_BAD_SIZE, found.fullName(), false);
  }
  if (!check_index_order()) throw CStrError(CStrError::CSTR_ERR_BAD_ORDER, found.fullName(), false);
  make_guide();
  fLoaded = std::make_unique<std::atomic<const CStrFileCachePage*>[]>(page_count());
}

bool CStrFile::open_in_search_path(HINSTANCE module, FileLocator& f) {
  const CoreUse use;
  if (use.core() != nullptr && use.core()->fStringDirectory.size() != 0 && open_in(use.core()->fStringDirectory, f)) {
    return true;
  }
  String directory;
  const char* named = platform::environmentValue("tavio_language");
  if (named != nullptr && fromNative(directory, named) && open_in(directory, f)) return true;
  return moduleDirectory(module, directory) && open_in(directory, f);
}

bool CStrFile::open_in(const String& directory, FileLocator& f) {
  f.setLocation(directory);
  return fFile.open(f, File::MODE_READ | File::MODE_BINARY);
}

bool CStrFile::load_header_block(const String& version) {
  static constexpr const char* DETAIL = "Cstr::load_header_block";
  fHeader.reset(MemAllocator::allocate(HEADER_BYTES));
  if (fHeader == nullptr) throw CStrError(CStrError::CSTR_ERR_NO_MEMORY, DETAIL, false);
  if (!fFile.seek(0, File::SEEK_FROM_START)) throw CStrError(CStrError::CSTR_ERR_SEEK, DETAIL, false);
  if (!fFile.read(fHeader.get(), HEADER_BYTES)) throw CStrError(CStrError::CSTR_ERR_READ, DETAIL, false);
  FileBinHeader header;
  std::memcpy(&header, fHeader.get(), sizeof header);
  const NatString wanted(version);
  if (!header.check(bytes("CONSTR"), version.size() == 0 ? nullptr : bytes(wanted.begin()), bytes("WIN"))) {
    throw CStrError(CStrError::CSTR_ERR_BAD_HEADER, DETAIL, false);
  }
  return true;
}

bool CStrFile::check_index_order() {
  const std::uint32_t pages = page_count();
  if (pages == 0 || pages > MAX_PAGES) return false;
  std::uint32_t before = 0;
  for (std::uint32_t i = 0; i < pages; ++i) {
    if (index(i) <= before) return false;
    before = index(i);
  }
  return index(pages) >= before;
}

std::uint32_t CStrFile::page_count() const { return littleEndian(fHeader.get() + PAGE_COUNT_OFFSET); }

std::uint32_t CStrFile::index(std::uint32_t i) const {
  assert(i <= MAX_PAGES);
  return littleEndian(fHeader.get() + INDEX_OFFSET + 4 * i);
}

void CStrFile::make_guide() {
  const std::uint32_t first = index(0), handles = index(page_count()) - first;
  fGuideShift = std::bit_width(handles / GUIDE_STEPS);
  for (std::uint32_t step = 0; step <= GUIDE_STEPS; ++step) {
    const auto offset =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(std::uint64_t{step} << fGuideShift, handles));
    fGuide[step] = static_cast<std::uint16_t>(search_page(first + offset, 0, page_count() - 1));
  }
}

std::uint32_t CStrFile::find_page(std::uint32_t handle) {
  const std::uint32_t step = (handle - index(0)) >> fGuideShift;
  return search_page(handle, fGuide[step], fGuide[step + 1]);
}

/// The last page from `lo` to `hi` that doesn't begin above `handle`. Requires: `lo` doesn't.
std::uint32_t CStrFile::search_page(std::uint32_t handle, std::uint32_t lo, std::uint32_t hi) const {
  constexpr int MAX_PASSES = 200;
  for (int pass = 0; lo != hi; ++pass) {
    if (pass == MAX_PASSES) throw CStrError(CStrError::CSTR_ERR_LOOP, "", false);
    const std::uint32_t mid = (lo + hi + 1) / 2;
    if (index(mid) > handle) {
      hi = mid - 1;
    } else {
      lo = mid;
    }
  }
  return lo;
}

const std::uint16_t* CStrFile::get(std::uint32_t handle) {
  if (!fInitialised) throw CStrError(CStrError::CSTR_ERR_NOT_INITIALIZED, "", false);
  if (handle == EMPTY_TEXT) return strNULL;
  if (handle == NO_TEXT) throw CStrError(CStrError::CSTR_ERR_NOT_FOUND, "", false);
  if (handle < index(0) || handle > index(page_count())) {
    throw CStrError(CStrError::CSTR_ERR_OUT_OF_RANGE, "", false);
  }
  const std::uint32_t page = find_page(handle);
  const std::uint32_t n = handle - index(page);
  if (n >= CStrFileCachePage::UNITS) throw CStrError(CStrError::CSTR_ERR_BAD_HANDLE, "", false);
  const CStrFileCachePage* held = fLoaded[page].load(std::memory_order_acquire);
  if (held == nullptr) {
    const OrlanSynchronized lock(fPagesLock);
    held = loaded_page(page);
  }
  return held == nullptr ? nullptr : held->find(n);
}

/// The page, which is read if it isn't there yet; null if it can't be read.
const CStrFileCachePage* CStrFile::loaded_page(std::uint32_t page) {
  if (const CStrFileCachePage* there = fLoaded[page].load(std::memory_order_relaxed)) return there;
  fPages.push_back(std::make_unique<CStrFileCachePage>());
  const CStrFileCachePage* const read = fPages.back().get();
  if (!fPages.back()->load(fFile, page)) return nullptr;
  fLoaded[page].store(read, std::memory_order_release);
  return read;
}

}  // namespace zqcore27
