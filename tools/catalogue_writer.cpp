#include "tools/catalogue_writer.h"

#include <algorithm>
#include <array>
#include <map>
#include <numeric>
#include <stdexcept>

namespace zqtool {
namespace {

constexpr std::array<std::uint8_t, 12> SIGNATURE = {0x9E, 0x85, 0x0D, 0x0A, 0x54, 0x61,
                                                    0xFE, 0x56, 0x69, 0x07, 0x4F, 0x00};

std::vector<std::size_t> orderByHandle(std::span<const CatalogueText> texts) {
  std::vector<std::size_t> order(texts.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return texts[a].handle < texts[b].handle; });
  return order;
}

/// One page while it is filled: texts from the front, their offsets from the back.
class Page {
 public:
  explicit Page(const CatalogueText& first) : fFirst(first.handle) { add(first); }

  std::uint32_t first() const { return fFirst; }

  bool hasRoom(const CatalogueText& next) const {
    const std::size_t number = next.handle - fFirst;  // fits: handles rise
    // The texts, the offsets of numbers 1 to `number`, and the last unit, which says where the offsets begin.
    return number < MAX_PAGE_TEXTS && fUnits.size() + next.text.size() + 1 + number + 1 <= PAGE_UNITS;
  }

  void add(const CatalogueText& text) {
    // A handle without a text shares the terminator of the text before it.
    while (fFirst + fOffsets.size() < text.handle) fOffsets.push_back(static_cast<char16_t>(fUnits.size() - 1));
    fOffsets.push_back(static_cast<char16_t>(fUnits.size()));
    fUnits += text.text;
    fUnits += u'\0';
  }

  std::u16string units() const {
    std::u16string page = fUnits;
    page.resize(PAGE_UNITS);
    page[PAGE_UNITS - 1] = static_cast<char16_t>(PAGE_UNITS - fOffsets.size());
    for (std::size_t n = 1; n < fOffsets.size(); ++n) page[PAGE_UNITS - 1 - n] = fOffsets[n];
    return page;
  }

 private:
  std::uint32_t fFirst;
  std::u16string fUnits;
  std::u16string fOffsets;  // of text n at n; that of text 0 is 0 and isn't stored
};

/// Handles rise, so each page takes as many texts as it can, which gives the fewest pages.
std::vector<Page> layOut(std::span<const CatalogueText> texts, std::span<const std::size_t> order) {
  std::vector<Page> pages;
  for (const std::size_t i : order) {
    if (!pages.empty() && pages.back().hasRoom(texts[i])) {
      pages.back().add(texts[i]);
    } else {
      pages.emplace_back(texts[i]);
    }
  }
  return pages;
}

std::string faultOf(const CatalogueText& t) {
  if (t.handle == 0) return "the handle 0 stands for no text";
  if (t.handle == HANDLE_EMPTY_TEXT || t.handle == HANDLE_NO_TEXT) {
    return "the handle " + handleName(t.handle) + " is reserved";
  }
  if (t.text.empty()) return "there is no text";
  if (t.text.size() > MAX_TEXT_UNITS) {
    return "the text has " + std::to_string(t.text.size()) + " characters, a mark counting as two; " +
           std::to_string(MAX_TEXT_UNITS) + " are the most";
  }
  if (t.text.find(u'\0') != t.text.npos) return "the text has a zero character";
  if ((marksOf(t.text) & ~VALID_MARKS) != 0) return "the text has a mark outside 1 to 8";
  return {};
}

void put(std::vector<std::uint8_t>& out, std::size_t at, std::uint32_t value, std::size_t width) {
  for (std::size_t k = 0; k < width; ++k) out[at + k] = static_cast<std::uint8_t>(value >> (8 * k));
}

void putText(std::vector<std::uint8_t>& out, std::size_t at, std::string_view text) {
  std::copy(text.begin(), text.end(), out.begin() + static_cast<std::ptrdiff_t>(at));
}

}  // namespace

std::vector<TextFault> findFaults(std::span<const CatalogueText> texts) {
  std::vector<TextFault> faults;
  std::map<std::uint32_t, std::size_t> seen;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (std::string words = faultOf(texts[i]); !words.empty()) faults.push_back({i, std::move(words)});
    if (!seen.emplace(texts[i].handle, i).second) {
      faults.push_back({i, "the handle " + handleName(texts[i].handle) + " is there twice"});
    }
  }
  if (!faults.empty()) return faults;
  const auto order = orderByHandle(texts);
  const auto pages = layOut(texts, order);
  if (pages.size() > MAX_PAGES) {
    const std::uint32_t handle = pages[MAX_PAGES].first();
    faults.push_back({seen.at(handle), "the texts from " + handleName(handle) +
                                           " on don't fit any more: a catalogue has " + std::to_string(MAX_PAGES) +
                                           " pages"});
  }
  return faults;
}

std::vector<std::uint8_t> writeCatalogue(std::span<const CatalogueText> texts, std::string_view version) {
  if (texts.empty()) throw std::invalid_argument("a catalogue needs at least one text");
  if (version.size() > 6) throw std::invalid_argument("a version has at most six characters");
  if (const auto faults = findFaults(texts); !faults.empty()) throw std::invalid_argument(faults.front().words);

  const auto order = orderByHandle(texts);
  const auto pages = layOut(texts, order);
  std::vector<std::uint8_t> out(HEADER_SIZE + pages.size() * BLOCK_SIZE);
  std::copy(SIGNATURE.begin(), SIGNATURE.end(), out.begin());
  putText(out, 12, "CONSTR");
  putText(out, 20, version);
  putText(out, 26, "WIN");
  put(out, COUNT_OFFSET, static_cast<std::uint32_t>(pages.size()), 4);
  for (std::size_t p = 0; p < pages.size(); ++p) {
    put(out, INDEX_OFFSET + 4 * p, pages[p].first(), 4);
    const std::u16string units = pages[p].units();
    for (std::size_t u = 0; u < PAGE_UNITS; ++u) put(out, HEADER_SIZE + p * BLOCK_SIZE + 2 * u, units[u], 2);
  }
  put(out, INDEX_OFFSET + 4 * pages.size(), texts[order.back()].handle, 4);
  return out;
}

}  // namespace zqtool
