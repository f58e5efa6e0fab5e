#include "tools/armour_text.h"

#include <cstdint>

#include "zqcore27/strings/armour.h"

namespace zqtool {
namespace {

constexpr std::size_t MAX_LINE = 0xFFFFFF;

const unsigned char* bytesOf(std::string_view s) { return reinterpret_cast<const unsigned char*>(s.data()); }
unsigned char* bytesOf(std::string& s) { return reinterpret_cast<unsigned char*>(s.data()); }

std::string scrambleLine(std::string_view line) {
  const auto size = static_cast<std::uint32_t>(line.size());
  std::string out(LengthInAscii(size) + 4, '\0');
  auto length = static_cast<std::int32_t>(out.size());
  if (!StringInOut(bytesOf(line), static_cast<std::int32_t>(size), bytesOf(out), &length)) throw std::bad_alloc();
  out.resize(static_cast<std::size_t>(length));
  return out;
}

std::string unscrambleLine(std::string_view line) {
  if (line.empty() || line.size() > LengthInAscii(MAX_LINE) + 1) return std::string(line);
  std::string out(line.size() + 20, '\0');
  auto length = static_cast<std::int32_t>(out.size());
  if (!StringOutIn(bytesOf(line), static_cast<std::int32_t>(line.size()), bytesOf(out), &length))
    return std::string(line);
  out.resize(static_cast<std::size_t>(length));
  return out;
}

/// Cuts the first line off `text`, its line feed included. Returns the line without it; `ended` says if there was one.
std::string_view takeLine(std::string_view& text, bool& ended) {
  const std::size_t end = text.find('\n');
  ended = end != text.npos;
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(ended ? end + 1 : text.size());
  return line;
}

}  // namespace

std::size_t scrambleText(std::string_view text, std::string& out) {
  out.clear();
  for (std::size_t number = 1; !text.empty(); ++number) {
    bool ended = false;
    const std::string_view line = takeLine(text, ended);
    if (line.size() > MAX_LINE) return number;
    const bool readable = line.empty() || (number == 1 && line.front() == '#');
    out += readable ? std::string(line) : scrambleLine(line);
    if (ended) out += '\n';
  }
  return 0;
}

std::string unscrambleText(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    bool ended = false;
    out += unscrambleLine(takeLine(text, ended));
    if (ended) out += '\n';
  }
  return out;
}

std::vector<std::string> decodedLines(std::string_view text) {
  using namespace std::string_view_literals;
  std::vector<std::string> lines;
  while (!text.empty()) {
    const std::size_t end = text.find_first_of("\n\r\0"sv);
    std::string line = unscrambleLine(text.substr(0, end));
    if (!line.empty() || (end != text.npos && text[end] == '\0')) lines.push_back(line.substr(0, line.find('\0')));
    text.remove_prefix(end == text.npos ? text.size() : end + 1);
  }
  return lines;
}

}  // namespace zqtool
