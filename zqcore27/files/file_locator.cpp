#include "zqcore27/files/file_locator.h"

#include <utility>

#include "zqcore27/core/core_hold.h"
#include "zqcore27/files/native_file_locator.h"
#include "zqcore27/platform/directory.h"
#include "zqcore27/strings/nat_string.h"

inline namespace zqcore27 {

namespace {

struct Split {
  bool found;
  String before;  // all of the text if nothing was found
  String behind;
};

/// Cuts a text at the last `separator`; 0 is never found.
Split splitAtLast(const String& s, std::uint16_t separator) {
  const std::uint32_t at = separator != 0 ? s.locateLast(separator, false) : String::NOT_FOUND;
  if (at == String::NOT_FOUND) return {false, s, String()};
  return {true, String(s.begin(), at), String(s.begin() + at + 1, s.size() - at - 1)};
}

String join(const String& before, std::uint16_t separator, const String& behind) {
  String joined = before;
  joined += separator;  // 0 adds nothing
  joined += behind;
  return joined;
}

constexpr char STAR[] = "*";

}  // namespace

FileLocator::FileLocator() = default;
FileLocator::FileLocator(const String& s) { FileLocator::from_string(s); }
FileLocator::FileLocator(const std::uint16_t* const& s) { FileLocator::from_string(String(s)); }
FileLocator::FileLocator(const FileLocator& f) = default;
FileLocator::FileLocator(FileLocator&& f) noexcept = default;
FileLocator::~FileLocator() = default;

FileLocator& FileLocator::operator=(const std::uint16_t* const& s) {
  from_string(String(s));
  return *this;
}

FileLocator& FileLocator::operator=(const String& s) {
  from_string(s);
  return *this;
}

// The pieces are parsed afresh, with this locator's separators.
FileLocator& FileLocator::operator=(const FileLocator& f) {
  from_string(f.path());
  return *this;
}

std::uint16_t FileLocator::dir_sep() const { return separators().dir; }

std::uint16_t FileLocator::ext_sep() const { return separators().ext; }

void FileLocator::from_string(const String& s) {
  Split cut = splitAtLast(s, dir_sep());
  fFullName = cut.found ? std::move(cut.behind) : std::move(cut.before);
  fLocation = cut.found ? std::move(cut.before) : String(".");
  split_full_name();
}

void FileLocator::setLocation(const String& s) {
  const std::uint16_t separator = dir_sep();
  const bool cutOne = s.size() != 0 && separator != 0 && s[s.size() - 1] == separator;
  fLocation = String(s.begin(), s.size() - (cutOne ? 1 : 0));
  rebuild_path();
}

void FileLocator::setName(const String& s) {
  fName = s;
  join_full_name();
}

void FileLocator::setExtension(const String& s) {
  fExtension = s;
  join_full_name();
}

void FileLocator::setFullName(const String& s) {
  fFullName = s;
  split_full_name();
}

void FileLocator::addDirEnd(const String& s) { setLocation(join(fLocation, dir_sep(), s)); }

void FileLocator::addDirStart(const String& s) { setLocation(join(s, dir_sep(), fLocation)); }

// A name without a separator keeps the extension that it had.
void FileLocator::split_full_name() {
  Split cut = splitAtLast(fFullName, ext_sep());
  fName = std::move(cut.before);
  if (cut.found) fExtension = std::move(cut.behind);
  rebuild_path();
}

void FileLocator::join_full_name() {
  fFullName = join(fName, ext_sep(), fExtension);
  rebuild_path();
}

void FileLocator::rebuild_path() { fPath = join(fLocation, dir_sep(), fFullName); }

bool FileLocator::list_names(void (*add)(void* to, const char* name), void* to) const {
  const bool everything = fExtension.size() == 0 || (fExtension.size() == 1 && fExtension[0u] == STAR[0]);
  NatString pattern;
  NatString directory;
  if (!toNativePath(everything ? String(STAR) : join(String(STAR), ext_sep(), fExtension), pattern) ||
      !toNativePath(fLocation.size() != 0 ? fLocation : String("."), directory)) {
    return false;
  }

  platform::DirectoryListing listing(directory.begin(), pattern.begin());
  bool found = false;
  for (const char* name = listing.next(); name != nullptr; name = listing.next()) {
    add(to, name);
    found = true;
  }
  return found || !listing.failed();
}

}  // namespace zqcore27
