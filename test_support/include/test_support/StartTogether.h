#pragma once

#include <pthread.h>

#include <functional>
#include <thread>
#include <vector>

/// Calls `act` with 0, 1, ... `count` - 1, each on a thread of its own, lets all of them begin at once, and
/// waits for their end. `act` must not throw.
inline void startTogether(unsigned count, const std::function<void(unsigned)>& act) {
  pthread_barrier_t barrier;
  pthread_barrier_init(&barrier, nullptr, count);
  std::vector<std::thread> threads;
  threads.reserve(count);
  for (unsigned i = 0; i < count; ++i) {
    threads.emplace_back([&barrier, &act, i] {
      pthread_barrier_wait(&barrier);
      act(i);
    });
  }
  for (std::thread& thread : threads) thread.join();
  pthread_barrier_destroy(&barrier);
}

/// The same with an act for each thread.
inline void startTogether(const std::vector<std::function<void()>>& acts) {
  startTogether(static_cast<unsigned>(acts.size()), [&acts](unsigned i) { acts[i](); });
}
