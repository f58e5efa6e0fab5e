#pragma once

#include <string>

#include "zqcore27/catalogue/cstr_enterprise.h"
#include "zqcore27/errors/error.h"
#include "zqcore27/strings/string.h"

namespace zqtool {

/// The texts in one language.
class Words {
 public:
  /// `language` as users write it (de, DEU, de_DE.UTF-8); empty for the user's own. The catalogues are looked for in
  /// the directory that tavio_language names, then where they are installed with this program, then beside it.
  explicit Words(const std::string& language);

  CStr& catalogue() { return fCatalogue; }
  /// The words of an error, in the encoding of the user's terminal.
  std::string of(const Error& e);

 private:
  CStrEnterprise fCatalogue;
};

/// In the encoding of the user's terminal.
std::string nativeText(const String& s);

}  // namespace zqtool
