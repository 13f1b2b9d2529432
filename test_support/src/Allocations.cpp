#include "test_support/Allocations.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <exception>
#include <new>

Countdown operatorNew;

namespace {

std::atomic<long> made{0};
std::atomic<long> alive{0};
std::atomic<long> bytes{0};
std::atomic<void (*)(void*)> watcherOfGivenBack{nullptr};

void giveBack(void* memory) {
  if (memory == nullptr) return;
  if (const auto watcher = watcherOfGivenBack.load()) watcher(memory);
  --alive;
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) {
  void* memory = operatorNew.failsNow() ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  ++made;
  ++alive;
  bytes += static_cast<long>(size);
  return memory;
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void operator delete(void* memory) noexcept {
  giveBack(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  giveBack(memory);
}

void Countdown::start(int successes, Fails fails) {
  left_ = successes;
  goesOn_ = fails == Fails::FromThenOn;
}

bool Countdown::failsNow() {
  if (!counts_) return false;
  const int left = left_--;
  return goesOn_ ? left <= 0 : left == 0;
}

int runWithEachFailure(Countdown& allocations, const std::function<void()>& work, Countdown::Fails fails) {
  for (int successes = 0;; ++successes) {
    allocations.start(successes, fails);
    work();
    if (!allocations.failed()) return successes;
  }
}

bool succeeds(const std::function<void()>& operation) {
  try {
    const Failing failing(operatorNew);
    operation();
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  } catch (const std::exception& error) {
    ADD_FAILURE() << "not for want of memory: " << error.what();
    return false;
  }
}

long allocationsMade() {
  return made;
}

long allocationsAlive() {
  return alive;
}

long bytesMade() {
  return bytes;
}

void watchGivenBack(void (*watcher)(void*)) {
  watcherOfGivenBack = watcher;
}
