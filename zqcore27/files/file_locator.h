#pragma once

#include <cstdint>
#include <vector>

#include "zqcore27/platform/export.h"
#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

// Copied and held by value, never deleted through a base: the destructor isn't virtual. A derived class needs the same
// pragmas under this warning.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// A path held in five texts that are kept in step. For /srv/a.b.txt on a platform with `/` and `.`:
///   location  /srv       the directory, without a trailing separator
///   fullName  a.b.txt    the last piece of the path
///   name      a.b        the full name up to its last extension separator
///   extension txt        what stands behind that, without the separator
///   path      /srv/a.b.txt   location, separator, full name
/// The separator is written whatever the location is, so an empty location gives a path from the root. A path that is
/// parsed without a directory gets the location ".". Only the platform's own separator counts; when a file is opened,
/// both kinds of slash are accepted.
///
/// What a host should know: where a full name is parsed that has no extension separator, the extension keeps the value
/// that it had. Assignment from another locator, by move too, parses the path again and so keeps the target's extension
/// when the source's full name has none; construction copies the five texts. The separators come from gCore.
/// A text handed in may be one of the locator's own.
/// Errors: none of its own; MemError, after which the texts may be out of step: set the locator again. Threads: one at
/// a time; const operations may run side by side.
class ZQCORE27_EXPORT FileLocator {
 public:
  /// All five texts empty.
  FileLocator();
  /// Parses a whole path. A derived class's separators don't count yet: it parses again in its own constructor.
  FileLocator(const String& s);
  FileLocator(const std::uint16_t* const& s);
  FileLocator(const FileLocator& f);
  /// `f` is empty afterwards.
  FileLocator(FileLocator&& f) noexcept;
  ~FileLocator();

  FileLocator& operator=(const std::uint16_t* const& s);
  FileLocator& operator=(const String& s);
  FileLocator& operator=(const FileLocator& f);

  const String& name() const { return fName; }
  const String& extension() const { return fExtension; }
  const String& fullName() const { return fFullName; }
  const String& location() const { return fLocation; }
  const String& path() const { return fPath; }

  /// Takes one trailing separator off `s`. The root is therefore set as two separators: with one, the location is
  /// empty, whose path begins at the root but which lists the current directory.
  void setLocation(const String& s);
  /// The full name becomes `s`, the separator and the extension, the separator also when there is no extension.
  void setName(const String& s);
  /// As setName, with the name that is there.
  void setExtension(const String& s);
  /// Splits `s` into name and extension; without a separator in it the extension stays.
  void setFullName(const String& s);
  /// The location becomes itself, a separator and `s`.
  void addDirEnd(const String& s);
  /// The location becomes `s`, a separator and itself.
  void addDirStart(const String& s);

  /// Appends to `out` the names in the location that end in the extension separator and the extension, in the
  /// platform's order and without the location. With no extension, or with `*`, every entry, directories and the
  /// entries for the directory itself and its parent included; a `*` in an extension stands for any text. Case counts
  /// where the platform's file names have it. The name plays no part. An empty location lists the current directory.
  /// True also when nothing matches; false if the directory can't be opened or its first reading fails, and if location
  /// or extension hold a zero unit or, in a code page that isn't here, characters beyond ASCII. A failure behind the
  /// first match ends the listing as its end does, with true.
  /// Errors: StringError for a name that isn't text in the platform's encoding, with the names before it in `out`.
  // Compiled into the host, so that the vector grows on the host's heap: a call through the library's table of virtual
  // operations finds the host's copy, which the attribute keeps, before the library's.
  [[gnu::used]] ZQCORE27_EXPORT virtual bool listFiles(std::vector<String>& out) const {
    return list_names(add_name, &out);
  }

 protected:
  /// Between directories, or 0 for a platform without one.
  virtual std::uint16_t dir_sep() const;
  /// Between name and extension, or 0 for a platform without one.
  virtual std::uint16_t ext_sep() const;
  /// Parses a whole path; `s` may be one of the locator's own texts.
  virtual void from_string(const String& s);

 private:
  /// Hands each matching name, in native text, to `add`.
  bool list_names(void (*add)(void* to, const char* name), void* to) const;
  static void add_name(void* to, const char* name) { static_cast<std::vector<String>*>(to)->emplace_back(name); }
  void split_full_name();
  void join_full_name();
  void rebuild_path();

  String fName;
  String fExtension;
  String fFullName;
  String fLocation;
  String fPath;
};

#pragma GCC diagnostic pop

}  // namespace zqcore27
