#pragma once

#include <atomic>
#include <cstdint>
#include <fstream>
#include <functional>
#include <limits>
#include <string>
#include <thread>
#include <utility>

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

/// Waits until thread `id` sleeps, having gone to sleep more than `sleeps` times, as the kernel knows. Returns how
/// often it has; 0 if it is `done` before.
inline std::uint64_t waitUntilAsleep(std::uint32_t id, std::uint64_t sleeps, const std::atomic<bool>& done = false) {
  for (; !done; std::this_thread::yield()) {
    char state = '?';
    std::uint64_t slept = 0;
    std::ifstream in("/proc/self/task/" + std::to_string(id) + "/status");
    for (std::string key; in >> key; in.ignore(std::numeric_limits<std::streamsize>::max(), '\n')) {
      if (key == "State:") in >> state;
      if (key == "voluntary_ctxt_switches:") in >> slept;
    }
    if (state == 'S' && slept > sleeps) return slept;
  }
  return 0;
}

/// A thread of the host, whose id is known as soon as it is made. Joined at the end.
class HostThread {
 public:
  explicit HostThread(std::function<void()> body)
      : fThread([this, body = std::move(body)] {
          fId = ThreadRegistry().getThisId();
          fId.notify_one();
          body();
          fDone = true;
        }) {
    fId.wait(0);
  }
  ~HostThread() {
    if (fThread.joinable()) fThread.join();
  }
  void join() { fThread.join(); }
  std::uint32_t id() const { return fId; }
  std::uint64_t waitUntilAsleep(std::uint64_t sleeps = 0) const { return ::waitUntilAsleep(fId, sleeps); }
  /// Waits until the thread sleeps or has done its work. False if it has.
  bool isHeldUp() const { return ::waitUntilAsleep(fId, 0, fDone) != 0; }

 private:
  std::atomic<std::uint32_t> fId{0};
  std::atomic<bool> fDone{false};
  std::thread fThread;
};
