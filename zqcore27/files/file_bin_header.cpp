#include "zqcore27/files/file_bin_header.h"

#include "zqcore27/core/memory.h"

inline namespace zqcore27 {

namespace {

constexpr unsigned char SIGNATURE[12] = {0x9E, 0x85, 0x0D, 0x0A, 0x54, 0x61, 0xFE, 0x56, 0x69, 0x07, 0x4F, 0x00};

}  // namespace

void FileBinHeader::set(const unsigned char* type, const unsigned char* version, const unsigned char* platform) {
  MemAllocator::zero(this, sizeof *this);
  MemAllocator::copy(fSignature, SIGNATURE, sizeof fSignature);
  if (type != nullptr) bin_copy(fType, type, sizeof fType);
  if (version != nullptr) bin_copy(fVersion, version, sizeof fVersion);
  if (platform != nullptr) bin_copy(fPlatform, platform, sizeof fPlatform);
}

bool FileBinHeader::check(const unsigned char* type, const unsigned char* version,
                          const unsigned char* platform) const {
  FileBinHeader wanted;
  wanted.set(type, version, platform);
  return MemAllocator::same(fSignature, wanted.fSignature, sizeof fSignature) &&
         (type == nullptr || MemAllocator::same(fType, wanted.fType, sizeof fType)) &&
         (version == nullptr || MemAllocator::same(fVersion, wanted.fVersion, sizeof fVersion)) &&
         (platform == nullptr || MemAllocator::same(fPlatform, wanted.fPlatform, sizeof fPlatform));
}

void FileBinHeader::bin_copy(unsigned char* to, const unsigned char* from, unsigned int n) {
  for (unsigned int i = 0; i < n; ++i) {
    to[i] = from[i];
    if (from[i] == 0) return;
  }
}

}  // namespace zqcore27
