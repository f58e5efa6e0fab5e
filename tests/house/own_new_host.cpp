// A host with a heap of its own behind operator new. The library must neither use it nor replace it.

#include <cstdio>
#include <cstdlib>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "zqcore27/zqcore27.h"

namespace {
int gAllocations = 0, gFrees = 0;

struct Listener : LogListener {
  void log(const Error&, LogVerbosityCode) override {}
  void log(const String&, LogVerbosityCode) override {}
};

/// A listener whose text is grown, given, taken and exchanged through the standard library's class, and who goes with a
/// text in hand.
bool listen() {
  CoreLog log;
  log.setLog(new Listener);
  LogListener& listener = *log.getListener();
  auto& buffer = dynamic_cast<std::stringbuf&>(*listener.rdbuf());
  std::string large(5000, 'x');
  listener << large << large;
  std::stringbuf other(large);
  buffer.swap(other);
  listener << 'y';
  const bool exchanged = buffer.str() == 'y' + large.substr(1) && std::move(buffer).str() != other.str();
  buffer.str(large);
  listener << large << large;
  return exchanged && buffer.view().size() == 10000;
}
}  // namespace

void* operator new(std::size_t n) {
  ++gAllocations;
  // Eight bytes in front of each block: a block of another heap that came here would break the heap at once.
  return static_cast<char*>(std::malloc(n + 16)) + 16;
}
void operator delete(void* p) noexcept {
  if (p != nullptr) ++gFrees, std::free(static_cast<char*>(p) - 16);
}
void operator delete(void* p, std::size_t) noexcept { operator delete(p); }

int main() {
  String text("made by the library");
  text += text;
  StringError error(StringError::BAD_UTF8, false);
  error.addInsert(text);
  ErrorErrorInsert* insert = new ErrorErrorInsert(error);
  delete insert->duplicate();
  delete insert;
  OrlanMutex mutex;
  delete new OrlanCondition(&mutex);
  delete new JTCMonitor;
  error.description(nullptr);
  if (gAllocations != 0) return std::puts("the library took memory from the host's heap"), 1;

  // The names of a listing come into a vector of the host, whoever makes the call.
  std::vector<String> names;
  const FileLocator here(String("x."));
  const FileLocator* const volatile locator = &here;
  const FileLocator& unknown = *locator;
  if (!unknown.listFiles(names) || names.size() < 2 || gAllocations == 0) {
    return std::puts("a listing grew on the library's heap"), 1;
  }
  gAllocations = gFrees = 0;
  if (!listen() || gAllocations < 6 || gAllocations != gFrees) {
    return std::puts("the text of a listener's stream crossed the heaps"), 1;
  }
  gAllocations = 0;

  delete new int(0);
  const std::string utf8 = text.toUTF8();
  return gAllocations > 1 && utf8.size() == text.size() ? 0 : 1;
}
