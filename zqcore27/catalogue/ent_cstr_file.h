#pragma once

#include <cstdint>
#include <memory>

#include "zqcore27/catalogue/cstr.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/platform/module.h"
#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

class CStrFile;

/// The catalogue file that fits a code and a locale best. With the prefix `strings_200_` and the locale `deu` these
/// names are tried, in this order, each through the directories that CStrFile searches:
///
///   strings_200__deu.cst   only for a locale of three units
///   strings_200__de.cst    the first two units; `ja` becomes `jp`
///   strings_200_.cst
///   strings_200__en.cst
///
/// A file that is found but unfit counts as not found. Where file names tell case apart, the locale is taken as it is
/// spelt; the user's own language is in lower case.
/// Threads: any number at once, after construction; for that see CStrFile.
class ZQCORE27_EXPORT EntCStrFile : public CStr {
 public:
  /// An empty locale stands for the user's language. A file of another version doesn't fit; an empty version accepts
  /// any. Errors: CStrError 7, not fatal, without a detail, if no file fits; MemError.
  EntCStrFile(HINSTANCE module, std::uint16_t code, const String& locale, const String& prefix, const String& version);
  EntCStrFile(const EntCStrFile&) = delete;
  EntCStrFile& operator=(const EntCStrFile&) = delete;
  ~EntCStrFile() override;

  std::uint16_t code() const { return fCode; }
  /// True if `l` is the locale that was asked for or that of the file, without regard to case.
  bool isLocale(const String& l) const;
  /// As CStrFile::get.
  const std::uint16_t* get(std::uint32_t handle) override;

 private:
  std::uint16_t fCode;
  String fLocale;      // asked for; the user's language if that was empty
  String fFileLocale;  // of the file opened; empty for the file without locale
  std::unique_ptr<CStrFile> fFile;
};

}  // namespace zqcore27
