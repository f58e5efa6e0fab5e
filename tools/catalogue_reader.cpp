#include "tools/catalogue_reader.h"

#include <algorithm>
#include <string_view>

namespace zqtool {
namespace {

std::uint32_t number(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t width) {
  std::uint32_t value = 0;
  for (std::size_t k = 0; k < width; ++k) value |= static_cast<std::uint32_t>(bytes[at + k]) << (8 * k);
  return value;
}

/// A field of the header: its text, and whether the rest of it is zero.
struct Field {
  std::string_view text;
  bool padded;
};

Field field(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t width) {
  const std::string_view all(reinterpret_cast<const char*>(bytes.data()) + at, width);
  const std::string_view text = all.substr(0, all.find('\0'));
  return {text, all.find_first_not_of('\0', text.size()) == all.npos};
}

void readHeader(std::span<const std::uint8_t> bytes, CatalogueImage& image) {
  using namespace std::string_view_literals;
  if (bytes.size() < HEADER_SIZE + BLOCK_SIZE) {
    image.faults.emplace_back("the file has " + std::to_string(bytes.size()) + " bytes; 2560 are the least");
    return;
  }
  const std::string_view signature(reinterpret_cast<const char*>(bytes.data()), 12);
  if (signature != "\x9E\x85\x0D\x0A\x54\x61\xFE\x56\x69\x07\x4F\x00"sv) {
    image.faults.emplace_back("the signature at the start of the file is wrong");
  }
  const Field type = field(bytes, 12, 8), version = field(bytes, 20, 6), platform = field(bytes, 26, 6);
  image.version = version.text;
  if (type.text != "CONSTR" || !type.padded) image.faults.emplace_back("the type isn't CONSTR");
  if (!version.padded) image.faults.emplace_back("the version isn't padded with zeros");
  if (platform.text != "WIN" || !platform.padded) image.faults.emplace_back("the platform isn't WIN");

  const std::uint32_t pages = number(bytes, COUNT_OFFSET, 4);
  if (pages < 1 || pages > MAX_PAGES) {
    image.faults.emplace_back("the header counts " + std::to_string(pages) + " pages; there can be 1 to 502");
    return;
  }
  image.pages = pages;
  if (bytes.size() != HEADER_SIZE + pages * BLOCK_SIZE) {
    image.faults.emplace_back("the file has " + std::to_string(bytes.size()) + " bytes, but " + std::to_string(pages) +
                              " pages make " + std::to_string(HEADER_SIZE + pages * BLOCK_SIZE));
  }
  std::uint32_t before = 0;
  for (std::uint32_t p = 0; p < pages; ++p) {
    const std::uint32_t first = number(bytes, INDEX_OFFSET + 4 * p, 4);
    if (first <= before) image.faults.emplace_back("the index doesn't rise at page " + std::to_string(p));
    before = first;
  }
  image.lastHandle = number(bytes, INDEX_OFFSET + 4 * pages, 4);
  if (image.lastHandle < before) image.faults.emplace_back("the highest handle is below that of the last page");
}

class PageReader {
 public:
  PageReader(std::span<const std::uint8_t> bytes, std::size_t p, CatalogueImage& image)
      : fPage(bytes.subspan(HEADER_SIZE + p * BLOCK_SIZE, BLOCK_SIZE)),
        fFirst(number(bytes, INDEX_OFFSET + 4 * p, 4)),
        fNext(p + 1 < image.pages ? number(bytes, INDEX_OFFSET + 4 * (p + 1), 4) : std::uint64_t{image.lastHandle} + 1),
        fName("page " + std::to_string(p) + ": "),
        fImage(image) {}

  void read() {
    const std::size_t lowest = unit(PAGE_UNITS - 1);
    if (lowest < 1 || lowest > PAGE_UNITS - 1) {
      fault("the table of texts begins outside the page");
      return;
    }
    const std::size_t count = PAGE_UNITS - lowest;
    if (fFirst + std::uint64_t{count} > fNext) fault("it has texts that belong to the next page, or to none");
    if (fNext > fImage.lastHandle && fFirst + std::uint64_t{count} < fNext) fault("the highest handle has no text");
    for (std::size_t n = 0; n < count; ++n) readText(n, lowest);
  }

 private:
  std::uint32_t unit(std::size_t u) const { return number(fPage, 2 * u, 2); }
  void fault(const std::string& words) { fImage.faults.push_back(fName + words); }

  void readText(std::size_t n, std::size_t lowest) {
    const std::uint64_t handle = fFirst + std::uint64_t{n};
    if (handle >= fNext) return;
    CatalogueText text{static_cast<std::uint32_t>(handle), {}};
    std::size_t u = n == 0 ? 0 : unit(PAGE_UNITS - 1 - n) & 0xFF;
    for (; u < lowest && unit(u) != 0; ++u) text.text += static_cast<char16_t>(unit(u));
    if (u >= lowest) {
      fault("the text of " + handleName(text.handle) + " doesn't end in front of the table");
    } else if (!text.text.empty()) {
      if ((marksOf(text.text) & ~VALID_MARKS) != 0) fault("the text of " + handleName(text.handle) + " has a bad mark");
      fImage.texts.push_back(std::move(text));
    }
  }

  std::span<const std::uint8_t> fPage;
  std::uint32_t fFirst;
  std::uint64_t fNext;  // the first handle that isn't this page's
  std::string fName;
  CatalogueImage& fImage;
};

}  // namespace

CatalogueImage readCatalogue(std::span<const std::uint8_t> bytes) {
  CatalogueImage image;
  readHeader(bytes, image);
  if (!image.faults.empty()) return image;
  for (std::size_t p = 0; p < image.pages; ++p) PageReader(bytes, p, image).read();
  return image;
}

}  // namespace zqtool
