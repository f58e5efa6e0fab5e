#include "tools/catalogue_text.h"

#include <charconv>
#include <cstdio>

namespace zqtool {

unsigned marksOf(std::u16string_view text) {
  unsigned marks = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != MARK) continue;
    const char16_t digit = ++i < text.size() ? text[i] : u'0';
    marks |= digit >= u'0' && digit <= u'9' ? 1U << (digit - u'0') : 1U;
  }
  return marks;
}

std::string handleName(std::uint32_t handle) {
  char name[16];
  std::snprintf(name, sizeof name, "0x%08X", static_cast<unsigned>(handle));
  return name;
}

std::optional<std::uint32_t> parseHandle(std::string_view s) {
  if (s.starts_with("0x") || s.starts_with("0X")) s.remove_prefix(2);
  std::uint32_t handle = 0;
  const auto [end, error] = std::from_chars(s.data(), s.data() + s.size(), handle, 16);
  if (error != std::errc() || end != s.data() + s.size() || s.size() > 8) return std::nullopt;
  return handle;
}

std::optional<std::u16string> unitsOf(std::string_view utf8) {
  std::u16string units;
  for (std::size_t i = 0; i < utf8.size();) {
    const auto lead = static_cast<unsigned char>(utf8[i++]);
    const int more = lead < 0x80 ? 0 : lead >= 0xC2 && lead < 0xE0 ? 1 : (lead & 0xF0) == 0xE0 ? 2 : -1;
    if (more < 0 || utf8.size() - i < static_cast<std::size_t>(more)) return std::nullopt;
    unsigned unit = more == 0 ? lead : lead & (more == 1 ? 0x1FU : 0x0FU);
    for (int k = 0; k < more; ++k) {
      const auto next = static_cast<unsigned char>(utf8[i++]);
      if ((next & 0xC0) != 0x80) return std::nullopt;
      unit = unit << 6 | (next & 0x3FU);
    }
    if (more == 2 && (unit < 0x800 || (unit & 0xF800) == 0xD800)) return std::nullopt;
    units += static_cast<char16_t>(unit);
  }
  return units;
}

std::string utf8Of(std::u16string_view units) {
  std::string utf8;
  for (const char16_t u : units) {
    if (u < 0x80) {
      utf8 += static_cast<char>(u);
    } else if (u < 0x800) {
      utf8 += {static_cast<char>(0xC0 | u >> 6), static_cast<char>(0x80 | (u & 0x3F))};
    } else {
      utf8 += {static_cast<char>(0xE0 | u >> 12), static_cast<char>(0x80 | (u >> 6 & 0x3F)),
               static_cast<char>(0x80 | (u & 0x3F))};
    }
  }
  return utf8;
}

SourceText fromSource(std::string_view utf8) {
  const auto units = unitsOf(utf8);
  if (!units) return {{}, "the text isn't UTF-8, or has a character beyond U+FFFF"};
  SourceText out;
  const std::u16string_view s = *units;
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (s[i] == 0 || s[i] == MARK) return {{}, "the text has the control character " + std::to_string(s[i])};
    if (s[i] != u'{') {
      out.text += s[i];
    } else if (i + 1 < s.size() && s[i + 1] == u'{') {
      out.text += s[i++];
    } else if (i + 2 < s.size() && s[i + 1] >= u'1' && s[i + 1] <= u'8' && s[i + 2] == u'}') {
      out.text += {MARK, s[i + 1]};
      i += 2;
    } else {
      const std::string found = utf8Of(s.substr(i, s.find(u'}', i) == s.npos ? 1 : s.find(u'}', i) - i + 1));
      return {{}, found + " is no mark: marks are {1} to {8}, and a brace itself is written {{"};
    }
  }
  return out;
}

std::string toSource(std::u16string_view text) {
  std::u16string source;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == MARK) {
      const char16_t digit = i + 1 < text.size() ? text[++i] : u'?';
      source += {u'{', digit >= u'0' && digit <= u'9' ? digit : u'?', u'}'};
    } else {
      source.append(text[i] == u'{' ? 2 : 1, text[i]);
    }
  }
  return utf8Of(source);
}

}  // namespace zqtool
