#include "tools/po_file.h"

#include <gettext-po.h>

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

#include "tools/files.h"
#include "tools/po_scan.h"

namespace zqtool {
namespace {

// The parser reports through plain functions, and must not be returned to from a fatal error.
std::vector<PoRemark>* gFaults = nullptr;
std::jmp_buf gFatal;

void addRemark(std::size_t line, const char* words) {
  std::string text = words;
  std::replace(text.begin(), text.end(), '\n', ' ');
  text.erase(text.find_last_not_of(' ') + 1);
  gFaults->push_back({line == static_cast<std::size_t>(-1) ? 0 : line, std::move(text)});
}

void onError(int severity, po_message_t, const char* file, std::size_t line, std::size_t, int, const char* words) {
  if (severity != PO_SEVERITY_WARNING) addRemark(file != nullptr ? line : 0, words);
  if (severity == PO_SEVERITY_FATAL_ERROR) std::longjmp(gFatal, 1);
}

void onTwoErrors(int severity, po_message_t m1, const char* file1, std::size_t line1, std::size_t column1, int multi1,
                 const char* words1, po_message_t m2, const char* file2, std::size_t line2, std::size_t column2,
                 int multi2, const char* words2) {
  onError(std::min(severity, PO_SEVERITY_ERROR), m1, file1, line1, column1, multi1, words1);
  onError(severity, m2, file2, line2, column2, multi2, words2);
}

constexpr po_xerror_handler HANDLER = {onError, onTwoErrors};

po_file_t parse(const char* path) {
  if (setjmp(gFatal) != 0) return nullptr;
  return po_file_read(path, &HANDLER);
}

struct FreeFile {
  void operator()(struct po_file* f) const { po_file_free(f); }
};
struct FreeIterator {
  void operator()(struct po_message_iterator* i) const { po_message_iterator_free(i); }
};

class Reader {
 public:
  explicit Reader(std::vector<std::size_t> lines) : fLines(std::move(lines)) {}

  PoFile run(po_file_t file) {
    checkCharset(file);
    const std::unique_ptr<struct po_message_iterator, FreeIterator> iterator(po_message_iterator(file, nullptr));
    std::size_t number = 0;
    while (po_message_t message = po_next_message(iterator.get())) {
      if (po_message_is_obsolete(message) != 0) continue;
      fLine = number < fLines.size() ? fLines[number] : 0;
      ++number;
      const bool header = po_message_msgctxt(message) == nullptr && *po_message_msgid(message) == '\0';
      if (!header) addEntry(message);
    }
    return std::move(fFile);
  }

 private:
  void fault(std::string words) { fFile.faults.push_back({fLine, std::move(words)}); }

  void checkCharset(po_file_t file) {
    const char* header = po_file_domain_header(file, nullptr);
    if (header == nullptr) return;
    const std::unique_ptr<char, decltype(&std::free)> type(po_header_field(header, "Content-Type"), &std::free);
    if (type == nullptr) return;
    std::string value = type.get();
    std::transform(value.begin(), value.end(), value.begin(), [](unsigned char c) { return std::tolower(c); });
    const std::size_t at = value.find("charset=");
    if (at != value.npos && value.find("utf-8", at) != at + 8 && value.find("us-ascii", at) != at + 8) {
      fLine = fLines.empty() ? 0 : fLines.front();
      fault("the file must be in UTF-8, and its header must say so");
    }
  }

  /// The text, or nothing after telling what is wrong with it.
  std::optional<std::u16string> textOf(const char* field, const char* source) {
    SourceText text = fromSource(source);
    if (text.fault.empty()) return std::move(text.text);
    fault(std::string(field) + ": " + text.fault);
    return std::nullopt;
  }

  void addEntry(po_message_t message) {
    const char* context = po_message_msgctxt(message);
    if (context == nullptr) return fault("the handle is missing: msgctxt \"0x...\" belongs in front of msgid");
    const std::string_view name = context;
    const auto handle = name.starts_with("0x") ? parseHandle(name) : std::nullopt;
    if (!handle) return fault(std::string(name) + " is no handle: write 0x and up to eight hexadecimal digits");

    const char* source = po_message_msgstr(message);
    const bool fuzzy = po_message_is_fuzzy(message) != 0;
    const bool translated = *source != '\0' && !fuzzy;
    auto english = textOf("msgid", po_message_msgid(message));
    auto text = translated ? textOf("msgstr", source) : english;
    if (!english || !text) return;
    if (!translated) {
      fFile.warnings.push_back({fLine, handleName(*handle) + (fuzzy ? " is marked fuzzy" : " has no translation") +
                                           "; its English text stands in"});
    }
    fFile.entries.push_back({fLine, *handle, std::move(*english), std::move(*text), translated});
  }

  std::vector<std::size_t> fLines;
  std::size_t fLine = 0;
  PoFile fFile;
};

std::string quoted(std::string_view s) {
  std::string out = "\"";
  for (const char c : s) {
    char octal[8];
    if (c == '\n') {
      out += "\\n";
    } else if (c == '\t') {
      out += "\\t";
    } else if (c == '"' || c == '\\') {
      out += {'\\', c};
    } else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
      std::snprintf(octal, sizeof octal, "\\%03o", static_cast<unsigned>(c));
      out += octal;
    } else {
      out += c;
    }
  }
  return out + "\"\n";
}

}  // namespace

PoFile readPoFile(const std::string& path) {
  PoFile file;
  if (path == "-") {  // it is read twice
    const InputCopy input;
    if (input.fault().empty()) return readPoFile(input.path());
    file.faults.push_back({0, input.fault()});
    return file;
  }
  const FileBytes bytes = readFile(path);
  if (!bytes.fault.empty()) {
    file.faults.push_back({0, bytes.fault});
    return file;
  }
  PoScan scan = scanPo({reinterpret_cast<const char*>(bytes.bytes.data()), bytes.bytes.size()});
  for (auto& fault : scan.faults) file.faults.push_back({fault.line, std::move(fault.words)});
  gFaults = &file.faults;
  const std::unique_ptr<struct po_file, FreeFile> parsed(parse(path.c_str()));
  gFaults = nullptr;
  if (parsed == nullptr && file.faults.empty()) file.faults.push_back({0, "the file can't be read"});
  if (!file.faults.empty()) return file;
  return Reader(std::move(scan.lines)).run(parsed.get());
}

std::string formatPo(const std::vector<PoText>& texts, std::string_view language) {
  std::string po = "msgid \"\"\nmsgstr \"\"\n" + quoted("Language: " + std::string(language) + "\n") +
                   quoted("MIME-Version: 1.0\n") + quoted("Content-Type: text/plain; charset=UTF-8\n") +
                   quoted("Content-Transfer-Encoding: 8bit\n");
  for (const PoText& t : texts) {
    po += "\nmsgctxt \"" + handleName(t.handle) + "\"\nmsgid " + quoted(toSource(t.english)) + "msgstr " +
          quoted(toSource(t.text));
  }
  return po;
}

}  // namespace zqtool
