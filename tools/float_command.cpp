// zqtool float.

#include <bit>
#include <cctype>
#include <charconv>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>

#include "tools/commands.h"
#include "tools/files.h"
#include "tools/words.h"
#include "zqcore27/floatfmt/fp_error.h"
#include "zqcore27/floatfmt/fp_format.h"

namespace zqtool {
namespace {

constexpr const char* SPECIAL = "special";

struct Options {
  int code = 0, width = 8;
  bool to = false, from = false;
  std::vector<std::string> values;
};

int fail(const std::string& value, const std::string& words) {
  std::cerr << "zqtool: " << value << ": " << words << '\n';
  return EXIT_ERRORS;
}

bool sameBits(double a, double b) { return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b); }

/// A number that reads back as the same double, or the name of a special kind.
std::string nameOf(double value) {
  const FpFormat::FloatTYPE kind = FpFormat::testValue(value);
  if (kind != FpFormat::FT_NORMAL && sameBits(value, FpFormat::getNAN(kind))) return SPECIAL + std::to_string(kind);
  char text[64];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

std::optional<double> valueOf(const std::string& name) {
  for (int kind = FpFormat::FT_SPECIAL_1; kind <= FpFormat::FT_SPECIAL_9; ++kind) {
    if (name == SPECIAL + std::to_string(kind)) return FpFormat::getNAN(static_cast<FpFormat::FloatTYPE>(kind));
  }
  double value = 0;
  const char* const end = name.data() + name.size();
  const auto [stop, fault] = std::from_chars(name.data(), end, value);
  if (fault != std::errc() || stop != end) return std::nullopt;
  return value;
}

std::optional<unsigned int> digitOf(char c) {
  unsigned int digit;
  if (std::from_chars(&c, &c + 1, digit, 16).ec != std::errc()) return std::nullopt;
  return digit;
}

/// Prints the number in every `width` bytes of a text of hexadecimal digits; blanks between them don't count.
int fromStored(const FpFormat& format, std::size_t width, const std::string& text) {
  std::vector<unsigned char> stored;
  std::optional<unsigned int> high;
  for (const char c : text) {
    if (std::isspace(static_cast<unsigned char>(c)) != 0) continue;
    const auto digit = digitOf(c);
    if (!digit) return fail(std::string(1, c), "no hexadecimal digit");
    if (!high) {
      high = digit;
      continue;
    }
    stored.push_back(static_cast<unsigned char>(*high << 4 | *digit));
    high.reset();
    if (stored.size() < width) continue;
    std::cout << nameOf(format.getHostValue(stored.data())) << '\n';
    stored.clear();
  }
  if (!stored.empty() || high) return fail("the last value", "fewer than " + std::to_string(width) + " bytes");
  return EXIT_GOOD;
}

/// Prints the stored bytes of every word of a text.
int toStored(const FpFormat& format, std::size_t width, const std::string& text) {
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    const auto value = valueOf(word);
    if (!value) return fail(word, "no number that a double can hold, and none of special1 to special9");
    unsigned char stored[8] = {};
    try {
      format.putHostValue(stored, *value);
    } catch (const FPError& e) {
      return fail(word, Words({}).of(e));
    }
    for (std::size_t i = 0; i < width; ++i) {
      std::cout << "0123456789abcdef"[stored[i] >> 4] << "0123456789abcdef"[stored[i] & 15];
    }
    std::cout << '\n';
  }
  return EXIT_GOOD;
}

int convert(const Options& o) {
  std::int32_t result;
  const FpFormat format(static_cast<unsigned char>(o.code), static_cast<unsigned char>(o.width), &result);
  if (result < 0) throw CLI::ValidationError("CODE", std::to_string(o.code) + " names no format");
  std::string text;
  for (const std::string& value : o.values) text += value + ' ';
  if (o.values.empty()) {
    const FileBytes input = readFile("-");
    if (!input.fault.empty()) return fail("standard input", input.fault);
    text.assign(input.bytes.begin(), input.bytes.end());
  }
  return (o.to ? toStored : fromStored)(format, static_cast<std::size_t>(o.width), text);
}

}  // namespace

void addFloatCommand(CLI::App& app, int& status) {
  const auto o = std::make_shared<Options>();
  auto* c = app.add_subcommand("float", "Read and write floating-point values as other machines store them");
  c->add_option("CODE", o->code, "The format's code: 1 VAX, 2 to 11 others")->required()->check(CLI::Range(0, 255));
  c->add_option("WIDTH", o->width, "Bytes of a value")->required()->check(CLI::IsMember({4, 8}));
  c->add_option("VALUE", o->values, "What to convert; standard input by default");
  auto* to = c->add_flag("--to", o->to, "Numbers to stored bytes in hexadecimal digits");
  c->add_flag("--from", o->from, "Stored bytes to numbers, the default")->excludes(to);
  c->footer(
      "Special values are named special1 to special9. Put -- before values that begin with a minus.\n\n"
      "Example: zqtool float 1 8 8040000000000000");
  c->callback([o, &status] { status = convert(*o); });
}

}  // namespace zqtool
