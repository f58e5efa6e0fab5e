#pragma once

// What the kernel knows of a thread of this process: lets a test wait until another thread sleeps, without a timer.

#include <cstdint>
#include <fstream>
#include <limits>
#include <string>
#include <thread>

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

/// Waits until thread `id` sleeps, having gone to sleep more than `sleeps` times. Returns how often it has.
inline std::uint64_t waitUntilAsleep(std::uint32_t id, std::uint64_t sleeps = 0) {
  for (;;) {
    const ThreadProbe probe = ThreadProbe::of(id);
    if (probe.state == 'S' && probe.sleeps > sleeps) return probe.sleeps;
    std::this_thread::yield();
  }
}
