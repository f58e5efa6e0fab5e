#include "zqcore27/errors/error.h"

#include <array>
#include <memory>
#include <new>

#include "zqcore27/core/core_hold.h"
#include "zqcore27/errors/cstr.h"
#include "zqcore27/errors/error_error_insert.h"
#include "zqcore27/errors/mem_error.h"
#include "zqcore27/errors/no_words.h"

inline namespace zqcore27 {

namespace {

constexpr std::size_t MAX_BUILT_INSERTS = CStr::MAX_VALUES;  // with more, the catalogue's text stands as it is

constexpr char NO_WORDS[] = "Error in obtaining description of previous error.";
constexpr auto NO_WORDS_UNITS = [] {
  std::array<std::uint16_t, sizeof NO_WORDS> units{};
  for (std::size_t i = 0; i < units.size(); ++i) units[i] = static_cast<unsigned char>(NO_WORDS[i]);
  return units;
}();

/// False if there is no memory for it.
template <class Unit>
bool appended(String& text, const Unit* more) {
  try {
    text += more;
    return true;
  } catch (const MemError&) {
    return false;
  }
}

}  // namespace

const std::uint16_t* withoutWords(String& description) noexcept {
  description.terminate(0u);
  return NO_WORDS_UNITS.data();
}

Error::Error(std::uint32_t code, bool fatal) : fCode(code), fFatal(fatal) {}

Error::Error(const Error& e) : Error(e.fCode, e.fFatal) { duplicate_inserts(e); }

Error& Error::operator=(const Error& e) {
  if (this == &e) return *this;
  std::vector<ErrorInsert*> old;
  old.swap(fInserts);
  try {
    duplicate_inserts(e);
    fDescription = e.fDescription;
  } catch (...) {
    delete_inserts();
    fInserts.swap(old);
    throw;
  }
  fCode = e.fCode;
  fFatal = e.fFatal;
  for (ErrorInsert* insert : old) delete insert;
  return *this;
}

Error::~Error() { delete_inserts(); }

void Error::delete_inserts() {
  for (ErrorInsert* insert : fInserts) delete insert;
  fInserts.clear();
}

void Error::duplicate_inserts(const Error& e) {
  for (const ErrorInsert* insert : e.fInserts) append_insert(insert->duplicate());
}

void Error::append_insert(ErrorInsert* insert) {
  std::unique_ptr<ErrorInsert> owned(insert);
  fInserts.push_back(insert);
  static_cast<void>(owned.release());
}

std::uint32_t Error::code() const { return fCode; }

bool Error::process() { return post_process(fFatal); }

bool Error::post_process(bool b) { return b; }

std::int32_t Error::numInserts() { return static_cast<std::int32_t>(fInserts.size()); }

ErrorInsert* Error::getInsert(std::int32_t i) { return fInserts[static_cast<std::size_t>(i)]; }

void Error::addInsert(const String& s) { append_insert(new StringErrorInsert(s)); }

void Error::addInsert(std::uint32_t handle) { append_insert(new CStrErrorInsert(handle)); }

void Error::addInsert(const Error& e) { append_insert(new ErrorErrorInsert(e)); }

void Error::get(String& out, CStr* cstr) const {
  const std::uint16_t* words = description(cstr);
  out = "\"";
  out += words;
  out += "\"";
}

const std::uint16_t* Error::description(CStr* cstr) const {
  if (fDescription.size() != 0) return fDescription.begin();
  const CoreUse texts;  // stay good while they are in hand
  const bool worded = fCode != 0 && cstr != nullptr ? describe_from_catalogue(cstr) : list_inserts(cstr);
  return worded ? fDescription.begin() : withoutWords(fDescription);
}

bool Error::describe_from_catalogue(CStr* cstr) const {
  try {
    const std::size_t n = fInserts.size();
    if (n == 0 || n > MAX_BUILT_INSERTS) {
      fDescription = cstr->get(fCode);
      return true;
    }
    // Always ten values, so that a text with a mark above the inserts finds a null and not what wasn't passed.
    const std::uint16_t* t[MAX_BUILT_INSERTS] = {};
    for (std::size_t i = 0; i < n; ++i) t[i] = fInserts[i]->get(cstr);
    cstr->build(fDescription, fCode, t[0], t[1], t[2], t[3], t[4], t[5], t[6], t[7], t[8], t[9]);
    return true;
  } catch (...) {
    fDescription.terminate(0u);
    return appended(fDescription, NO_WORDS);
  }
}

bool Error::list_inserts(CStr* cstr) const {
  if (!appended(fDescription, fCode == 0 ? "No Error code" : "Could not obtain text from Error code") ||
      !appended(fDescription, fInserts.empty() ? "." : ", replacement strings:")) {
    return false;
  }
  for (ErrorInsert* insert : fInserts) {
    const std::uint16_t* const words = insert->get(cstr);  // what it raises is the caller's
    if (!appended(fDescription, words) || !appended(fDescription, ", ")) return false;
  }
  return true;
}

}  // namespace zqcore27
