#include "zqcore27/errors/error_insert.h"

#include "zqcore27/errors/cstr.h"

inline namespace zqcore27 {

namespace {

constexpr std::uint32_t NO_CODE = 65535;

}  // namespace

ErrorInsert::~ErrorInsert() = default;

std::uint32_t ErrorInsert::code() { return NO_CODE; }

std::int32_t ErrorInsert::numInserts() { return 0; }

ErrorInsert* ErrorInsert::getInsert(std::int32_t) { return nullptr; }

StringErrorInsert::StringErrorInsert(const String& s) : fText(s) {}
StringErrorInsert::StringErrorInsert(const char* s) : fText(s) {}
StringErrorInsert::StringErrorInsert(const StringErrorInsert&) = default;
StringErrorInsert& StringErrorInsert::operator=(const StringErrorInsert&) = default;
StringErrorInsert::~StringErrorInsert() = default;

const std::uint16_t* StringErrorInsert::get(CStr*) { return fText.begin(); }

ErrorInsert* StringErrorInsert::duplicate() const { return new StringErrorInsert(*this); }

ErrorInsert::InsertType StringErrorInsert::type() { return INSERT_TEXT; }

CStrErrorInsert::CStrErrorInsert(std::uint32_t handle) : fHandle(handle) {}
CStrErrorInsert::CStrErrorInsert(const CStrErrorInsert&) = default;
CStrErrorInsert& CStrErrorInsert::operator=(const CStrErrorInsert&) = default;
CStrErrorInsert::~CStrErrorInsert() = default;

const std::uint16_t* CStrErrorInsert::get(CStr* c) { return c == nullptr ? nullptr : c->get(fHandle); }

ErrorInsert* CStrErrorInsert::duplicate() const { return new CStrErrorInsert(*this); }

ErrorInsert::InsertType CStrErrorInsert::type() { return INSERT_HANDLE; }

std::uint32_t CStrErrorInsert::code() { return fHandle; }

}  // namespace zqcore27
