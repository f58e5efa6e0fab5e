#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <map>
#include <string>

#include "tests/support/catalogue_builder.h"
#include "tests/support/temp_dir.h"
#include "tests/support/text.h"
#include "zqcore27/catalogue/cstr_error.h"
#include "zqcore27/catalogue/cstr_file.h"
#include "zqcore27/core/core.h"

inline std::string utf8(const std::uint16_t* s) { return s == nullptr ? "(null)" : utf8(String(s)); }

inline FileLocator named(const char* fullName) {
  FileLocator f;
  f.setFullName(String(fullName));
  return f;
}

/// What `f` raises: the number and the words of a CStrError, or "" if nothing.
template <typename F>
std::string failureOf(F f) {
  try {
    f();
    return "";
  } catch (const CStrError& e) {
    return std::to_string(e.code()) + (e.fatal() ? "!" : "") + ": " + utf8(e.description(nullptr));
  }
}

/// The text of a handle, or what its search raises.
inline std::string textOf(CStr& catalogue, std::uint32_t handle) {
  std::string text;
  const std::string failure = failureOf([&] { text = utf8(catalogue.get(handle)); });
  return failure + text;
}

/// A directory of catalogues that the core, one of the test's own, looks into first.
class CatalogueTest : public testing::Test {
 protected:
  CatalogueTest() {
    unsetenv("tavio_language");
    gCore = new OrlanCore;
    gCore->use();
    gCore->fStringDirectory = String(fDirectory.path().c_str());
  }
  ~CatalogueTest() override {
    unsetenv("tavio_language");
    gCore->unuse();
    gCore = fBefore;
  }

  std::string pathOf(const std::string& name) const { return fDirectory / name; }
  void write(const std::string& name, const std::string& bytes) const { fDirectory.write(name, bytes); }
  void write(const std::string& name, const std::map<std::uint32_t, std::u16string>& texts) const {
    write(name, CatalogueBuilder{.texts = texts}.bytes());
  }

  TempDir fDirectory;
  OrlanCore* const fBefore = gCore;
};
