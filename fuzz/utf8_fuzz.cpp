// Any bytes as UTF-8, against a decoder of its own, and any text to UTF-8 and back.

#include <algorithm>

#include "fuzz/support/fuzz.h"
#include "zqcore27/errors/string_error.h"
#include "zqcore27/strings/nat_string.h"
#include "zqcore27/strings/string.h"

namespace {

using fuzz::require;

struct Decoded {
  std::u16string units;
  bool wellFormed = true;
};

/// Sequences of one to three bytes; over-long forms and surrogates count.
Decoded decode(std::string_view s) {
  Decoded out;
  for (std::size_t i = 0; i < s.size();) {
    const auto at = [&](std::size_t k) { return k < s.size() ? static_cast<unsigned char>(s[k]) : 0U; };
    const unsigned b = at(i);
    const std::size_t n = b < 0x80 ? 1 : b < 0xC0 ? 0 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : 0;
    unsigned unit = n == 1 ? b : n == 2 ? b & 0x1F : b & 0x0F;
    out.wellFormed = n != 0;
    for (std::size_t k = 1; k < n && out.wellFormed; ++k) {
      out.wellFormed = (at(i + k) & 0xC0) == 0x80;
      unit = unit << 6 | (at(i + k) & 0x3F);
    }
    if (!out.wellFormed) return out;
    out.units += static_cast<char16_t>(unit);
    i += n;
  }
  return out;
}

bool same(const String& s, std::u16string_view units) { return std::ranges::equal(s.units(), units); }

template <class Build>
void check(const Decoded& expected, Build build) {
  String s(u"before");
  bool raised = false;
  try {
    build(s);
  } catch (const StringError& e) {
    require(e.code() == 0xc200011c && !e.fatal(), "ill-formed text has its code");
    raised = true;
  }
  require(raised != expected.wellFormed, "ill-formed text raises, well-formed text doesn't");
  require(same(s, expected.units), "the text is what was decoded");
  require(s.begin()[s.size()] == 0, "the text is terminated");
}

/// Of blocks: mostly of one kind, ASCII, two bytes or three, with others and zeros between.
std::u16string textOf(fuzz::Input in) {
  constexpr unsigned FIRST[] = {0x01, 0x80, 0x800, 0x00}, COUNT[] = {0x7F, 0x780, 0xF800, 0x01};
  const unsigned usual = in.below(3), strange = 1 + in.below(20);
  std::u16string text;
  while (!in.empty()) {
    const unsigned kind = in.below(strange) != 0 ? usual : in.below(4);
    text += static_cast<char16_t>(FIRST[kind] + in.value<std::uint16_t>() % COUNT[kind]);
  }
  return text;
}

void checkBytes(std::string_view bytes) {
  const std::vector<char> exact = fuzz::exact(bytes);
  const Decoded all = decode(bytes);
  check(all, [&](String& s) {
    s.buildfromUTF8(reinterpret_cast<const unsigned char*>(exact.data()), static_cast<unsigned>(exact.size()));
  });

  const std::vector<char> text = fuzz::terminated(bytes);
  check(decode({text.data(), text.size() - 1}),
        [&](String& s) { s.buildfromUTF8(reinterpret_cast<const unsigned char*>(text.data())); });

  String s(all.units);
  NatString utf8;
  s.toUTF8(utf8);
  require(s.toUTF8() == utf8.begin() && utf8.size() == s.toUTF8().size() + 1, "both ways to UTF-8 agree");
  std::u16string kept = all.units;
  std::erase(kept, u'\0');
  const String back = String::fromUTF8(s.toUTF8());
  require(same(back, kept), "UTF-8 gives every unit back but zeros");
  for (const std::uint16_t unit : s.units()) {
    char sequence[3];
    const std::int32_t n = uni2utf(unit, sequence, 3);
    require(uni2utf(unit, sequence, n - 1) == -1, "a sequence needs its room");
    std::uint16_t again = 0;
    require(utf2uni(sequence, &again) == n && again == unit, "each sequence gives its unit back");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  checkBytes({reinterpret_cast<const char*>(data), size});

  const std::u16string text = textOf(fuzz::Input(data, size));
  std::string encoded, kept;
  for (const char16_t unit : text) {
    char sequence[3];
    encoded.append(sequence, static_cast<std::size_t>(uni2utf(unit, sequence, 3)));
    if (unit != 0) kept.append(sequence, static_cast<std::size_t>(uni2utf(unit, sequence, 3)));
  }
  require(String(text).toUTF8() == kept, "whole texts are encoded as single units");
  checkBytes(encoded);
  if (encoded.empty()) return 0;
  encoded[(data[0] * 256U + data[size - 1]) % encoded.size()] = static_cast<char>(data[size / 2]);
  checkBytes(encoded);
  return 0;
}
