#pragma once

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

/// A file to read, or a folder of such files, among the temporary files. It goes with the object.
class InputFile {
 public:
  explicit InputFile(const std::string& name)
      : fPath(std::filesystem::temp_directory_path() / (name + "_" + std::to_string(getpid()))) {}
  /// `write` fills it, from a std::ostream&.
  template <class Write>
  InputFile(const std::string& name, Write write) : InputFile(name) {
    std::ofstream file(fPath, std::ios::binary);
    write(file);
  }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;
  ~InputFile() { std::filesystem::remove_all(fPath); }

  std::string path() const { return fPath; }
  /// Of a folder's file.
  std::string operator/(const std::string& name) const { return fPath / name; }

 private:
  std::filesystem::path fPath;
};
