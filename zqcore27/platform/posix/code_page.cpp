#include "zqcore27/platform/code_page.h"

#include <iconv.h>

#include <atomic>
#include <cerrno>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <span>

inline namespace zqcore27 {

namespace {

struct PageName {
  std::uint32_t number;
  const char* iconvName;
};

constexpr PageName PAGES[] = {
    {437, "CP437"},         {850, "CP850"},         {874, "CP874"},         {932, "CP932"},
    {936, "CP936"},         {949, "CP949"},         {950, "CP950"},         {1250, "CP1250"},
    {1251, "CP1251"},       {1252, "CP1252"},       {1253, "CP1253"},       {1254, "CP1254"},
    {1255, "CP1255"},       {1256, "CP1256"},       {1257, "CP1257"},       {1258, "CP1258"},
    {1361, "CP1361"},       {20866, "KOI8-R"},      {21866, "KOI8-U"},      {28591, "ISO-8859-1"},
    {28592, "ISO-8859-2"},  {28593, "ISO-8859-3"},  {28594, "ISO-8859-4"},  {28595, "ISO-8859-5"},
    {28596, "ISO-8859-6"},  {28597, "ISO-8859-7"},  {28598, "ISO-8859-8"},  {28599, "ISO-8859-9"},
    {28600, "ISO-8859-10"}, {28601, "ISO-8859-11"}, {28603, "ISO-8859-13"}, {28604, "ISO-8859-14"},
    {28605, "ISO-8859-15"}, {28606, "ISO-8859-16"},
};
constexpr std::size_t PAGE_COUNT = std::size(PAGES);

std::optional<std::size_t> indexOf(std::uint32_t number) {
  for (std::size_t i = 0; i < PAGE_COUNT; ++i) {
    if (PAGES[i].number == number) return i;
  }
  return std::nullopt;
}

constinit std::mutex gReading;                                   // held while a page is read
constinit std::atomic<const CodePage*> gPages[PAGE_COUNT] = {};  // published once, never freed
constinit std::atomic<bool> gMissing[PAGE_COUNT] = {};           // the platform doesn't have the page

/// One direction of iconv, used for one character at a time.
class Converter {
 public:
  /// What became of one character.
  struct Result {
    std::size_t size;  // bytes written; 0 if the character is refused
    bool incomplete;   // refused because more bytes have to follow
  };

  Converter(const char* to, const char* from) : fHandle(iconv_open(to, from)) {}
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  ~Converter() {
    if (isOpen()) iconv_close(fHandle);
  }

  bool isOpen() const { return fHandle != reinterpret_cast<iconv_t>(-1); }

  Result convert(std::span<const char> character, std::span<char> out) {
    char* in = const_cast<char*>(character.data());  // iconv doesn't write it
    std::size_t left = character.size();
    char* to = out.data();
    std::size_t room = out.size();
    iconv(fHandle, nullptr, nullptr, nullptr, nullptr);
    // A positive result counts characters that were replaced by others.
    const std::size_t replaced = iconv(fHandle, &in, &left, &to, &room);
    if (replaced != 0) return {0, replaced == static_cast<std::size_t>(-1) && errno == EINVAL};
    // A letter that could combine with a mark behind it is held back until this.
    if (iconv(fHandle, nullptr, nullptr, &to, &room) == static_cast<std::size_t>(-1)) return {0, false};
    return {out.size() - room, false};
  }

 private:
  iconv_t fHandle;
};

}  // namespace

/// Fills the tables of one page.
struct CodePage::Reader {
  CodePage& page;
  Converter toUnicode;
  Converter fromUnicode;

  Reader(CodePage& p, const char* name) : page(p), toUnicode("UTF-16LE", name), fromUnicode(name, "UTF-16LE") {}

  bool isOpen() const { return toUnicode.isOpen() && fromUnicode.isOpen(); }

  void read() {
    for (unsigned byte = 0; byte < 0x80; ++byte) page.fSingle[byte] = static_cast<std::uint16_t>(byte);
    for (unsigned byte = 0x80; byte <= 0xFF; ++byte) readByte(byte);
    page.fBytes.assign(0x100, 0);
    for (unsigned high = 0; high <= 0xFF; ++high) readUnits(high);
  }

 private:
  /// The one unit that the character stands for, or 0.
  static std::uint16_t unitOf(const char (&utf16)[8], std::size_t size) {
    if (size != 2) return 0;
    return static_cast<std::uint16_t>(static_cast<unsigned char>(utf16[0]) | static_cast<unsigned char>(utf16[1]) << 8);
  }

  void readByte(unsigned byte) {
    char character[2] = {static_cast<char>(byte), 0};
    char utf16[8];
    const Converter::Result single = toUnicode.convert({character, 1}, utf16);
    page.fSingle[byte] = unitOf(utf16, single.size);
    if (byte >= 0xA0 && page.fSingle[byte] != byte) page.fLatin1 = false;
    if (!single.incomplete) return;
    const std::size_t row = page.fDouble.size() / 0x100;
    page.fDouble.resize(page.fDouble.size() + 0x100);
    page.fRows[byte] = static_cast<std::uint8_t>(row + 1);
    for (unsigned trail = 1; trail <= 0xFF; ++trail) {
      character[1] = static_cast<char>(trail);
      page.fDouble[row * 0x100 + trail] = unitOf(utf16, toUnicode.convert(character, utf16).size);
    }
  }

  // The way back is asked for itself: where a page holds a character twice, it isn't the way there reversed.
  void readUnits(unsigned high) {
    std::array<std::uint32_t, 0x100> row{};
    bool any = false;
    for (unsigned low = 0; low <= 0xFF; ++low) {
      row[low] = bytesOf(high << 8 | low);
      any |= row[low] != 0;
    }
    if (!any) return;
    page.fByteRows[high] = static_cast<std::uint8_t>(page.fBytes.size() / 0x100);
    page.fBytes.insert(page.fBytes.end(), row.begin(), row.end());
  }

  std::uint32_t bytesOf(unsigned unit) {
    if (unit < 0x80) return 0;
    const char utf16[2] = {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
    char bytes[8];
    const std::size_t size = fromUnicode.convert(utf16, bytes).size;
    if (size == 0 || size > MAX_BYTES || static_cast<unsigned char>(bytes[0]) < 0x80) return 0;
    std::uint32_t character = 0;
    for (std::size_t i = 0; i < size; ++i) character = character << 8 | static_cast<unsigned char>(bytes[i]);
    return character;
  }
};

const CodePage* CodePage::find(std::uint32_t number) noexcept try {
  const std::optional<std::size_t> index = indexOf(number);
  if (!index) return nullptr;
  std::atomic<const CodePage*>& slot = gPages[*index];
  if (const CodePage* page = slot.load(std::memory_order_acquire)) return page;
  if (gMissing[*index].load(std::memory_order_relaxed)) return nullptr;

  const std::scoped_lock lock(gReading);
  if (const CodePage* page = slot.load(std::memory_order_relaxed)) return page;
  std::unique_ptr<CodePage> page(new CodePage(number));
  errno = 0;
  Reader reader(*page, PAGES[*index].iconvName);
  if (!reader.isOpen()) {
    if (errno == EINVAL) gMissing[*index].store(true, std::memory_order_relaxed);
    return nullptr;
  }
  reader.read();
  slot.store(page.get(), std::memory_order_release);
  return page.release();
} catch (const std::bad_alloc&) {
  return nullptr;
}

bool CodePage::isKnown(std::uint32_t number) noexcept {
  return number == CODE_PAGE_UTF8 || indexOf(number).has_value();
}

}  // namespace zqcore27
