// Texts out of values, beside snprintf and absl::StrFormat with their bytes widened to 16-bit units; and values out of
// texts, beside sscanf and std::from_chars. A target is held over the rounds, or made anew in each ("a new text").

#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "zqcore27/strings/string.h"

#ifdef HAVE_ABSL
#include <absl/strings/str_format.h>
#endif

namespace {

void check(bool held, const char* what) {
  if (held) return;
  std::fprintf(stderr, "not the same result: %s\n", what);
  std::abort();
}

std::string narrow(const std::u16string& text) { return std::string(text.begin(), text.end()); }

/// The values of every kind of build, hidden from the optimiser.
struct Values {
  std::int32_t number = -31415;
  const char* word = "words";
  std::uint32_t mask = 0xBEEF1234;
  double real = 0;
};

struct Case {
  const char* name;
  double real;         // the value of a floating-point form
  const char* format;  // ours
  const char* theirs;  // with the same meaning; null: three values, written in the code
  bool same_text;      // otherwise the exponents differ in their digits, and the texts are compared as numbers
};

constexpr Case BUILDS[] = {
    {"%d %Ns %lx", 0, "%d %Ns %lx", nullptr, true}, {"%f, 3.14159", 3.14159, "%f", "%f", true},
    {"%f, 1.7e-7", 1.7e-7, "%f", "%f", true},       {"%f, 123456789012.5", 123456789012.5, "%f", "%f", true},
    {"%e, 3.14159", 3.14159, "%e", "%e", false},    {"%e, 1.7e-277", 1.7e-277, "%e", "%e", false},
    {"%e, 2.5e299", 2.5e299, "%e", "%e", false},    {"%g, 3.14159", 3.14159, "%g", "%g", true},
    {"%g, 1.7e-277", 1.7e-277, "%g", "%g", true},   {"%g, 2.5e299", 2.5e299, "%g", "%g", true},
};

void ours(String& text, const Case& which, const Values& v) {
  if (which.theirs == nullptr) {
    text.build("%d %Ns %lx", v.number, v.word, v.mask);
  } else {
    text.build(which.format, v.real);
  }
}

void widened(std::u16string& text, const char* bytes, std::size_t n) { text.assign(bytes, bytes + n); }

void printed(std::u16string& text, const Case& which, const Values& v) {
  char bytes[512];
  const int n = which.theirs == nullptr ? std::snprintf(bytes, sizeof bytes, "%d %s %x", v.number, v.word, v.mask)
                                        : std::snprintf(bytes, sizeof bytes, which.theirs, v.real);
  widened(text, bytes, static_cast<std::size_t>(n));
}

#ifdef HAVE_ABSL
void abseil(std::u16string& text, const Case& which, const Values& v) {
  std::string bytes;
  if (which.theirs == nullptr) {
    bytes = absl::StrFormat("%d %s %x", v.number, v.word, v.mask);
  } else if (which.theirs[1] == 'f') {
    bytes = absl::StrFormat("%f", v.real);
  } else if (which.theirs[1] == 'e') {
    bytes = absl::StrFormat("%e", v.real);
  } else {
    bytes = absl::StrFormat("%g", v.real);
  }
  widened(text, bytes.data(), bytes.size());
}
#endif

template <class Text, void (*Build)(Text&, const Case&, const Values&)>
void held(benchmark::State& state, const Case& which) {
  Values values;
  values.real = which.real;
  Text text;
  for (auto _ : state) {
    benchmark::DoNotOptimize(values);
    Build(text, which, values);
    benchmark::DoNotOptimize(text);
  }
}

template <class Text, void (*Build)(Text&, const Case&, const Values&)>
void anew(benchmark::State& state, const Case& which) {
  Values values;
  values.real = which.real;
  for (auto _ : state) {
    benchmark::DoNotOptimize(values);
    Text text;
    Build(text, which, values);
    benchmark::DoNotOptimize(text);
  }
}

void registerBuild(const Case& which) {
  Values values;
  values.real = which.real;
  String text;
  ours(text, which, values);
  std::u16string theirs;
  printed(theirs, which, values);
  const std::string got = text.toUTF8(), wanted = narrow(theirs);
  check(which.same_text ? got == wanted : std::strtod(got.c_str(), nullptr) == std::strtod(wanted.c_str(), nullptr),
        which.name);

  for (const bool fresh : {false, true}) {
    const std::string area = std::string(fresh ? "build a new text: " : "build: ") + which.name;
    const auto add = [&](const char* who, auto* one, auto* other) {
      benchmark::RegisterBenchmark((area + "/" + who).c_str(), fresh ? other : one, which);
    };
    add("zqcore27", held<String, ours>, anew<String, ours>);
    add("snprintf", held<std::u16string, printed>, anew<std::u16string, printed>);
#ifdef HAVE_ABSL
    add("absl::StrFormat", held<std::u16string, abseil>, anew<std::u16string, abseil>);
#endif
  }
}

constexpr const char* FIELDS = "-1234 56789 2.71828 word rest";
constexpr const char* REALS[] = {"3.14159", "-1.7976931348623157e+308"};

struct Fields {
  std::int32_t first = 0, second = 0;
  double real = 0;
  char word[16] = {};
  bool operator==(const Fields& f) const {
    return first == f.first && second == f.second && real == f.real && std::string_view(word) == f.word;
  }
};

void scanFields(const String& text, Fields& f) {
  const_cast<String&>(text).scan("%d %d %lf %s", &f.first, &f.second, &f.real, f.word);
}

void sscanfFields(const char* text, Fields& f) {
  if (std::sscanf(text, "%d %d %lf %s", &f.first, &f.second, &f.real, f.word) != 4) std::abort();
}

/// The least that a host can write by hand for the same line.
void fromCharsFields(const char* text, Fields& f) {
  const char* const end = text + std::string_view(text).size();
  text = std::from_chars(text, end, f.first).ptr + 1;
  text = std::from_chars(text, end, f.second).ptr + 1;
  text = std::from_chars(text, end, f.real).ptr + 1;
  char* out = f.word;
  while (text != end && *text != ' ') *out++ = *text++;
  *out = 0;
}

template <class Text, void (*Read)(Text, Fields&)>
void fields(benchmark::State& state, Text text) {
  Fields f;
  for (auto _ : state) {
    Read(text, f);
    benchmark::DoNotOptimize(f);
  }
}

void registerScans() {
  static const String line(FIELDS);
  Fields ours, sscanf, hand;
  scanFields(line, ours);
  sscanfFields(FIELDS, sscanf);
  fromCharsFields(FIELDS, hand);
  check(ours == sscanf && ours == hand && ours.real == 2.71828, FIELDS);
  benchmark::RegisterBenchmark("scan: %d %d %lf %s/zqcore27",
                               [](benchmark::State& s) { fields<const String&, scanFields>(s, line); });
  benchmark::RegisterBenchmark("scan: %d %d %lf %s/sscanf", fields<const char*, sscanfFields>, FIELDS);
  benchmark::RegisterBenchmark("scan: %d %d %lf %s/std::from_chars", fields<const char*, fromCharsFields>, FIELDS);

  for (const char* const real : REALS) {
    const std::string area = std::string("scan: %lf, ") + real;
    double value = 0;
    check(String(real).scan("%lf", &value) == 1 && value == std::strtod(real, nullptr), real);
    benchmark::RegisterBenchmark((area + "/zqcore27").c_str(), [real](benchmark::State& state) {
      String text(real);
      double v = 0;
      for (auto _ : state) {
        text.scan("%lf", &v);
        benchmark::DoNotOptimize(v);
      }
    });
    benchmark::RegisterBenchmark((area + "/sscanf").c_str(), [real](benchmark::State& state) {
      double v = 0;
      for (auto _ : state) {
        benchmark::DoNotOptimize(std::sscanf(real, "%lf", &v));
        benchmark::DoNotOptimize(v);
      }
    });
    benchmark::RegisterBenchmark(
        (area + "/std::from_chars").c_str(), [text = std::string(real)](benchmark::State& state) {
          double v = 0;
          for (auto _ : state) {
            benchmark::DoNotOptimize(std::from_chars(text.data(), text.data() + text.size(), v).ptr);
            benchmark::DoNotOptimize(v);
          }
        });
  }
}

}  // namespace

int main(int argc, char** argv) {
  for (const Case& which : BUILDS) registerBuild(which);
  registerScans();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
