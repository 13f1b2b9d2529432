#include <gtest/gtest.h>
#include <sys/resource.h>

#include <filesystem>

#include "test_support/TempFolder.h"
#include "test_support/frames.h"
#include "tests/run_tool.h"

namespace {

constexpr int kWidth = 16;
constexpr int kHeight = 8;
constexpr int kFrames = 6;

/// A folder with good input and an older output, and the tool's complaints about what a test changes in it.
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

  void expectDetectionsRefused(const std::string& text, const std::string& what) const {
    const std::string file = folder_.write("bad.jsonl", text);
    expectRefused(
        {"--input", path("in.nv12"), "--size", "16x8", "--detections", file, "--output", path("out.nv12")},
        file + ":" + what);
  }

  void expectOutputRefused(const std::string& output, const std::string& what) const {
    expectRefused({"--input", path("in.nv12"), "--size", "16x8", "--detections", path("good.jsonl"),
                   "--output", output},
                  output + ": " + what);
  }

  /// With these arguments after good ones.
  void expectAdditionRefused(const std::vector<std::string>& addition, const std::string& what) const {
    std::vector<std::string> all{"--input",      path("in.nv12"),    "--size",   "16x8",
                                 "--detections", path("good.jsonl"), "--output", path("out.nv12")};
    all.insert(all.end(), addition.begin(), addition.end());
    expectRefused(all, what);
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

TEST_F(ToolBadInput, SizesThatAreMissingMalformedOrDoNotFit) {
  expectInputRefused(path("in.nv12"), path("in.nv12") + ": raw frames need --size");
  const std::vector<std::string> rest{"--input",          path("in.nv12"), "--detections",
                                      path("good.jsonl"), "--output",      path("out.nv12")};
  for (const auto& [size, what] : {std::pair("-16x8", std::string("--size: '-16x8' is not WIDTHxHEIGHT")),
                                   std::pair("16x9", path("in.nv12") + ": --size 16x9 does not fit")}) {
    std::vector<std::string> arguments = rest;
    arguments.push_back(std::string("--size=") + size);
    expectRefused(arguments, what);
  }
  folder_.write("v.y4m", "YUV4MPEG2 W2 H2 F25:1 Ip A0:0 C420jpeg\nFRAME\nabcdef");
  expectRefused({"--input", path("v.y4m"), "--size", "2x2", "--detections", path("good.jsonl"), "--output",
                 path("out.nv12")},
                path("v.y4m") + ": --size is for raw .nv12 input");
}

TEST_F(ToolBadInput, CompactMasks) {
  const std::string good = fullMaskLine(0, "p");
  const auto refused = [&](const std::string& detection, const std::string& what) {
    const std::string line = "{\"frame\": 1, \"producer\": \"p\", \"detections\": [{}, " + detection + "]}\n";
    expectDetectionsRefused(good + line, "2: detections[1]: " + what);
  };
  refused("{\"mask\": {\"size\": [2, 2], \"counts\": [1, 4]}}", "\"counts\" is for more pixels");
  refused("{\"mask\": {\"size\": [2, 2], \"counts\": \"12\"}}", "\"counts\" is for fewer pixels");
  refused("{\"mask\": {\"size\": [2, 2], \"counts\": [5, -1]}}", "\"counts\" is for more pixels");
  refused("{\"mask\": {\"size\": [2, 2], \"counts\": [-1, 5]}}", "\"counts\" has a run below 0");
  refused("{\"mask\": {\"size\": [2, 2], \"counts\": \"!\"}}", "\"counts\" has a character");
  refused("{\"mask\": {\"size\": [2147483648, 1], \"counts\": [1]}}", "\"size\" is not");
  refused("{\"mask\": {\"size\": [2147483647, 2], \"counts\": [1]}}", "\"size\" has more than");
  refused("{\"mask\": {\"polygon\": [[0, 0, 1, 1]]}}", "\"polygon\" is not");
  refused("{\"mask\": {\"polygon\": [[0, 0, 1, 0, 1, 1]], \"at\": [0, 0, 1, 1]}}", "\"polygon\" takes no");
  refused("{\"mask\": \"SEG1|1|1|AQ==\"}", "\"mask\" is not an object");
  refused("{\"class_info\": \"SEG1|1|1|AQ==\", \"mask\": {\"size\": [1, 1], \"counts\": [1]}}",
          "both \"class_info\" and \"mask\"");
}

TEST_F(ToolBadInput, PackedDetectionsThatAreDamaged) {
  const std::string file = folder_.write("bad.jsonl", "\x1F\x8B\x08 and nothing that gzip wrote");
  expectRefused(
      {"--input", path("in.nv12"), "--size", "16x8", "--detections", file, "--output", path("out.nv12")},
      file + ": the gzip data is damaged");
}

// Each of a line's mistakes is DetectionStream's to find.
TEST_F(ToolBadInput, DetectionLines) {
  const std::string good = fullMaskLine(0, "p");
  expectDetectionsRefused(good + "\n\n{} {}\n", "4: not JSON: Unexpected characters");
  // Late, when frames have been drawn and written.
  expectDetectionsRefused(good + fullMaskLine(4, "p") + fullMaskLine(2, "p"),
                          "3: frame 2 comes after frame 4");
  expectRefused({"--input", path("in.nv12"), "--size", "16x8", "--detections", path("none.jsonl"), "--output",
                 path("out.nv12")},
                path("none.jsonl") + ": No such file or directory");
}

TEST_F(ToolBadInput, DetectionsThatAreNoLinesAreCalledByTheirName) {
  const std::string line = "{\"frame\": 0, \"producer\": \"p\"}";
  const std::string file = path("bad.jsonl");
  expectDetectionsRefused(
      "[" + line + "]\n",
      " is a JSON array; each element has to be a line of its own: jq -c '.[]' " + file + " > lines.jsonl\n");
  expectDetectionsRefused(
      " \n{ \n  \"frame\": 0,\n  \"producer\": \"p\"\n}\n",
      " is JSON over several lines; each object has to be one line: jq -c . " + file + " > lines.jsonl\n");
  expectDetectionsRefused(R"({"info": {}, "images": [], "annotations": []})",
                          " is a COCO file; segmask import coco makes lines of it: segmask import coco " +
                              file + " -o lines.jsonl\n");
  expectDetectionsRefused(R"([{"image_id": 1, "category_id": 2, "bbox": [1, 2, 3, 4]}])",
                          " is a COCO file; segmask import coco ");
}

TEST_F(ToolBadInput, BytesThatWouldBreakTheLineAreMadeVisible) {
  const std::string file = folder_.write("bad.jsonl", "{\"a\": \x1b[2J\r}\n");
  const ToolResult result = render(
      {"--input", path("in.nv12"), "--size", "16x8", "--detections", file, "--output", path("out.nv12")});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.err.find('\x1b'), std::string::npos);
  EXPECT_EQ(result.err.find('\r'), std::string::npos);
  EXPECT_EQ(lineCount(result.err), 1U);
}

TEST_F(ToolBadInput, Outputs) {
  expectOutputRefused(path("out.avi"), "unknown output ending '.avi'");
  expectOutputRefused(path("out"), "unknown output ending ''");
  expectOutputRefused(path("out.png"), "a PNG sequence needs exactly one integer conversion");
  expectOutputRefused(path("none/out.mp4"), "cannot write into the folder");
  expectOutputRefused(path("in.nv12"), "--output would replace --input");
  std::filesystem::create_directory(path("folder.mp4"));
  expectOutputRefused(path("folder.mp4"), "is a folder");
  std::filesystem::create_symlink(path("in.nv12"), path("link.nv12"));
  expectOutputRefused(path("link.nv12"), "--output would replace --input");
}

TEST_F(ToolBadInput, AnOutputThatIsAnInputByAnotherName) {
  const std::vector<std::string> arguments{"--input",      folder_.write("f_0003.png", "x"),
                                           "--detections", path("good.jsonl"),
                                           "--output",     path("./f_%04d.png")};
  expectRefused(arguments, "--output would replace --input");
  expectAdditionRefused({"--contact-sheet", path("sheet.jpg")}, "a contact sheet is a .png file");
  std::filesystem::create_hard_link(path("good.jsonl"), path("good.png"));
  expectAdditionRefused({"--contact-sheet", path("good.png")}, "--contact-sheet would replace --detections");
  expectAdditionRefused({"--contact-sheet", path("none/sheet.png")}, "cannot write into the folder");
  expectAdditionRefused({"--summary-json", path("good.jsonl")}, "--summary-json would replace --detections");
  expectAdditionRefused({"--summary-json", path("out.nv12")},
                        "--summary-json and --output are the same file");
  expectAdditionRefused({"--summary-json", path("s.png"), "--contact-sheet", path("./s.png")},
                        "--summary-json and --contact-sheet are the same file");
  expectAdditionRefused({"--summary-json", path("none/s.json")}, "cannot write into the folder");
}

TEST_F(ToolBadInput, Plugins) {
  expectAdditionRefused({"--plugin", path("none.so")}, path("none.so") + ": No such file or directory");
  expectAdditionRefused({"--plugin", path("")}, ": Is a directory");
  const std::string text = folder_.write("text.so", "no library\n");
  expectAdditionRefused({"--plugin", text}, text + ": the plug-in does not load: ");
  const std::string other = libraryPath("libsw_core.so");
  expectAdditionRefused({"--plugin", other}, other + ": holds no render plug-in");
  const std::string crowded = libraryPath("libsegmask_crowded_plugin.so");
  expectAdditionRefused({"--plugin", crowded}, crowded + ": holds several render plug-ins");
  expectAdditionRefused({"--fast", "--plugin", crowded}, "--plugin excludes --fast");
}

TEST_F(ToolBadInput, AnExceptionThatLeavesRenderIsReportedWithItsFrame) {
  expectAdditionRefused({"--plugin", libraryPath("libsegmask_throwing_plugin.so")},
                        "segmask: frame 2: no luck today\n");
}

TEST_F(ToolBadInput, ConfigurationsThatThePluginWouldPassOver) {
  for (const char* config : {"", "{", "[1]", "3", "{} x", "alpha=1"}) {
    expectAdditionRefused({std::string("--config=") + config}, "--config");
  }
}

TEST_F(ToolBadInput, BeingStrictWithoutKnowingWhatIsDropped) {
  const std::string other = libraryPath("libsegmask_slow_plugin.so");
  expectAdditionRefused(
      {"--strict", "--plugin", other},
      other + ": --strict needs SegMaskOverlayPlugin: what another plug-in drops is not known");
  expectAdditionRefused({"--strict", "--no-explain"}, "--no-explain excludes --strict");
}

TEST_F(ToolBadInput, CommandLines) {
  expectRefused({}, "--input is required");
  for (const char* number : {"-1", "3.7", "many", "99999999999999999999"}) {
    expectAdditionRefused({"--lookback", number},
                          std::string("'") + number + "' is not a whole number from 0 on");
  }
  expectAdditionRefused({"--loopback", "1"}, "--loopback");
  expectAdditionRefused({"extra"}, "extra");
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{}, {"draw"}, {"--nonsense"}}) {
    const ToolResult result = runTool(arguments);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(lineCount(result.err), 1U) << result.err;
  }
}

TEST_F(ToolBadInput, AMisspeltCommandIsNamed) {
  const ToolResult result = runTool({"rendr"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.err,
            "segmask: there is no command 'rendr', only render, explain, import, mask and inspect (see "
            "segmask --help)\n");
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
