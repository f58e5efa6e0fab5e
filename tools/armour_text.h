#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zqtool {

/// A text with each of its lines scrambled into the armoured form, as configuration files hold them. Empty lines and
/// line feeds stay; a first line that begins with `#` stays readable, since it decides how the file is read.
/// Returns the number of the line that is too long for the form (16,777,215 bytes are the most), else 0.
std::size_t scrambleText(std::string_view text, std::string& out);

/// The way back. Lines that aren't in the armoured form pass unchanged.
std::string unscrambleText(std::string_view text);

/// The lines that a reader sees in a scrambled text: empty ones are gone, and what was decoded is cut at a zero byte.
std::vector<std::string> decodedLines(std::string_view text);

}  // namespace zqtool
