// Every combination of flags, widths, precisions, modifiers and conversions, beside the rules in plain words, and the
// runtime's where both have the same.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "fuzz/support/plain_format.h"
#include "tests/exhaustive/exhaustive.h"
#include "tests/support/text.h"

namespace {

using namespace fuzz::plain;

/// Calls `use` with every combination, or with some.
template <class Use>
void everyDirective(const std::string& modifiers, const std::string& conversions, std::initializer_list<int> precisions,
                    Use use) {
  std::uint32_t turn = 0;
  for (unsigned set = 0; set < 32; ++set) {
    std::string flags;
    for (unsigned i = 0; i < 5; ++i) flags += set >> i & 1 ? std::string(1, "-+ #0"[i]) : "";
    for (const int width : {0, 1, 7, 40}) {
      for (const int precision : precisions) {
        for (const char modifier : modifiers) {
          for (const char conversion : conversions) {
            if (turn++ % exhaustive(1, 7) != 0) continue;
            const std::string modified(modifier == ' ' ? 0 : 1, modifier);
            use(Directive{flags, width, precision < 0 ? std::nullopt : std::optional(precision), modified, conversion});
          }
        }
      }
    }
  }
}

template <class Value>
std::string built(const Directive& d, Value value) {
  String out;
  out.build((d.text() + "|").c_str(), value);
  return utf8(out);
}

TEST(ExhaustiveTest, EveryDirectiveOfAWholeNumber) {
  everyDirective(" lhLN", "diuoxXbp", {-1, 0, 1, 2, 9, 14, 31, 40}, [](const Directive& d) {
    for (const std::uint32_t value : {0u, 1u, 9u, 0x2FFFFu, 0x80000000u, 0xFFFFFFD6u, 0x12345678u, 0xFFFFu}) {
      const std::string ours = built(d, static_cast<std::int32_t>(value));
      ASSERT_EQ(ours, integer(d, value) + "|") << d.text() << " of " << value;
      // The runtime has another rule for %b, %p, the zero that # puts before an octal number, and more than 31 digits.
      const bool isSigned = d.conversion == 'd' || d.conversion == 'i';
      if (std::string("bp").find(d.conversion) != std::string::npos || d.precision > 31) continue;
      if ((d.conversion == 'o' && d.has('#')) || (!isSigned && !d.is('l'))) continue;
      Directive runtimes = d;
      runtimes.modifiers = "";
      char theirs[100];
      std::snprintf(theirs, sizeof theirs, (runtimes.text() + "|").c_str(), value);
      ASSERT_EQ(ours, theirs) << d.text() << " of " << value;
    }
  });
}

TEST(ExhaustiveTest, EveryDirectiveOfText) {
  const char16_t wide[] = u"some text";
  everyDirective(" lhLN", "sPc%", {-1, 0, 1, 9, 10, 40}, [&](const Directive& d) {
    const bool narrow = d.is('L') || d.is('N');
    const char c = d.conversion;
    const std::string ours = c == 'c'   ? built(d, static_cast<int>('x'))
                             : c == '%' ? built(d, 0)
                             : c == 'P' ? built(d, "\x09some text")
                             : narrow   ? built(d, "some text")
                                        : built(d, wide);
    ASSERT_EQ(ours, text(d, c == 'c' ? "x" : c == '%' ? "%" : "some text") + "|") << d.text();
  });
}

TEST(ExhaustiveTest, EveryDirectiveOfAFloat) {
  everyDirective(" L", "eEfgG", {-1, 0, 1, 2, 3, 6, 9}, [](const Directive& d) {
    for (const double value : {0.0, 1.0, -1.5, 2.5, 0.5, 9.5, 9.9999996, 12345.0, 99999.5, 1e6, -0.015625, 0.0001,
                               0.00001, 0.006, 1.0 / 3, 123456789.0, 1.7e308, 2.3e-308, 5e-324}) {
      if (d.conversion == 'f' && value > 1e10) continue;  // of more digits than there is room for: FormatTest.Floats
      ASSERT_EQ(built(d, value), real(d, value) + "|") << d.text() << " of " << value;
    }
  });
}

}  // namespace
