#include "host/FramePipeline.h"

#include <chrono>
#include <optional>
#include <thread>
#include <utility>

#include "io/Interrupt.h"

namespace segmask {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kStopInterval{10};

/// Runs `work` and adds the time that it takes to `total`, also when it throws.
template <class Work>
auto timed(StageTimes::Duration& total, const Work& work) {
  struct Adder {
    StageTimes::Duration& total;
    Clock::time_point start;
    ~Adder() { total += Clock::now() - start; }
  };
  const Adder adder{total, Clock::now()};
  return work();
}

}  // namespace

FramePipeline::FramePipeline(Stages stages) : stages_(std::move(stages)) {
  for (std::size_t i = 0; i < kFrames; ++i) free_.push(FrameJob());
}

StageTimes FramePipeline::run() {
  const Clock::time_point start = Clock::now();
  std::thread drawing;
  std::thread writing;
  std::exception_ptr error;
  try {
    drawing = std::thread(&FramePipeline::drawFrames, this);
    writing = std::thread(&FramePipeline::writeFrames, this);
    readFrames();
  } catch (...) {
    error = std::current_exception();
  }
  // When a thread could not be started, no writer passes the error on.
  if (!writing.joinable()) error_ = error;
  endReading(error);
  for (std::thread* const stage : {&drawing, &writing}) {
    if (stage->joinable()) stage->join();
  }
  if (error_) std::rethrow_exception(error_);
  times_.whole = Clock::now() - start;
  return times_;
}

void FramePipeline::readFrames() {
  for (uint64_t number = 0; std::optional<FrameJob> job = free_.pop(); ++number) {
    job->number = number;
    if (!timed(times_.reading, [&] { return stages_.read(*job); })) return;
    if (!read_.push(std::move(*job))) return;
  }
}

void FramePipeline::drawFrames() {
  Interrupt::leaveToOtherThreads();
  std::exception_ptr error;
  try {
    while (std::optional<FrameJob> job = read_.pop()) {
      if (!timed(times_.drawing, [&] { return stages_.draw(*job); })) break;
      if (!drawn_.push(std::move(*job))) break;
    }
  } catch (...) {
    error = std::current_exception();
  }
  // The writer gets the error after the frames that come before it.
  drawn_.close(error);
  read_.cancel();
  waitForReader();
}

void FramePipeline::writeFrames() {
  Interrupt::leaveToOtherThreads();
  try {
    while (std::optional<FrameJob> job = drawn_.pop()) {
      timed(times_.writing, [&] { stages_.write(*job); });
      free_.push(std::move(*job));
    }
  } catch (...) {
    error_ = std::current_exception();
  }
  drawn_.cancel();
  free_.cancel();
  waitForReader();
}

void FramePipeline::endReading(std::exception_ptr error) {
  // Set before the queue is closed: the other stages end with the queue, and from then on they must not
  // interrupt the reader.
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    readerEnded_ = true;
  }
  readerChanged_.notify_all();
  read_.close(std::move(error));
}

void FramePipeline::waitForReader() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!readerEnded_) {
    stages_.stopReading();
    readerChanged_.wait_for(lock, kStopInterval);
  }
}

}  // namespace segmask
