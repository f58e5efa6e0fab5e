#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

/// A directory of its own for one test, removed with all that is in it.
class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "zqcore27-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary directory");
    fPath = pattern;
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(fPath, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& path() const { return fPath; }
  /// The path of an entry, as UTF-8.
  std::string operator/(const std::string& name) const { return (fPath / name).string(); }

  /// Makes or replaces a file of these bytes, and returns its path.
  std::string write(const std::string& name, const std::string& bytes) const {
    std::ofstream(fPath / name, std::ios::binary) << bytes;
    return *this / name;
  }
  std::string read(const std::string& name) const {
    std::ifstream in(fPath / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }

 private:
  std::filesystem::path fPath;
};
