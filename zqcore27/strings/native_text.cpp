#include "zqcore27/strings/native_text.h"

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <new>

#include "zqcore27/errors/string_error.h"
#include "zqcore27/platform/code_page.h"
#include "zqcore27/platform/user_locale.h"
#include "zqcore27/strings/long_ascii.h"
#include "zqcore27/strings/string.h"
#include "zqcore27/strings/text_kernels.h"
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

const CodePage* findPage(std::uint32_t number) {
  const CodePage* page = gLastPage.load(std::memory_order_acquire);
  if (page != nullptr && page->number() == number) return page;
  page = CodePage::find(number);
  if (page != nullptr) gLastPage.store(page, std::memory_order_release);
  return page;
}

/// What a conversion goes by: UTF-8, a page with tables, or neither, where the current number has no page here.
struct Encoding {
  bool isUTF8;
  const CodePage* page;
};

Encoding currentEncoding() {
  ensureLocale();
  std::uint32_t number = gACPid.load(std::memory_order_relaxed);
  if (number == 0) number = gLocaleCodePage.load(std::memory_order_relaxed);
  if (number == CODE_PAGE_UTF8) return {true, nullptr};
  return {false, findPage(number)};
}

/// Answers of a reader that consumed nothing.
constexpr std::int32_t CUT_OFF = 0;
constexpr std::int32_t REFUSED = -1;

std::uint32_t errorOf(std::int32_t answer) {
  return answer == CUT_OFF ? StringError::CUT_OFF_CHARACTER : StringError::BAD_NATIVE_TEXT;
}

// The readers store the unit of one character from 0x80 up and return the bytes consumed, or CUT_OFF or REFUSED. The
// writers return the end of what they wrote; `out` has room for every character.

std::int32_t readUTF8(const unsigned char* in, std::size_t room, std::uint16_t* out) {
  const std::int32_t length = utf8LengthByFirst(in[0]);
  if (room < static_cast<std::size_t>(length)) return CUT_OFF;
  std::uint16_t unit;
  const std::int32_t consumed = decodeUTF8(in, room, &unit);
  if (consumed < 0 || consumed != utf8Length(unit)) return REFUSED;
  *out = unit;
  return consumed;
}

std::int32_t readFromPage(const CodePage& page, const unsigned char* in, std::size_t room, std::uint16_t* out) {
  if (!page.isLeadByte(in[0])) {
    const std::uint16_t unit = page.toUnit(in[0]);
    if (unit == 0) return REFUSED;
    *out = unit;
    return 1;
  }
  if (room < 2) return CUT_OFF;
  const std::uint16_t unit = page.toUnit(in[0], in[1]);
  if (unit == 0) return REFUSED;
  *out = unit;
  return 2;
}

unsigned char* writeToPage(const CodePage& page, std::uint16_t c, unsigned char* out) {
  const std::uint32_t character = page.toBytes(c);
  if (character < 0x100) {
    out[0] = static_cast<unsigned char>(character != 0 ? character : '?');
    return out + 1;
  }
  if (character < 0x10000) {
    out[0] = static_cast<unsigned char>(character >> 8);
    out[1] = static_cast<unsigned char>(character);
    return out + 2;
  }
  out[0] = static_cast<unsigned char>(character >> 16);
  out[1] = static_cast<unsigned char>(character >> 8);
  out[2] = static_cast<unsigned char>(character);
  return out + 3;
}

/// A conversion under way: up to `end` no byte is zero, up to `roomEnd` they may be read; `out` has room for a unit a
/// byte.
struct NativeReading {
  const unsigned char* in;
  const unsigned char* end;
  const unsigned char* roomEnd;
  std::uint16_t* out;
  std::uint32_t error = 0;
};

template <typename ReadOne>
NativeReading readRuns(NativeReading r, ReadOne readOne) {
  while (r.in != r.end) {
    const std::size_t run = widenAscii(r.in, static_cast<std::size_t>(r.end - r.in), r.out);
    r.in += run;
    r.out += run;
    while (r.in != r.end && *r.in >= 0x80) {
      const std::int32_t consumed = readOne(r.in, static_cast<std::size_t>(r.roomEnd - r.in), r.out);
      // Each length has a branch of its own, so that the next character needn't wait for it.
      if (consumed == 2) {
        r.in += 2;
      } else if (consumed > 0) {
        r.in += consumed;
      } else {
        r.error = errorOf(consumed);
        return r;
      }
      ++r.out;
    }
  }
  return r;
}

NativeReading readSingleBytes(const CodePage& page, NativeReading r) {
  constexpr std::ptrdiff_t CHUNK = 256;
  while (r.in != r.end) {
    const auto n = static_cast<std::size_t>(std::min(r.end - r.in, CHUNK));
    std::size_t i = 0;
    for (; page.isLatin1() && n - i >= BestBytes::SIZE; i += BestBytes::SIZE) {
      const BestBytes block = BestBytes::load(r.in + i);
      if (block.hasC1()) break;
      block.widen(r.out + i);
    }
    for (; i < n; ++i) r.out[i] = page.toUnit(r.in[i]);
    const std::size_t good = findZero(r.out, n);
    r.in += good;
    r.out += good;
    if (good != n) {
      r.error = errorOf(REFUSED);
      return r;
    }
  }
  return r;
}

NativeReading readAll(NativeReading r) {
  const auto [isUTF8, page] = currentEncoding();
  if (isUTF8) return readRuns(r, readUTF8);
  if (page == nullptr) {
    r.error = errorOf(REFUSED);
    return r;
  }
  if (page->isSingleByte()) return readSingleBytes(*page, r);
  return readRuns(r, [&page = *page](const unsigned char* in, std::size_t room, std::uint16_t* out) {
    return readFromPage(page, in, room, out);
  });
}

template <typename WriteOne>
unsigned char* writeRuns(const std::uint16_t* in, const std::uint16_t* end, unsigned char* out, WriteOne writeOne) {
  while (true) {
    const std::size_t run = narrowAscii(in, static_cast<std::size_t>(end - in), out);
    in += run;
    out += run;
    if (in == end) return out;
    do {
      out = writeOne(*in++, out);
    } while (in != end && *in >= 0x80);
  }
}

}  // namespace

void setACPid(unsigned int id) { gACPid.store(id); }

std::uint32_t readNative(const char* s, std::size_t length, std::size_t room, std::uint16_t*& out) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(s);
  const std::size_t run = widenLongAscii(bytes, length, out);
  out += run;
  if (run == length) return 0;
  const NativeReading r = readAll({bytes + run, bytes + length, bytes + room, out});
  out = r.out;
  return r.error;
}

char* writeNative(const std::uint16_t* s, std::size_t n, char* out) {
  auto* to = reinterpret_cast<unsigned char*>(out);
  const std::size_t run = narrowAscii(s, n, to);
  to += run;
  if (run != n) {
    const auto [isUTF8, page] = currentEncoding();
    if (isUTF8) {
      to = writeRuns(s + run, s + n, to, [](std::uint16_t c, unsigned char* at) { return at + encodeUTF8(c, at); });
    } else if (page != nullptr) {
      to = writeRuns(s + run, s + n, to,
                     [&page = *page](std::uint16_t c, unsigned char* at) { return writeToPage(page, c, at); });
    } else {
      to = writeRuns(s + run, s + n, to, [](std::uint16_t, unsigned char* at) { return at; });
    }
  }
  return out + (to - reinterpret_cast<unsigned char*>(out));
}

std::int32_t nat2uni(const char* in, std::uint16_t* out, std::int32_t room) {
  if (room < 1) throw StringError(StringError::CUT_OFF_CHARACTER, false);
  const auto* bytes = reinterpret_cast<const unsigned char*>(in);
  if (bytes[0] < 0x80) {
    *out = bytes[0];
    return 1;
  }
  const auto [isUTF8, page] = currentEncoding();
  std::int32_t consumed = REFUSED;
  if (isUTF8) {
    consumed = readUTF8(bytes, static_cast<std::size_t>(room), out);
  } else if (page != nullptr) {
    consumed = readFromPage(*page, bytes, static_cast<std::size_t>(room), out);
  }
  if (consumed <= 0) throw StringError(errorOf(consumed), false);
  return consumed;
}

std::int32_t uni2nat(std::uint16_t c, char* out, std::int32_t room) {
  char character[CodePage::MAX_BYTES] = {static_cast<char>(c)};
  const auto length = c < 0x80 ? 1 : static_cast<std::int32_t>(writeNative(&c, 1, character) - character);
  if (length > room) return 0;
  std::copy_n(character, length, out);
  return length;
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
