#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tools/catalogue_text.h"

namespace zqtool {

/// A place in a PO file, from line 1, and what is to be said about it. Line 0 is the file as a whole.
struct PoRemark {
  std::size_t line;
  std::string words;
};

struct PoEntry {
  std::size_t line;        // of its msgctxt
  std::uint32_t handle;    // what msgctxt says
  std::u16string english;  // msgid
  std::u16string text;     // msgstr; the English text while there is none
  bool translated;         // false where msgstr is empty or marked fuzzy
};

struct PoFile {
  std::vector<PoEntry> entries;  // in the order of the file; those with a fault are left out
  std::vector<PoRemark> faults;
  std::vector<PoRemark> warnings;
};

/// Reads a PO file of texts with handles; "-" is standard input. Whatever is wrong is told in `faults`, with its line.
/// Obsolete entries are passed over. Not for several threads at once: the parser below has state of its own.
PoFile readPoFile(const std::string& path);

/// One entry to be written: msgctxt, msgid, msgstr.
struct PoText {
  std::uint32_t handle;
  std::u16string english;
  std::u16string text;
};

/// A PO file of these entries, in UTF-8.
std::string formatPo(const std::vector<PoText>& texts, std::string_view language);

}  // namespace zqtool
