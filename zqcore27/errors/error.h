#pragma once

#include <cstdint>
#include <vector>

#include "zqcore27/core/memory.h"
#include "zqcore27/errors/error_insert.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

class CStr;

/// Base of everything that the library throws: a 32-bit code, inserts, and no words. Words are fetched from a catalogue
/// when somebody asks for the description, in the language of the catalogue passed in. Thrown by value, caught by
/// reference. The code is a catalogue handle: bits 27 to 16 choose the catalogue, bits 15 to 0 the text; 0 is no code.
/// The error owns its inserts. Threads: one at a time; `description` writes the object although it is const.
class ZQCORE27_EXPORT Error : public FromLibraryHeap {
 public:
  /// Unworded and without inserts; touches no catalogue.
  Error(std::uint32_t code, bool fatal);
  /// Copies code, fatal flag and inserts. The copy isn't worded yet, whatever `e` is.
  Error(const Error& e);
  /// Copies the words too, and makes the inserts copies of those of `e`.
  Error& operator=(const Error& e);
  virtual ~Error();

  /// The subsystem's fixed name.
  virtual const char* module() const = 0;
  /// The code that was given; a subclass may say otherwise.
  virtual std::uint32_t code() const;
  /// The wording; see above. Never null. Built once: a later call gives the same text whatever catalogue it passes.
  /// The text belongs to the error and lives until it is assigned to or destroyed. Without memory for one it is that of
  /// a failed description, and isn't kept. Errors: without a code, whatever an insert raises; the words
  /// so far stay then.
  virtual const std::uint16_t* description(CStr* cstr) const;
  /// post_process(fatal()).
  virtual bool process();
  /// Returns `b`. A hook for subclasses.
  virtual bool post_process(bool b);
  /// The number of inserts.
  virtual std::int32_t numInserts();
  /// Insert `i`, 0 to numInserts() - 1, unchecked. It belongs to the error.
  virtual ErrorInsert* getInsert(std::int32_t i);

  /// The stored code, whatever a subclass makes of code().
  std::uint32_t getfCode() const { return fCode; }
  bool fatal() const { return fFatal; }
  /// `out` becomes the description between double quotes.
  void get(String& out, CStr* cstr) const;

  /// Appends an insert; the first one added fills mark 1 of the text. Errors: MemError or std::bad_alloc, nothing
  /// added.
  void addInsert(const String& s);
  void addInsert(std::uint32_t handle);
  void addInsert(const Error& e);

 protected:
  /// Appends copies of the inserts of `e`.
  void duplicate_inserts(const Error& e);

  mutable String fDescription;  // empty until worded; a subclass that words itself writes it

 private:
  void append_insert(ErrorInsert* insert);
  void delete_inserts();
  bool describe_from_catalogue(CStr* cstr) const;  // these return false if there is no memory for the words
  bool list_inserts(CStr* cstr) const;

  std::uint32_t fCode;
  std::vector<ErrorInsert*> fInserts;  // owned
  bool fFatal;
};

}  // namespace zqcore27
