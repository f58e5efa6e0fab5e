// Runs a fuzz target over files and directories of inputs, without a fuzzer: for any compiler, and for the tests.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/support/fuzz.h"

namespace {

std::vector<std::filesystem::path> filesOf(const std::filesystem::path& path) {
  if (!std::filesystem::is_directory(path)) return {path};
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(path)) files.push_back(entry.path());
  std::ranges::sort(files);
  return files;
}

}  // namespace

int main(int argc, char** argv) {
  int inputs = 0;
  for (int i = 1; i < argc; ++i) {
    for (const auto& file : filesOf(argv[i])) {
      std::ifstream in(file, std::ios::binary);
      const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
      if (!in) continue;
      std::fprintf(stderr, "%s\n", file.c_str());
      LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
      ++inputs;
    }
  }
  std::fprintf(stderr, "%d inputs\n", inputs);
  return inputs != 0 ? 0 : 1;
}
