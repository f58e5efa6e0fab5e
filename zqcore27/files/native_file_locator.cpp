#include "zqcore27/files/native_file_locator.h"

#include <algorithm>

#include "zqcore27/core/core_hold.h"

inline namespace zqcore27 {

NativeFileLocator::NativeFileLocator(const String& s) { NativeFileLocator::from_string(s); }

void NativeFileLocator::from_string(const String& s) {
  String native = s;
  const std::uint16_t separator = separators().dir;
  native.replaceChars('/', separator);
  native.replaceChars('\\', separator);
  FileLocator::from_string(native);
}

bool toNativePath(const String& s, NatString& out) {
  const std::uint16_t* const end = s.begin() + s.size();
  if (std::find(s.begin(), end, 0) != end) return false;
  out = NatString(s);
  return out.size() - 1 >= s.size();  // a unit is at least one byte, unless it was left out
}

}  // namespace zqcore27
