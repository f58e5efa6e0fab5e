#pragma once

#include <cstdint>

#include "zqcore27/errors/error.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

/// A catalogue can't serve. Its words are compiled in, in English whatever the locale, since it reports that the
/// catalogues have failed; a detail follows them, for 1 to 6 and 15 without a blank between.
/// The code is a small number and no handle: `description` ignores the catalogue that it is given and makes the text
/// afresh each time. An ErrorContainer keeps the number but not these words.
class ZQCORE27_EXPORT CStrError : public Error {
 public:
  enum ErrorType : std::uint32_t {
    CSTR_ERR_NONE = 0,
    /// The index leads a search in circles.
    CSTR_ERR_LOOP = 1,
    /// A text was asked for before the catalogue was ready.
    CSTR_ERR_NOT_INITIALIZED = 2,
    /// The handle that stands for no text was asked for.
    CSTR_ERR_NOT_FOUND = 3,
    /// The handle lies below the first or above the last of the file.
    CSTR_ERR_OUT_OF_RANGE = 4,
    /// The handle lies in a gap between two pages.
    CSTR_ERR_BAD_HANDLE = 5,
    /// A text holds a substitution mark without a digit 1 to 8; fatal. Remedy: correct the catalogue.
    CSTR_ERR_BAD_PARAMETER = 6,
    /// No catalogue can be opened. The detail is the path of the last try, the path of the locator where there was no
    /// directory to try, or empty where several names were tried.
    CSTR_ERR_NO_FILE = 7,
    /// The file is shorter than the smallest catalogue, 2560 bytes. The detail of this and of 10 and 11 is its name.
    CSTR_ERR_TOO_SMALL = 8,
    CSTR_ERR_BAD_LOAD = 9,
    /// The file is cut or has grown: its size isn't what its header says.
    CSTR_ERR_BAD_SIZE = 10,
    /// The index doesn't rise, or it is larger than the header block.
    CSTR_ERR_BAD_ORDER = 11,
    CSTR_ERR_NO_MEMORY = 12,
    CSTR_ERR_SEEK = 13,
    CSTR_ERR_READ = 14,
    /// The file is no catalogue, or one of another version.
    CSTR_ERR_BAD_HEADER = 15
  };

  /// `detail` is native text; null is empty text.
  CStrError(ErrorType type, const char* detail, bool fatal);
  CStrError(ErrorType type, const String& detail, bool fatal);
  CStrError(const CStrError& e);
  CStrError& operator=(const CStrError& e);
  ~CStrError() override;

  const char* module() const override;
  /// The fixed words and the detail. `cstr` isn't used. The text belongs to the error and is good until the next call.
  const std::uint16_t* description(CStr* cstr) const override;

 private:
  String fDetail;
};

}  // namespace zqcore27
