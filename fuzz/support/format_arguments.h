#pragma once

// The arguments that a format of String::build asks for.

#include <span>

#include "fuzz/support/fuzz.h"

namespace fuzz {

constexpr std::size_t MAX_ARGUMENTS = 5;

struct Argument {
  enum Kind { INT, DOUBLE, UNITS, BYTES, COUNTED, COUNT } kind;
  std::int32_t number = 0;
  double real = 0;
  const void* place = nullptr;
};

/// Of a width: neither soon done nor refused at once.
inline bool takesLong(std::int64_t n) { return std::abs(n) > 8192 && std::abs(n) < 0x7FFFFFF0; }

/// What a format asks for, up to its first bad directive. A directive that asks for too much ends the format.
inline std::vector<Argument> argumentsOf(std::vector<char>& format) {
  std::vector<Argument> all;
  for (char* f = format.data(); *f != 0;) {
    char* const start = f;
    if (*f++ != '%') continue;
    std::vector<Argument> some(all);
    while (*f != 0 && std::strchr(" #+-0", *f) != nullptr) ++f;
    bool slow = false;
    const auto number = [&] {
      if (*f == '*') return some.push_back({Argument::INT}), static_cast<void>(++f);
      const char* const digits = f;
      while (*f >= '0' && *f <= '9') ++f;
      slow |= f != digits && takesLong(std::strtoll(digits, nullptr, 10));
    };
    number();
    if (*f == '.') ++f, number();
    bool narrow = false;
    for (; *f != 0 && std::strchr("LNhl", *f) != nullptr; ++f) narrow |= *f == 'L' || *f == 'N';
    const char c = *f;
    if (c != 0 && std::strchr("diuoxXbpc", c) != nullptr) some.push_back({Argument::INT});
    if (c != 0 && std::strchr("eEfgG", c) != nullptr) some.push_back({Argument::DOUBLE});
    if (c == 's') some.push_back({narrow ? Argument::BYTES : Argument::UNITS});
    if (c == 'P') some.push_back({Argument::COUNTED});
    if (c == 'n') some.push_back({Argument::COUNT});
    if (some.size() > MAX_ARGUMENTS || slow) {
      *start = 0;
      break;
    }
    all = some;
    if (c == 0 || std::strchr("diuoxXbpceEfgGsPn%", c) == nullptr) break;
    ++f;
  }
  return all;
}

/// A number for an INT, perhaps as a width.
inline std::int32_t numberOf(Input& in) {
  const auto n = in.value<std::int32_t>();
  return takesLong(n) ? n % 4096 : n;
}

/// Calls `f` with the arguments, each of its own type.
template <class F, class... Passed>
auto pass(F f, std::span<const Argument> rest, Passed... passed) {
  if constexpr (sizeof...(Passed) < MAX_ARGUMENTS) {
    if (!rest.empty()) {
      const Argument& a = rest.front();
      if (a.kind == Argument::INT) return pass(f, rest.subspan(1), passed..., a.number);
      if (a.kind == Argument::DOUBLE) return pass(f, rest.subspan(1), passed..., a.real);
      return pass(f, rest.subspan(1), passed..., a.place);
    }
  }
  return f(passed...);
}

}  // namespace fuzz
