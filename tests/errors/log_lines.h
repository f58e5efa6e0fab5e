#pragma once

#include <cctype>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

using Lines = std::vector<std::string>;

/// True if the text begins with what the shape shows, where 0 stands for any digit.
inline bool beginsLike(std::string_view text, std::string_view shape) {
  if (text.size() < shape.size()) return false;
  for (std::size_t i = 0; i < shape.size(); ++i) {
    const bool fits = shape[i] == '0' ? std::isdigit(static_cast<unsigned char>(text[i])) != 0 : text[i] == shape[i];
    if (!fits) return false;
  }
  return true;
}

/// The lines of a log without their times, which are tested for their form.
inline Lines linesOf(const std::string& log) {
  constexpr std::string_view TIME = "0000-00-00T00:00:00.000Z ";
  Lines lines;
  std::istringstream in(log);
  for (std::string line; std::getline(in, line);) {
    lines.push_back(beginsLike(line, TIME) ? line.substr(TIME.size()) : "no time: " + line);
  }
  return lines;
}
