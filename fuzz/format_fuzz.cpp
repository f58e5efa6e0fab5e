// Any format with the arguments that its directives ask for.

#include <array>

#include "fuzz/support/format_arguments.h"
#include "zqcore27/errors/mem_error.h"
#include "zqcore27/errors/string_error.h"
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input in(data, size);
  setACPid(in.below(2) != 0 ? 932 : 65001);
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
  if (!aliased) return 0;
  String itself(own);
  for (Argument& a : arguments) {
    if (a.kind == Argument::UNITS && a.place != nullptr) a.place = itself.begin();
  }
  require(built(itself, format.data(), arguments) == plain, "arguments may lie in the text itself");
  return 0;
}
