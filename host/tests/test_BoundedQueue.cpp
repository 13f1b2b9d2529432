#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "host/BoundedQueue.h"

namespace segmask {
namespace {

using namespace std::chrono_literals;

TEST(BoundedQueue, GivesThingsInOrderAndNothingAfterItsEnd) {
  BoundedQueue<int> queue(3);
  EXPECT_TRUE(queue.push(1));
  EXPECT_TRUE(queue.push(2));
  EXPECT_EQ(queue.pop(), 1);
  EXPECT_TRUE(queue.push(3));
  queue.close();
  EXPECT_EQ(queue.pop(), 2);
  EXPECT_EQ(queue.pop(), 3);
  EXPECT_EQ(queue.pop(), std::nullopt);
  EXPECT_EQ(queue.pop(), std::nullopt);
}

TEST(BoundedQueue, TakesThingsThatCannotBeCopied) {
  BoundedQueue<std::unique_ptr<int>> queue(1);
  queue.push(std::make_unique<int>(7));
  EXPECT_EQ(**queue.pop(), 7);
}

TEST(BoundedQueue, AnErrorComesAfterTheThingsBeforeIt) {
  BoundedQueue<int> queue(2);
  queue.push(1);
  queue.push(2);
  queue.close(std::make_exception_ptr(std::runtime_error("broken")));
  EXPECT_EQ(queue.pop(), 1);
  EXPECT_EQ(queue.pop(), 2);
  EXPECT_THROW(queue.pop(), std::runtime_error);
}

TEST(BoundedQueue, OnlyTheFirstEndCountsAndNothingGoesInAfterIt) {
  BoundedQueue<int> closed(2);
  closed.push(1);
  closed.close();
  closed.close(std::make_exception_ptr(std::runtime_error("late")));
  EXPECT_FALSE(closed.push(2));
  EXPECT_EQ(closed.pop(), 1);
  EXPECT_EQ(closed.pop(), std::nullopt);

  BoundedQueue<int> cancelled(2);
  cancelled.cancel();
  EXPECT_FALSE(cancelled.push(1));
}

TEST(BoundedQueue, CancellingDropsThingsAndErrorsAtOnce) {
  BoundedQueue<std::shared_ptr<int>> queue(2);
  const auto thing = std::make_shared<int>(1);
  queue.push(thing);
  queue.close(std::make_exception_ptr(std::runtime_error("broken")));
  queue.cancel();
  EXPECT_EQ(thing.use_count(), 1);
  EXPECT_EQ(queue.pop(), std::nullopt);
}

TEST(BoundedQueue, PushingIntoAFullQueueWaitsForRoom) {
  BoundedQueue<int> queue(2);
  std::atomic<int> pushed{0};
  std::thread giver([&] {
    for (int i = 0; i < 5; ++i) {
      queue.push(i);
      ++pushed;
    }
  });
  while (pushed < 2) std::this_thread::yield();
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(pushed, 2);
  EXPECT_EQ(queue.pop(), 0);
  while (pushed < 3) std::this_thread::yield();
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(pushed, 3);
  for (int i = 1; i < 5; ++i) EXPECT_EQ(queue.pop(), i);
  giver.join();
}

TEST(BoundedQueue, WhoeverWaitsIsWokenByTheEnd) {
  for (const bool cancel : {false, true}) {
    BoundedQueue<int> empty(1);
    BoundedQueue<int> full(1);
    full.push(1);
    std::thread taker([&] { EXPECT_EQ(empty.pop(), std::nullopt); });
    std::thread giver([&] { EXPECT_FALSE(full.push(2)); });
    std::this_thread::sleep_for(20ms);
    for (BoundedQueue<int>* const queue : {&empty, &full}) cancel ? queue->cancel() : queue->close();
    taker.join();
    giver.join();
  }
}

TEST(BoundedQueue, ManyThreadsLoseAndRepeatNothing) {
  constexpr int kThreads = 4;
  constexpr int kEach = 5'000;
  BoundedQueue<int> queue(3);
  std::vector<std::atomic<int>> seen(kThreads * kEach);
  std::vector<std::thread> givers;
  std::vector<std::thread> takers;
  for (int t = 0; t < kThreads; ++t) {
    givers.emplace_back([&queue, t] {
      for (int i = 0; i < kEach; ++i) queue.push(t * kEach + i);
    });
    takers.emplace_back([&] {
      while (const std::optional<int> thing = queue.pop()) ++seen[static_cast<std::size_t>(*thing)];
    });
  }
  for (std::thread& giver : givers) giver.join();
  queue.close();
  for (std::thread& taker : takers) taker.join();
  for (const std::atomic<int>& count : seen) EXPECT_EQ(count, 1);
}

}  // namespace
}  // namespace segmask
