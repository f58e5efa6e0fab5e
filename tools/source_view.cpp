#include "tools/source_view.h"

#include <algorithm>
#include <string_view>

#include "tools/armour_text.h"
#include "tools/files.h"
#include "tools/words.h"
#include "zqcore27/errors/error.h"
#include "zqcore27/strings/transcode.h"

namespace zqtool {
namespace {

constexpr std::size_t BEFORE = 64, BEHIND = 32;  // characters shown around the place
constexpr char16_t UNPRINTABLE = 0xFFFD;

/// Columns that a terminal gives to a character.
std::size_t widthOf(char16_t c) {
  static constexpr struct {
    char16_t first, last;
  } WIDE[] = {{0x1100, 0x115F}, {0x2E80, 0xA4CF}, {0xAC00, 0xD7A3}, {0xF900, 0xFAFF},
              {0xFE30, 0xFE6F}, {0xFF00, 0xFF60}, {0xFFE0, 0xFFE6}};
  const bool wide =
      std::any_of(std::begin(WIDE), std::end(WIDE), [c](auto range) { return c >= range.first && c <= range.last; });
  return c >= 0x0300 && c <= 0x036F ? 0 : wide ? 2 : 1;
}

/// UTF-8 with a replacement for each byte that doesn't belong.
std::u16string tolerantUnits(const std::string& bytes) {
  std::u16string units;
  for (std::size_t i = 0; i < bytes.size();) {
    std::uint16_t unit = 0;
    const std::int32_t used = bytes[i] == '\0' ? -1 : utf2uni(bytes.c_str() + i, &unit);
    units += used > 0 ? static_cast<char16_t>(unit) : UNPRINTABLE;
    i += used > 0 ? static_cast<std::size_t>(used) : 1;
  }
  return units;
}

std::vector<std::string> splitLines(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

}  // namespace

SourceView::SourceView(const std::string& path, bool decode, bool utf8) : fUtf8(utf8) {
  const FileBytes file = readFile(path);
  std::string_view text(reinterpret_cast<const char*>(file.bytes.data()), file.bytes.size());
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  if (!decode) {
    fLines = splitLines(text);
    return;
  }
  for (const std::string& decoded : decodedLines(text)) {
    for (std::string& line : splitLines(decoded + "\n")) fLines.push_back(std::move(line));
  }
}

std::u16string SourceView::units(const std::string& bytes) const {
  if (!fUtf8) {
    try {
      const String native(bytes.c_str());
      if (bytes.find('\0') == bytes.npos) return {native.begin(), native.begin() + native.size()};
    } catch (const Error&) {  // the very byte that is to be shown
    }
  }
  return tolerantUnits(bytes);
}

std::string SourceView::mark(std::uint32_t line, std::uint32_t column) const {
  if (line < 1 || line > fLines.size()) return {};
  std::u16string text = units(fLines[line - 1]);
  if (text.ends_with(u'\r')) text.pop_back();
  const std::size_t place = std::min<std::size_t>(column < 1 ? 0 : column - 1, text.size());

  const std::size_t from = place > BEFORE ? place - BEFORE : 0;
  const std::size_t to = std::min(text.size(), place + BEHIND);
  String shown(from > 0 ? u"..." : u"");
  String caret(from > 0 ? u"   " : u"");
  for (std::size_t i = from; i < to; ++i) {
    const char16_t c =
        (text[i] < 0x20 && text[i] != u'\t') || (text[i] >= 0x7F && text[i] < 0xA0) ? UNPRINTABLE : text[i];
    shown += c;
    if (i >= place) continue;
    for (std::size_t w = c == u'\t' ? 1 : widthOf(c); w > 0; --w) caret += c == u'\t' ? u'\t' : u' ';
  }
  if (to < text.size()) shown += u"...";
  return nativeText(shown) + "\n" + nativeText(caret) + "^\n";
}

}  // namespace zqtool
