#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <string>
#include <vector>

#include "io/FileDescriptor.h"
#include "test_support/TempFolder.h"
#include "test_support/frames.h"
#include "tests/run_tool.h"
#include "video/FrameReader.h"

namespace {

using segmask::FileDescriptor;

constexpr int kWidth = 64;
constexpr int kHeight = 48;
constexpr int kFramesFed = 40;

class ToolInterrupt : public ::testing::TestWithParam<int> {
 protected:
  /// Starts the program with one of its inputs a pipe, feeds that, and interrupts the program, which waits
  /// for more. Gives what it wrote to standard error.
  std::string errorsOf(const std::string& pipe, const std::string& bytes, const std::string& output,
                       int signal) {
    EXPECT_EQ(mkfifo(path(pipe).c_str(), 0600), 0);
    const FileDescriptor err(open(path("stderr").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    const FileDescriptor out(open("/dev/null", O_WRONLY | O_CLOEXEC));
    const pid_t process =
        startTool({"render", "--input", path("in.nv12"), "--size", "64x48", "--detections", path("d.jsonl"),
                   "--output", path(output), "--report", path("report.html")},
                  out.get(), err.get());
    // Opening succeeds once the program has opened its end, which is after it has set up its signal handling.
    const FileDescriptor fed(open(path(pipe).c_str(), O_WRONLY | O_CLOEXEC));
    EXPECT_TRUE(fed);
    // Writing blocks until the program has taken all but the pipe's 64 KiB.
    EXPECT_EQ(segmask::writeFully(fed.get(), bytes.data(), bytes.size()), 0);
    EXPECT_EQ(kill(process, signal), 0);
    EXPECT_EQ(waitForTool(process), 130);
    return readFile(path("stderr"));
  }

  std::string path(const std::string& name) const { return folder_.path(name); }

  TempFolder folder_;
};

using Names = std::vector<std::string>;

TEST_P(ToolInterrupt, KeepsTheFramesSoFar) {
  folder_.write("d.jsonl", "");
  const std::string errors =
      errorsOf("in.nv12", flatFrames(kWidth, kHeight, kFramesFed), "out.mp4", GetParam());
  const auto reader = segmask::openFrameReader(path("out.mp4"), std::nullopt);
  int count = 0;
  for (segmask::Frame frame; reader->next(frame);) ++count;
  EXPECT_GE(count, 20);
  EXPECT_LE(count, kFramesFed);
  EXPECT_EQ(errors, "segmask: interrupted; the first " + std::to_string(count) + " frames are in " +
                        path("out.mp4") + "\n");
  EXPECT_EQ(folder_.names(), (Names{"d.jsonl", "in.nv12", "out.mp4", "report.html", "stderr"}));
  // Reading ends at once after an interrupt, so a digest would be that of nothing.
  const std::string report = readFile(path("report.html"));
  EXPECT_EQ(report.find("SHA-256"), std::string::npos);
  EXPECT_NE(report.find("the run was interrupted, so no digest"), std::string::npos);
}

const char* const kNothingWritten = "segmask: interrupted before the first frame; nothing was written\n";

TEST_P(ToolInterrupt, BeforeTheFirstFrameNothingIsWritten) {
  folder_.write("d.jsonl", "");
  folder_.write("out.nv12", "old");
  EXPECT_EQ(errorsOf("in.nv12", "", "out.nv12", GetParam()), kNothingWritten);
  EXPECT_EQ(readFile(path("out.nv12")), "old");
  EXPECT_EQ(folder_.names(), (Names{"d.jsonl", "in.nv12", "out.nv12", "stderr"}));
}

TEST_P(ToolInterrupt, WaitingForDetectionsCanBeEnded) {
  folder_.write("in.nv12", flatFrames(kWidth, kHeight, 2));
  const std::string halfALine = fullMaskLine(0, "p").substr(0, 20);
  EXPECT_EQ(errorsOf("d.jsonl", halfALine, "out.nv12", GetParam()), kNothingWritten);
  EXPECT_EQ(folder_.names(), (Names{"d.jsonl", "in.nv12", "stderr"}));
}

INSTANTIATE_TEST_SUITE_P(Signals, ToolInterrupt, ::testing::Values(SIGINT, SIGTERM),
                         [](const auto& test) { return test.param == SIGINT ? "Int" : "Term"; });

}  // namespace
