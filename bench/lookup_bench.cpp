// Texts by handle, in the reader's language, beside the message catalogues that a host would take instead. All message
// files are made in a folder of the run, with the peers' own tools.

#include <benchmark/benchmark.h>
#include <libintl.h>
#include <nl_types.h>

#include <algorithm>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "bench/support/input_file.h"
#include "bench/support/run.h"
#include "tests/support/catalogue_builder.h"
#include "zqcore27/catalogue/cstr_enterprise.h"
#include "zqcore27/core/core.h"

#ifdef HAVE_ICU
#include <unicode/ures.h>
#endif

namespace {

constexpr std::uint32_t TEXTS = 1000, FIRST = 0x82340001;
constexpr std::uint16_t CODE = 0x234;
constexpr const char* DOMAIN = "lookup_bench";

/// Texts of 50 to 120 characters.
std::string withTail(std::string text, std::uint32_t i, const char* tail) {
  for (std::uint32_t n = i * 37 % 11; n > 0; --n) text += tail;
  return text;
}
std::string english(std::uint32_t i) {
  return withTail("The value number " + std::to_string(i) + " isn't known here", i, " either");
}
std::string german(std::uint32_t i) {
  return withTail("Der Wert mit der Nummer " + std::to_string(i) + " ist hier nicht bekannt", i, " und so");
}

/// Texts are asked for in an order without sense.
const std::vector<std::uint32_t>& order() {
  static const std::vector<std::uint32_t> made = [] {
    std::vector<std::uint32_t> numbers(TEXTS);
    for (std::uint32_t i = 0; i < TEXTS; ++i) numbers[i] = i;
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937(1));
    return numbers;
  }();
  return made;
}

/// Asks for all texts over and over, one an iteration.
template <typename Get>
void lookUp(benchmark::State& state, Get get) {
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(get(order()[i]));
    if (++i == TEXTS) i = 0;
  }
}

/// Runs one of the peers' tools. False, with a notice, if it isn't installed or fails.
bool made(const std::string& command, const char* peer) {
  if (std::system((command + " >/dev/null 2>&1").c_str()) == 0) return true;
  std::fprintf(stderr, "benchmarks without the peer %s: its tool is missing\n", peer);
  return false;
}

void refuseUnless(bool right, const char* who) {
  if (right) return;
  std::fprintf(stderr, "%s gives other texts\n", who);
  std::abort();
}

bool isGerman(const String& text, std::uint32_t i) { return text.toUTF8() == german(i); }

void registerLibrary(const InputFile& folder) {
  CatalogueBuilder builder;
  for (std::uint32_t i = 0; i < TEXTS; ++i) {
    const std::string text = german(i);
    builder.texts[FIRST + i] = std::u16string(text.begin(), text.end());
  }
  // Between the two, handles lie on the page of the former, which has no such texts.
  builder.texts[FIRST + TEXTS + 100] = u"last";
  std::ofstream(folder / "strings_234__deu.cst", std::ios::binary) << builder.bytes();
  setenv("tavio_language", folder.path().c_str(), 1);

  static CStrEnterprise front(nullptr, "", reinterpret_cast<const std::uint16_t*>(u"deu"));
  static CStr* const held = gCore->getCStr(CODE, nullptr, "deu");
  refuseUnless(held != nullptr, "zqcore27");
  for (std::uint32_t i = 0; i < TEXTS; ++i) {
    refuseUnless(isGerman(String(front.get(FIRST + i)), i) && isGerman(String(held->get(FIRST + i)), i), "zqcore27");
  }
  const auto throughHeld = [](benchmark::State& s) { lookUp(s, [](std::uint32_t i) { return held->get(FIRST + i); }); };
  benchmark::RegisterBenchmark("catalogue: text through the front/zqcore27", [](benchmark::State& s) {
    lookUp(s, [](std::uint32_t i) { return front.get(FIRST + i); });
  });
  benchmark::RegisterBenchmark("catalogue: text through a held CStr/zqcore27", throughHeld);
  refuseUnless(held->get(FIRST + TEXTS) == nullptr && held->get(FIRST + TEXTS + 99) == nullptr, "zqcore27");
  benchmark::RegisterBenchmark("catalogue: missing text through a held CStr/zqcore27", [](benchmark::State& s) {
    lookUp(s, [](std::uint32_t i) { return held->get(FIRST + TEXTS + i % 100); });
  });
  benchmark::RegisterBenchmark("catalogue: missing text through a held CStr/found text", throughHeld);
}

void registerGettext(const InputFile& folder) {
  std::ofstream source(folder / "de.po");
  source << "msgid \"\"\nmsgstr \"Content-Type: text/plain; charset=UTF-8\\n\"\n";
  for (std::uint32_t i = 0; i < TEXTS; ++i)
    source << "msgid \"" << english(i) << "\"\nmsgstr \"" << german(i) << "\"\n";
  source.close();
  if (!made("msgfmt -o " + folder / "de/LC_MESSAGES/lookup_bench.mo" + " " + folder / "de.po", "dgettext")) return;
  setlocale(LC_ALL, "C.UTF-8");
  setenv("LANGUAGE", "de", 1);
  bindtextdomain(DOMAIN, folder.path().c_str());
  static std::vector<std::string> keys;
  for (std::uint32_t i = 0; i < TEXTS; ++i) keys.push_back(english(i));
  for (std::uint32_t i = 0; i < TEXTS; ++i) refuseUnless(dgettext(DOMAIN, keys[i].c_str()) == german(i), "dgettext");
  const auto run = [](benchmark::State& s) {
    lookUp(s, [](std::uint32_t i) { return dgettext(DOMAIN, keys[i].c_str()); });
  };
  benchmark::RegisterBenchmark("catalogue: text through the front/dgettext", run);
}

void registerCatgets(const InputFile& folder) {
  std::ofstream source(folder / "de.msg");
  source << "$set 1\n";
  for (std::uint32_t i = 0; i < TEXTS; ++i) source << i + 1 << " " << german(i) << "\n";
  source.close();
  const std::string file = folder / "de.cat";
  if (!made("gencat " + file + " " + folder / "de.msg", "catgets")) return;
  static const nl_catd catalogue = catopen(file.c_str(), 0);
  const auto get = [](std::uint32_t i) { return catgets(catalogue, 1, static_cast<int>(i) + 1, ""); };
  for (std::uint32_t i = 0; i < TEXTS; ++i) refuseUnless(get(i) == german(i), "catgets");
  benchmark::RegisterBenchmark("catalogue: text through a held CStr/catgets",
                               [get](benchmark::State& s) { lookUp(s, get); });
}

#ifdef HAVE_ICU
void registerICU(const InputFile& folder) {
  std::ofstream source(folder / "de.txt");
  source << "de {\n texts:array {\n";
  for (std::uint32_t i = 0; i < TEXTS; ++i) source << "  \"" << german(i) << "\",\n";
  source << " }\n}\n";
  source.close();
  if (!made("genrb -d " + folder.path() + " " + folder / "de.txt", "ICU bundle by index")) return;
  static UErrorCode status = U_ZERO_ERROR;
  static UResourceBundle* const bundle = ures_openDirect(folder.path().c_str(), "de", &status);
  static UResourceBundle* const texts = ures_getByKey(bundle, "texts", nullptr, &status);
  const auto get = [](std::uint32_t i) {
    std::int32_t length;
    return ures_getStringByIndex(texts, static_cast<std::int32_t>(i), &length, &status);
  };
  for (std::uint32_t i = 0; i < TEXTS; ++i) refuseUnless(U_SUCCESS(status) && isGerman(String(get(i)), i), "ICU");
  benchmark::RegisterBenchmark("catalogue: text through a held CStr/ICU bundle by index",
                               [get](benchmark::State& s) { lookUp(s, get); });
}
#endif

}  // namespace

int main(int argc, char** argv) {
  const InputFile folder("lookup_bench");
  std::filesystem::create_directories(folder / "de/LC_MESSAGES");
  registerLibrary(folder);
  registerGettext(folder);
  registerCatgets(folder);
#ifdef HAVE_ICU
  registerICU(folder);
#endif
  return runBenchmarks(argc, argv);
}
