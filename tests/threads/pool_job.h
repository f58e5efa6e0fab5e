#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

#include "tests/threads/host_thread.h"
#include "zqcore27/threads/pool.h"
#include "zqcore27/threads/request.h"
#include "zqcore27/threads/thread_requester.h"

/// What becomes of one request. It must outlive the pool.
struct Story {
  static void* run(FlaggedArg* record) {
    const std::unique_ptr<FlaggedArg> mine(record);
    auto& story = *static_cast<Story*>(record->arg);
    if (story.body) story.body(*record->flag);
    count(story.ran);
    return nullptr;
  }
  static void* clean(void* arg) {
    auto& story = *static_cast<Story*>(arg);
    if (story.cleanup) story.cleanup();
    count(story.cleaned);
    throw arg;  // nobody hears of it
  }
  static void count(std::atomic<int>& counter) {
    ++counter;
    counter.notify_all();
  }
  /// The id; a refused record is freed here, and under the address sanitizer the pool must not have done so.
  std::uint32_t submitTo(ThreadPool& pool, const ThreadRequester* client, Request::Cleanup cleaner = clean) {
    auto record = std::make_unique<FlaggedArg>(this);
    id = pool.addRequestToPool(run, record.get(), client, cleaner, this);
    if (id != 0) record.release();
    return id;
  }
  void waitUntilRun() const { ran.wait(0); }

  std::function<void(Flag&)> body;
  std::function<void()> cleanup;
  std::atomic<int> ran{0};  // to its end
  std::atomic<int> cleaned{0};
  std::atomic<std::uint32_t> id{0};
};

/// A story that keeps a worker busy until it is let go.
struct BusyStory : Story {
  BusyStory() {
    body = [this](Flag&) {
      begun.open();
      go.pass();
    };
  }
  void begin(ThreadPool& pool, const ThreadRequester* client) {
    submitTo(pool, client);
    begun.pass();
  }

  Gate begun, go;
};
