#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <string>

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

class ToolInterrupt : public ::testing::TestWithParam<int> {};

TEST_P(ToolInterrupt, KeepsTheFramesSoFar) {
  const TempFolder folder;
  const std::string input = folder.path("pipe.nv12");
  ASSERT_EQ(mkfifo(input.c_str(), 0600), 0);
  folder.write("d.jsonl", "");
  const FileDescriptor out(open(folder.path("stdout").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  const FileDescriptor err(open(folder.path("stderr").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  const pid_t process = startTool({"render", "--input", input, "--size", "64x48", "--detections",
                                   folder.path("d.jsonl"), "--output", folder.path("out.mp4")},
                                  out.get(), err.get());

  // Writing blocks until the program has taken all but the pipe's 64 KiB, so when it is done at least
  // (40 frames - 64 KiB) have been read, and the program waits for more.
  FileDescriptor pipe(open(input.c_str(), O_WRONLY | O_CLOEXEC));
  ASSERT_TRUE(pipe);
  const std::string frames = flatFrames(kWidth, kHeight, kFramesFed);
  ASSERT_EQ(segmask::writeFully(pipe.get(), frames.data(), frames.size()), 0);
  ASSERT_EQ(kill(process, GetParam()), 0);
  EXPECT_EQ(waitForTool(process), 130);

  const auto reader = segmask::openFrameReader(folder.path("out.mp4"), std::nullopt);
  int count = 0;
  for (segmask::Frame frame; reader->next(frame);) ++count;
  EXPECT_GE(count, 20);
  EXPECT_LE(count, kFramesFed);
  EXPECT_EQ(readFile(folder.path("stderr")), "segmask: interrupted; the first " + std::to_string(count) +
                                                 " frames are in " + folder.path("out.mp4") + "\n");
  EXPECT_EQ(folder.names(),
            (std::vector<std::string>{"d.jsonl", "out.mp4", "pipe.nv12", "stderr", "stdout"}));
}

INSTANTIATE_TEST_SUITE_P(Signals, ToolInterrupt, ::testing::Values(SIGINT, SIGTERM),
                         [](const auto& test) { return test.param == SIGINT ? "Int" : "Term"; });

TEST(ToolInterruptEarly, BeforeTheFirstFrameNothingIsWritten) {
  const TempFolder folder;
  const std::string input = folder.path("pipe.nv12");
  ASSERT_EQ(mkfifo(input.c_str(), 0600), 0);
  folder.write("d.jsonl", "");
  folder.write("out.nv12", "old");
  const FileDescriptor err(open(folder.path("stderr").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  const pid_t process = startTool({"render", "--input", input, "--size", "64x48", "--detections",
                                   folder.path("d.jsonl"), "--output", folder.path("out.nv12")},
                                  err.get(), err.get());
  // Opening succeeds once the program has opened its end, which is after it has set up its signal handling.
  const FileDescriptor pipe(open(input.c_str(), O_WRONLY | O_CLOEXEC));
  ASSERT_TRUE(pipe);
  ASSERT_EQ(kill(process, SIGINT), 0);
  EXPECT_EQ(waitForTool(process), 130);
  EXPECT_EQ(readFile(folder.path("stderr")),
            "segmask: interrupted before the first frame; nothing was written\n");
  EXPECT_EQ(readFile(folder.path("out.nv12")), "old");
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"d.jsonl", "out.nv12", "pipe.nv12", "stderr"}));
}

TEST(ToolInterruptEarly, WaitingForDetectionsCanBeEnded) {
  const TempFolder folder;
  const std::string detections = folder.path("pipe.jsonl");
  ASSERT_EQ(mkfifo(detections.c_str(), 0600), 0);
  folder.write("in.nv12", flatFrames(kWidth, kHeight, 2));
  const FileDescriptor err(open(folder.path("stderr").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  const pid_t process = startTool({"render", "--input", folder.path("in.nv12"), "--size", "64x48",
                                   "--detections", detections, "--output", folder.path("out.nv12")},
                                  err.get(), err.get());
  const FileDescriptor pipe(open(detections.c_str(), O_WRONLY | O_CLOEXEC));
  ASSERT_TRUE(pipe);
  const std::string halfALine = fullMaskLine(0, "p").substr(0, 20);
  ASSERT_EQ(segmask::writeFully(pipe.get(), halfALine.data(), halfALine.size()), 0);
  ASSERT_EQ(kill(process, SIGTERM), 0);
  EXPECT_EQ(waitForTool(process), 130);
  EXPECT_EQ(readFile(folder.path("stderr")),
            "segmask: interrupted before the first frame; nothing was written\n");
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"in.nv12", "pipe.jsonl", "stderr"}));
}

}  // namespace
