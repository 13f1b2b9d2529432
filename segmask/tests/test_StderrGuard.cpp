#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <vector>

#include "io/FileDescriptor.h"
#include "src/render/StderrGuard.h"
#include "test_support/TempFolder.h"

namespace segmask {
namespace {

void writeToStderr(const std::string& text) {
  ASSERT_EQ(writeFully(STDERR_FILENO, text.data(), text.size()), 0);
}

/// What arrives at descriptor 2 itself while `work` runs.
template <class Work>
std::string stderrDuring(Work work) {
  const TempFolder folder;
  const FileDescriptor old(dup(STDERR_FILENO));
  {
    const FileDescriptor file(open(folder.path("err").c_str(), O_WRONLY | O_CREAT, 0600));
    dup2(file.get(), STDERR_FILENO);
  }
  work();
  dup2(old.get(), STDERR_FILENO);
  return readFile(folder.path("err"));
}

TEST(StderrGuard, HandsOnWholeLinesHoweverTheyWereWritten) {
  std::vector<std::string> lines;
  {
    const StderrGuard guard([&lines](const std::string& line) { lines.push_back(line); });
    writeToStderr("one\ntw");
    writeToStderr("o\n\nthree");
  }
  EXPECT_EQ(lines, (std::vector<std::string>{"one", "two", "", "three"}));
}

TEST(StderrGuard, LosesNothingOfALot) {
  std::size_t count = 0;
  {
    const StderrGuard guard([&count](const std::string& line) { count += line == "a line" ? 1 : 0; });
    for (int i = 0; i < 50'000; ++i) writeToStderr("a line\n");
  }
  EXPECT_EQ(count, 50'000U);
}

TEST(StderrGuard, CutsALineThatNeverEnds) {
  std::size_t longest = 0;
  std::size_t total = 0;
  {
    const StderrGuard guard([&](const std::string& line) {
      longest = std::max(longest, line.size());
      total += line.size();
    });
    writeToStderr(std::string(200'000, 'x'));
  }
  EXPECT_EQ(total, 200'000U);
  EXPECT_LE(longest, std::size_t{1} << 16);
}

TEST(StderrGuard, GivesTheDescriptorBack) {
  const std::string text = stderrDuring([] {
    {
      const StderrGuard guard([](const std::string&) {});
    }
    writeToStderr("after\n");
  });
  EXPECT_EQ(text, "after\n");
}

TEST(StderrGuard, LastWordsBeforeADeathBySignalAreHandedOn) {
  for (const int signal : {SIGABRT, SIGSEGV}) {
    struct sigaction current {};
    sigaction(signal, nullptr, &current);
    if ((current.sa_flags & SA_SIGINFO) != 0) continue;  // a sanitizer's, which the guard leaves alone
    const TempFolder folder;
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      const FileDescriptor file(open(folder.path("lines").c_str(), O_WRONLY | O_CREAT, 0600));
      const StderrGuard guard([&file](const std::string& line) {
        usleep(20'000);  // the relay is behind when the signal comes
        static_cast<void>(writeFully(file.get(), (line + "\n").data(), line.size() + 1));
      });
      writeToStderr("first\nlast words\n");
      if (signal == SIGABRT) std::abort();
      raise(signal);
      _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), signal);
    EXPECT_EQ(readFile(folder.path("lines")), "first\nlast words\n");
  }
}

TEST(StderrSilence, DropsWhatIsWrittenWhileItLives) {
  const std::string text = stderrDuring([] {
    {
      const StderrSilence silence;
      writeToStderr("greeting\n");
    }
    writeToStderr("news\n");
  });
  EXPECT_EQ(text, "news\n");
}

}  // namespace
}  // namespace segmask
