#include "zqcore27/catalogue/ent_cstr_file.h"

#include "zqcore27/catalogue/cstr_error.h"
#include "zqcore27/catalogue/cstr_file.h"
#include "zqcore27/files/file_locator.h"
#include "zqcore27/strings/native_text.h"

inline namespace zqcore27 {

namespace {

// Null if the file can't be used, whatever the reason.
std::unique_ptr<CStrFile> openCatalogue(HINSTANCE module, const String& name, const String& version) {
  try {
    FileLocator f;
    f.setExtension("cst");
    f.setName(name);
    return std::make_unique<CStrFile>(module, f, version);
  } catch (...) {
    return nullptr;
  }
}

String localeName(const String& prefix, const String& locale) {
  String name(prefix);
  name += "_";
  name += locale;
  return name;
}

// The two-letter form of a language, by which files are named.
String shortLocale(const String& locale) {
  String cut(locale);
  if (cut.size() > 2) cut.terminate(2u);
  if (cut == "ja") cut = "jp";
  return cut;
}

}  // namespace

EntCStrFile::EntCStrFile(HINSTANCE module, std::uint16_t code, const String& locale, const String& prefix,
                         const String& version)
    : fCode(code), fLocale(locale) {
  if (fLocale.size() == 0) getLocaleLanguage(fLocale);
  fFileLocale = fLocale;
  if (fFileLocale.size() == 3) fFile = openCatalogue(module, localeName(prefix, fFileLocale), version);
  if (fFile == nullptr) {
    fFileLocale = shortLocale(fLocale);
    fFile = openCatalogue(module, localeName(prefix, fFileLocale), version);
  }
  if (fFile == nullptr) {
    fFileLocale = nullString();
    fFile = openCatalogue(module, prefix, version);
  }
  if (fFile == nullptr) {
    fFileLocale = "en";
    fFile = openCatalogue(module, localeName(prefix, fFileLocale), version);
  }
  if (fFile == nullptr) throw CStrError(CStrError::CSTR_ERR_NO_FILE, "", false);
}

EntCStrFile::~EntCStrFile() = default;

bool EntCStrFile::isLocale(const String& l) const { return fFileLocale == l || fLocale == l; }

const std::uint16_t* EntCStrFile::get(std::uint32_t handle) { return fFile == nullptr ? nullptr : fFile->get(handle); }

}  // namespace zqcore27
