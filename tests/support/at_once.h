#pragma once

#include <latch>
#include <thread>
#include <vector>

/// Calls `work` with 0 to `n` - 1 on as many threads, which begin together, and waits for them.
template <class Work>
void atOnce(int n, Work work) {
  std::latch ready(n);
  std::vector<std::jthread> threads;
  for (int t = 0; t < n; ++t) {
    threads.emplace_back([&, t] {
      ready.arrive_and_wait();
      work(t);
    });
  }
}
