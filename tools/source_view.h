#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "zqcore27/strings/string.h"

namespace zqtool {

/// The lines of a configuration text as its reader counts them, for showing a place to people.
class SourceView {
 public:
  /// Reads the file at once; one that can't be read has no lines. `decode`: its lines are scrambled. `utf8`: they are
  /// UTF-8 rather than native text.
  SourceView(const std::string& path, bool decode, bool utf8);

  /// Line `line` with a caret under `column`, both from 1: two lines, each with its line feed, in the encoding of the
  /// terminal. Of a long line only the part around the place. Empty if there is no such line.
  std::string mark(std::uint32_t line, std::uint32_t column) const;

 private:
  std::u16string units(const std::string& bytes) const;

  std::vector<std::string> fLines;
  bool fUtf8;
};

}  // namespace zqtool
