#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <utility>

namespace segmask {

/// A first-in, first-out queue between threads with at most `capacity` elements. A producer ends it with
/// close(), after which consumers still get the elements in it; any thread ends it at once with cancel(). Any
/// number of threads may call it.
template <class T>
class BoundedQueue {
 public:
  /// `capacity` is at least 1.
  explicit BoundedQueue(std::size_t capacity) : capacity_(capacity) {}

  BoundedQueue(const BoundedQueue&) = delete;
  BoundedQueue& operator=(const BoundedQueue&) = delete;

  /// Waits while the queue is full. False when it was cancelled or closed; `thing` is destroyed then.
  bool push(T thing) {
    std::unique_lock<std::mutex> lock(mutex_);
    roomMade_.wait(lock, [this] { return things_.size() < capacity_ || ended_; });
    if (ended_) return false;
    things_.push_back(std::move(thing));
    lock.unlock();
    thingCame_.notify_one();
    return true;
  }

  /// Waits while the queue is empty. When it is closed and empty, throws the error that it was closed with,
  /// or returns nothing if there was none. Returns nothing when it was cancelled.
  std::optional<T> pop() {
    std::unique_lock<std::mutex> lock(mutex_);
    thingCame_.wait(lock, [this] { return !things_.empty() || ended_; });
    if (things_.empty()) {
      if (error_) std::rethrow_exception(error_);
      return std::nullopt;
    }
    std::optional<T> thing(std::move(things_.front()));
    things_.pop_front();
    lock.unlock();
    roomMade_.notify_one();
    return thing;
  }

  /// Ends the queue for producers, because of `error` if there is one. No effect on a queue that has ended.
  void close(std::exception_ptr error = nullptr) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (ended_) return;
    error_ = std::move(error);
    end();
  }

  /// Ends the queue at once: drops its elements and the error that it was closed with.
  void cancel() {
    const std::lock_guard<std::mutex> lock(mutex_);
    error_ = nullptr;
    things_.clear();
    end();
  }

 private:
  void end() {
    ended_ = true;
    thingCame_.notify_all();
    roomMade_.notify_all();
  }

  const std::size_t capacity_;
  std::mutex mutex_;
  std::condition_variable thingCame_;
  std::condition_variable roomMade_;
  std::deque<T> things_;
  std::exception_ptr error_;
  bool ended_ = false;
};

}  // namespace segmask
