// Configuration text from a file, plain and scrambled, in UTF-8 and in native text, and from a String of the same.

#include <algorithm>
#include <filesystem>
#include <memory>

#include "fuzz/support/config_reader.h"
#include "tests/support/temp_dir.h"
#include "zqcore27/core/core.h"
#include "zqcore27/files/file_locator.h"
#include "zqcore27/strings/armour.h"
#include "zqcore27/threads/registry.h"

namespace {

std::string armoured(std::string_view line) {
  std::string out(LengthInAscii(static_cast<std::uint32_t>(line.size())) + 4, '\0');
  auto length = static_cast<std::int32_t>(out.size());
  fuzz::require(StringInOut(reinterpret_cast<const unsigned char*>(line.data()), static_cast<std::int32_t>(line.size()),
                            reinterpret_cast<unsigned char*>(out.data()), &length),
                "a line can be armoured");
  out.resize(static_cast<std::size_t>(length));
  return out;
}

std::string armouredLines(std::string_view text) {
  std::string out;
  for (std::size_t end; !text.empty(); text.remove_prefix(std::min(end, text.size() - 1) + 1)) {
    end = text.find('\n');
    if (const std::string_view line = text.substr(0, end); !line.empty()) out += armoured(line) + '\n';
  }
  return out;
}

struct Way {
  Config::SeparatorType mask;
  bool utf8;
  bool decrypts;
  bool marked;
  std::string_view steps;
};

std::string read(const std::string& text, const Way& way, bool places = false) {
  static const TempDir directory;
  Config config{FileLocator(String::fromUTF8(directory.write("fuzz.conf", text)))};
  config.enableSeparators(way.mask);
  if (way.decrypts) config.enableDecryption(0, way.marked);
  config.setUTF8(way.utf8);
  return fuzz::Reader(config, way.steps).read(text.size(), places);
}

/// A String of UTF-8 reads as the file does, but for what means something in front of a file or ends one early.
void compareWithString(const std::string& text, const Way& way) {
  if (text.empty() || text[0] == '#' || text[0] == '\xEF' || text.find('\1') != text.npos) return;
  String units;
  try {
    units = String::fromUTF8(text);
  } catch (const StringError&) {
    return;
  }
  if (std::ranges::find(units.units(), 0) != units.units().end()) return;  // in a long form, too
  Config config(static_cast<const String&>(units));
  config.enableSeparators(way.mask);
  fuzz::require(read(text, way, true) == fuzz::Reader(config, way.steps).read(text.size(), true),
                "a file reads as a String of its text");
}

/// Each file is read by a thread of its own, and the registry keeps an entry of each id, which it searches one by one:
/// from time to time the registry begins anew, where no such thread is left.
void forgetThreads() {
  const auto threads = [] {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return std::ranges::distance(begin(tasks), end(tasks));
  };
  static const auto before = threads();
  static int calls = 0;
  if (++calls % 512 != 0 || threads() > before) return;
  std::destroy_at(gCore->fThreads);
  std::construct_at(gCore->fThreads);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  forgetThreads();
  fuzz::Input in(data, size);
  setACPid(in.below(2) != 0 ? 932 : 1252);
  Way way{fuzz::separators(in), in.below(2) != 0, in.below(3) == 0, in.below(2) != 0, {}};
  way.steps = in.upTo('~');
  std::string text = fuzz::expanded(in.rest());
  if (way.utf8 && !way.decrypts) compareWithString(text, way);
  if (!way.steps.empty() || text.empty() || text[0] == '#' || text.size() > 2000 ||
      !std::ranges::all_of(text, [](char c) { return c > 1; })) {
    try {
      read(text, way);
    } catch (const StringError&) {
      // The first character is no native text: there is no Config.
    }
    return 0;
  }

  // Scrambled line by line, 7-bit text reads as it does in the clear, but for blank lines.
  text += '\n';
  way.decrypts = false;
  const std::string plain = read(text, way);
  way.decrypts = true;
  way.marked = false;
  fuzz::require(read(armouredLines(text), way) == plain, "scrambled text reads as the plain text");
  return 0;
}
