#pragma once

#include "zqcore27/errors/error_container.h"
#include "zqcore27/errors/error_insert.h"

inline namespace zqcore27 {

/// An error inside an error: a deep copy, worded in full where the outer text takes it in.
/// Threads: as the error.
class ZQCORE27_EXPORT ErrorErrorInsert : public ErrorInsert {
 public:
  explicit ErrorErrorInsert(const Error& e);
  ErrorErrorInsert(const ErrorErrorInsert&);
  ErrorErrorInsert& operator=(const ErrorErrorInsert&);
  ~ErrorErrorInsert() override;

  const std::uint16_t* get(CStr* c) override;
  ErrorInsert* duplicate() const override;
  /// INSERT_HANDLE, as for a text of the catalogue.
  InsertType type() override;
  std::uint32_t code() override;
  std::int32_t numInserts() override;
  ErrorInsert* getInsert(std::int32_t i) override;

 private:
  ErrorContainer fError;
};

}  // namespace zqcore27
