#pragma once

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

/// Calls `work` with 0, 1, ... `count` - 1, each in a thread of its own and none before all threads are
/// there. Returns when all have ended. `work` must not throw.
inline void atOnce(unsigned count, const std::function<void(unsigned)>& work) {
  std::atomic<unsigned> ready{0};
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < count; ++i) {
    threads.emplace_back([&, i] {
      for (++ready; ready < count;) std::this_thread::yield();
      work(i);
    });
  }
  for (std::thread& thread : threads) thread.join();
}
