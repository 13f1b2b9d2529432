// Standard streams that are closed or full.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>

#include "test_support/TempFolder.h"
#include "test_support/frames.h"
#include "tests/run_tool.h"

namespace {

constexpr int kWidth = 16;
constexpr int kHeight = 8;

using Arguments = std::vector<std::string>;

class ToolStreams : public ::testing::Test {
 protected:
  ToolStreams() {
    folder_.write("in.nv12", flatFrames(kWidth, kHeight, 2));
    folder_.write("good.jsonl", fullMaskLine(0, "p"));
    folder_.write("mask.txt", "SEG1|4|2|Dw==");
    folder_.write("coco.json", R"({"images": [{"id": 1, "file_name": "a.jpg", "width": 2, "height": 2}],
      "categories": [{"id": 1, "name": "c"}], "annotations": [{"id": 1, "image_id": 1, "category_id": 1,
      "segmentation": {"size": [2, 2], "counts": [0, 4]}}]})");
  }

  std::string path(const std::string& name) const { return folder_.path(name); }

  Arguments rendering(const std::string& input, const std::string& detections,
                      const std::string& output) const {
    return {"render", "--size", "16x8", "--input", input, "--detections", detections, "--output", output};
  }

  /// The program without one of its standard streams. It is ended when it hangs.
  static ToolResult runWithout(int stream, const Arguments& arguments) {
    return runTool(arguments, [stream] {
      alarm(60);
      close(stream);
    });
  }

  static ToolResult runIntoFullDisk(const Arguments& arguments) {
    return runTool(arguments, [] { dup2(open("/dev/full", O_WRONLY | O_CLOEXEC), STDOUT_FILENO); });
  }

  TempFolder folder_;
};

TEST_F(ToolStreams, AClosedStandardInputIsNoInput) {
  const std::vector<std::string> before = folder_.names();
  for (const Arguments& arguments :
       {rendering("-", path("good.jsonl"), path("out.nv12")),
        rendering(path("in.nv12"), "-", path("out.nv12")),
        Arguments{"import", "coco", "-", "-o", path("out.jsonl")}, Arguments{"mask", "info", "-"},
        Arguments{"explain", "--size", "16x8", "--detections", "-"}}) {
    const ToolResult result = runWithout(STDIN_FILENO, arguments);
    EXPECT_EQ(result.exitCode, 2) << arguments[0];
    EXPECT_EQ(result.err, "segmask: standard input: Bad file descriptor\n") << arguments[0];
    EXPECT_EQ(folder_.names(), before) << arguments[0];
  }
}

TEST_F(ToolStreams, AnEndlessInputThatIsNoCocoFileIsRefusedAtItsBeginning) {
  const ToolResult result = runTool({"import", "coco", "-", "-o", "-"}, [] {
    alarm(60);
    dup2(open("/dev/zero", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
  });
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.err, "segmask: standard input: is no COCO file: it begins neither with { nor with [\n");
}

TEST_F(ToolStreams, AResultForAClosedStandardOutputIsLostWithAWord) {
  for (const Arguments& arguments :
       {Arguments{"mask", "encode", path("mask.txt")}, Arguments{"mask", "decode", path("mask.txt")},
        Arguments{"mask", "info", path("mask.txt")},
        Arguments{"import", "coco", path("coco.json"), "-o", "-"},
        Arguments{"explain", "--size", "16x8", "--detections", path("good.jsonl")}, Arguments{"inspect"},
        Arguments{"--help"}, Arguments{"--version"}, rendering(path("in.nv12"), path("good.jsonl"), "-")}) {
    const ToolResult result = runWithout(STDOUT_FILENO, arguments);
    EXPECT_EQ(result.exitCode, 2) << arguments[0];
    EXPECT_NE(result.err.find("segmask: "), std::string::npos) << arguments[0];
  }
}

// A file that got the number of standard error would get its warnings too.
TEST_F(ToolStreams, AClosedStandardErrorChangesNoOutput) {
  Arguments arguments = rendering(path("in.nv12"), path("good.jsonl"), path("out.nv12"));
  arguments.insert(arguments.end(), {"--config", "{\"alhpa\": 1}", "--debug"});
  EXPECT_EQ(runTool(arguments).exitCode, 0);
  const std::string wanted = readFile(path("out.nv12"));
  folder_.write("out.nv12", "old");
  EXPECT_EQ(runWithout(STDERR_FILENO, arguments).exitCode, 0);
  EXPECT_TRUE(readFile(path("out.nv12")) == wanted);
}

TEST_F(ToolStreams, ASummaryThatStandardOutputDoesNotTakeIsAWarningBecauseTheOutputsStand) {
  const std::string lost =
      "segmask: warning: standard output: No space left on device; the summary is lost, the outputs are "
      "written\n";
  ToolResult result = runIntoFullDisk(rendering(path("in.nv12"), path("good.jsonl"), path("out.nv12")));
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, lost);
  EXPECT_EQ(readFile(path("out.nv12")).size(), 2 * frameBytes(kWidth, kHeight));
  const Arguments import{"import",        "coco",     path("coco.json"), "-o",
                         path("o.jsonl"), "--legend", path("l.csv")};
  result = runIntoFullDisk(import);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, lost);
  EXPECT_NE(readFile(path("o.jsonl")), "");
  EXPECT_NE(readFile(path("l.csv")), "");
}

TEST_F(ToolStreams, AResultThatStandardOutputDoesNotTakeIsAnErrorAndNothingIsWritten) {
  folder_.write("jobs.jsonl",
                R"({"input": "in.nv12", "size": "16x8", "detections": "good.jsonl", "output": "b.nv12"})");
  const std::vector<std::string> before = folder_.names();
  Arguments json = rendering(path("in.nv12"), path("good.jsonl"), path("out.nv12"));
  json.insert(json.end(), {"--summary-json", "-"});
  for (const Arguments& arguments :
       {Arguments{"--help"}, Arguments{"--version"}, Arguments{"inspect"},
        Arguments{"mask", "info", path("mask.txt")},
        Arguments{"import", "coco", path("coco.json"), "-o", "-", "--legend", path("l.csv")}, json}) {
    const ToolResult result = runIntoFullDisk(arguments);
    EXPECT_EQ(result.exitCode, 2) << arguments[0];
    EXPECT_EQ(result.err.find("segmask: standard output: "), 0U) << arguments[0] << result.err;
    EXPECT_EQ(folder_.names(), before) << arguments[0];
  }
}

TEST_F(ToolStreams, TheSummaryForProgramsGoesToStandardOutputAndThatForPeopleAside) {
  Arguments arguments = rendering(path("in.nv12"), path("good.jsonl"), path("out.nv12"));
  arguments.insert(arguments.end(), {"-n", "--summary-json", "-"});
  const ToolResult result = runTool(arguments);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out.find("{"), 0U) << result.out;
  EXPECT_NE(result.out.find("\"frames\""), std::string::npos) << result.out;
  EXPECT_EQ(result.err.find("frames        2\n"), 0U) << result.err;
  EXPECT_EQ(readFile(path("out.nv12")).size(), 2 * frameBytes(kWidth, kHeight));
}

}  // namespace
