#include "tools/po_scan.h"

#include <cctype>
#include <utility>

namespace zqtool {
namespace {

/// The text with lines joined that end in a backslash, as the parser joins them wherever it meets one. The breaks go
/// behind the joined line, so that the lines after it keep their numbers.
std::string joined(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  std::size_t breaks = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text.substr(i).starts_with("\\\n")) {
      ++breaks;
      ++i;
    } else {
      out += text[i];
      if (text[i] == '\n') out.append(std::exchange(breaks, 0), '\n');
    }
  }
  return out;
}

class Scanner {
 public:
  explicit Scanner(std::string_view text) : fText(text) {}

  PoScan run() {
    while (fAt < fText.size()) {
      const char c = fText[fAt];
      if (c == '\n') {
        ++fLine;
        ++fAt;
      } else if (c == '#') {
        fAt = std::min(fText.find('\n', fAt), fText.size());
      } else if (c == '"') {
        quoted();
      } else if (std::isalpha(static_cast<unsigned char>(c)) != 0) {
        word();
      } else {
        ++fAt;
      }
    }
    return std::move(fScan);
  }

 private:
  void quoted() {
    for (++fAt; fAt < fText.size() && fText[fAt] != '"' && fText[fAt] != '\n'; ++fAt) {
      if (fText[fAt] == '\0' || (fText[fAt] == '\\' && escapesZero())) {
        fScan.faults.push_back({fLine, "the text has a zero character"});
      }
    }
    if (fAt < fText.size() && fText[fAt] == '"') ++fAt;
  }

  /// At a backslash: steps onto the last character of its escape. True if the escape stands for the character 0.
  bool escapesZero() {
    if (++fAt >= fText.size() || fText[fAt] == '\n') return --fAt, false;
    const bool hex = fText[fAt] == 'x';
    if (!hex && !(fText[fAt] >= '0' && fText[fAt] <= '7')) return false;
    bool zero = hex ? fAt + 1 < fText.size() && fText[fAt + 1] == '0' : fText[fAt] == '0';
    for (int more = 2; more > 0 && fAt + 1 < fText.size(); --more) {
      const char next = fText[fAt + 1];
      if (hex ? std::isxdigit(static_cast<unsigned char>(next)) == 0 : next < '0' || next > '7') break;
      zero = zero && next == '0';
      ++fAt;
    }
    return zero;
  }

  void word() {
    const std::size_t begin = fAt;
    while (fAt < fText.size() && (std::isalpha(static_cast<unsigned char>(fText[fAt])) != 0 || fText[fAt] == '_'))
      ++fAt;
    const std::string_view name = fText.substr(begin, fAt - begin);
    if (name == "msgctxt") {
      fContext = fLine;
    } else if (name == "msgid") {
      fScan.lines.push_back(fContext != 0 ? fContext : fLine);
      fContext = 0;
    } else if (name == "msgid_plural") {
      fScan.faults.push_back({fLine, "a text with plural forms has no place in a catalogue"});
    } else if (name == "domain") {
      fScan.faults.push_back({fLine, "a file of several domains makes no catalogue"});
    }
  }

  std::string_view fText;
  std::size_t fAt = 0;
  std::size_t fLine = 1;
  std::size_t fContext = 0;  // the line of a msgctxt whose msgid is still to come
  PoScan fScan;
};

}  // namespace

PoScan scanPo(std::string_view text) { return Scanner(joined(text)).run(); }

}  // namespace zqtool
