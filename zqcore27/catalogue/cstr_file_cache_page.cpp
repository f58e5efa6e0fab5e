#include "zqcore27/catalogue/cstr_file_cache_page.h"

#include <algorithm>
#include <bit>

#include "zqcore27/files/file.h"

inline namespace zqcore27 {

// Pages are served as they are read, and the files are little-endian.
static_assert(std::endian::native == std::endian::little);

CStrFileCachePage::CStrFileCachePage() = default;

bool CStrFileCachePage::load(File& f, std::uint32_t page) {
  if (page >= NO_PAGE) return false;  // no file has it, and fPage couldn't hold it
  static_assert((std::uint64_t{NO_PAGE} + HEADER_BLOCKS) * BYTES <= 0x7FFFFFFF, "any page can be sought");
  if (!f.seek((page + HEADER_BLOCKS) * BYTES, File::SEEK_FROM_START)) return false;
  fPage = NO_PAGE;
  fTextEnd = 0;
  if (!load_data(f)) return false;
  fTextEnd = static_cast<std::uint16_t>(std::find(fData.rbegin(), fData.rend(), 0).base() - fData.begin());
  fPage = static_cast<std::uint16_t>(page);
  return true;
}

bool CStrFileCachePage::load_data(File& f) {
  static_assert(sizeof fData == BYTES);
  return f.read(fData.data(), BYTES);
}

const std::uint16_t* CStrFileCachePage::get(std::uint32_t n) const { return find(n); }

}  // namespace zqcore27
