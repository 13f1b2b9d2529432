#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <string>

#include "src/batch/ProcessPool.h"

namespace segmask {
namespace {

using std::chrono::milliseconds;

/// Waits until a process ends.
ProcessPool::Ended waitForOne(ProcessPool& pool) {
  for (;;) {
    const std::vector<ProcessPool::Ended> ended = pool.wait(milliseconds(1000));
    if (!ended.empty()) return ended.front();
  }
}

int waitForASignal() {
  for (;;) pause();
}

bool exists(pid_t process) {
  return kill(process, 0) == 0 || errno != ESRCH;
}

TEST(ProcessPool, GivesTheExitCodeAndTheErrorsOfEachProcess) {
  ProcessPool pool;
  const pid_t first = pool.start([] {
    std::fputs("bad\n", stderr);
    return 3;
  });
  const ProcessPool::Ended a = waitForOne(pool);
  EXPECT_EQ(a.process, first);
  ASSERT_TRUE(WIFEXITED(a.status));
  EXPECT_EQ(WEXITSTATUS(a.status), 3);
  EXPECT_EQ(a.errors, "bad\n");
  EXPECT_EQ(pool.running(), 0U);
}

TEST(ProcessPool, ProcessesRunAtTheSameTime) {
  ProcessPool pool;
  const pid_t waiting = pool.start(waitForASignal);
  const pid_t quick = pool.start([] { return 0; });
  EXPECT_EQ(waitForOne(pool).process, quick);
  EXPECT_EQ(pool.running(), 1U);
  pool.signalAll(SIGTERM);
  const ProcessPool::Ended ended = waitForOne(pool);
  EXPECT_EQ(ended.process, waiting);
  ASSERT_TRUE(WIFSIGNALED(ended.status));
  EXPECT_EQ(WTERMSIG(ended.status), SIGTERM);
}

TEST(ProcessPool, OfManyErrorsTheLastAreKept) {
  ProcessPool pool;
  pool.start([] {
    for (int i = 0; i < 100'000; ++i) std::fputs("line\n", stderr);
    std::fputs("the last one\n", stderr);
    return 0;
  });
  const std::string errors = waitForOne(pool).errors;
  EXPECT_LE(errors.size(), 200'000U);
  EXPECT_EQ(errors.substr(errors.size() - 18), "line\nthe last one\n");
}

TEST(ProcessPool, AClosedErrorStreamIsNotTheEnd) {
  ProcessPool pool;
  const pid_t process = pool.start([] {
    close(STDERR_FILENO);
    return waitForASignal();
  });
  EXPECT_TRUE(pool.wait(milliseconds(20)).empty());
  kill(process, SIGKILL);
  EXPECT_EQ(waitForOne(pool).process, process);
}

TEST(ProcessPool, SignalsAreCountedAndNotTaken) {
  ProcessPool pool;
  EXPECT_EQ(pool.interrupts(), 0);
  raise(SIGINT);
  raise(SIGTERM);
  raise(SIGCHLD);
  EXPECT_TRUE(pool.wait(milliseconds(60'000)).empty());
  EXPECT_EQ(pool.interrupts(), 2);
}

TEST(ProcessPool, ItsEndKillsWhatStillRuns) {
  pid_t process = 0;
  {
    ProcessPool pool;
    process = pool.start([] {
      std::signal(SIGTERM, SIG_IGN);
      return waitForASignal();
    });
    EXPECT_TRUE(exists(process));
  }
  EXPECT_FALSE(exists(process));
}

TEST(ProcessPool, RestoresTheSignals) {
  sigset_t before;
  pthread_sigmask(SIG_SETMASK, nullptr, &before);
  { const ProcessPool pool; }
  sigset_t after;
  pthread_sigmask(SIG_SETMASK, nullptr, &after);
  for (const int signal : {SIGINT, SIGTERM, SIGCHLD}) {
    EXPECT_EQ(sigismember(&after, signal), sigismember(&before, signal));
  }
}

}  // namespace
}  // namespace segmask
