#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <future>
#include <memory>
#include <random>

#include "tests/support/at_once.h"
#include "tests/threads/pool_job.h"

// Clients, cancels by id and by client, from jobs and cleanups too, throwing jobs, growth and shutdown against each
// other; afterwards the books are checked.
// ZQCORE27_STRESS_STEPS: operations, 3000 without it. ZQCORE27_STRESS_SEED: that of an earlier run.

namespace {

std::uint32_t setting(const char* variable, std::uint32_t otherwise) {
  const char* const text = std::getenv(variable);
  return text != nullptr ? static_cast<std::uint32_t>(std::strtoul(text, nullptr, 10)) : otherwise;
}

/// One request in the books.
struct Entry : Story {
  std::atomic<int> begun{0};
  std::atomic<bool> sawFlag{false};
  std::atomic<bool> cancelTriedById{false}, cancelTriedByClient{false};
  bool throws = false, hasCleanup = true;
  std::future<void> future;  // of a callable

  void check() {
    if (future.valid()) {
      try {
        future.get();
        EXPECT_TRUE(begun == 1 && !throws);
      } catch (const RequestCancelled&) {
        EXPECT_EQ(begun, 0);
      } catch (int) {
        EXPECT_TRUE(begun == 1 && throws);
      }
    }
    EXPECT_NE(id, 0u);
    EXPECT_LE(begun, 1);
    if (begun == 1) {
      EXPECT_EQ(cleaned, throws && hasCleanup ? 1 : 0);
    } else if (cleaned != 0) {
      EXPECT_TRUE(cleaned == 1 && cancelTriedByClient);
    } else {
      EXPECT_TRUE(cancelTriedById || (cancelTriedByClient && !hasCleanup)) << "lost";
    }
    EXPECT_TRUE(!sawFlag || cancelTriedById || cancelTriedByClient) << "stopped by nobody";
  }
};

/// One pool from start to end.
class Round {
 public:
  Round(std::uint32_t number, std::uint32_t seed)
      : fSeed(seed),
        fQueueSize(number / 4 % MAX_QUEUE),
        fOwner(new ThreadPool(static_cast<std::uint16_t>(number % 4), static_cast<std::uint16_t>(fQueueSize))) {}

  void play(std::uint32_t steps) {
    atOnce(CLIENTS,
           [&](int t) { playClient(fBooks[t], std::mt19937(fSeed + static_cast<std::uint32_t>(t)), steps / CLIENTS); });
    endWhileJobsUseThePool();
    for (auto& books : fBooks) {
      for (Entry& entry : books) entry.check();
    }
  }

 private:
  static constexpr std::uint32_t CLIENTS = 3, MAX_QUEUE = 6, MAX_CEILING = 8;

  /// One thing after the other; the requester is replaced now and then.
  void playClient(std::deque<Entry>& books, std::mt19937 random, std::uint32_t steps) {
    auto self = std::make_unique<ThreadRequester>(fPool);
    std::size_t open = 0;  // no cancel by client has been tried on those from here on
    const auto noteCancel = [&] {
      for (; open < books.size(); ++open) books[open].cancelTriedByClient = true;
    };
    for (; steps != 0; --steps) {
      const std::uint32_t dice = random() % 100;
      if (dice < 60) {
        submit(books.emplace_back(), *self, random);
      } else if (dice < 88) {
        cancelOne(random());
      } else if (dice < 94) {
        fPool->setMaxNumThreads(static_cast<std::uint16_t>(1 + random() % MAX_CEILING));
      } else {
        noteCancel();
        dice < 97 ? self->clearRequests() : static_cast<void>(self = std::make_unique<ThreadRequester>(fPool));
      }
    }
    noteCancel();
  }

  void submit(Entry& entry, ThreadRequester& client, std::mt19937& random) {
    const std::uint32_t patience = random() % 20, target = random();
    const bool isCallable = random() % 4 == 0;
    entry.throws = random() % 4 == 0;
    entry.hasCleanup = !isCallable && random() % 4 != 0;
    const auto work = [this, &entry, patience, target](auto stopped) {
      ++entry.begun;
      for (std::uint32_t i = 0; i < patience && !entry.sawFlag; ++i) {
        entry.sawFlag = stopped();
        std::this_thread::yield();
      }
      if (patience == 0) cancelOne(target);
      if (entry.throws) throw 42;
    };
    fRecent[target % fRecent.size()] = &entry;
    if (isCallable) {
      std::uint32_t id = 0;
      entry.future = client.submit([work](std::stop_token stop) { work([&] { return stop.stop_requested(); }); }, &id);
      entry.id = id;
    } else {
      entry.body = [work](Flag& flag) { work([&] { return flag.value(); }); };
      if (target % 8 == 0) entry.cleanup = [this, target] { cancelOne(target / 8); };
      entry.submitTo(*fPool, &client, entry.hasCleanup ? Story::clean : nullptr);
    }
  }

  void cancelOne(std::uint32_t which) {
    Entry* const entry = fRecent[which % fRecent.size()];
    if (entry == nullptr) return;
    entry->cancelTriedById = true;
    fPool->ClearThisRequest(entry->id);
  }

  /// The clients are gone, and what they had queued with them: as many requests as the queue takes won't block.
  void endWhileJobsUseThePool() {
    std::deque<Entry>& late = fBooks[0];
    for (std::uint32_t i = 0; i < std::max(fQueueSize, 1u); ++i) {
      Entry& entry = late.emplace_back();
      entry.body = [this, &entry, i](Flag&) {
        ++entry.begun;
        cancelOne(i);
      };
      entry.submitTo(*fPool, nullptr);
    }
    fOwner.reset();
  }

  const std::uint32_t fSeed, fQueueSize;
  std::unique_ptr<ThreadPool> fOwner;
  ThreadPool* const fPool = fOwner.get();
  std::array<std::deque<Entry>, CLIENTS> fBooks;
  std::array<std::atomic<Entry*>, 8> fRecent{};
};

TEST(ThreadPoolStressTest, KeepsItsBooks) {
  static constexpr std::uint32_t STEPS_A_ROUND = 300;
  const std::uint32_t seed = setting("ZQCORE27_STRESS_SEED", std::random_device()());
  std::printf("seed %u\n", seed);  // before anything can hang
  std::fflush(stdout);
  std::mt19937 random(seed);
  const std::uint32_t rounds = setting("ZQCORE27_STRESS_STEPS", 3000) / STEPS_A_ROUND;
  for (std::uint32_t i = 0; i < rounds; ++i) Round(i, random()).play(STEPS_A_ROUND);
}

}  // namespace
