// How costs grow with the size of what is worked on. Each figure is of one operation.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <ostream>
#include <random>
#include <string>
#include <string_view>

#include "bench/support/input_file.h"
#include "bench/support/run.h"
#include "bench/support/tokenise.h"
#include "zqcore27/blocks/sb_tree.h"
#include "zqcore27/blocks/supa_block.h"
#include "zqcore27/files/file_locator.h"
#include "zqcore27/strings/string.h"

namespace {

// Text of `size` bytes or units.

void construct(benchmark::State& state, std::uint32_t size) {
  const std::string bytes(size, 'x');
  for (auto _ : state) benchmark::DoNotOptimize(String(bytes.c_str()));
}

void search(benchmark::State& state, std::uint32_t size) {
  const String text(std::u16string(size, u'x')), part("nowhere");
  for (auto _ : state) benchmark::DoNotOptimize(text.find(part, false));
}

void tokenise(benchmark::State& state, std::uint32_t size) {
  const InputFile input("growth_bench", [size](std::ostream& file) {
    constexpr std::string_view LINE = "name_of_a_setting = 640, 17.5, a_word, \"a text\"\n";
    for (std::uint32_t written = 0; written < size; written += LINE.size()) file << LINE;
  });
  const FileLocator path(String(input.path().c_str()));
  for (auto _ : state) tokenise(path);
}

// A store of `size` blocks of 32 bytes.

constexpr unsigned char BYTES[32] = {};

std::unique_ptr<SupaBlock> store(std::uint32_t size) {
  SupaBlockHints hints;
  hints.fAvgBlockSize = sizeof BYTES;
  hints.fMinBlocks = 8;
  hints.fMaxBlocks = 1000;
  hints.fDirShift = 2;
  auto made = std::make_unique<SupaBlock>(SupaBlock::SB_DIRECTORY, hints);
  for (std::uint32_t i = 0; i < size; ++i) made->insert(static_cast<std::int32_t>(i), BYTES, sizeof BYTES);
  return made;
}

void appendBlock(benchmark::State& state, std::uint32_t size) {
  auto blocks = store(0);
  for (auto _ : state) {
    blocks->insert(blocks->getSize(), BYTES, sizeof BYTES);
    if (blocks->getSize() != static_cast<std::int32_t>(size)) continue;
    state.PauseTiming();
    blocks = store(0);
    state.ResumeTiming();
  }
}

void getBlock(benchmark::State& state, std::uint32_t size) {
  const auto blocks = store(size);
  std::mt19937 random(1);
  SupaBlockDatum datum;
  for (auto _ : state) {
    blocks->get(static_cast<std::int32_t>(random() % size), &datum);
    benchmark::DoNotOptimize(*datum.fData);
  }
}

void insertAndDeleteBlock(benchmark::State& state, std::uint32_t size) {
  const auto blocks = store(size);
  std::mt19937 random(1);
  for (auto _ : state) {
    blocks->insert(static_cast<std::int32_t>(random() % size), BYTES, sizeof BYTES);
    blocks->deleteBlock(static_cast<std::int32_t>(random() % size));
  }
}

/// A tree of `size` nodes: every eleventh has the ten in front of it as children.
std::unique_ptr<SBTree> tree(std::uint32_t size) {
  auto made = std::make_unique<SBTree>(SupaBlockHints());
  for (std::uint32_t node = 0; node < size; ++node) {
    const std::uint32_t run[2] = {node < 10 ? 0 : node - 10, node - 1};
    made->buildTreeNode(node, reinterpret_cast<const unsigned char*>(run), node % 11 == 10 ? 1 : 0);
  }
  made->setRootNodeIdx(size - 1);
  return made;
}

void insertAndDeleteNode(benchmark::State& state, std::uint32_t size) {
  const auto nodes = tree(size);
  for (auto _ : state) {
    nodes->buildTreeNodeInsert(size / 2, nullptr, 0);
    nodes->deleteNode(size / 2);
  }
}

void add(const std::string& work, const char* what, void (*run)(benchmark::State&, std::uint32_t), std::uint32_t size,
         std::uint32_t shown) {
  const std::string name = "growth: " + work + " " + std::to_string(shown) + " " + what + "/zqcore27";
  benchmark::RegisterBenchmark(name.c_str(), run, size)->UseRealTime();
}

}  // namespace

int main(int argc, char** argv) {
  constexpr std::uint32_t KIB = 1024, MIB = KIB * KIB;
  for (const std::uint32_t n : {1, 16, 256, 4096}) add("construct from", "KiB of ASCII", construct, n * KIB, n);
  for (const std::uint32_t n : {1, 16, 256, 4096}) add("search", "Ki units", search, n * KIB, n);
  for (const std::uint32_t n : {1, 10, 100}) add("tokenise", "MiB from a file", tokenise, n * MIB, n);
  for (const std::uint32_t n : {10'000, 100'000, 1'000'000}) add("append one of", "blocks", appendBlock, n, n);
  for (const std::uint32_t n : {10'000, 100'000, 1'000'000}) add("get one of", "blocks", getBlock, n, n);
  for (const std::uint32_t n : {10'000, 100'000, 1'000'000}) {
    add("insert and delete one of", "blocks", insertAndDeleteBlock, n, n);
  }
  for (const std::uint32_t n : {10'000, 100'000, 1'000'000}) {
    add("insert and delete one of", "nodes", insertAndDeleteNode, n, n);
  }
  return runBenchmarks(argc, argv);
}
