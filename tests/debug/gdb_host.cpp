// What gdb shows of each class that has a printer; gdb.sh stops in `stop` and asks.

#include <memory>

#include "zqcore27/zqcore27.h"

[[gnu::noinline]] void stop() { __asm__ volatile(""); }

namespace {
// As hosts derive from it: the printer knows the base.
struct OwnError : ConfigError {
  using ConfigError::ConfigError;
};
}  // namespace

int main() {
  const String empty, text(u"gr\u00fc\u00df \u20ac");
  const std::uint16_t zero[] = {'a', 0, 'b'};
  const String withZero(zero, 3);
  const NatString native(text);
  const WideString wide(text), nowhere(nullptr);

  OwnError error(0xC2000109, false);
  error.addInsert(text);
  error.addInsert(0xC2000104);
  MemError inner(MemError::HEAP_EXHAUSTED, true);
  inner.description(nullptr);
  error.addInsert(inner);
  const Error& seen = error;

  Bitmap bits(100);
  for (const unsigned i : {0U, 31U, 32U, 33U, 99U}) bits.set(i);
  const Bitmap noBits;

  const FileLocator locator{String("/srv/a.b.txt")};

  SupaBlockHints hints;
  SupaBlock store(SupaBlock::SB_DIRECTORY, hints);
  store.insert(0, reinterpret_cast<const unsigned char*>("abcdefgh"), 8);
  store.insert(2, reinterpret_cast<const unsigned char*>("wxyz"), 4);

  SBTree noTree, tree(hints);
  const std::uint32_t runs[] = {0, 1, 3, 3};
  for (std::uint32_t i = 0; i < 4; ++i) tree.buildTreeNode(i, nullptr, 0);
  tree.buildTreeNode(4, reinterpret_cast<const unsigned char*>(runs), 2);
  tree.setRootNodeIdx(4);

  stop();
  return seen.fatal() ? 1 : 0;
}
