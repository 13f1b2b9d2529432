#pragma once

#include <pthread.h>

#include <functional>
#include <thread>
#include <vector>

// Runs each of `acts` on a thread of its own, lets all of them begin at once, and waits for their end.
inline void startTogether(const std::vector<std::function<void()>>& acts) {
  pthread_barrier_t barrier;
  pthread_barrier_init(&barrier, nullptr, static_cast<unsigned>(acts.size()));
  std::vector<std::thread> threads;
  threads.reserve(acts.size());
  for (const std::function<void()>& act : acts) {
    threads.emplace_back([&barrier, &act] {
      pthread_barrier_wait(&barrier);
      act();
    });
  }
  for (std::thread& thread : threads) thread.join();
  pthread_barrier_destroy(&barrier);
}
