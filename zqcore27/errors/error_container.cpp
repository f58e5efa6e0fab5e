#include "zqcore27/errors/error_container.h"

inline namespace zqcore27 {

ErrorContainer::ErrorContainer(const Error& e) : Error(e.code(), e.fatal()), fModule(String(e.module())) {
  duplicate_inserts(e);
}

ErrorContainer::ErrorContainer(const ErrorContainer&) = default;
ErrorContainer& ErrorContainer::operator=(const ErrorContainer&) = default;
ErrorContainer::~ErrorContainer() = default;

const char* ErrorContainer::module() const { return fModule.begin(); }

}  // namespace zqcore27
