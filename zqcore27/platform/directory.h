#pragma once

inline namespace zqcore27 {
namespace platform {

/// Walks the names in one directory that match a pattern, in the order that the platform gives; the entries for the
/// directory itself and its parent are among them. In the pattern `*` stands for any bytes, none included, and all
/// else for itself, with case. Both texts are native. Threads: one at a time.
class DirectoryListing {
 public:
  /// Keeps `pattern`, which must outlive the object.
  DirectoryListing(const char* directory, const char* pattern);
  ~DirectoryListing();
  DirectoryListing(const DirectoryListing&) = delete;
  DirectoryListing& operator=(const DirectoryListing&) = delete;

  /// The next name, good until the next call, or null at the end and at a failure.
  const char* next();
  /// True if the directory couldn't be opened, or not be read to its end.
  bool failed() const { return fFailed; }

 private:
  void* fDirectory;
  const char* fPattern;
  bool fFailed;
};

}  // namespace platform
}  // namespace zqcore27
