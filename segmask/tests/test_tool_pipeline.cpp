// What reading, drawing and writing at once must not change: order, errors, and what an interruption leaves.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "io/FileDescriptor.h"
#include "test_support/TempFolder.h"
#include "test_support/frames.h"
#include "tests/run_tool.h"

namespace fs = std::filesystem;

namespace {

using segmask::FileDescriptor;
using namespace std::chrono_literals;

const std::string kThrowingPlugin = "libsegmask_throwing_plugin.so";  // throws in frame 2
const std::string kSlowPlugin = "libsegmask_slow_plugin.so";

class ToolPipeline : public ::testing::Test {
 protected:
  std::string path(const std::string& name) const { return folder_.path(name); }

  std::vector<std::string> arguments(const std::string& input, const std::string& output,
                                     const std::vector<std::string>& more = {}) const {
    std::vector<std::string> all{"render",     "--input",      path(input),    "--output",
                                 path(output), "--detections", path("d.jsonl")};
    all.insert(all.end(), more.begin(), more.end());
    return all;
  }

  /// Starts the program with both of its streams in the file "messages".
  pid_t start(const std::vector<std::string>& arguments) const {
    const FileDescriptor file(open(path("messages").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    return startTool(arguments, file.get(), file.get());
  }

  FileDescriptor makePipe(const std::string& name) const {
    EXPECT_EQ(mkfifo(path(name).c_str(), 0600), 0);
    // For reading too, so that opening waits for nobody.
    return FileDescriptor(open(path(name).c_str(), O_RDWR | O_CLOEXEC));
  }

  static void feed(const FileDescriptor& pipe, const std::string& bytes) {
    ASSERT_EQ(segmask::writeFully(pipe.get(), bytes.data(), bytes.size()), 0);
  }

  /// The files that the program has written so far, under their temporary names.
  std::vector<fs::path> stagedFiles() const {
    std::vector<fs::path> files;
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path(""), ignored)) {
      const bool isStaged = entry.path().parent_path().filename().string().find(".segmask-") == 0;
      if (isStaged && entry.is_regular_file(ignored)) files.push_back(entry.path());
    }
    return files;
  }

  /// Waits until `holds`; false when it takes for ever.
  static bool waitUntil(const std::function<bool()>& holds) {
    for (int i = 0; i < 6'000; ++i) {
      if (holds()) return true;
      std::this_thread::sleep_for(5ms);
    }
    return false;
  }

  /// Waits until the program has written something.
  bool waitForOutput() const {
    return waitUntil([&] {
      for (const fs::path& file : stagedFiles()) {
        std::error_code error;
        const std::uintmax_t size = fs::file_size(file, error);
        if (!error && size > 0) return true;
      }
      return false;
    });
  }

  bool waitForMessage(const std::string& text) const {
    return waitUntil([&] { return readFile(path("messages")).find(text) != std::string::npos; });
  }

  /// The number in "segmask: interrupted; the first N frames are in OUTPUT", the last message; -1 if it is
  /// not.
  int framesKept(const std::string& output) const {
    const std::string text = readFile(path("messages"));
    int frames = -1;
    const std::size_t start = text.find("segmask: ");
    if (start == std::string::npos ||
        std::sscanf(text.c_str() + start, "segmask: interrupted; the first %d", &frames) != 1)
      return -1;
    EXPECT_EQ(text.substr(start), "segmask: interrupted; the first " + std::to_string(frames) +
                                      " frames are in " + path(output) + "\n");
    return frames;
  }

  TempFolder folder_;
};

TEST_F(ToolPipeline, ThousandsOfFramesKeepTheirOrderAndTheirDetections) {
  constexpr int kFrames = 3'000;
  const std::string frames = noiseFrames(16, 16, kFrames);
  folder_.write("in.nv12", frames);
  std::string lines;
  for (int frame = 0; frame < kFrames; frame += 7) lines += fullMaskLine(frame, "p");
  folder_.write("d.jsonl", lines);
  const ToolResult result =
      runTool(arguments("in.nv12", "out.nv12", {"--size", "16x16", "--config", "{\"alpha\": 1}"}));
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_NE(result.out.find("frames        3000\nframes drawn  429\ndetections    429\n"), std::string::npos)
      << result.out;
  const std::string out = readFile(path("out.nv12"));
  ASSERT_EQ(out.size(), frames.size());
  // Class 0 is (255, 56, 56), which is this in full-range BT.601.
  std::string painted(16 * 16, '\x73');
  for (int pair = 0; pair < 8 * 8; ++pair) painted += "\x5E\xE3";
  const std::size_t size = frameBytes(16, 16);
  for (std::size_t frame = 0; frame < kFrames; ++frame) {
    const std::string expected = frame % 7 == 0 ? painted : frames.substr(frame * size, size);
    ASSERT_TRUE(out.compare(frame * size, size, expected) == 0) << "frame " << frame;
  }
}

TEST_F(ToolPipeline, TheSummaryNamesTheSlowestStage) {
  folder_.write("in.nv12", flatFrames(16, 16, 20));
  folder_.write("d.jsonl", "");
  const ToolResult result = runTool(
      arguments("in.nv12", "out.nv12",
                {"--size", "16x16", "--plugin", libraryPath(kSlowPlugin), "--config", "{\"frame_ms\": 20}"}));
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_NE(result.out.find("\nslowest stage drawing, busy "), std::string::npos) << result.out;
}

/// With each kind of error, while others are on their way, in files that are all there at once.
class ToolPipelineErrors : public ToolPipeline {
 protected:
  ToolPipelineErrors() { folder_.write("in.nv12", noiseFrames(64, 48, 40)); }

  std::string errorOf(const std::string& detections, const std::vector<std::string>& more = {},
                      const std::function<void()>& prepare = {}) const {
    folder_.write("d.jsonl", detections);
    const std::vector<std::string> before = folder_.names();
    std::vector<std::string> all = arguments("in.nv12", "out.nv12", {"--size", "64x48"});
    all.insert(all.end(), more.begin(), more.end());
    const ToolResult result = runTool(all, prepare);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(folder_.names(), before);
    return result.err;
  }

  static std::string fourPlanarFrames() {
    std::string y4m = "YUV4MPEG2 W64 H48 F25:1 Ip A0:0 C420jpeg\n";
    for (int frame = 0; frame < 4; ++frame) y4m += "FRAME\n" + std::string(64 * 48 * 3 / 2, 'x');
    return y4m;
  }

  /// Frame n does not fit any more.
  static std::function<void()> fileLimit(rlim_t frames) {
    return [frames] {
      const rlim_t bytes = frames * frameBytes(64, 48) + 1;
      const rlimit limit{bytes, bytes};
      setrlimit(RLIMIT_FSIZE, &limit);
    };
  }
};

TEST_F(ToolPipelineErrors, TheOneOfTheFirstFrameIsReported) {
  const std::vector<std::string> throwing{"--plugin", libraryPath(kThrowingPlugin)};
  const std::string drawing = "segmask: frame 2: no luck today\n";
  const std::string writing = "segmask: " + path("out.nv12") + ": File too large\n";
  // The bad line is read with the frame of the line before it.
  const auto badAfter = [](int frame) { return fullMaskLine(frame, "p") + "rubbish\n"; };
  const std::string reading = "segmask: " + path("d.jsonl") + ":2: not JSON: ";

  EXPECT_EQ(errorOf(badAfter(3), throwing), drawing);
  EXPECT_EQ(errorOf(badAfter(2), throwing).find(reading), 0U);
  EXPECT_EQ(errorOf("", throwing, fileLimit(1)), writing);
  EXPECT_EQ(errorOf("", throwing, fileLimit(2)), drawing);
  EXPECT_EQ(errorOf(badAfter(5), {}, fileLimit(4)), writing);
  EXPECT_EQ(errorOf(badAfter(5), {}, fileLimit(5)).find(reading), 0U);
}

TEST_F(ToolPipelineErrors, AnInputThatEndsWithinAFrame) {
  folder_.write("d.jsonl", "");
  FileDescriptor pipe = makePipe("pipe.nv12");
  const pid_t process = start(arguments("pipe.nv12", "out.nv12", {"--size", "64x48"}));
  feed(pipe, noiseFrames(64, 48, 9).substr(0, 8 * frameBytes(64, 48) + 100));
  EXPECT_TRUE(waitForOutput());
  pipe.reset();
  EXPECT_EQ(waitForTool(process), 2);
  EXPECT_EQ(readFile(path("messages")),
            "segmask: " + path("pipe.nv12") + ": ends within frame 8, after 100 of 4608 bytes\n");
  EXPECT_EQ(folder_.names(), (std::vector<std::string>{"d.jsonl", "in.nv12", "messages", "pipe.nv12"}));
}

/// A later stage fails while the earlier one waits for input that does not come.
TEST_F(ToolPipelineErrors, EndAReaderThatWaits) {
  const std::vector<std::string> throwing{"--plugin", libraryPath(kThrowingPlugin)};
  const FileDescriptor raw = makePipe("raw.nv12");
  const FileDescriptor planar = makePipe("planar.y4m");
  const FileDescriptor lines = makePipe("lines.jsonl");
  folder_.write("d.jsonl", "");

  std::vector<std::string> all = arguments("raw.nv12", "out.nv12", {"--size", "64x48"});
  all.insert(all.end(), throwing.begin(), throwing.end());
  const auto expectEnd = [this](const std::vector<std::string>& words, const FileDescriptor& pipe,
                                const std::string& bytes) {
    const pid_t process = start(words);
    feed(pipe, bytes);
    EXPECT_EQ(waitForTool(process), 2);
    EXPECT_EQ(readFile(path("messages")), "segmask: frame 2: no luck today\n");
  };
  expectEnd(all, raw, noiseFrames(64, 48, 4));
  expectEnd(arguments("planar.y4m", "out.nv12", throwing), planar, fourPlanarFrames());
  all[6] = path("lines.jsonl");
  all[2] = path("in.nv12");
  expectEnd(all, lines, fullMaskLine(0, "p") + fullMaskLine(3, "p"));
}

/// The signal that wakes the reader, blocked in the tool by whoever started it.
TEST_F(ToolPipelineErrors, EndAReaderThatWaitsWhateverSignalsItsParentBlocks) {
  const FileDescriptor planar = makePipe("planar.y4m");
  folder_.write("d.jsonl", "");
  sigset_t urgent;
  sigset_t before;
  sigemptyset(&urgent);
  sigaddset(&urgent, SIGURG);
  pthread_sigmask(SIG_BLOCK, &urgent, &before);
  const pid_t process =
      start(arguments("planar.y4m", "out.nv12", {"--plugin", libraryPath(kThrowingPlugin)}));
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  feed(planar, fourPlanarFrames());
  EXPECT_EQ(waitForTool(process), 2);
  EXPECT_EQ(readFile(path("messages")), "segmask: frame 2: no luck today\n");
}

class ToolPipelineInterrupt : public ToolPipeline {
 protected:
  ToolPipelineInterrupt() { folder_.write("d.jsonl", ""); }
};

TEST_F(ToolPipelineInterrupt, WhileDrawingIsSlowKeepsWhatIsDrawnAndDrawsNoMore) {
  const std::string frames = noiseFrames(64, 48, 100);
  folder_.write("in.nv12", frames);
  const pid_t process = start(arguments(
      "in.nv12", "out.nv12",
      {"--size", "64x48", "--plugin", libraryPath(kSlowPlugin), "--config", "{\"frame_ms\": 400}"}));
  ASSERT_TRUE(waitForOutput());
  ASSERT_EQ(kill(process, SIGINT), 0);
  EXPECT_EQ(waitForTool(process), 130);
  const int kept = framesKept("out.nv12");
  // The one that was written, the one that was being drawn, and one for a slow machine; three were waiting.
  EXPECT_GE(kept, 1);
  EXPECT_LE(kept, 3);
  EXPECT_TRUE(readFile(path("out.nv12")) ==
              frames.substr(0, static_cast<std::size_t>(kept) * frameBytes(64, 48)));
  EXPECT_EQ(folder_.names(), (std::vector<std::string>{"d.jsonl", "in.nv12", "messages", "out.nv12"}));
}

TEST_F(ToolPipelineInterrupt, WhileWritingIsSlowKeepsWhatIsDrawn) {
  constexpr int kFrames = 1'000;
  folder_.write("in.nv12", "");
  // A hole: it takes no room.
  fs::resize_file(path("in.nv12"), kFrames * frameBytes(1920, 1080));
  const pid_t process = start(arguments("in.nv12", "f_%04d.png", {"--size", "1920x1080"}));
  ASSERT_TRUE(waitForOutput());
  ASSERT_EQ(kill(process, SIGTERM), 0);
  EXPECT_EQ(waitForTool(process), 130);
  const int kept = framesKept("f_%04d.png");
  EXPECT_GE(kept, 1);
  EXPECT_LT(kept, kFrames / 2);
  std::vector<std::string> expected{"d.jsonl"};
  for (int frame = 0; frame < kept; ++frame) {
    char name[32];
    std::snprintf(name, sizeof name, "f_%04d.png", frame);
    expected.push_back(name);
  }
  expected.insert(expected.end(), {"in.nv12", "messages"});
  EXPECT_EQ(folder_.names(), expected);
}

TEST_F(ToolPipelineInterrupt, ThatComesTwiceDoesNotWait) {
  folder_.write("in.nv12", noiseFrames(64, 48, 10));
  const pid_t process = start(arguments(
      "in.nv12", "out.nv12",
      {"--size", "64x48", "--plugin", libraryPath(kSlowPlugin), "--config", "{\"frame_ms\": 3000}"}));
  ASSERT_TRUE(waitForOutput());
  // Between two frames the first signal would end the program, and keep the frame.
  ASSERT_TRUE(waitForMessage("frame 2 begins"));
  ASSERT_EQ(kill(process, SIGINT), 0);
  std::this_thread::sleep_for(300ms);  // two signals at once would be one
  ASSERT_EQ(kill(process, SIGINT), 0);
  EXPECT_EQ(waitForTool(process), 128 + SIGINT);
  EXPECT_FALSE(fs::exists(path("out.nv12")));
}

}  // namespace
