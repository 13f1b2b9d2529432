#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "io/FileDescriptor.h"

namespace segmask {
namespace {

bool failsAsClosed(ssize_t result) {
  return result < 0 && errno == EBADF;
}

/// Whether a process without standard streams has them occupied, each unusable in its direction, and opens
/// its next file beside them.
bool areOccupiedInAChild() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) close(stream);
  occupyClosedStandardStreams();
  char byte = 'x';
  return failsAsClosed(read(STDIN_FILENO, &byte, 1)) && failsAsClosed(write(STDOUT_FILENO, &byte, 1)) &&
         failsAsClosed(write(STDERR_FILENO, &byte, 1)) && open("/dev/null", O_RDONLY) > STDERR_FILENO;
}

TEST(StandardStreams, ThatAreClosedStayUnusableAndNoFileGetsTheirNumbers) {
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) _exit(areOccupiedInAChild() ? 0 : 1);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

TEST(StandardStreams, ThatAreOpenStayAsTheyAre) {
  const int before = fcntl(STDOUT_FILENO, F_GETFL);
  occupyClosedStandardStreams();
  EXPECT_EQ(fcntl(STDOUT_FILENO, F_GETFL), before);
}

}  // namespace
}  // namespace segmask
