#pragma once

#include <cstdint>

#include "zqcore27/platform/export.h"

inline namespace zqcore27 {

/// The 32 bytes that start the library's binary files: a signature and three texts, each padded with zeros to its
/// field's width and without a terminator when it fills the field. The object is exactly these bytes, so it may lie
/// over the start of a block read from a file. A new object's bytes are undefined until `set`.
/// Threads: one at a time; const operations may run side by side.
class ZQCORE27_EXPORT FileBinHeader {
 public:
  /// Writes the signature and the texts; a field whose argument is null stays zero. A text longer than its field is
  /// cut at the field's width: 8 bytes for the type, 6 for version and platform.
  void set(const unsigned char* type, const unsigned char* version, const unsigned char* platform);
  /// True if the signature and every field whose argument isn't null are, over the field's whole width, as `set` would
  /// write them. Bytes other than zero behind a shorter text make a difference.
  bool check(const unsigned char* type, const unsigned char* version, const unsigned char* platform) const;
  /// Width of the version field in bytes: 6.
  std::int32_t getVersionSize() const { return sizeof fVersion; }

 private:
  static void bin_copy(unsigned char* to, const unsigned char* from, unsigned int n);

  unsigned char fSignature[12];
  unsigned char fType[8];
  unsigned char fVersion[6];
  unsigned char fPlatform[6];
};

static_assert(sizeof(FileBinHeader) == 32 && alignof(FileBinHeader) == 1);

}  // namespace zqcore27
