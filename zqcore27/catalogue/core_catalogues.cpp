// The core object's list of catalogues. It stands here since only this floor knows how one is made.

#include <memory>

#include "zqcore27/catalogue/ent_cstr_file.h"
#include "zqcore27/catalogue/known_catalogue.h"
#include "zqcore27/core/core.h"
#include "zqcore27/core/version.h"
#include "zqcore27/strings/native_text.h"
#include "zqcore27/threads/read_write_lock.h"

inline namespace zqcore27 {

namespace {

EntCStrFile* findCatalogue(const std::list<EntCStrFile*>& catalogues, std::uint16_t code, const String& locale) {
  for (EntCStrFile* entry : catalogues) {
    if (entry->code() == code && entry->isLocale(locale)) return entry;
  }
  return nullptr;
}

String filePrefix(std::uint16_t code) {
  String prefix("strings_");
  if (code != 0) prefix.build("strings_%3x_", code);
  return prefix;
}

}  // namespace

EntCStrFile* knownCatalogue(OrlanCore& core, std::uint16_t code, const String& locale) {
  if (locale.size() == 0) {
    String language;
    getLocaleLanguage(language);
    return knownCatalogue(core, code, language);
  }
  const OrlanSynchronizedRead lock(*core.fCatalogueLock);
  return findCatalogue(*core.fCatalogues, code, locale);
}

CStr* OrlanCore::getCStr(std::uint16_t code, HINSTANCE module, const String& locale) {
  // The user's language takes the place of an empty locale here already: an entry made for it is found again.
  String language;
  if (locale.size() == 0) getLocaleLanguage(language);
  const String& wanted = locale.size() == 0 ? language : locale;
  if (EntCStrFile* found = knownCatalogue(*this, code, wanted)) return found;
  OrlanSynchronizedWrite lock(*fCatalogueLock);
  if (EntCStrFile* found = findCatalogue(*fCatalogues, code, wanted)) return found;  // made in between
  try {
    auto entry = std::make_unique<EntCStrFile>(module, code, wanted, filePrefix(code), String(fVersion->fFull));
    fCatalogues->push_back(entry.get());
    return entry.release();
  } catch (...) {
    return nullptr;
  }
}

}  // namespace zqcore27
