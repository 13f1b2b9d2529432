#include <gtest/gtest.h>
#include <sys/resource.h>

#include "test_support/TempFolder.h"
#include "test_support/frames.h"
#include "tests/run_tool.h"

namespace {

constexpr int kWidth = 16;
constexpr int kHeight = 8;
constexpr int kFrames = 6;

/// A folder with good input and an older output, and the tool's complaints about what a test changes in it.
/// Most bad input is in test_bad_input.cpp.
class ToolBadInput : public ::testing::Test {
 protected:
  ToolBadInput() {
    folder_.write("in.nv12", flatFrames(kWidth, kHeight, kFrames));
    folder_.write("good.jsonl", fullMaskLine(0, "p") + fullMaskLine(1, "p") + fullMaskLine(3, "p"));
    folder_.write("out.nv12", "old");
  }

  std::string path(const std::string& name) const { return folder_.path(name); }

  /// Whole command lines, so that a test shows all that it gives.
  ToolResult render(const std::vector<std::string>& arguments) const {
    std::vector<std::string> all{"render"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return runTool(all);
  }

  /// The tool ends with exit code 2 and one line that says `what`, and leaves no trace.
  void expectRefused(const std::vector<std::string>& arguments, const std::string& what) const {
    const std::vector<std::string> before = folder_.names();
    const ToolResult result = render(arguments);
    EXPECT_EQ(result.exitCode, 2) << what;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(lineCount(result.err), 1U) << result.err;
    EXPECT_EQ(result.err.find("segmask: "), 0U) << result.err;
    EXPECT_NE(result.err.find(what), std::string::npos) << result.err << "\nlacks: " << what;
    EXPECT_EQ(folder_.names(), before);
    EXPECT_EQ(readFile(path("out.nv12")), "old");
  }

  void expectInputRefused(const std::string& input, const std::string& what) const {
    expectRefused({"--input", input, "--detections", path("good.jsonl"), "--output", path("out.nv12")}, what);
  }

  TempFolder folder_;
};

TEST_F(ToolBadInput, FilesThatAreMissingOrNoVideo) {
  expectInputRefused(path("none.mp4"), path("none.mp4") + ": No such file or directory");
  expectInputRefused(folder_.write("text.mp4", "no video\n"), path("text.mp4") + ": Invalid data");
  expectInputRefused(folder_.write("empty.mkv", ""), path("empty.mkv") + ": ");
  expectInputRefused(path(""), ": is a folder, and its pictures become pictures; ");
}

TEST_F(ToolBadInput, AFileWithoutAVideoStream) {
  // A WAV file: 8 bits, one channel, 8000 samples a second, four samples.
  const std::string wav(
      "RIFF\x28\0\0\0WAVEfmt \x10\0\0\0\1\0\1\0\x40\x1F\0\0\x40\x1F\0\0\1\0\x8\0data\4\0\0\0abcd", 48);
  expectInputRefused(folder_.write("sound.wav", wav), path("sound.wav") + ": no video stream");
}

TEST_F(ToolBadInput, ASizeForAFileThatSaysItsOwn) {
  folder_.write("v.y4m", "YUV4MPEG2 W2 H2 F25:1 Ip A0:0 C420jpeg\nFRAME\nabcdef");
  expectRefused({"--input", path("v.y4m"), "--size", "2x2", "--detections", path("good.jsonl"), "--output",
                 path("out.nv12")},
                path("v.y4m") + ": --size is for raw .nv12 input");
}

TEST_F(ToolBadInput, PngSequences) {
  const auto refused = [this](const std::string& input, const std::string& output, const std::string& what) {
    expectRefused(
        {"--input", input, "--size", "16x8", "--detections", path("good.jsonl"), "--output", output},
        output + ": " + what);
  };
  refused(path("in.nv12"), path("out.png"), "a PNG sequence needs exactly one integer conversion");
  refused(folder_.write("f_0003.png", "x"), path("./f_%04d.png"), "--output would replace --input");
}

TEST_F(ToolBadInput, ADiskThatIsFullLeavesNothingBehind) {
  const std::string input = folder_.write("noise.nv12", noiseFrames(128, 96, 40));
  for (const char* name : {"full.nv12", "full.y4m", "full.mp4", "full.mkv", "full_%d.png"}) {
    const std::vector<std::string> before = folder_.names();
    // A limit on the size of files fails a write just like a full disk, at a size that a test can choose. It
    // is less than one frame as PNG.
    const ToolResult result = runTool({"render", "--input", input, "--size", "128x96", "--detections",
                                       path("good.jsonl"), "--output", path(name)},
                                      [] {
                                        const rlimit limit{20'000, 20'000};
                                        setrlimit(RLIMIT_FSIZE, &limit);
                                      });
    EXPECT_EQ(result.exitCode, 2) << name;
    EXPECT_EQ(lineCount(result.err), 1U) << result.err;
    EXPECT_NE(result.err.find("File too large"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find(path(name)), std::string::npos) << result.err;
    EXPECT_EQ(folder_.names(), before) << name;
  }
}

}  // namespace
