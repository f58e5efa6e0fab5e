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

/// What the kernel knows of a thread of this process: lets a test wait until another thread sleeps, without a timer.
struct ThreadProbe {
  char state = '?';          // S: asleep
  std::uint64_t sleeps = 0;  // how often it has gone to sleep

  static ThreadProbe of(std::uint32_t id) {
    ThreadProbe probe;
    std::ifstream in("/proc/self/task/" + std::to_string(id) + "/status");
    std::string key;
    while (in >> key) {
      if (key == "State:") in >> probe.state;
      if (key == "voluntary_ctxt_switches:") in >> probe.sleeps;
      in.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    return probe;
  }
};

/// Waits until thread `id` sleeps, having gone to sleep more than `sleeps` times. Returns how often it has; 0 if it is
/// `done` before.
inline std::uint64_t waitUntilAsleep(std::uint32_t id, std::uint64_t sleeps, const std::atomic<bool>& done = false) {
  for (; !done; std::this_thread::yield()) {
    const ThreadProbe probe = ThreadProbe::of(id);
    if (probe.state == 'S' && probe.sleeps > sleeps) return probe.sleeps;
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
