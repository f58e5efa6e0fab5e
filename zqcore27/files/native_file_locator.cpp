#include "zqcore27/files/native_file_locator.h"

#include "zqcore27/core/core.h"

inline namespace zqcore27 {

NativeFileLocator::NativeFileLocator(const String& s) { NativeFileLocator::from_string(s); }

void NativeFileLocator::from_string(const String& s) {
  String native = s;
  native.replaceChars('/', gCore->fPlatform->fDirSep);
  native.replaceChars('\\', gCore->fPlatform->fDirSep);
  FileLocator::from_string(native);
}

}  // namespace zqcore27
