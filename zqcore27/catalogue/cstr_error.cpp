#include "zqcore27/catalogue/cstr_error.h"

#include <iterator>

#include "zqcore27/errors/mem_error.h"
#include "zqcore27/errors/no_words.h"

inline namespace zqcore27 {

namespace {

constexpr const char* WORDS[] = {"CSTR_ERR_NONE",
                                 "Constant strings in Infinite loop",
                                 "CStr subsystem not initialized",
                                 "CStr string not found",
                                 "CStr handle out of range",
                                 "CStr handle invalid",
                                 "Invalid substitution parameter ID in CStr string",
                                 "Failed to open the constant string file - it probably isn't there: ",
                                 "The constant string file's too small to hold any strings: ",
                                 "Problems loading in the constant string file's header: ",
                                 "The constant string file isn't the correct size: ",
                                 "The index in the constant string file is out of order: ",
                                 "Memory allocation failed: ",
                                 "Seek in the constant string file failed: ",
                                 "Read to the constant string file failed: ",
                                 "Constant string file's header was bad"};
static_assert(std::size(WORDS) == CStrError::CSTR_ERR_BAD_HEADER + 1);

}  // namespace

CStrError::CStrError(ErrorType type, const char* detail, bool fatal) : Error(type, fatal), fDetail(detail) {}
CStrError::CStrError(ErrorType type, const String& detail, bool fatal) : Error(type, fatal), fDetail(detail) {}
CStrError::CStrError(const CStrError&) = default;
CStrError& CStrError::operator=(const CStrError&) = default;
CStrError::~CStrError() = default;

const char* CStrError::module() const { return "Constant Strings"; }

const std::uint16_t* CStrError::description(CStr*) const {
  try {
    const std::uint32_t number = code();
    if (number < std::size(WORDS)) {
      fDescription = WORDS[number];
    } else {
      fDescription.build("Unknown CStr error (code 0x%lX)", number);
    }
    fDescription += fDetail;
    return fDescription.begin();
  } catch (const MemError&) {
    return withoutWords(fDescription);
  }
}

}  // namespace zqcore27
