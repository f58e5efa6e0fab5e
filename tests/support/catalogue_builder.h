#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// Overwrites `width` bytes at `at` with `value`, little-endian.
inline void poke(std::string& bytes, std::size_t at, int width, std::uint32_t value) {
  for (int i = 0; i < width; ++i) bytes.at(at + i) = static_cast<char>(value >> 8 * i & 0xFF);
}

/// A text of a catalogue: "$1 of $2" has the marks of two values.
inline std::u16string withValues(std::u16string text) {
  std::replace(text.begin(), text.end(), u'$', u'\x13');
  return text;
}
inline std::u16string twoDigits(std::uint32_t number) {
  return {static_cast<char16_t>('0' + number / 10), static_cast<char16_t>('0' + number % 10)};
}

/// Makes the bytes of a catalogue file, independent of the compiler of the tools. Faults are put in afterwards, with
/// poke.
struct CatalogueBuilder {
  static constexpr std::size_t PAGES_AT = 32, INDEX_AT = 36, FIRST_PAGE_AT = 2048, PAGE_BYTES = 512;

  std::string type = "CONSTR", version = "2.7.A", platform = "WIN";
  std::map<std::uint32_t, std::u16string> texts;

  /// A page ends where the handles have a gap or a text doesn't fit any more.
  std::string bytes() const {
    std::vector<Page> pages;
    for (const auto& [handle, text] : texts) {
      if (pages.empty() || !pages.back().takes(handle, text)) pages.push_back({handle, {}, 0});
      pages.back().texts.push_back(text);
      pages.back().units += text.size() + 2;  // its terminator, its place in the table
    }
    std::string out(FIRST_PAGE_AT + pages.size() * PAGE_BYTES, '\0');
    out.replace(0, 12, std::string("\x9E\x85\x0D\x0A\x54\x61\xFE\x56\x69\x07\x4F\x00", 12));
    out.replace(12, type.size(), type);
    out.replace(20, version.size(), version);
    out.replace(26, platform.size(), platform);
    poke(out, PAGES_AT, 4, static_cast<std::uint32_t>(pages.size()));
    for (std::size_t p = 0; p < pages.size(); ++p) {
      poke(out, INDEX_AT + 4 * p, 4, pages[p].first);
      pages[p].put(out, FIRST_PAGE_AT + p * PAGE_BYTES);
    }
    if (!texts.empty()) poke(out, INDEX_AT + 4 * pages.size(), 4, texts.rbegin()->first);
    return out;
  }

 private:
  struct Page {
    std::uint32_t first;
    std::vector<std::u16string> texts;
    std::size_t units;

    bool takes(std::uint32_t handle, const std::u16string& text) const {
      return handle == first + texts.size() && units + text.size() + 2 <= 256;
    }
    void put(std::string& out, std::size_t at) const {
      std::uint32_t next = 0;
      for (std::size_t n = 0; n < texts.size(); ++n) {
        if (n != 0) poke(out, at + 2 * (255 - n), 2, next);
        for (const char16_t unit : texts[n]) poke(out, at + 2 * next++, 2, unit);
        ++next;
      }
      poke(out, at + 2 * 255, 2, static_cast<std::uint32_t>(256 - texts.size()));
    }
  };
};
