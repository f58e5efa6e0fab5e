#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zqtool {

/// Where the entries of a PO file stand, which the PO library doesn't tell.
struct PoScan {
  struct Fault {
    std::size_t line;
    std::string words;
  };
  std::vector<std::size_t> lines;  // of each entry that isn't obsolete, from 1: of its msgctxt, else of its msgid
  std::vector<Fault> faults;       // what the PO library would pass over in silence
};

/// Walks the text of a PO file, any text.
PoScan scanPo(std::string_view text);

}  // namespace zqtool
