#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "io/FileDescriptor.h"
#include "test_support/TempFolder.h"
#include "tests/run_tool.h"

namespace {

using segmask::FileDescriptor;

std::string detection(const std::string& box, const std::string& score, int class_id = 0) {
  return "{" + box + R"(, "class_id": )" + std::to_string(class_id) + R"(, "score": )" + score +
         R"(, "class_info": "SEG1|4|2|Dw=="})";
}

/// The first of two rows of four pixels is inside; the frames have 8 x 4.
const char kWhole[] = R"("x": 0, "y": 0, "w": 8, "h": 4)";

class ToolExplain : public ::testing::Test {
 protected:
  ToolExplain() {
    folder_.write("d.jsonl", line(0, "b", detection(kWhole, "0.9", -23)) +
                                 line(3, "a", detection(kWhole, "0.25") + ",[]") +
                                 line(3, "b", detection(R"("x": 7, "y": 1, "w": 9, "h": 9)", "1", 1)));
  }

  static std::string line(int frame, const std::string& producer, const std::string& detections) {
    return "{\"frame\": " + std::to_string(frame) + ", \"producer\": \"" + producer +
           "\", \"detections\": [" + detections + "]}\n";
  }

  ToolResult explain(const std::vector<std::string>& more) const {
    std::vector<std::string> all{"explain", "--detections", folder_.path("d.jsonl"), "--size", "8x4"};
    all.insert(all.end(), more.begin(), more.end());
    return runTool(all);
  }

  std::string at(const std::string& text) const { return folder_.path("d.jsonl") + ":" + text + "\n"; }

  TempFolder folder_;
};

TEST_F(ToolExplain, SaysWhatEachDetectionBecomesInTheOrderOfDrawing) {
  const ToolResult result = explain({"--config", "{\"min_score\": 0.5}"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out,
            at("1: frame 0, b, detections[0]: drawn, class -23 in red 255, green 178, blue 29, 16 pixels") +
                at("3: frame 3, b, detections[0]: drawn, class 1 in red 255, green 157, blue 151, 1 pixel") +
                at("2: frame 3, a, detections[0]: not drawn: score 0.25 is below min_score 0.5") +
                at("2: frame 3, a, detections[1]: not drawn: it is no JSON object"));
}

TEST_F(ToolExplain, OneFrameIsExplainedAsItIsDrawnInTheRun) {
  // b comes first, because it has a line for an earlier frame.
  const ToolResult result = explain({"--frame", "3", "--config", "{\"max_overlay_dets\": 1}"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out,
            at("3: frame 3, b, detections[0]: drawn, class 1 in red 255, green 157, blue 151, 1 pixel") +
                at("2: frame 3, a, detections[0]: not drawn: max_overlay_dets is 1, and the frame has as "
                   "many detections before this one") +
                at("2: frame 3, a, detections[1]: not drawn: it is no JSON object"));
  const ToolResult nothing = explain({"--frame", "1"});
  EXPECT_EQ(nothing.out, "");
  EXPECT_EQ(nothing.err, "segmask: warning: " + folder_.path("d.jsonl") + ": no detection for frame 1\n");
  EXPECT_EQ(nothing.exitCode, 0);
}

TEST_F(ToolExplain, WarnsAsRenderDoesOnStandardError) {
  folder_.write("d.jsonl",
                line(0, "a", R"({"x": 0.5, "y": 0, "w": 0.5, "h": 1, "class_info": "SEG1|1|1|AQ=="})"));
  const ToolResult result = explain({"--config", R"({"min_scor": 0})"});
  EXPECT_EQ(result.out, at("1: frame 0, a, detections[0]: not drawn: its box is empty (x 0, y 0, w 0, h 1)"));
  EXPECT_EQ(
      result.err,
      "segmask: warning: --config: the plug-in has no \"min_scor\"; did you mean \"min_score\"?\n"
      "segmask: warning: " +
          at("1: detections[0]: all boxes are within 0 to 1; they have to be in pixels of the frame, not in "
             "fractions of it"));
  folder_.write("d.jsonl", "");
  EXPECT_EQ(explain({}).err, "segmask: warning: " + folder_.path("d.jsonl") + ": no detection\n");
}

TEST_F(ToolExplain, NamesOfTheFileStayOnTheirLine) {
  folder_.write("d.jsonl", line(0, R"(a\nb\u001b[31m)", "7"));
  EXPECT_EQ(explain({}).out, at("1: frame 0, a b [31m, detections[0]: not drawn: it is no JSON object"));
}

TEST_F(ToolExplain, ForProgramsItIsOneObjectALine) {
  const ToolResult result = explain({"--json", "--config", "{\"min_score\": 0.5}"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out.substr(0, result.out.find('\n')),
            R"({"class_id": -23,"color": [255,178,29],"drawn": true,"frame": 0,"index": 0,"line": 1,)"
            R"("pixels": 16,"producer": "b"})");
  EXPECT_NE(result.out.find(R"({"drawn": false,"frame": 3,"index": 0,"line": 2,"producer": "a",)"
                            R"("reason": "low_score","why": "score 0.25 is below min_score 0.5"})"),
            std::string::npos)
      << result.out;
  EXPECT_EQ(lineCount(result.out), 4U);
}

TEST_F(ToolExplain, RefusesWhatItCannotRead) {
  folder_.write("d.jsonl", "rubbish\n");
  const ToolResult result = explain({});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.err.find("segmask: " + folder_.path("d.jsonl") + ":1: not JSON: "), 0U) << result.err;
  EXPECT_NE(runTool({"explain", "--detections", folder_.path("d.jsonl"), "--size", "8"})
                .err.find("'8' is not WIDTHxHEIGHT"),
            std::string::npos);
}

TEST_F(ToolExplain, AClosedPipeEndsItQuietly) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  close(ends[0]);
  const std::string messages = folder_.write("messages", "");
  const FileDescriptor file(open(messages.c_str(), O_WRONLY | O_CLOEXEC));
  const pid_t process =
      startTool({"explain", "--detections", folder_.path("d.jsonl"), "--size", "8x4"}, ends[1], file.get());
  close(ends[1]);
  EXPECT_EQ(waitForTool(process), 141);
  EXPECT_EQ(readFile(messages), "");
}

}  // namespace
