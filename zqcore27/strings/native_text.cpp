#include "zqcore27/strings/native_text.h"

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <new>

#include "zqcore27/errors/string_error.h"
#include "zqcore27/platform/code_page.h"
#include "zqcore27/platform/user_locale.h"
#include "zqcore27/strings/string.h"
#include "zqcore27/strings/transcode.h"
#include "zqcore27/strings/utf8_sequence.h"

inline namespace zqcore27 {

constinit std::atomic<std::uint32_t> gACPid{0};
constinit std::atomic<bool> gLocaleReady{false};

namespace {

constinit std::mutex gLocaleMutex;                                     // held during the locale initialisation
constinit String* gLocaleLanguage = nullptr;                           // constant from gLocaleReady on; never freed
constinit std::atomic<std::uint32_t> gLocaleCodePage{CODE_PAGE_UTF8};  // for a gACPid of 0; constant likewise
constinit std::atomic<const CodePage*> gLastPage{nullptr};  // the page of the last conversion; saves the search

/// Without memory the language stays what it was, null at first.
void readLanguage() {
  const LanguageName name = userLanguage();
  try {
    if (gLocaleLanguage == nullptr) gLocaleLanguage = new String;
    *gLocaleLanguage = name[0] != 0 ? name.data() : "en";
  } catch (const Error&) {
  } catch (const std::bad_alloc&) {
  }
}

void initialiseLocale() {
  const std::scoped_lock lock(gLocaleMutex);
  if (gLocaleReady.load(std::memory_order_relaxed)) return;
  readLanguage();
  std::uint32_t codePage = userCodePage();
  if (codePage == 0) codePage = defaultCodePage();
  gLocaleCodePage.store(codePage, std::memory_order_relaxed);
  std::uint32_t unset = 0;
  gACPid.compare_exchange_strong(unset, codePage);  // a choice of the host stays
  gLocaleReady.store(true, std::memory_order_release);
}

void ensureLocale() {
  if (!gLocaleReady.load(std::memory_order_acquire)) initialiseLocale();
}

std::uint32_t currentCodePage() {
  ensureLocale();
  const std::uint32_t id = gACPid.load(std::memory_order_relaxed);
  return id != 0 ? id : gLocaleCodePage.load(std::memory_order_relaxed);
}

const CodePage* findPage(std::uint32_t number) {
  const CodePage* page = gLastPage.load(std::memory_order_acquire);
  if (page != nullptr && page->number() == number) return page;
  page = CodePage::find(number);
  if (page != nullptr) gLastPage.store(page, std::memory_order_release);
  return page;
}

[[noreturn]] void refuse(std::uint32_t code) { throw StringError(code, false); }

std::int32_t readUTF8(const char* in, std::uint16_t* out, std::int32_t room) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(in);
  const std::int32_t length = utf8LengthByFirst(bytes[0]);
  if (room < length) refuse(StringError::CUT_OFF_CHARACTER);
  std::uint16_t unit;
  const std::int32_t consumed = decodeUTF8(bytes, static_cast<std::size_t>(room), &unit);
  if (consumed < 0 || consumed != utf8Length(unit)) refuse(StringError::BAD_NATIVE_TEXT);
  *out = unit;
  return consumed;
}

std::int32_t readFromPage(const CodePage& page, const char* in, std::uint16_t* out, std::int32_t room) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(in);
  const std::int32_t length = page.isLeadByte(bytes[0]) ? 2 : 1;
  if (room < length) refuse(StringError::CUT_OFF_CHARACTER);
  const std::uint16_t unit = length == 2 ? page.toUnit(bytes[0], bytes[1]) : page.toUnit(bytes[0]);
  if (unit == 0) refuse(StringError::BAD_NATIVE_TEXT);
  *out = unit;
  return length;
}

std::int32_t writeToPage(const CodePage& page, std::uint16_t c, char* out, std::int32_t room) {
  std::uint32_t character = page.toBytes(c);
  if (character == 0) character = '?';
  const std::int32_t length = character < 0x100 ? 1 : character < 0x10000 ? 2 : 3;
  if (room < length) return 0;
  for (std::int32_t i = length; i-- > 0; character >>= 8) out[i] = static_cast<char>(character & 0xFF);
  return length;
}

}  // namespace

void setACPid(unsigned int id) { gACPid.store(id); }

std::int32_t nat2uni(const char* in, std::uint16_t* out, std::int32_t room) {
  if (room < 1) refuse(StringError::CUT_OFF_CHARACTER);
  if (const auto byte = static_cast<unsigned char>(*in); byte < 0x80) {
    *out = byte;
    return 1;
  }
  const std::uint32_t number = currentCodePage();
  if (number == CODE_PAGE_UTF8) return readUTF8(in, out, room);
  const CodePage* page = findPage(number);
  if (page == nullptr) refuse(StringError::BAD_NATIVE_TEXT);
  return readFromPage(*page, in, out, room);
}

std::int32_t uni2nat(std::uint16_t c, char* out, std::int32_t room) {
  if (c < 0x80) {
    if (room < 1) return 0;
    *out = static_cast<char>(c);
    return 1;
  }
  const std::uint32_t number = currentCodePage();
  if (number == CODE_PAGE_UTF8) return std::max(uni2utf(c, out, room), 0);
  const CodePage* page = findPage(number);
  return page == nullptr ? 0 : writeToPage(*page, c, out, room);
}

void getLocaleLanguage(String& out) {
  ensureLocale();
  if (gLocaleLanguage != nullptr && gLocaleLanguage->size() != 0) {
    out = *gLocaleLanguage;
  } else {
    out = "en";
  }
}

}  // namespace zqcore27
