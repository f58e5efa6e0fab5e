#pragma once

#include <cstdint>

#include "zqcore27/core/memory.h"
#include "zqcore27/platform/export.h"
#include "zqcore27/strings/string.h"

inline namespace zqcore27 {

class CStr;

/// One value that an error puts into its text. Owned by the error. Threads: as the error.
class ZQCORE27_EXPORT ErrorInsert : public FromLibraryHeap {
 public:
  /// What an insert is: a text that stands by itself, or one that is fetched from a catalogue.
  enum InsertType : int { INSERT_TEXT = 0, INSERT_HANDLE = 1 };

  ErrorInsert() = default;
  ErrorInsert(const ErrorInsert&) = default;
  ErrorInsert& operator=(const ErrorInsert&) = default;
  virtual ~ErrorInsert();

  /// The text of the insert in the words of `c`. May be null. It belongs to the insert or to the catalogue.
  virtual const std::uint16_t* get(CStr* c) = 0;
  /// A new insert of the same class, which the caller owns.
  virtual ErrorInsert* duplicate() const = 0;
  /// INSERT_TEXT for a text, INSERT_HANDLE for everything else.
  virtual InsertType type() = 0;
  /// 65535 where an insert has no code.
  virtual std::uint32_t code();
  /// The inserts of an error held inside; otherwise 0 and null.
  virtual std::int32_t numInserts();
  virtual ErrorInsert* getInsert(std::int32_t i);
};

/// A text of its own. Threads: as the error.
class ZQCORE27_EXPORT StringErrorInsert : public ErrorInsert {
 public:
  explicit StringErrorInsert(const String& s);
  explicit StringErrorInsert(const char* s);
  StringErrorInsert(const StringErrorInsert&);
  StringErrorInsert& operator=(const StringErrorInsert&);
  ~StringErrorInsert() override;

  const std::uint16_t* get(CStr* c) override;
  ErrorInsert* duplicate() const override;
  InsertType type() override;

 private:
  String fText;
};

/// A text of the catalogue, fetched when the error is worded; null without a catalogue. Threads: as the error.
class ZQCORE27_EXPORT CStrErrorInsert : public ErrorInsert {
 public:
  explicit CStrErrorInsert(std::uint32_t handle);
  CStrErrorInsert(const CStrErrorInsert&);
  CStrErrorInsert& operator=(const CStrErrorInsert&);
  ~CStrErrorInsert() override;

  const std::uint16_t* get(CStr* c) override;
  ErrorInsert* duplicate() const override;
  InsertType type() override;
  std::uint32_t code() override;

 private:
  std::uint32_t fHandle;
};

}  // namespace zqcore27
