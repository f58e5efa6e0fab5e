// Runs a fuzz target without a fuzzer, for any compiler, and for the tests: over files and directories of inputs, then
// over random ones that are made of them. ZQCORE27_MODEL_STEPS asks for one of these for each five steps, 5000 steps
// without it; ZQCORE27_MODEL_SEED is what is printed of the one to begin with.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

#include "fuzz/support/fuzz.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

std::vector<std::filesystem::path> filesOf(const std::filesystem::path& path) {
  if (!std::filesystem::is_directory(path)) return {path};
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(path)) files.push_back(entry.path());
  std::ranges::sort(files);
  return files;
}

/// Any bytes, or a known input with some bytes changed and pieces of others put in.
class RandomInput {
 public:
  RandomInput(unsigned seed, const std::vector<Bytes>& known) : fRandom(seed), fKnown(known) {}

  Bytes make() {
    Bytes bytes;
    if (below(2) == 0) {
      bytes.resize(below(1200));
      for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(fRandom());
      return bytes;
    }
    bytes = any();
    for (std::size_t changes = below(30); changes != 0; --changes) {
      const auto at = bytes.begin() + static_cast<std::ptrdiff_t>(below(bytes.size() + 1));
      if (below(3) == 0 && at != bytes.end()) {
        *at = static_cast<std::uint8_t>(fRandom());
      } else {
        const Bytes& other = any();
        const std::size_t from = below(other.size() + 1), count = std::min(below(20), other.size() - from);
        bytes.insert(at, other.data() + from, other.data() + from + count);
      }
    }
    return bytes;
  }

 private:
  std::size_t below(std::size_t n) { return fRandom() % n; }
  const Bytes& any() { return fKnown[below(fKnown.size())]; }

  std::mt19937 fRandom;
  const std::vector<Bytes>& fKnown;
};

unsigned setting(const char* variable, unsigned otherwise) {
  const char* const text = std::getenv(variable);
  return text != nullptr ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : otherwise;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<Bytes> known;
  bool files = false;  // alone: somebody looks for the fault of one input
  for (int i = 1; i < argc; ++i) {
    files = files || !std::filesystem::is_directory(argv[i]);
    for (const auto& file : filesOf(argv[i])) {
      std::ifstream in(file, std::ios::binary);
      const Bytes bytes{std::istreambuf_iterator<char>(in), {}};
      if (!in) continue;
      std::fprintf(stderr, "%s\n", file.c_str());
      LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
      known.push_back(bytes);
    }
  }
  const unsigned seed = setting("ZQCORE27_MODEL_SEED", 20270527);
  const unsigned inputs = files || known.empty() ? 0 : setting("ZQCORE27_MODEL_STEPS", 5000) / 5;
  for (unsigned i = 0; i < inputs; ++i) {
    const Bytes bytes = RandomInput(seed + i, known).make();
    std::fprintf(stderr, "random input %u\n", seed + i);
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  }
  std::fprintf(stderr, "%zu inputs, %u random ones\n", known.size(), inputs);
  return known.empty() ? 1 : 0;
}
