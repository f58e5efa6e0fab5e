#include "tools/words.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>

#include "zqcore27/core/core.h"
#include "zqcore27/strings/nat_string.h"

namespace zqtool {
namespace {

/// The library spells file names by the locale as it is given, in lower case.
String localeOf(std::string language) {
  language.resize(std::min(language.find_first_of("_.@-"), language.size()));
  std::transform(language.begin(), language.end(), language.begin(), [](unsigned char c) { return std::tolower(c); });
  return String(language.c_str());
}

/// The place of the catalogues relative to this program; the build tree has them in the same place as the installation.
void useInstalledCatalogues() {
  namespace fs = std::filesystem;
  if (std::getenv("tavio_language") != nullptr || gCore->fStringDirectory.size() != 0) return;
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  const fs::path directory = (program.parent_path() / ZQTOOL_CATALOGUES).lexically_normal();
  if (!error && fs::is_directory(directory, error)) gCore->fStringDirectory = directory.c_str();
}

}  // namespace

Words::Words(const std::string& language) : fCatalogue(nullptr, nullString(), localeOf(language)) {
  useInstalledCatalogues();
}

std::string Words::of(const Error& e) { return nativeText(String(e.description(&fCatalogue))); }

std::string nativeText(const String& s) {
  const NatString native(s);
  return {native.begin(), native.size() - 1};
}

}  // namespace zqtool
