#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <regex>
#include <string>
#include <vector>

#include "io/FileDescriptor.h"
#include "test_support/TempFolder.h"
#include "test_support/frames.h"
#include "tests/run_tool.h"

namespace {

using segmask::FileDescriptor;

/// The two ends of a pseudo-terminal.
struct Terminal {
  FileDescriptor screen;  // what a terminal emulator reads
  FileDescriptor line;    // what a program writes to
};

Terminal openTerminal(unsigned short columns) {
  Terminal terminal;
  terminal.screen = FileDescriptor(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
  EXPECT_EQ(grantpt(terminal.screen.get()), 0);
  EXPECT_EQ(unlockpt(terminal.screen.get()), 0);
  winsize size{};
  size.ws_row = 24;
  size.ws_col = columns;
  ioctl(terminal.screen.get(), TIOCSWINSZ, &size);
  terminal.line = FileDescriptor(open(ptsname(terminal.screen.get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
  EXPECT_TRUE(terminal.line);
  return terminal;
}

struct TerminalRun {
  int exitCode = -1;
  std::string bytes;  ///< all that reached the terminal
};

/// Runs the program with its standard error on a terminal.
TerminalRun runOnTerminal(const std::vector<std::string>& arguments, unsigned short columns = 80) {
  Terminal terminal = openTerminal(columns);
  const FileDescriptor out(open("/dev/null", O_WRONLY | O_CLOEXEC));
  const pid_t process =
      startTool(arguments, out.get(), terminal.line.get(), [] { setenv("TERM", "xterm", 1); });
  terminal.line.reset();
  TerminalRun run;
  char block[4096];
  // Reading fails when the last writer is gone.
  for (ssize_t count = 0; (count = read(terminal.screen.get(), block, sizeof block)) > 0;) {
    run.bytes.append(block, static_cast<std::size_t>(count));
  }
  run.exitCode = waitForTool(process);
  return run;
}

/// What a terminal shows after these bytes, line by line; the last one is the line with the cursor.
std::vector<std::string> linesShown(const std::string& bytes) {
  const std::string erase = "\x1b[K";
  std::vector<std::string> lines(1);
  std::size_t column = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    std::string& line = lines.back();
    if (bytes[i] == '\r') {
      column = 0;
    } else if (bytes[i] == '\n') {
      lines.emplace_back();
    } else if (bytes.compare(i, erase.size(), erase) == 0) {
      line.resize(column);
      i += erase.size() - 1;
    } else {
      if (line.size() <= column) line.resize(column + 1);
      line[column++] = bytes[i];
    }
  }
  return lines;
}

class ToolTerminal : public ::testing::Test {
 protected:
  static constexpr int kFrames = 20'000;

  /// A render of many small frames on which nothing is drawn.
  std::vector<std::string> renderArguments() const {
    return {"render",
            "--input",
            folder_.write("in.nv12", std::string(frameBytes(16, 16) * kFrames, 'x')),
            "--size",
            "16x16",
            "--detections",
            folder_.write("d.jsonl", kNothingFoundLine),
            "--output",
            folder_.path("out.nv12")};
  }

  TempFolder folder_;
};

TEST_F(ToolTerminal, LinesOfThePluginDoNotTearTheBar) {
  std::vector<std::string> arguments = renderArguments();
  arguments.push_back("--debug");
  const TerminalRun run = runOnTerminal(arguments);
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_NE(run.bytes.find("\x1b[K["), std::string::npos) << "no bar was drawn";
  EXPECT_NE(run.bytes.find(" of 20000 frames, "), std::string::npos);

  const std::regex fallback(
      R"(\[SegMask\]\[Fallback\] frame=\d+ decision=skip providers_missing=1 providers_using_lookback=0)");
  std::vector<std::string> lines = linesShown(run.bytes);
  EXPECT_EQ(lines.back(), "") << "the bar was not taken away";
  lines.pop_back();
  int fallbacks = 0;
  int others = 0;
  for (const std::string& line : lines) {
    if (std::regex_match(line, fallback)) {
      ++fallbacks;
    } else {
      // The library's announcement, before the first frame.
      EXPECT_NE(line.find("CALL ONCE"), std::string::npos) << line;
      ++others;
    }
  }
  // The second frame, for which the producer is missing, then each 60th, and some by time if the machine is
  // slow.
  EXPECT_GE(fallbacks, 1 + kFrames / 60);
  EXPECT_EQ(others, 1);
}

TEST_F(ToolTerminal, TheBarFitsANarrowTerminal) {
  const TerminalRun run = runOnTerminal(renderArguments(), 30);
  EXPECT_EQ(run.exitCode, 0);
  std::size_t longest = 0;
  std::size_t start = 0;
  for (std::size_t next = 0; (next = run.bytes.find('\r', start)) != std::string::npos; start = next + 1) {
    longest = std::max(longest, next - start);
  }
  EXPECT_GT(longest, 20U);
  EXPECT_LE(longest, 29U + 3U);  // and the erasing sequence
}

TEST_F(ToolTerminal, NoProgressIsSilent) {
  std::vector<std::string> arguments = renderArguments();
  arguments.push_back("--no-progress");
  const TerminalRun run = runOnTerminal(arguments);
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.bytes, "");
}

TEST_F(ToolTerminal, AnErrorStandsOnALineOfItsOwn) {
  std::vector<std::string> arguments = renderArguments();
  folder_.write("d.jsonl", fullMaskLine(9'000, "p") + "rubbish\n");
  const TerminalRun run = runOnTerminal(arguments);
  EXPECT_EQ(run.exitCode, 2);
  const std::vector<std::string> lines = linesShown(run.bytes);
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0].find("segmask: " + folder_.path("d.jsonl") + ":2: not JSON"), 0U) << lines[0];
  EXPECT_EQ(lines[1], "");
}

}  // namespace
