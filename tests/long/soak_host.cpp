// A pool, catalogue look-ups, file readers and the registry under load from many threads, for a bounded count of
// operations. Memory is flat to the end.

#include <array>
#include <atomic>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "tests/long/use_library.h"
#include "zqcore27/core/core.h"

namespace {

constexpr std::uint32_t PHASES = 6, WARM_UP = 2;
// What the registry keeps of each thread that was ever registered, as long as ids are new: an entry and its place.
constexpr std::size_t KEPT_OF_A_THREAD = 64;
constexpr std::size_t TOLERANCE = 256 * 1024;  // bytes: arenas and stacks that one phase happens to use more of

std::atomic<std::uint64_t> gOperations{0}, gThreads{0};

void usePool(ThreadPool& pool, std::uint32_t operations) {
  ThreadRequester requester(&pool);
  for (std::uint32_t i = 0; i < operations; i += 4) {
    std::array<std::future<std::uint32_t>, 4> results;
    for (std::uint32_t k = 0; k < results.size(); ++k) results[k] = requester.submit([=] { return i * k; });
    for (std::uint32_t k = 0; k < results.size(); ++k) require(results[k].get() == i * k, "a result");
  }
}

void useRegistry(std::uint32_t operations) {
  ThreadRegistry& registry = *gCore->fThreads;
  for (std::uint32_t i = 0; i < operations; ++i) {
    const std::uint32_t id = registry.registerThread();
    registry.setThisThreadPavo(static_cast<std::uint16_t>(i), id);
    require(registry.depth(0) == 1 && registry.getThisThreadPavo(0) == static_cast<std::uint16_t>(i), "an entry");
    registry.unregisterLIRAThread(id);
    require(registry.depth(id) == 0, "no entry");
  }
}

/// All at once, to the end.
void phase(ThreadPool& pool, const std::string& directory, std::uint32_t operations) {
  std::vector<std::thread> threads;
  for (int twice = 0; twice < 2; ++twice) {
    threads.emplace_back([&] { usePool(pool, operations); });
    threads.emplace_back([&] { useRegistry(operations); });
    threads.emplace_back([&] {
      for (std::uint32_t i = 0; i < operations; ++i) lookUp(i * 7 % LongRunFiles::WORDS);
    });
    threads.emplace_back([&] {
      for (std::uint32_t i = 0; i < operations; i += 10, ++gThreads) readConfiguration(directory, i % 100 == 0);
    });
  }
  for (std::thread& thread : threads) thread.join();
  gOperations += std::uint64_t{8} * operations;
}

}  // namespace

int main() {
  const LongRunFiles files;
  const std::uint32_t operations = rounds(1000, 20000);
  auto pool = std::make_unique<ThreadPool>(std::uint16_t{4}, std::uint16_t{8});
  pool->setMaxNumThreads(4);  // extra workers come and go by chance
  std::size_t before = 0;
  std::uint64_t threadsBefore = 0;
  for (std::uint32_t i = 0; i < PHASES; ++i) {
    if (i == WARM_UP) before = bytesInUse(), threadsBefore = gThreads;
    phase(*pool, files.directory(), operations);
  }
  const std::size_t after = bytesInUse();
  const std::size_t kept = static_cast<std::size_t>(gThreads - threadsBefore) * KEPT_OF_A_THREAD;
  std::printf("%llu operations, %llu threads; %zu bytes after the warm-up, %zu at the end\n",
              static_cast<unsigned long long>(gOperations), static_cast<unsigned long long>(gThreads), before, after);
  require(after <= before + kept + TOLERANCE, "memory is flat");
  pool.reset();
  awaitEndOfThreads();
  return 0;
}
