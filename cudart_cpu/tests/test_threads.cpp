#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "tests/cudart_fixture.h"

namespace {

class Threads : public CudartTest {};

/// A door that a host function waits at until the test opens it.
class Door {
 public:
  void open() {
    const std::lock_guard<std::mutex> lock(mutex_);
    open_ = true;
    changed_.notify_all();
  }
  void waitUntilOpen() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return open_; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool open_ = false;
};

/// A host function that tells when it began and ends when it may.
struct SlowWork {
  Door begun;
  Door mayEnd;
  static void run(void* data) {
    auto& work = *static_cast<SlowWork*>(data);
    work.begun.open();
    work.mayEnd.waitUntilOpen();
  }
};

TEST_F(Threads, AHostFunctionDoesNotBlockOtherStreams) {
  const OwnedStream one;
  const OwnedStream two;
  SlowWork slow;
  std::thread worker([&] { EXPECT_EQ(cudaLaunchHostFunc(one.get(), &SlowWork::run, &slow), cudaSuccess); });
  slow.begun.waitUntilOpen();
  auto buffer = std::make_unique<Buffer>(4);
  EXPECT_EQ(cudaMemsetAsync(buffer->get(), 1, 4, two.get()), cudaSuccess);
  EXPECT_EQ(cudaStreamSynchronize(two.get()), cudaSuccess);
  EXPECT_EQ(cudaStreamQuery(one.get()), cudaErrorNotReady);
  slow.mayEnd.open();
  worker.join();
  buffer.reset();  // waits for all streams, so only once the slow work may end
}

TEST_F(Threads, WorkBehindAnotherThreadsWorkWaitsItsTurn) {
  const OwnedStream stream;
  const Buffer buffer(4);
  SlowWork slow;
  std::thread worker(
      [&] { EXPECT_EQ(cudaLaunchHostFunc(stream.get(), &SlowWork::run, &slow), cudaSuccess); });
  slow.begun.waitUntilOpen();
  Bytes host(4, 3);
  Bytes seen(4, 0);
  EXPECT_EQ(cudaMemcpyAsync(buffer.get(), host.data(), 4, cudaMemcpyHostToDevice, stream.get()), cudaSuccess);
  EXPECT_EQ(cudaMemcpyAsync(seen.data(), buffer.get(), 4, cudaMemcpyDeviceToHost, stream.get()), cudaSuccess);
  host.assign(4, 9);
  EXPECT_EQ(cudart_cpu::heldWork(stream.get()), 3u);
  slow.mayEnd.open();
  EXPECT_EQ(cudaStreamSynchronize(stream.get()), cudaSuccess);
  EXPECT_EQ(seen, Bytes(4, 3));
  worker.join();
}

TEST_F(Threads, AnEventIsOpenWhileAnotherThreadRunsTheWorkBeforeIt) {
  const OwnedStream stream;
  const OwnedEvent event;
  SlowWork slow;
  std::thread worker(
      [&] { EXPECT_EQ(cudaLaunchHostFunc(stream.get(), &SlowWork::run, &slow), cudaSuccess); });
  slow.begun.waitUntilOpen();
  EXPECT_EQ(cudaEventRecord(event.get(), stream.get()), cudaSuccess);
  EXPECT_EQ(cudaEventQuery(event.get()), cudaErrorNotReady);
  slow.mayEnd.open();
  EXPECT_EQ(cudaEventSynchronize(event.get()), cudaSuccess);
  EXPECT_EQ(cudaEventQuery(event.get()), cudaSuccess);
  worker.join();
}

/// Numbers that one thread queued on a stream, as they ran.
struct Sequence {
  std::vector<int> ran;
};
struct Step {
  Sequence* sequence;
  int number;
  static void run(void* data) {
    const Step& step = *static_cast<Step*>(data);
    step.sequence->ran.push_back(step.number);
  }
};

TEST_F(Threads, TwoThreadsKeepTheirOwnOrderOnOneStream) {
  constexpr int kSteps = 500;
  const OwnedStream stream;
  Sequence sequence;  // one stream runs one piece at a time, so nothing else guards it
  const auto queueAll = [&](std::vector<Step>& steps) {
    for (Step& step : steps) ASSERT_EQ(cudaLaunchHostFunc(stream.get(), &Step::run, &step), cudaSuccess);
  };
  std::vector<Step> even;
  std::vector<Step> odd;
  for (int i = 0; i < kSteps; ++i) {
    even.push_back({&sequence, 2 * i});
    odd.push_back({&sequence, 2 * i + 1});
  }
  std::thread one([&] { queueAll(even); });
  std::thread two([&] { queueAll(odd); });
  one.join();
  two.join();
  ASSERT_EQ(cudaStreamSynchronize(stream.get()), cudaSuccess);
  ASSERT_EQ(sequence.ran.size(), 2u * kSteps);
  int next[2] = {0, 1};
  for (const int number : sequence.ran) {
    int& expected = next[number % 2];
    ASSERT_EQ(number, expected);
    expected += 2;
  }
}

TEST_F(Threads, EachThreadMayUseItsOwnMemoryAndStream) {
  std::atomic<int> wrong{0};
  const auto work = [&](unsigned char value) {
    for (int round = 0; round < 50; ++round) {
      const OwnedStream stream(round % 2 == 0 ? cudaStreamDefault : cudaStreamNonBlocking);
      const Buffer buffer(256);
      Bytes seen(256, 0);
      cudaMemsetAsync(buffer.get(), value, 256, stream.get());
      cudaMemcpyAsync(seen.data(), buffer.get(), 256, cudaMemcpyDeviceToHost, stream.get());
      cudaStreamSynchronize(stream.get());
      if (seen != Bytes(256, value)) ++wrong;
    }
  };
  std::vector<std::thread> threads;
  for (int i = 1; i <= 4; ++i) threads.emplace_back(work, static_cast<unsigned char>(i));
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
