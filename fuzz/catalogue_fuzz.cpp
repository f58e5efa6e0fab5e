// A catalogue file made sound, then changed in places: opened and read like any, beside the tools' own reader and a
// reading by the letter.

#include <optional>

#include "fuzz/support/fuzz.h"
#include "tests/support/catalogue_builder.h"
#include "tests/support/temp_dir.h"
#include "tools/catalogue_reader.h"
#include "zqcore27/catalogue/cstr_error.h"
#include "zqcore27/catalogue/cstr_file.h"
#include "zqcore27/core/core.h"

namespace {

using fuzz::require;

/// Texts of a few lengths on a few pages, with marks, and a gap between the handles.
std::string soundFile(unsigned pages) {
  CatalogueBuilder builder;
  for (unsigned p = 0; p < pages; ++p) {
    for (unsigned n = 0; n < 5; ++n) {
      std::u16string text(n * 7, static_cast<char16_t>(u'a' + n));
      text += std::u16string(u"\x0013") + static_cast<char16_t>(u'1' + n) + u" and \x0013" + u"1";
      builder.texts[0xC2000100 + 300 * p + n] = text;
    }
  }
  return builder.bytes();
}

void change(fuzz::Input& in, std::string& bytes) {
  constexpr std::size_t FIRST_PAGE = CatalogueBuilder::FIRST_PAGE_AT, PAGE = CatalogueBuilder::PAGE_BYTES;
  const auto put = [&](std::size_t at, int width, std::uint32_t value) {
    if (at + static_cast<unsigned>(width) <= bytes.size()) poke(bytes, at, width, value);
  };
  switch (in.below(6)) {
    case 0:  // anywhere
      return put(in.value<std::uint16_t>(), 1, in.byte());
    case 1:  // the number of pages
      return put(CatalogueBuilder::PAGES_AT, 4, in.value<std::uint16_t>() | (in.below(4) == 0 ? 0x10000U : 0U));
    case 2:  // a handle of the index
      return put(CatalogueBuilder::INDEX_AT + 4 * in.below(6), 4, in.value<std::uint32_t>());
    case 3: {  // the end of a page: its table
      const std::size_t page = in.below(4), unit = 255 - in.byte() % 16;
      return put(FIRST_PAGE + page * PAGE + 2 * unit, 2, in.value<std::uint16_t>());
    }
    case 4: {  // a run of units of a page
      const std::size_t page = in.below(4), unit = in.byte(), count = in.byte();
      const std::uint16_t value = in.value<std::uint16_t>();
      for (std::size_t k = unit; k < std::min<std::size_t>(unit + count, 256); ++k) {
        put(FIRST_PAGE + page * PAGE + 2 * k, 2, value);
      }
      return;
    }
    default:  // the size
      const std::size_t size = in.value<std::uint16_t>() % 6000;
      bytes.resize(in.below(2) == 0 ? size : size / 512 * 512);
  }
}

std::uint32_t number(const std::string& bytes, std::size_t at, int width) {
  std::uint32_t v = 0;
  for (int i = 0; i < width; ++i) v |= std::uint32_t{static_cast<unsigned char>(bytes.at(at + i))} << 8 * i;
  return v;
}

/// The text that the bytes hold for a handle that lies on page `p`, if it has an end there.
std::optional<std::u16string> textAt(const std::string& bytes, std::uint32_t p, std::uint32_t n) {
  const auto unit = [&](std::uint32_t k) { return number(bytes, 2048 + 512 * p + 2 * k, 2); };
  if (n != 0 && 255 - n < unit(255)) return std::nullopt;
  std::u16string text;
  for (std::uint32_t k = n == 0 ? 0 : unit(255 - n) & 0xFF; k < 256; ++k) {
    if (unit(k) == 0) return text;
    text += static_cast<char16_t>(unit(k));
  }
  return std::nullopt;
}

void checkHandle(CStrFile& file, const std::string& bytes, std::uint32_t p, std::uint32_t handle) {
  const std::uint32_t n = handle - number(bytes, 36 + 4 * p, 4);
  if (handle == CStrFile::EMPTY_TEXT || handle == CStrFile::NO_TEXT) return;
  try {
    const std::uint16_t* found = file.get(handle);
    require(n < 256, "a text lies near the first of its page");
    const auto expected = textAt(bytes, p, n);
    require((found != nullptr) == expected.has_value(), "a text is found where its page has one");
    if (found == nullptr) return;
    require(std::u16string(reinterpret_cast<const char16_t*>(found)) == *expected, "a text is what its page holds");
    require(file.get(handle) == found && file.findKeyword(handle, handle, String(found)) == handle,
            "a text is found again, in its place");
    String out;
    file.build(out, handle, found, nullptr, found);
  } catch (const CStrError& e) {
    require(e.code() == CStrError::CSTR_ERR_BAD_PARAMETER || (e.code() == CStrError::CSTR_ERR_BAD_HANDLE && n >= 256) ||
                e.code() == CStrError::CSTR_ERR_OUT_OF_RANGE,
            "a handle is refused for a reason");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const TempDir directory;
  gCore->fStringDirectory = String::fromUTF8(directory.path().string());
  fuzz::Input in(data, size);
  std::string bytes = soundFile(1 + in.below(3));
  for (int changes = 0; changes < 12 && !in.empty(); ++changes) change(in, bytes);
  directory.write("fuzz.cst", bytes);

  const auto* first = reinterpret_cast<const std::uint8_t*>(bytes.data());
  const zqtool::CatalogueImage image = zqtool::readCatalogue(std::vector<std::uint8_t>(first, first + bytes.size()));
  try {
    CStrFile file(nullptr, FileLocator(String(u"fuzz.cst")));
    const std::uint32_t pages = number(bytes, 32, 4);
    require(bytes.size() == (pages + 4) * 512 && pages - 1 < CStrFile::MAX_PAGES, "a file that opens has its size");
    for (std::uint32_t p = 0; p < pages; ++p) {
      const std::uint32_t base = number(bytes, 36 + 4 * p, 4), next = number(bytes, 40 + 4 * p, 4);
      require(p + 1 == pages ? base <= next : base < next, "a file that opens has its order");
      for (std::uint32_t n = 0; n < 300 && base + n < next + (p + 1 == pages ? 1 : 0); n += n < 8 ? 1 : 31) {
        checkHandle(file, bytes, p, base + n);
      }
    }
    for (const zqtool::CatalogueText& text : image.texts) {
      const std::uint16_t* found = file.get(text.handle);
      require(found != nullptr && text.text == reinterpret_cast<const char16_t*>(found), "both readers find a text");
    }
  } catch (const CStrError& e) {
    require(e.code() >= CStrError::CSTR_ERR_TOO_SMALL && e.code() <= CStrError::CSTR_ERR_BAD_HEADER,
            "a file is refused");
    require(!image.faults.empty(), "both readers refuse a file");
  }
  return 0;
}
