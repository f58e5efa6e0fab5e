#include "tools/files.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <random>

namespace zqtool {
namespace {

struct CloseFile {
  void operator()(std::FILE* f) const { std::fclose(f); }
};
using Stream = std::unique_ptr<std::FILE, CloseFile>;

bool readAll(std::FILE* stream, std::vector<std::uint8_t>& out) {
  std::array<std::uint8_t, 65536> piece;
  while (const std::size_t n = std::fread(piece.data(), 1, piece.size(), stream)) {
    out.insert(out.end(), piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(n));
  }
  return std::ferror(stream) == 0;
}

bool writeAll(std::FILE* stream, std::span<const std::uint8_t> bytes) {
  return std::fwrite(bytes.data(), 1, bytes.size(), stream) == bytes.size() && std::fflush(stream) == 0;
}

/// A new file with a name of its own that begins with `stem`. Null, with errno, if there can't be one.
Stream createBeside(const std::string& stem, std::string& path) {
  std::random_device random;
  for (int tries = 0; tries < 100; ++tries) {
    char ending[16];
    std::snprintf(ending, sizeof ending, ".%08x", random());
    path = stem + ending;
    if (std::FILE* f = std::fopen(path.c_str(), "wbx")) return Stream(f);
    if (errno != EEXIST) break;
  }
  return nullptr;
}

}  // namespace

FileBytes readFile(const std::string& path) {
  FileBytes out;
  const Stream file(path == "-" ? nullptr : std::fopen(path.c_str(), "rb"));
  std::FILE* stream = path == "-" ? stdin : file.get();
  if (stream == nullptr || !readAll(stream, out.bytes)) out.fault = std::strerror(errno);
  return out;
}

std::string writeFile(const std::string& path, std::span<const std::uint8_t> bytes) {
  if (path == "-") return writeAll(stdout, bytes) ? std::string() : std::strerror(errno);

  namespace fs = std::filesystem;
  std::error_code error;
  const fs::path target = fs::is_symlink(path, error) ? fs::weakly_canonical(path, error) : fs::path(path);
  if (fs::exists(target, error) && !fs::is_regular_file(target, error)) {  // a device or a pipe: nothing to rename over
    Stream device(std::fopen(path.c_str(), "wb"));
    return device != nullptr && writeAll(device.get(), bytes) ? std::string() : std::strerror(errno);
  }
  std::string beside;
  Stream file = createBeside(target.string(), beside);
  if (file == nullptr) return std::strerror(errno);
  std::string fault;
  if (!writeAll(file.get(), bytes) || std::fclose(file.release()) != 0) fault = std::strerror(errno);
  if (fault.empty() && std::rename(beside.c_str(), target.c_str()) != 0) fault = std::strerror(errno);
  if (!fault.empty()) std::remove(beside.c_str());
  return fault;
}

std::string writeFile(const std::string& path, std::string_view text) {
  return writeFile(path, std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

InputCopy::InputCopy() {
  const FileBytes input = readFile("-");
  fFault = input.fault;
  if (!fFault.empty()) return;
  std::error_code error;
  const auto directory = std::filesystem::temp_directory_path(error);
  const Stream file = createBeside((directory / "zqtool").string(), fPath);
  if (file != nullptr) {  // before anything is in it
    std::filesystem::permissions(fPath, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write,
                                 error);
  }
  if (file == nullptr || !writeAll(file.get(), input.bytes)) fFault = std::strerror(errno);
}

InputCopy::~InputCopy() { std::remove(fPath.c_str()); }

}  // namespace zqtool
