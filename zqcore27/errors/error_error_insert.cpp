#include "zqcore27/errors/error_error_insert.h"

inline namespace zqcore27 {

ErrorErrorInsert::ErrorErrorInsert(const Error& e) : fError(e) {}
ErrorErrorInsert::ErrorErrorInsert(const ErrorErrorInsert&) = default;
ErrorErrorInsert& ErrorErrorInsert::operator=(const ErrorErrorInsert&) = default;
ErrorErrorInsert::~ErrorErrorInsert() = default;

const std::uint16_t* ErrorErrorInsert::get(CStr* c) { return fError.description(c); }

ErrorInsert* ErrorErrorInsert::duplicate() const { return new ErrorErrorInsert(*this); }

ErrorInsert::InsertType ErrorErrorInsert::type() { return INSERT_HANDLE; }

std::uint32_t ErrorErrorInsert::code() { return fError.code(); }

std::int32_t ErrorErrorInsert::numInserts() { return fError.numInserts(); }

ErrorInsert* ErrorErrorInsert::getInsert(std::int32_t i) { return fError.getInsert(i); }

}  // namespace zqcore27
