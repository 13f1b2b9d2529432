#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>

#include "io/FileDescriptor.h"
#include "io/Interrupt.h"

namespace segmask {
namespace {

using namespace std::chrono_literals;

bool isReadable(int fd) {
  pollfd waited{fd, POLLIN, 0};
  return poll(&waited, 1, 0) == 1;
}

TEST(Interrupt, ASignalIsAWishAndANewOneStartsWithoutAny) {
  for (const int signal : {SIGINT, SIGTERM}) {
    const Interrupt interrupt;
    EXPECT_FALSE(Interrupt::requested());
    EXPECT_FALSE(isReadable(Interrupt::descriptor()));
    raise(signal);
    EXPECT_TRUE(Interrupt::requested());
    EXPECT_TRUE(isReadable(Interrupt::descriptor()));
  }
}

TEST(Interrupt, ARequestIsAWishTooAndLeavesTheSignalsTheirFirstTime) {
  const Interrupt interrupt;
  for (int i = 0; i < 3; ++i) interrupt.request();
  EXPECT_TRUE(Interrupt::requested());
  EXPECT_TRUE(isReadable(Interrupt::descriptor()));
  raise(SIGINT);  // would end this program if the request had counted as the first one
}

TEST(Interrupt, ARequestEndsACallThatBlocksInTheThreadOfTheObject) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  const FileDescriptor reading(ends[0]);
  const FileDescriptor writing(ends[1]);
  const Interrupt interrupt;
  std::atomic<bool> ended{false};
  std::thread other([&] {
    while (!ended) {
      interrupt.request();
      std::this_thread::sleep_for(5ms);
    }
  });
  char byte = 0;
  const ssize_t count = read(reading.get(), &byte, 1);
  const int error = errno;
  ended = true;
  other.join();
  EXPECT_EQ(count, -1);
  EXPECT_EQ(error, EINTR);
}

TEST(Interrupt, SignalsCanBeLeftToOtherThreads) {
  const Interrupt interrupt;
  std::thread other([] {
    Interrupt::leaveToOtherThreads();
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    EXPECT_EQ(sigismember(&blocked, SIGINT), 1);
    EXPECT_EQ(sigismember(&blocked, SIGTERM), 1);
    EXPECT_EQ(sigismember(&blocked, SIGSEGV), 0);
  });
  other.join();
  sigset_t blocked;
  pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
  EXPECT_EQ(sigismember(&blocked, SIGINT), 0);
}

}  // namespace
}  // namespace segmask
