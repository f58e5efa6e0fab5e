// Configuration text from a stream and from a String, which agree.

#include <algorithm>
#include <sstream>

#include "fuzz/support/config_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input in(data, size);
  const Config::SeparatorType mask = fuzz::separators(in);
  const bool scrambled = in.below(4) == 0;
  const bool marked = in.below(2) != 0;
  const std::string_view steps = in.upTo('~');
  const std::string text(in.rest());

  const auto read = [&](Config& config) {
    config.enableSeparators(mask);
    if (scrambled) config.enableDecryption(7, marked);
    return fuzz::Reader(config, steps).read(text.size(), !scrambled);
  };
  std::istringstream stream(text);
  Config ofStream(stream);
  const std::string fromStream = read(ofStream);

  const String units(fuzz::unitsOf(text));
  Config ofUnits(units);
  const std::string fromUnits = read(ofUnits);
  if (std::ranges::all_of(text, [](char c) { return c >= 0; })) {
    fuzz::require(fromStream == fromUnits, "a stream and a String of 7-bit text read alike");
  }
  return 0;
}
