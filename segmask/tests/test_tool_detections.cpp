#include <gtest/gtest.h>

#include <utility>

#include "test_support/TempFolder.h"
#include "test_support/frames.h"
#include "tests/run_tool.h"

namespace {

constexpr int kWidth = 32;
constexpr int kHeight = 16;
constexpr int kFrames = 8;

// Class 0 is (255, 56, 56), which is this in full-range BT.601.
constexpr unsigned char kY = 115;
constexpr unsigned char kU = 94;
constexpr unsigned char kV = 227;

class ToolDetections : public ::testing::Test {
 protected:
  std::vector<std::string> good(const std::string& config) const {
    return {"render",
            "--input",
            folder_.path("in.nv12"),
            "--size",
            "32x16",
            "--detections",
            folder_.path("d.jsonl"),
            "--output",
            folder_.path("out.nv12"),
            "--config",
            config};
  }

  ToolResult render(const std::string& detections, const std::vector<std::string>& more = {}) const {
    folder_.write("in.nv12", flatFrames(kWidth, kHeight, kFrames));
    folder_.write("d.jsonl", detections);
    std::vector<std::string> arguments = good("{\"alpha\": 1}");
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runTool(arguments);
  }

  /// Which frames of the output are painted all over; frames that are neither painted nor untouched fail.
  std::vector<int> paintedFrames() const {
    const std::string before = readFile(folder_.path("in.nv12"));
    const std::string after = readFile(folder_.path("out.nv12"));
    EXPECT_EQ(after.size(), before.size());
    std::string painted(kWidth * kHeight, static_cast<char>(kY));
    for (int pair = 0; pair < kWidth * kHeight / 4; ++pair)
      painted += {static_cast<char>(kU), static_cast<char>(kV)};
    std::vector<int> frames;
    for (int frame = 0; frame < kFrames; ++frame) {
      const std::size_t at = static_cast<std::size_t>(frame) * painted.size();
      if (after.compare(at, painted.size(), painted) == 0) {
        frames.push_back(frame);
      } else {
        EXPECT_EQ(after.compare(at, painted.size(), before, at, painted.size()), 0) << "frame " << frame;
      }
    }
    return frames;
  }

  TempFolder folder_;
};

using Frames = std::vector<int>;

TEST_F(ToolDetections, PaintTheirFramesAndNoOthers) {
  const ToolResult result = render(fullMaskLine(0, "p") + fullMaskLine(3, "p") + fullMaskLine(7, "p"));
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(paintedFrames(), (Frames{0, 3, 7}));
  EXPECT_NE(result.out.find("frames        8\nframes drawn  3\ndetections    3\n"), std::string::npos)
      << result.out;
}

TEST_F(ToolDetections, LookbackPaintsTheFramesAfterThem) {
  const std::string nothing = "{\"frame\": 4, \"producer\": \"p\", \"detections\": []}\n";
  EXPECT_EQ(render(fullMaskLine(0, "p") + fullMaskLine(3, "p") + nothing, {"--lookback", "2"}).exitCode, 0);
  EXPECT_EQ(paintedFrames(), (Frames{0, 1, 2, 3}));
}

TEST_F(ToolDetections, TheConfigurationReachesThePlugin) {
  EXPECT_EQ(render(fullMaskLine(0, "p"), {"--config", "{\"alpha\": 1, \"min_score\": 0.95}"}).exitCode, 2)
      << "an option given twice is a mistake";
  EXPECT_EQ(runTool(good("{\"alpha\": 1, \"min_score\": 0.95}")).exitCode, 0);
  EXPECT_EQ(paintedFrames(), Frames{});
}

TEST_F(ToolDetections, LinesPastTheEndAreMentionedOnce) {
  const ToolResult result = render(fullMaskLine(7, "p") + fullMaskLine(8, "p") + fullMaskLine(9, "p"));
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "segmask: warning: " + folder_.path("d.jsonl") +
                            ":2: frame 8 is past the end of the video, which has 8 frames; this line and all "
                            "after it were not used\n");
  EXPECT_EQ(paintedFrames(), (Frames{7}));
}

TEST_F(ToolDetections, TheFallbackLineCountsProducersSeenSoFarAndLookback) {
  const std::string nothing = "{\"frame\": 0, \"producer\": \"p\", \"detections\": []}\n";
  const std::string lines = nothing + fullMaskLine(1, "q") + "{\"frame\": 2, \"producer\": \"q\"}\n";
  for (const auto& [lookback, looksBack] : {std::pair("0", "0"), std::pair("3", "1")}) {
    const ToolResult result = render(lines, {"--debug", "--lookback", lookback});
    EXPECT_EQ(result.exitCode, 0);
    // In frame 0 only p is known; in frame 2 it looks back, if it may.
    for (const std::string& line :
         {std::string("0 decision=skip providers_missing=1 providers_using_lookback=0\n"),
          std::string("2 decision=skip providers_missing=2 providers_using_lookback=") + looksBack + "\n"}) {
      EXPECT_NE(result.err.find("[SegMask][Fallback] frame=" + line), std::string::npos) << result.err;
    }
  }
}

}  // namespace
