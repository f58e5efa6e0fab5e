#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zqtool {

/// The bytes of a file, or why they can't be had.
struct FileBytes {
  std::vector<std::uint8_t> bytes;
  std::string fault;  // empty if all is well
};

/// Reads a whole file; "-" is standard input.
FileBytes readFile(const std::string& path);

/// Writes a whole file; "-" is standard output. The bytes are written beside the file and renamed into its place, so
/// that it is never half there. Returns what went wrong, empty if all is well.
std::string writeFile(const std::string& path, std::span<const std::uint8_t> bytes);
std::string writeFile(const std::string& path, std::string_view text);

/// A copy of standard input, in a file that is removed with the object.
class InputCopy {
 public:
  InputCopy();
  ~InputCopy();
  InputCopy(const InputCopy&) = delete;
  InputCopy& operator=(const InputCopy&) = delete;

  const std::string& path() const { return fPath; }
  /// Why there is no copy; empty if all is well.
  const std::string& fault() const { return fFault; }

 private:
  std::string fPath;
  std::string fFault;
};

}  // namespace zqtool
