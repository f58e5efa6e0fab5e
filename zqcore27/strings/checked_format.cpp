#include "zqcore27/strings/checked_format.h"

#include "zqcore27/errors/string_error.h"

inline namespace zqcore27 {

void refuseFormat(const char* format) {
  static constexpr std::uint16_t REPLACEMENT = 0xFFFD;
  String shown;
  for (; *format != 0; ++format) {
    const auto byte = static_cast<unsigned char>(*format);
    shown += byte < 0x80 ? byte : REPLACEMENT;
  }
  StringError error(StringError::BAD_FORMAT, true);
  error.addInsert(shown);
  throw error;
}

}  // namespace zqcore27
