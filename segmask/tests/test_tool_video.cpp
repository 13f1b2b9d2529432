// A video's ways: its sound, its part, its streams, its encoder.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <thread>

#include "io/FileDescriptor.h"
#include "test_support/TempFolder.h"
#include "test_support/frames.h"
#include "test_support/media.h"
#include "tests/run_tool.h"
#include "video/FrameReader.h"

namespace fs = std::filesystem;

namespace {

using segmask::FileDescriptor;
using segmask::Frame;

constexpr int kFrames = 50;

class ToolVideo : public ::testing::Test {
 protected:
  ToolVideo() {
    folder_.write("d.jsonl", "{\"frame\": 0, \"producer\": \"p\"}\n");
    video_.video.frames = kFrames;
    MediaSound sound;
    sound.seconds = 3;
    video_.sounds.push_back(sound);
  }

  std::string path(const std::string& name) const { return folder_.path(name); }

  void make(const std::string& name) const { writeMedia(path(name), video_); }

  std::vector<std::string> arguments(const std::string& input, const std::string& output,
                                     const std::vector<std::string>& more = {}) const {
    std::vector<std::string> all{"render", "--input",      input,          "--output",
                                 output,   "--detections", path("d.jsonl")};
    all.insert(all.end(), more.begin(), more.end());
    return all;
  }

  /// Runs a render of files in the folder.
  ToolResult render(const std::string& input, const std::string& output,
                    const std::vector<std::string>& more = {}) const {
    return runTool(arguments(path(input), path(output), more));
  }

  /// A descriptor to give the tool as a stream.
  FileDescriptor openForTool(const std::string& name, int flags) const {
    return FileDescriptor(open(path(name).c_str(), flags | O_CLOEXEC, 0600));
  }

  TempFolder folder_;
  MediaFile video_;
};

TEST_F(ToolVideo, SoundIsCopiedUnlessItIsNotWanted) {
  make("v.mp4");
  const MediaTrack sound = tracksOf(path("v.mp4"))[1];
  for (const char* output : {"out.mp4", "out.mkv"}) {
    const ToolResult result = render("v.mp4", output);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    const std::vector<MediaTrack> tracks = tracksOf(path(output));
    ASSERT_EQ(tracks.size(), 2U);
    EXPECT_EQ(tracks[0].packets.size(), static_cast<std::size_t>(kFrames));
    EXPECT_EQ(tracks[1].packets, sound.packets);
  }
  EXPECT_EQ(render("v.mp4", "mute.mp4", {"--no-audio"}).err, "");
  EXPECT_EQ(tracksOf(path("mute.mp4")).size(), 1U);
  EXPECT_EQ(render("v.mp4", "out.y4m").err,
            "segmask: note: stream 1 (audio, aac) is left out: .y4m cannot hold it\n");
}

TEST_F(ToolVideo, WhatFramesLoseIsSaidOnce) {
  video_.video.encoder = "ffv1";
  video_.video.pixelFormat = AV_PIX_FMT_YUV420P10;
  video_.sounds.clear();
  make("v.mkv");
  EXPECT_EQ(render("v.mkv", "out.mp4").err,
            "segmask: note: " + path("v.mkv") + ": its 10 bits a sample become 8 (yuv420p10le)\n");
}

TEST_F(ToolVideo, RotationIsAppliedOrKept) {
  constexpr int32_t kOne = 1 << 16;
  video_.video.displayMatrix = {0, kOne, 0, -kOne, 0, 0, 0, 0, 1 << 30};
  make("v.mp4");
  EXPECT_EQ(render("v.mp4", "upright.y4m", {"--no-audio"}).err, "");
  EXPECT_EQ(readFile(path("upright.y4m")).find("YUV4MPEG2 W48 H64 "), 0U);
  EXPECT_EQ(render("v.mp4", "stored.y4m", {"--no-audio", "--rotate", "keep"}).err,
            "segmask: note: .y4m cannot hold the rotation of the input\n");
  EXPECT_EQ(readFile(path("stored.y4m")).find("YUV4MPEG2 W64 H48 "), 0U);
  EXPECT_EQ(render("v.mp4", "kept.mp4", {"--rotate", "keep"}).err, "");
  EXPECT_TRUE(tracksOf(path("kept.mp4"))[0].hasDisplayMatrix);
}

/// The luma of the frames' first pixels, which name the frames of flatFrames().
std::vector<int> firstPixels(const std::string& bytes, int width, int height) {
  std::vector<int> pixels;
  for (std::size_t at = 0; at < bytes.size(); at += frameBytes(width, height))
    pixels.push_back(static_cast<unsigned char>(bytes[at]));
  return pixels;
}

TEST_F(ToolVideo, APartKeepsItsFramesNumbers) {
  folder_.write("in.nv12", flatFrames(16, 8, 20));
  folder_.write("d.jsonl", fullMaskLine(3, "p") + fullMaskLine(6, "p") + fullMaskLine(15, "p"));
  const std::vector<std::string> size{"--size", "16x8", "--config", "{\"alpha\": 1}"};
  const auto part = [&](const std::vector<std::string>& more) {
    std::vector<std::string> all = size;
    all.insert(all.end(), more.begin(), more.end());
    const ToolResult result = render("in.nv12", "out.nv12", all);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitCode, 0);
    return firstPixels(readFile(path("out.nv12")), 16, 8);
  };
  constexpr int kPainted = 0x73;
  // Frame n has the luma 40 + 4 n.
  EXPECT_EQ(part({"--start", "5", "--frames", "3"}), (std::vector<int>{60, kPainted, 68}));
  EXPECT_EQ(part({"--start", "14"}), (std::vector<int>{96, kPainted, 104, 108, 112, 116}));
  EXPECT_EQ(part({"--frames", "4"}), (std::vector<int>{40, 44, 48, kPainted}));
  // 30 frames a second.
  EXPECT_EQ(part({"--start", "0.2", "--frames", "1"}), (std::vector<int>{kPainted}));
}

TEST_F(ToolVideo, APartHasItsSound) {
  video_.sounds[0].encoder = "pcm_s16le";
  make("v.mkv");
  EXPECT_EQ(render("v.mkv", "out.mkv", {"--start", "1.0", "--frames", "10"}).exitCode, 0);
  const std::vector<MediaTrack> tracks = tracksOf(path("out.mkv"));
  EXPECT_EQ(tracks[0].packets.size(), 10U);
  const std::vector<std::string> before = tracksOf(path("v.mkv"))[1].packets;
  ASSERT_GT(tracks[1].packets.size(), 0U);
  EXPECT_EQ(tracks[1].packets[0], before[47]);
  EXPECT_NEAR(tracks[1].end, 0.4, 0.025);
}

TEST_F(ToolVideo, EncoderOptionsReachTheEncoder) {
  video_.video.fill = [](int number, AVFrame& frame) {
    for (int y = 0; y < frame.height; ++y)
      for (int x = 0; x < frame.width; ++x)
        frame.data[0][y * frame.linesize[0] + x] = static_cast<uint8_t>((x * y * 37 + number * 11) & 0xFF);
  };
  make("v.mp4");
  const auto bytesOf = [&](const std::vector<std::string>& more) {
    EXPECT_EQ(render("v.mp4", "out.mkv", more).exitCode, 0);
    return fs::file_size(path("out.mkv"));
  };
  const std::uintmax_t usual = bytesOf({});
  EXPECT_EQ(bytesOf({"--crf", "18", "--preset", "veryfast"}), usual);
  EXPECT_LT(bytesOf({"--crf", "40"}), usual / 2);
  EXPECT_NE(bytesOf({"--preset", "ultrafast"}), usual);
}

TEST_F(ToolVideo, AnOptionThatIsMisspeltIsNamedWithTheNearest) {
  const ToolResult result = runTool({"render", "--input", "v.mp4", "--ouput=out.mp4"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.err, "segmask: there is no option '--ouput'; did you mean '--output'?\n");
  EXPECT_EQ(runTool({"inspect", "--whatever"}).err,
            "segmask: there is no option '--whatever' (see segmask inspect --help)\n");
}

TEST_F(ToolVideo, OverwritesUnlessItMayNot) {
  make("v.mp4");
  folder_.write("out.mp4", "old");
  EXPECT_EQ(render("v.mp4", "out.mp4", {"-n"}).exitCode, 2);
  EXPECT_EQ(readFile(path("out.mp4")), "old");
  EXPECT_EQ(render("v.mp4", "new.mp4", {"-n"}).exitCode, 0);
  EXPECT_EQ(render("v.mp4", "out.mp4", {"-y"}).exitCode, 0);
  EXPECT_EQ(render("v.mp4", "out.mp4").exitCode, 0);
}

/// The plug-in waits in the first frame, so that the file comes in the middle of the run.
TEST_F(ToolVideo, WhatAppearsDuringTheRunIsKeptToo) {
  folder_.write("in.nv12", flatFrames(16, 8, 20));
  for (const char* appearing : {"out.mkv", "sheet.png", "summary.json"}) {
    folder_.write("hold", "");
    const FileDescriptor err = openForTool("err", O_WRONLY | O_CREAT | O_TRUNC);
    const pid_t process =
        startTool(arguments(path("in.nv12"), path("out.mkv"),
                            {"-n", "--size", "16x8", "--contact-sheet", path("sheet.png"), "--summary-json",
                             path("summary.json"), "--plugin", libraryPath("libsegmask_held_plugin.so"),
                             "--config", "{\"hold\": \"" + path("hold") + "\"}"}),
                  err.get(), err.get());
    while (!fs::exists(path("hold." + std::to_string(process))))
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    folder_.write(appearing, "another's");
    fs::remove(path("hold"));
    EXPECT_EQ(waitForTool(process), 2);
    EXPECT_EQ(readFile(path("err")), "segmask: " + path(appearing) + ": exists, and -n never overwrites\n");
    EXPECT_EQ(readFile(path(appearing)), "another's");
    for (const char* output : {"out.mkv", "sheet.png", "summary.json"}) {
      EXPECT_EQ(fs::exists(path(output)), output == std::string(appearing)) << output;
      fs::remove(path(output));
    }
  }
}

TEST_F(ToolVideo, StandardStreamsCarryVideosAndTheSummaryStepsAside) {
  const std::string frames = flatFrames(16, 8, 20);
  const FileDescriptor raw = (folder_.write("in.nv12", frames), openForTool("in.nv12", O_RDONLY));
  const ToolResult result =
      runTool(arguments("-", "-", {"--size", "16x8"}), [&raw] { dup2(raw.get(), STDIN_FILENO); });
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_NE(result.err.find("frames        20\n"), std::string::npos) << result.err;
  folder_.write("piped.mkv", result.out);
  EXPECT_EQ(tracksOf(path("piped.mkv"))[0].packets.size(), 20U);

  EXPECT_EQ(render("in.nv12", "v.y4m", {"--size", "16x8"}).exitCode, 0);
  const FileDescriptor y4m = openForTool("v.y4m", O_RDONLY);
  const ToolResult back =
      runTool(arguments("-", path("back.nv12")), [&y4m] { dup2(y4m.get(), STDIN_FILENO); });
  EXPECT_EQ(back.exitCode, 0);
  EXPECT_NE(back.out.find("frames        20\n"), std::string::npos);
  EXPECT_EQ(readFile(path("back.nv12")), frames);
}

/// Reads a pipe to its end while the tool writes it.
std::string drain(const std::string& path) {
  const FileDescriptor pipe(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  std::string bytes;
  char block[4096];
  for (ssize_t count = 0; (count = read(pipe.get(), block, sizeof block)) > 0;)
    bytes.append(block, static_cast<std::size_t>(count));
  return bytes;
}

TEST_F(ToolVideo, PipesCarryVideos) {
  make("v.mp4");
  for (const char* name : {"out.mkv", "out.y4m", "out.nv12"}) {
    ASSERT_EQ(mkfifo(path(name).c_str(), 0600), 0);
    std::string bytes;
    std::thread reader([&] { bytes = drain(path(name)); });
    EXPECT_EQ(render("v.mp4", name).exitCode, 0);
    reader.join();
    EXPECT_TRUE(fs::is_fifo(path(name)));
    if (name == std::string("out.nv12")) {
      EXPECT_EQ(bytes.size(), kFrames * frameBytes(64, 48));
    }
    if (name != std::string("out.mkv")) continue;
    folder_.write("read.mkv", bytes);
    EXPECT_EQ(tracksOf(path("read.mkv"))[1].packets, tracksOf(path("v.mp4"))[1].packets);
  }
}

TEST_F(ToolVideo, ChaptersGoThroughAPipeAndArePartedInAFile) {
  video_.chapters = {{0, 1, "Out"}, {1, 2, "Back"}};
  make("v.mkv");
  folder_.write("piped.mkv", runTool(arguments(path("v.mkv"), "-")).out);
  EXPECT_EQ(textsOf(path("piped.mkv")).chapters, video_.chapters);
  EXPECT_EQ(render("v.mkv", "out.mkv", {"--start", "1.5", "--frames", "10"}).exitCode, 0);
  const std::vector<MediaChapter> chapters = textsOf(path("out.mkv")).chapters;
  ASSERT_EQ(chapters.size(), 1U);
  EXPECT_EQ(chapters[0].title, "Back");
  EXPECT_EQ(chapters[0].start, 0);
  EXPECT_NEAR(chapters[0].end, 0.4, 0.05);
}

TEST_F(ToolVideo, AClosedPipeEndsTheRunQuietly) {
  folder_.write("in.nv12", noiseFrames(64, 48, 200));
  for (const char* output : {"-", "out.nv12"}) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    FileDescriptor reading(ends[0]);
    const FileDescriptor writing(ends[1]);
    std::string name = output;
    if (name != "-") {
      name = path(name);
      ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
      reading = FileDescriptor(open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    }
    const FileDescriptor err = openForTool("err", O_WRONLY | O_CREAT | O_TRUNC);
    const pid_t process =
        startTool(arguments(path("in.nv12"), name, {"--size", "64x48"}), writing.get(), err.get());
    char first = 0;
    while (read(reading.get(), &first, 1) != 1) std::this_thread::yield();
    reading.reset();
    EXPECT_EQ(waitForTool(process), 141);
    EXPECT_EQ(readFile(path("err")), "");
  }
}

/// The slow plug-in makes it certain that the signal comes in the middle.
TEST_F(ToolVideo, AnInterruptionKeepsTheSoundUpToIt) {
  video_.video.frames = 500;
  video_.sounds[0].seconds = 20;
  make("v.mp4");
  const FileDescriptor err = openForTool("err", O_WRONLY | O_CREAT | O_TRUNC);
  const pid_t process = startTool(
      arguments(path("v.mp4"), path("out.mkv"),
                {"--plugin", libraryPath("libsegmask_slow_plugin.so"), "--config", "{\"frame_ms\": 20}"}),
      err.get(), err.get());
  // It says each frame as it begins.
  for (int i = 0; i < 6'000 && readFile(path("err")).find("frame 60 begins") == std::string::npos; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  ASSERT_EQ(kill(process, SIGINT), 0);
  EXPECT_EQ(waitForTool(process), 130);
  const std::vector<MediaTrack> tracks = tracksOf(path("out.mkv"));
  ASSERT_EQ(tracks.size(), 2U);
  EXPECT_GE(tracks[0].packets.size(), 50U);
  EXPECT_LT(tracks[0].packets.size(), 450U);
  EXPECT_NEAR(tracks[1].end, tracks[0].end, 0.05);
}

TEST_F(ToolVideo, DamagedSoundIsLeftOutAndCounted) {
  make("v.ts");
  folder_.write("damaged.ts", withDamagedSound(readFile(path("v.ts"))));
  for (const char* output : {"out.mp4", "out.mkv"}) {
    const ToolResult result =
        render("damaged.ts", output, {"--strict", "--summary-json", path("summary.json")});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_NE(result.out.find("\ndamaged       1 packets"), std::string::npos) << result.out;
    EXPECT_NE(readFile(path("summary.json")).find("\"damaged\": 1"), std::string::npos);
    EXPECT_EQ(result.err, "segmask: warning: " + path("damaged.ts") +
                              ": 1 packet of its sound or other streams is damaged and left out\n");
    EXPECT_EQ(tracksOf(path(output))[0].packets.size(), static_cast<std::size_t>(kFrames));
    EXPECT_GT(tracksOf(path(output))[1].packets.size(), 100U);
  }
  EXPECT_EQ(render("damaged.ts", "out.mp4").exitCode, 0);
}

TEST_F(ToolVideo, TimesThatJumpBackAreSaid) {
  make("v.ts");
  const std::string once = readFile(path("v.ts"));
  folder_.write("twice.ts", once + once);
  const ToolResult result = render("twice.ts", "out.mp4", {"--strict"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "segmask: warning: " + path("twice.ts") +
                            ": its time stamps jump back in 1 place; from there on they are moved, so that "
                            "time goes on\n");
  EXPECT_EQ(tracksOf(path("out.mp4"))[0].packets.size(), static_cast<std::size_t>(2 * kFrames));
}

TEST_F(ToolVideo, AFullDiskLeavesNothingBehind) {
  make("v.mp4");
  fs::create_directory(path("small"));
  if (mount("none", path("small").c_str(), "tmpfs", 0, "size=16k") != 0) {
    GTEST_SKIP() << "no file system may be mounted here, so none can be filled";
  }
  folder_.write("in.nv12", noiseFrames(64, 48, 20));
  for (const char* output : {"small/out.mp4", "small/out.mkv", "small/out.nv12", "small/f_%d.png"}) {
    const ToolResult result = render("in.nv12", output, {"--size", "64x48"});
    EXPECT_EQ(result.exitCode, 2) << output;
    EXPECT_EQ(result.err.find("segmask: " + path(output)), 0U) << result.err;
    EXPECT_NE(result.err.find(": No space left on device\n"), std::string::npos) << result.err;
    EXPECT_TRUE(fs::is_empty(path("small"))) << output;
  }
  EXPECT_EQ(umount(path("small").c_str()), 0);
}

}  // namespace
