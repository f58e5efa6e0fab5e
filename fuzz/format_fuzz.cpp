// Any format with the arguments that its directives ask for.

#include <array>

#include "fuzz/support/format_arguments.h"
#include "zqcore27/errors/mem_error.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/format_check.h"
#include "zqcore27/strings/string.h"
#include "zqcore27/strings/transcode.h"

/// A field as wide as its format says is refused early, not after a minute.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
  return "allocator_may_return_null=1:max_allocation_size_mb=24";
}

namespace {

using fuzz::Argument;
using fuzz::require;

/// What came out, or the code of the error.
std::pair<std::u16string, std::uint32_t> built(String& s, const char* format, std::span<const Argument> arguments) {
  const std::u16string before(s.units().begin(), s.units().end());
  std::uint32_t code = 0;
  try {
    fuzz::pass([&](auto... passed) { s.build(format, passed...); }, arguments);
  } catch (const StringError& e) {
    code = e.code();
  } catch (const MemError& e) {
    code = e.code();
  }
  const std::u16string text(s.units().begin(), s.units().end());
  require(code == 0 || text == before, "a failed build leaves the text as it was");
  require(s.begin()[s.size()] == 0 && text.find(u'\0') == text.npos, "the text ends at its first zero unit");
  return {code == 0 ? text : std::u16string(), code};
}

/// The check of formats reads the grammar a second time: where it sees a bad directive the engine stops, and what it
/// counts the engine takes, so that the next value is the one meant for it.
void compareWithCheck(const char* format, std::vector<Argument> arguments) {
  static constexpr FormatArgument KINDS[] = {{FormatArgument::UNSIGNED, 2}, {FormatArgument::FLOATING, 8},
                                             {FormatArgument::WIDE_TEXT},   {FormatArgument::NARROW_TEXT},
                                             {FormatArgument::NARROW_TEXT}, {FormatArgument::COUNT}};
  std::vector<FormatArgument> checked;
  for (const Argument& a : arguments) checked.push_back(KINDS[a.kind]);
  const FormatFault fault = FormatCheck(format, checked).build();
  require(fault == FormatFault::NONE || fault == FormatFault::BAD_DIRECTIVE, "the check counts as is passed");
  if (arguments.size() == fuzz::MAX_ARGUMENTS) return;
  arguments.push_back({Argument::INT, 12345});
  String s;
  const auto [text, error] = built(s, (std::string(format) + "\1%d\2").c_str(), arguments);
  require(error != 0 || text.ends_with(u"\x01\x31\x32\x33\x34\x35\x02") == (fault == FormatFault::NONE),
          "the engine reads as the check does");
}

/// A short format of pieces of directives.
void checkPieces(fuzz::Input& in) {
  static constexpr std::string_view PIECES = "%%%%%%dddsscPnfgeuoxXbpilhNLq-+ #0.**12";
  static std::int32_t count;
  std::vector<char> format;
  for (std::uint32_t n = in.below(12); n != 0; --n) format.push_back(PIECES[in.below(PIECES.size())]);
  format.push_back(0);
  std::vector<Argument> arguments = fuzz::argumentsOf(format);
  for (Argument& a : arguments) {
    a.number = 3;
    a.real = 1.5;
    if (a.kind == Argument::COUNT) a.place = &count;
    if (a.kind == Argument::BYTES || a.kind == Argument::COUNTED) a.place = "\3abc";
  }
  compareWithCheck(format.data(), arguments);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input in(data, size);
  setACPid(in.below(2) != 0 ? 932 : 65001);
  for (fuzz::Input pieces(data, size); !pieces.empty();) checkPieces(pieces);
  const bool aliased = in.below(2) != 0;
  std::vector<char> format = fuzz::terminated(in.upTo('~'));
  std::vector<Argument> arguments = fuzz::argumentsOf(format);

  // What the arguments point at lies in blocks of exactly its size.
  std::array<std::vector<char>, fuzz::MAX_ARGUMENTS> bytes;
  std::array<std::vector<char16_t>, fuzz::MAX_ARGUMENTS> units;
  std::array<std::int32_t, fuzz::MAX_ARGUMENTS> counts{};
  const std::u16string own = u"12%d\x3042 text of the object itself";
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    Argument& a = arguments[i];
    if (a.kind == Argument::INT) {
      a.number = fuzz::numberOf(in);
    } else if (a.kind == Argument::DOUBLE) {
      a.real = in.value<double>();
    } else if (a.kind == Argument::COUNT) {
      a.place = &counts[i];
    } else if (const std::string_view text = in.upTo('~'); text != "null") {
      const std::u16string wide = fuzz::unitsOf(text);
      units[i].assign(wide.c_str(), wide.c_str() + wide.size() + 1);
      if (aliased) units[i].assign(own.c_str(), own.c_str() + own.size() + 1);
      bytes[i] = fuzz::terminated(text);
      if (a.kind == Argument::COUNTED) {
        bytes[i] = fuzz::exact(text.substr(0, 128));
        bytes[i].insert(bytes[i].begin(), static_cast<char>(bytes[i].size()));  // 128 is a negative length
        bytes[i].shrink_to_fit();
      }
      a.place = a.kind == Argument::UNITS ? static_cast<const void*>(units[i].data()) : bytes[i].data();
    }
  }
  String s;
  const auto plain = built(s, format.data(), arguments);
  if (std::strchr(format.data(), '%') == nullptr) {
    require(plain.first.size() == std::strlen(format.data()), "a format without directives is its own text");
  }
  if (plain.second == 0) compareWithCheck(format.data(), arguments);
  if (!aliased) return 0;
  String itself(own);
  for (Argument& a : arguments) {
    if (a.kind == Argument::UNITS && a.place != nullptr) a.place = itself.begin();
  }
  require(built(itself, format.data(), arguments) == plain, "arguments may lie in the text itself");
  return 0;
}
