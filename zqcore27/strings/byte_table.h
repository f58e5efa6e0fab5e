#pragma once

// Internal: which bytes belong to a set, looked up by the byte.

#include <array>
#include <string_view>

inline namespace zqcore27 {

class ByteTable {
 public:
  constexpr explicit ByteTable(std::string_view members) {
    for (const char c : members) fHas[static_cast<unsigned char>(c)] = true;
  }

  constexpr bool has(char c) const { return fHas[static_cast<unsigned char>(c)]; }

 private:
  std::array<bool, 256> fHas{};
};

}  // namespace zqcore27
