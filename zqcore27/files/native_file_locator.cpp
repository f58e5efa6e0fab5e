#include "zqcore27/files/native_file_locator.h"

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

}  // namespace zqcore27
