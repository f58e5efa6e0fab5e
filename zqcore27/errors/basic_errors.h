#pragma once

#include "zqcore27/errors/error.h"

inline namespace zqcore27 {

/// For what a host hasn't written yet. The text is dropped: it serves the reader of the source.
/// Threads: as Error.
class ZQCORE27_EXPORT ToDoError : public Error {
 public:
  explicit ToDoError(const char* text);
  ToDoError(const ToDoError& e);
  ToDoError& operator=(const ToDoError& e);
  ~ToDoError() override;
  const char* module() const override;
};

/// For a host that leaves many calls at once by a throw. Threads: as Error.
class ZQCORE27_EXPORT UnwindError : public Error {
 public:
  UnwindError();
  UnwindError(const UnwindError& e);
  UnwindError& operator=(const UnwindError& e);
  ~UnwindError() override;
  const char* module() const override;
};

/// For a host that turns floating-point exceptions into errors. It has no code, and no operation reads its type.
/// Threads: as Error.
class ZQCORE27_EXPORT FpExceptError : public Error {
 public:
  /// What the processor's floating-point unit reported.
  enum FpExceptType : int {
    FP_EXCEPT_INVALID,
    FP_EXCEPT_DIVIDE_BY_ZERO,
    FP_EXCEPT_OVERFLOW,
    FP_EXCEPT_UNDERFLOW,
    FP_EXCEPT_INEXACT
  };

  explicit FpExceptError(FpExceptType type);
  FpExceptError(const FpExceptError& e);
  FpExceptError& operator=(const FpExceptError& e);
  ~FpExceptError() override;
  const char* module() const override;

 private:
  [[maybe_unused]] FpExceptType fType;
};

}  // namespace zqcore27
