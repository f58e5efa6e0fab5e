// A stream of operations on a block store, beside a plain vector of byte strings.

#include <memory>

#include "fuzz/support/fuzz.h"
#include "tests/support/store_model.h"
#include "zqcore27/errors/mem_error.h"

namespace {

using fuzz::require;

constexpr std::int32_t FULL = 80;  // blocks, above which the store is only emptied

/// Remembers handles as a host would, and forgets or renumbers them only as the events say: a handle that is left must
/// be right.
struct HandleCache : CallableClass<SupaBlockEvent> {
  bool call(const SupaBlockEvent& event) override {
    const auto at = std::min(static_cast<std::size_t>(event.fIndex), handles.size());
    if (event.fKind == SupaBlockEvent::SB_EVENT_IMPACT) {
      const std::size_t end = std::min(handles.size(), static_cast<std::size_t>(event.fLastIndex) + 1);
      for (std::size_t i = at; i < end; ++i) handles[i] = nullptr;
    } else if (event.fKind == SupaBlockEvent::SB_EVENT_INSERT) {
      handles.insert(handles.begin() + static_cast<std::ptrdiff_t>(at), nullptr);
    } else if (at < handles.size()) {
      handles.erase(handles.begin() + static_cast<std::ptrdiff_t>(at));
    }
    return true;
  }
  void remember(std::int32_t idx, const unsigned char* handle) {
    const auto at = static_cast<std::size_t>(idx);
    handles.resize(std::max(handles.size(), at + 1));
    handles[at] = handle;
  }
  std::vector<const unsigned char*> handles;  // by index; null where none is known
};

/// Small bodies, which divide all the time, and now and then a bound without a bound.
SupaBlockHints hints(fuzz::Input& in) {
  const std::uint32_t body = in.byte(), average = in.byte() % 64, min = in.byte() % 64, max = in.byte() % 64;
  return hintsOf(body < 0xF0 ? body * 8 : 0xFFFFFFFF >> (body & 15), average, min, max, in.byte() % 36);
}

class Run {
 public:
  explicit Run(fuzz::Input& in) : fIn(in), fStore(static_cast<SupaBlock::Flags>(in.below(4)), hints(in)) {
    fStore.registerCallback(&fCache, 1);
  }
  void step() {
    const std::uint32_t kind = fIn.below(10);
    const std::int32_t idx = index();
    if (kind < 6 && size() <= FULL) {
      write(kind < 3, idx);
    } else if (kind < 8) {
      require(fStore.deleteBlock(idx), "a delete is always true");
      if (idx >= 0 && idx < size()) {
        fModel.erase(fModel.begin() + idx);
        for (Walker& w : fWalkers) w.index -= w.index > idx ? 1 : 0;
      }
    } else if (kind == 8) {
      look_up(idx);
    } else {
      walk(idx);
    }
    check();
  }

 private:
  struct Walker {
    std::unique_ptr<SupaBlockIterator> it;
    std::int32_t index;
  };

  std::int32_t size() const { return static_cast<std::int32_t>(fModel.size()); }
  /// Mostly a block that is there, or up to 40 behind the end.
  std::int32_t index() {
    const std::uint8_t b = fIn.byte();
    if (b < 0xE0) return b % (size() + 1);
    constexpr std::int32_t ENDS[] = {INT32_MIN, -2, -1, INT32_MAX};
    return b < 0xFC ? size() + (b - 0xE0) % 20 * 2 : ENDS[b - 0xFC];
  }

  void write(bool inserts, std::int32_t idx) {
    const std::uint32_t length = fIn.byte() * (fIn.below(8) == 0 ? 9U : 1U) / 4;
    std::string bytes(length, static_cast<char>(fNext++ % 255 + 1));
    const unsigned char* data = bytesOf(bytes);
    if (const std::int32_t own = index(); own >= 0 && own < size() && length % 4 == 3) {  // from the store
      SupaBlockDatum d;
      require(fStore.get(own, &d), "a block is found");
      bytes.assign(reinterpret_cast<const char*>(d.fData), d.fData == nullptr ? 0 : d.fSize);
      data = d.fData;
    }
    const auto n = static_cast<unsigned>(bytes.size());
    bool copied = false;
    try {
      copied = inserts ? fStore.insert(idx, data, n) : fStore.replace(idx, data, n);
    } catch (const SupaBlockError&) {
      require(roundedSize(n) != 0 || idx < size(), "an empty block fits behind the end");
      if (idx >= size()) fModel.resize(static_cast<std::size_t>(fStore.getSize()));  // the empty ones stay
      return;
    } catch (const MemError&) {
      return;
    } catch (const std::bad_alloc&) {
      return;
    }
    const bool refused = idx < 0 || idx == 0x7FFFFFFF;
    require(copied == (!refused && n != 0), "a write tells whether it copied");
    if (refused) return;
    if (idx >= size()) {
      fModel.resize(static_cast<std::size_t>(idx) + 1);
    } else if (inserts) {
      fModel.insert(fModel.begin() + idx, std::string());
      for (Walker& w : fWalkers) w.index += w.index >= idx && w.index != 0x7FFFFFFF ? 1 : 0;
    }
    fModel[static_cast<std::size_t>(idx)] = bytes;
  }

  void look_up(std::int32_t idx) {
    unsigned char* block = fStore.getBlock(idx);
    require((block != nullptr) == (idx >= 0 && idx < size()), "blocks below the size are found");
    if (block != nullptr) fCache.remember(idx, block);
  }

  void walk(std::int32_t idx) {
    if (fWalkers.size() > 4) fWalkers.erase(fWalkers.begin() + (idx & 3));
    if (fWalkers.size() < 2 || fIn.below(4) == 0) {
      fWalkers.push_back({std::unique_ptr<SupaBlockIterator>(new SupaBlockIterator(&fStore, idx)), idx});
    }
    for (Walker& w : fWalkers) {
      std::int32_t at = -77;
      const bool more = w.index >= -1 && w.index < size() - 1;
      const unsigned char* const block = w.it->nextBlock(&at);
      require(block == (more ? fStore.getBlock(w.index + 1) : nullptr), "an iterator gives each block");
      require(at == (more ? ++w.index : -77), "an iterator steps by one");
    }
  }

  void check() {
    const std::vector<const unsigned char*> handles = SupaBlockInspector::handles(fStore);
    require(handles.size() == fModel.size(), "the store has the size of the model");
    for (std::size_t i = 0; i < handles.size(); ++i) {
      const std::string& bytes = fModel[i];
      require(SupaBlockInspector::sizeAt(handles[i]) == roundedSize(bytes.size()), "a block has its rounded size");
      require(std::memcmp(handles[i] + 4, bytes.data(), bytes.size()) == 0, "a block has its bytes");
    }
    for (std::size_t i = 0; i < fCache.handles.size(); ++i) {
      const unsigned char* known = fCache.handles[i];
      require(known == nullptr || known == handles.at(i), "an event says which handles change");
    }
    for (const Walker& w : fWalkers)
      require(SupaBlockInspector::index(*w.it) == w.index, "an iterator keeps its place");
  }

  fuzz::Input& fIn;
  SupaBlock fStore;
  HandleCache fCache;
  std::vector<std::string> fModel;
  std::vector<Walker> fWalkers;
  unsigned fNext = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input in(data, size);
  Run run(in);
  for (int steps = 0; steps < 200 && !in.empty(); ++steps) run.step();
  return 0;
}
