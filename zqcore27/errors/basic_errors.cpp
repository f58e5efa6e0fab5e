#include "zqcore27/errors/basic_errors.h"

inline namespace zqcore27 {

ToDoError::ToDoError(const char*) : Error(0, true) {}
ToDoError::ToDoError(const ToDoError&) = default;
ToDoError& ToDoError::operator=(const ToDoError&) = default;
ToDoError::~ToDoError() = default;

const char* ToDoError::module() const { return "TO DO!"; }

UnwindError::UnwindError() : Error(0, true) {}
UnwindError::UnwindError(const UnwindError&) = default;
UnwindError& UnwindError::operator=(const UnwindError&) = default;
UnwindError::~UnwindError() = default;

const char* UnwindError::module() const { return "Unwind Error"; }

FpExceptError::FpExceptError(FpExceptType type) : Error(0, false), fType(type) {}
FpExceptError::FpExceptError(const FpExceptError&) = default;
FpExceptError& FpExceptError::operator=(const FpExceptError&) = default;
FpExceptError::~FpExceptError() = default;

const char* FpExceptError::module() const { return "Floating-point exception"; }

}  // namespace zqcore27
