// Any bytes as native text of any code page, and any text in native form.

#include <algorithm>

#include "fuzz/support/fuzz.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/nat_string.h"
#include "zqcore27/strings/string.h"

namespace {

using fuzz::require;

constexpr unsigned PAGES[] = {65001, 437,   850,   874,   932,   936,   949,   950,  1250,  1251,
                              1252,  1253,  1254,  1255,  1256,  1257,  1258,  1361, 28591, 28592,
                              28593, 28595, 28597, 28599, 28603, 28605, 20127, 54321};

bool same(const String& a, const String& b) { return std::ranges::equal(a.units(), b.units()); }

/// False where the page refuses the bytes.
template <class Build>
bool accepted(Build build) {
  try {
    build();
    return true;
  } catch (const StringError& e) {
    require(e.code() == 0xc2000122 || e.code() == 0xc2000123, "refused native text has its code");
    return false;
  }
}

void checkBytes(std::string_view bytes) {
  const std::vector<char> whole = fuzz::terminated(bytes);
  const std::vector<char> cut(whole.begin(), whole.end() - 1);
  String a;
  String b;
  String c(u"kept");
  const bool good = accepted([&] { a = String(whole.data()); });
  require(accepted([&] { b = String(cut.data(), static_cast<unsigned>(cut.size())); }) == good,
          "text is refused with a count or without one");
  require(accepted([&] { c += whole.data(); }) == good, "text is refused when it is appended, too");
  if (!good) {
    require(same(c, String(u"kept")), "a refused append changes nothing");
    return;
  }
  require(same(a, b), "a count changes nothing");
  String joined(u"kept");
  joined += a;
  require(same(c, joined), "appended text is the same text");

  const NatString native(a);
  require(native.size() == std::strlen(native.begin()) + 1, "native text is terminated");
  require(same(String(native.begin()), a), "what came from the page goes there and back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input in(data, size);
  setACPid(PAGES[in.below(std::size(PAGES))]);
  const std::string_view bytes = in.rest();
  checkBytes(bytes);

  std::u16string units = fuzz::unitsOf(bytes);
  std::erase(units, u'\0');
  const NatString native{String(units)};  // with a ? for what the page lacks
  require(native.size() == std::strlen(native.begin()) + 1, "native text is terminated");
  std::string single;
  for (const char16_t& unit : units) single += NatString(String(std::u16string_view(&unit, 1))).begin();
  require(native.begin() == single, "each unit is written as by itself");
  const String once(native.begin());
  require(same(String(NatString(once).begin()), once), "native text is stable after one pass");
  return 0;
}
