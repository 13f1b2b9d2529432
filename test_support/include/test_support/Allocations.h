#pragma once

#include <atomic>
#include <functional>

// A test program that links Allocations.cpp has its own operator new and delete, for the library too: they
// can be counted, watched and made to fail.

// Makes allocations fail. They count only while a Failing lives.
class Countdown {
 public:
  // What fails after the successes: one allocation, or all from there on.
  enum class Fails { Once, FromThenOn };

  void start(int successes, Fails fails = Fails::Once);
  bool failed() const { return left_ < 0; }

  // To be asked once for each allocation.
  bool failsNow();

 private:
  friend class Failing;
  std::atomic<bool> counts_{false};
  std::atomic<bool> goesOn_{false};
  std::atomic<int> left_{0};
};

class Failing {
 public:
  explicit Failing(Countdown& allocations) : allocations_(allocations) { allocations_.counts_ = true; }
  ~Failing() { allocations_.counts_ = false; }
  Failing(const Failing&) = delete;
  Failing& operator=(const Failing&) = delete;

 private:
  Countdown& allocations_;
};

// Runs `work` with the first, the second, ... allocation failing of those that it makes under a Failing, up
// to the run in which none is left to fail. Gives the number of runs with a failure.
int runWithEachFailure(Countdown& allocations, const std::function<void()>& work,
                       Countdown::Fails fails = Countdown::Fails::Once);

extern Countdown operatorNew;

// Runs `operation` with the allocations counting. Whether it had the memory it needs; if anything but
// std::bad_alloc leaves it, the test fails.
bool succeeds(const std::function<void()>& operation);

// Calls of operator new since the program's start, and those whose memory was not given back.
long allocationsMade();
long allocationsAlive();

// The bytes that the successful ones of those calls asked for.
long bytesMade();

// From now on each piece of memory is shown to `watcher` before it is given back; null for none.
void watchGivenBack(void (*watcher)(void* memory));
