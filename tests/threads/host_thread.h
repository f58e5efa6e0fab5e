#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>
#include <utility>

#include "tests/support/thread_probe.h"
#include "zqcore27/threads/registry.h"

/// A door that threads wait at.
class Gate {
 public:
  void open() {
    fOpen = true;
    fOpen.notify_all();
  }
  void pass() const { fOpen.wait(false); }
  bool isOpen() const { return fOpen; }

 private:
  std::atomic<bool> fOpen{false};
};

/// A thread of the host, whose id is known as soon as it is made. Joined at the end.
class HostThread {
 public:
  explicit HostThread(std::function<void()> body)
      : fThread([this, body = std::move(body)] {
          fId = ThreadRegistry().getThisId();
          fId.notify_one();
          body();
        }) {
    fId.wait(0);
  }
  ~HostThread() {
    if (fThread.joinable()) fThread.join();
  }
  void join() { fThread.join(); }
  std::uint32_t id() const { return fId; }
  /// Waits until the thread sleeps, or `done`.
  void waitUntilAsleepOr(const std::atomic<bool>& done) const {
    for (ThreadProbe probe; !done && !(probe.state == 'S' && probe.sleeps != 0); probe = ThreadProbe::of(fId)) {
      std::this_thread::yield();
    }
  }
  std::uint64_t waitUntilAsleep(std::uint64_t sleeps = 0) const { return ::waitUntilAsleep(fId, sleeps); }

 private:
  std::atomic<std::uint32_t> fId{0};
  std::thread fThread;
};
