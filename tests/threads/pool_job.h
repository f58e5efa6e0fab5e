#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

#include "tests/threads/host_thread.h"
#include "zqcore27/threads/pool.h"
#include "zqcore27/threads/request.h"
#include "zqcore27/threads/thread_requester.h"

/// What becomes of one request. It must outlive the pool.
struct Story {
  static void* run(FlaggedArg* record) {
    const std::unique_ptr<FlaggedArg> mine(record);
    auto& story = *static_cast<Story*>(record->arg);
    noteFreed(record);
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
  /// Counts the record of a story that is about to be freed, by the job or by the pool.
  static void noteFreed(void* record) {
    const std::lock_guard hold(sRecordMutex);
    const auto found = sRecords.find(record);
    if (found == sRecords.end()) return;
    ++found->second->freed;
    sRecords.erase(found);
  }

  /// The id; a refused record is freed here, and under the address sanitizer the pool must not have done so.
  std::uint32_t submitTo(ThreadPool& pool, const ThreadRequester* client, Request::Cleanup cleaner = clean) {
    auto record = std::make_unique<FlaggedArg>(this);
    {
      const std::lock_guard hold(sRecordMutex);
      sRecords[record.get()] = this;
      ++made;
    }
    id = pool.addRequestToPool(run, record.get(), client, cleaner, this);
    id != 0 ? static_cast<void>(record.release()) : noteFreed(record.get());
    return id;
  }
  void waitUntilRun() const { ran.wait(0); }

  std::function<void(Flag&)> body;
  std::function<void()> cleanup;
  std::atomic<int> ran{0};  // to its end
  std::atomic<int> cleaned{0};
  std::atomic<int> made{0}, freed{0};  // records
  std::atomic<std::uint32_t> id{0};

 private:
  static inline std::mutex sRecordMutex;
  static inline std::map<void*, Story*>& sRecords = *new std::map<void*, Story*>;  // the library frees up to the end
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
