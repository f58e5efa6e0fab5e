// The hot paths, each a fixed number of times, for callgrind, which counts their instructions: scripts/bench
// instructions. A count has no noise, so a change of some per cent is a change of the code.

#include <valgrind/callgrind.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <ostream>
#include <string>
#include <string_view>

#include "bench/support/input_file.h"
#include "bench/support/tokenise.h"
#include "tests/support/catalogue_builder.h"
#include "zqcore27/zqcore27.h"

namespace {

/// Runs `work`, which does `operations` of what `name` says, once for what is made at the first use, and once counted.
template <class Work>
void count(const std::string& name, std::uint32_t operations, Work work) {
  work();
  CALLGRIND_ZERO_STATS;
  CALLGRIND_TOGGLE_COLLECT;
  work();
  CALLGRIND_TOGGLE_COLLECT;
  const std::string label = std::to_string(operations) + " " + name;
  CALLGRIND_DUMP_STATS_AT(label.c_str());
}

/// The same with the repetition made here.
template <class Operation>
void countEach(const std::string& name, std::uint32_t times, Operation operation) {
  count(name, times, [&] {
    for (std::uint32_t i = 0; i < times; ++i) operation(i);
  });
}

/// `size` units of the words over and over.
std::u16string repeated(std::u16string_view words, std::size_t size) {
  std::u16string s;
  while (s.size() < size) s += words;
  s.resize(size);
  return s;
}

String inUpperCase(String s) {
  s.toUpper();
  return s;
}

void countText() {
  constexpr std::size_t KIB = 1024;
  const std::u16string asciiUnits = repeated(u"the quick brown fox jumps over a lazy dog, line 1024 ", 64 * KIB);
  const std::u16string mixedUnits = repeated(u"größte λόγου дерево fox ", 64 * KIB);
  const String ascii(asciiUnits), mixed(mixedUnits);
  const String kib(asciiUnits.substr(0, KIB)), kibUpper = inUpperCase(kib);
  const String mixedKib(mixedUnits.substr(0, KIB)), mixedUpper = inUpperCase(mixedKib);
  const std::string bytes = kib.toUTF8(), allBytes = ascii.toUTF8();
  const String part("threshold of messages");
  const auto from = [](String& s, const std::string& utf8) {
    s.buildfromUTF8(reinterpret_cast<const unsigned char*>(utf8.data()), static_cast<unsigned int>(utf8.size()));
  };

  countEach("text: construct from 1 KiB of ASCII", 100, [&](std::uint32_t) { String s(bytes.c_str()); });
  count("text: append one unit", 10000, [&] {
    String s;
    for (int i = 0; i < 10000; ++i) s += static_cast<std::uint16_t>('a' + i % 26);
  });
  bool same = true;
  countEach("text: compare without case, 1 KiB of ASCII", 100, [&](std::uint32_t) { same &= kib == kibUpper; });
  countEach("text: compare without case, 1 KiB of mixed scripts", 100,
            [&](std::uint32_t) { same &= mixedKib == mixedUpper; });
  countEach("text: search 64 KiB with case", 10, [&](std::uint32_t) { same &= ascii.find(part, false) == nullptr; });
  countEach("text: search 64 KiB without case", 10, [&](std::uint32_t) { same &= ascii.find(part, true) == nullptr; });
  if (!same) std::abort();
  countEach("text: toUpper, 64 KiB of ASCII", 10, [&](std::uint32_t) { String(ascii).toUpper(); });
  countEach("text: toUpper, 64 KiB of mixed scripts", 10, [&](std::uint32_t) { String(mixed).toUpper(); });
  String units;
  NatString narrow;
  countEach("text: UTF-8 to units, 64 KiB of ASCII", 10, [&](std::uint32_t) { from(units, allBytes); });
  countEach("text: units to UTF-8, 64 KiB of ASCII", 10, [&](std::uint32_t) { ascii.toUTF8(narrow); });
  const std::string mixedBytes = mixed.toUTF8();
  countEach("text: UTF-8 to units, 64 KiB of mixed scripts", 10, [&](std::uint32_t) { from(units, mixedBytes); });
  countEach("text: units to UTF-8, 64 KiB of mixed scripts", 10, [&](std::uint32_t) { mixed.toUTF8(narrow); });

  String text;
  countEach("build: %d %Ns %lx", 1000, [&](std::uint32_t i) { text.build("%d %Ns %lx", i, "words", 0xBEEF1234u); });
  countEach("build: %f", 1000, [&](std::uint32_t i) { text.build("%f", i * 3.14159); });
  countEach("build: %g", 1000, [&](std::uint32_t i) { text.build("%g", i * 1.7e-277); });
  String number("-1.7976931348623157e+308");
  countEach("scan: %lf", 1000, [&](std::uint32_t) {
    double value = 0;
    number.scan("%lf", &value);
  });

  unsigned char plain[3072] = {}, armoured[4112], back[3075];
  for (unsigned int i = 0; i < sizeof plain; ++i) plain[i] = static_cast<unsigned char>(i * 37);
  std::int32_t length = 0, backLength = 0;
  countEach("armour: write 3 KiB", 10, [&](std::uint32_t) {
    length = sizeof armoured;
    StringInOut(plain, sizeof plain, armoured, &length);
  });
  countEach("armour: read 3 KiB", 10, [&](std::uint32_t) {
    backLength = sizeof back;
    StringOutIn(armoured, length, back, &backLength);
  });
}

void countCatalogue() {
  constexpr std::uint32_t FIRST = 0x82340001, TEXTS = 1000;
  const InputFile folder("instructions");
  std::filesystem::create_directories(folder.path());
  CatalogueBuilder builder;
  for (std::uint32_t i = 0; i < TEXTS; ++i) builder.texts[FIRST + i] = u"Der Wert ist hier nicht bekannt";
  std::ofstream(folder / "strings_234__deu.cst", std::ios::binary) << builder.bytes();
  gCore->fStringDirectory = String(folder.path().c_str());
  CStrEnterprise front(nullptr, "", reinterpret_cast<const std::uint16_t*>(u"deu"));
  CStr* const held = gCore->getCStr(0x234, nullptr, "deu");
  countEach("catalogue: text through the front", TEXTS, [&](std::uint32_t i) { front.get(FIRST + i); });
  countEach("catalogue: text through a held CStr", TEXTS, [&](std::uint32_t i) { held->get(FIRST + i); });
}

void countFiles() {
  constexpr std::uint32_t LINES = 10000;
  const InputFile input("instructions", [](std::ostream& file) {
    for (std::uint32_t i = 0; i < LINES; ++i)
      file << "name_of_a_setting_" << 10000 + i << " = 640, 17.5, a_word, \"a text\"\n";
  });
  const FileLocator path(String(input.path().c_str()));
  count("files: read a line of 51 bytes", LINES, [&] {
    File file;
    if (!file.open(path, File::MODE_READ | File::MODE_BINARY)) std::abort();
    String line;
    for (std::uint32_t i = 0; i < LINES; ++i) file.readLine(line, String::NativeChar);
  });
  count("config: tokenise a line of 51 bytes", LINES, [&] { tokenise(path); });
}

void countFloatsAndLocks() {
  constexpr std::size_t VALUES = 1000;
  double values[VALUES];
  unsigned char stored[VALUES * 8];
  for (std::size_t i = 0; i < VALUES; ++i) values[i] = static_cast<double>(i) * 1.25 - 500;
  const FpFormat vax(1, 8, nullptr);
  count("stored floats: write an array of VAX doubles, each", VALUES,
        [&] { vax.putHostValues(stored, values, VALUES, 8); });
  count("stored floats: read an array of VAX doubles, each", VALUES,
        [&] { vax.getHostValues(stored, values, VALUES, 8); });
  countEach("stored floats: read a single VAX double", VALUES,
            [&](std::uint32_t i) { values[i] = vax.getHostValue(stored + i * 8); });

  OrlanMutex mutex;
  countEach("locks: mutex, alone", 1000, [&](std::uint32_t) { OrlanSynchronized hold(mutex); });
  ReadWriteLock lock;
  countEach("locks: read lock, alone", 1000, [&](std::uint32_t) {
    lock.read_lock();
    lock.read_unlock();
  });
}

void countBlocks() {
  constexpr std::uint32_t BLOCKS = 100'000, SOME = 1000;
  const unsigned char bytes[64] = {1};
  SupaBlockHints hints;
  hints.fAvgBlockSize = 32;
  hints.fMinBlocks = 8;
  hints.fMaxBlocks = 1000;
  hints.fDirShift = 2;
  const auto fill = [&](SupaBlock& store) {
    for (std::uint32_t i = 0; i < BLOCKS; ++i) store.insert(static_cast<std::int32_t>(i), bytes, i * 7 % 65);
  };
  count("store: append a block", BLOCKS, [&] {
    SupaBlock store(SupaBlock::SB_DIRECTORY, hints);
    fill(store);
  });
  SupaBlock store(SupaBlock::SB_DIRECTORY, hints);
  fill(store);
  const auto anywhere = [](std::uint32_t i) { return static_cast<std::int32_t>(i * 2654435761u % BLOCKS); };
  SupaBlockDatum datum;
  countEach("store: random get", BLOCKS, [&](std::uint32_t i) { store.get(anywhere(i), &datum); });
  count("store: step of a walk", BLOCKS, [&] {
    SupaBlockIterator it(&store, -1);
    while (it.nextBlock(nullptr) != nullptr) {
    }
  });
  countEach("store: insert and delete anywhere", SOME, [&](std::uint32_t i) {
    store.insert(anywhere(i), bytes, 32);
    store.deleteBlock(anywhere(i + SOME));
  });

  // Runs of ten, as a host lists them: a node's children stand ten places in front of those of the node behind it.
  SBTree tree{SupaBlockHints()};
  for (std::uint32_t node = 0; node < BLOCKS; ++node) {
    const std::uint32_t below = (BLOCKS - 1 - node) * 10 + 1;
    const std::uint32_t last = BLOCKS - 1 - below;
    const std::uint32_t run[2] = {last < 9 ? 0 : last - 9, last};
    tree.buildTreeNode(node, reinterpret_cast<const unsigned char*>(run), below < BLOCKS ? 1 : 0);
  }
  tree.setRootNodeIdx(BLOCKS - 1);
  count("tree: step of a walk", BLOCKS, [&] {
    SBTreeIterator it(&tree);
    std::uint32_t nodes = 0;
    while (it.nextDFNode(false) != SBTree::IDX_NONE) ++nodes;
    if (nodes != BLOCKS) std::abort();
  });
  countEach("tree: insert and delete of one node of 100,000", 10, [&](std::uint32_t) {
    tree.buildTreeNodeInsert(BLOCKS - 1 - BLOCKS / 20, nullptr, 0);
    tree.deleteNode(BLOCKS - 1 - BLOCKS / 20);
  });
}

}  // namespace

int main() {
  countText();
  countCatalogue();
  countFiles();
  countFloatsAndLocks();
  countBlocks();
}
