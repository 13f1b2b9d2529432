#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <zlib.h>

#include <utility>

#include "core/SwJsonDocument.h"
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

/// One detection of class 0 with that mask text.
std::string detection(const std::string& box, const std::string& score, const std::string& mask) {
  return "{" + box + ", \"score\": " + score + ", \"class_info\": \"" + mask + "\"}";
}

std::string line(int frame, const std::string& detections) {
  return "{\"frame\": " + std::to_string(frame) + ", \"producer\": \"p\", \"detections\": [" + detections +
         "]}\n";
}

const char kBox[] = R"("x": 3, "y": 2, "w": 5, "h": 4)";
const char kMask[] = "SEG1|1|1|AQ==";

/// The lines of a summary that follow the one with the plug-in's file.
std::string told(const ToolResult& result) {
  const std::size_t plugin = result.out.find("\nplug-in ");
  EXPECT_NE(plugin, std::string::npos) << result.out;
  return result.out.substr(result.out.find('\n', plugin + 1) + 1);
}

TEST_F(ToolDetections, TheSummaryTellsWhatChangedAndWhyTheRestDidNot) {
  const std::string file = folder_.path("d.jsonl");
  // The box of 5 x 4 at (3, 2) touches chroma pairs over columns 2 to 7 and rows 2 to 5: 6 x 4 pixels.
  const ToolResult result = render(
      line(0, detection(kBox, "1", kMask) + "," + detection(kBox, "-0.5", kMask)) +
      line(2, detection(R"("x": 0.1, "y": 0.1, "w": 0.5, "h": 0.5)", "1", kMask) + ",3") +
      line(3, detection(kBox, "1", "SEG1|160|160|AAAAAAAAAAAAAAAA") + "," + detection(kBox, "-1", kMask) +
                  "," + detection(kBox, "1", "SEG1|1|1|AA==") + "," + detection(kBox, "1", kMask)));
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(told(result),
            "changed       2 frames, 48 pixels\n"
            "drawn         2 detections\n"
            "dropped       1 detection, no JSON object; first: " +
                file + ":2: detections[1]: it is no JSON object\n" +
                "dropped       2 detections, score below min_score; first: " + file +
                ":1: detections[1]: score -0.5 is below min_score 0\n" +
                "dropped       1 detection, no valid mask; first: " + file +
                ":3: detections[0]: the mask text's data has 12 bytes, 3,200 are needed for "
                "160x160\n" +
                "dropped       1 detection, box outside the frame; first: " + file +
                ":2: detections[0]: its box is empty (x 0, y 0, w 0, h 0)\n" +
                "dropped       1 detection, no pixel of the mask inside the box; first: " + file +
                ":3: detections[2]: its mask has no pixel inside its box (x 3, y 2, w 5, h 4); "
                "the mask spans the whole frame, the box only limits it\n"
                "look-back     0 detections used again\n");
}

TEST_F(ToolDetections, TheSummaryCountsAgainWhatLookbackShowsAndDropsNothingTwice) {
  const ToolResult result =
      render(line(0, detection(kBox, "1", kMask) + "," + detection(kBox, "-1", kMask)), {"--lookback", "2"});
  EXPECT_NE(result.out.find("frames drawn  3\ndetections    2\n"), std::string::npos) << result.out;
  EXPECT_EQ(told(result),
            "changed       3 frames, 72 pixels\n"
            "drawn         1 detection\n"
            "dropped       1 detection, score below min_score; first: " +
                folder_.path("d.jsonl") +
                ":1: detections[1]: score -1 is below min_score 0\n"
                "look-back     4 detections used again\n");
}

TEST_F(ToolDetections, TheSummaryUsesThePluginsSettings) {
  render(fullMaskLine(0, "p") + fullMaskLine(0, "q"));
  const ToolResult result =
      runTool({"render", "--input", folder_.path("in.nv12"), "--size", "32x16", "--detections",
               folder_.path("d.jsonl"), "--output", folder_.path("out.nv12"), "--config",
               "{\"alpha\": 0, \"max_overlay_dets\": 1}"});
  EXPECT_EQ(told(result),
            "changed       0 frames, 0 pixels\n"
            "drawn         1 detection\n"
            "dropped       1 detection, beyond max_overlay_dets; first: " +
                folder_.path("d.jsonl") +
                ":2: detections[0]: max_overlay_dets is 1, and the frame has as many "
                "detections before this one\n"
                "look-back     0 detections used again\n");
}

TEST_F(ToolDetections, WithoutExplainingTheSummaryTellsLookbackAlone) {
  EXPECT_EQ(told(render(fullMaskLine(0, "p"), {"--no-explain"})), "look-back     0 detections used again\n");
}

TEST_F(ToolDetections, OfAnotherPluginTheSummaryTellsOnlyWhatChanged) {
  const ToolResult result =
      render(line(0, detection(kBox, "1", kMask)), {"--plugin", libraryPath("libbox_plugin.so")});
  // The outline of the box of 5 x 4 is 2 pixels thick, so it is all of it, under 6 x 4 pixels of chroma.
  EXPECT_EQ(told(result), "changed       1 frame, 24 pixels\nlook-back     0 detections used again\n");
}

TEST_F(ToolDetections, TheSummaryForProgramsHasTheSameNumbers) {
  const std::string json = folder_.path("summary.json");
  render(line(0, detection(kBox, "1", kMask) + "," + detection(kBox, "-1", kMask) + ",1,2"),
         {"--lookback", "1", "--summary-json", json});
  SwJsonDocument document;
  SwString error;
  ASSERT_TRUE(document.loadFromJson(readFile(json), error)) << error.str();
  const SwJsonObject summary = document.object();
  EXPECT_EQ(summary.size(), 10U);
  EXPECT_EQ(summary["damaged"], SwJsonValue(0));
  EXPECT_EQ(summary["frames"], SwJsonValue(8));
  EXPECT_EQ(summary["frames_changed"], SwJsonValue(2));
  EXPECT_EQ(summary["pixels_changed"], SwJsonValue(48));
  EXPECT_EQ(summary["detections"], SwJsonValue(4));
  EXPECT_EQ(summary["drawn"], SwJsonValue(1));
  EXPECT_EQ(summary["lookback"], SwJsonValue(4));
  EXPECT_EQ(summary["plugin"], SwJsonValue(libraryPath("libseg_mask_overlay.so")));
  ASSERT_TRUE(summary["dropped"].object());
  EXPECT_EQ(summary["dropped"].object()->size(), 2U);
  EXPECT_EQ((*summary["dropped"].object())["low_score"], SwJsonValue(1));
  EXPECT_EQ((*summary["dropped"].object())["not_an_object"], SwJsonValue(2));
  ASSERT_TRUE(summary["render_ms"].object());
  EXPECT_GT((*summary["render_ms"].object())["median"].number(), 0.0);
  EXPECT_GT((*summary["render_ms"].object())["p99"].number(), 0.0);
}

TEST_F(ToolDetections, TheSummaryForProgramsLeavesOutWhatIsNotKnown) {
  const std::string json = folder_.path("summary.json");
  const auto has = [&json](const std::string& member) {
    return readFile(json).find("\"" + member + "\"") != std::string::npos;
  };
  render(fullMaskLine(0, "p"), {"--no-explain", "--summary-json", json});
  EXPECT_TRUE(has("lookback"));
  EXPECT_FALSE(has("pixels_changed"));
  EXPECT_FALSE(has("drawn"));
  render(fullMaskLine(0, "p"), {"--plugin", libraryPath("libbox_plugin.so"), "--summary-json", json});
  EXPECT_TRUE(has("pixels_changed"));
  EXPECT_FALSE(has("drawn"));
  EXPECT_FALSE(has("dropped"));
}

TEST_F(ToolDetections, StrictEndsWithAnotherCodeWhenAnythingWasDroppedAfterWriting) {
  EXPECT_EQ(render(fullMaskLine(0, "p"), {"--strict"}).exitCode, 0);
  const ToolResult dropped = render(fullMaskLine(0, "p") + line(1, "7"), {"--strict"});
  EXPECT_EQ(dropped.exitCode, 3);
  EXPECT_EQ(paintedFrames(), Frames{0});
  EXPECT_NE(dropped.out.find("no JSON object"), std::string::npos);
  EXPECT_EQ(render(fullMaskLine(0, "p") + fullMaskLine(8, "p"), {"--strict"}).exitCode, 3)
      << "lines past the end of the video are dropped too";
}

TEST_F(ToolDetections, WhatWasHardlyMeantSoIsWarnedOfOnce) {
  const std::string fractions = line(1, detection(R"("x": 0.1, "y": 0.1, "w": 0.5, "h": 0.5)", "1", kMask));
  const std::string prefix = "segmask: warning: " + folder_.path("d.jsonl") + ":1: ";
  const ToolResult result = render(fractions + fractions);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, prefix + "the first frame number is 1 and none is 0; frames count from 0\n" + prefix +
                            "detections[0]: all boxes are within 0 to 1; they have to be in pixels of the "
                            "frame, not in fractions of it (2 times)\n"
                            "segmask: warning: nothing is visible: no pixel of any frame has changed, though "
                            "there are detections (see the summary)\n");
  EXPECT_EQ(render(fractions, {"--no-explain"}).err, "");
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

/// A line for frame 0 with one detection over the whole frame.
std::string lineWith(const std::string& mask) {
  return "{\"frame\":0,\"producer\":\"p\",\"detections\":[{\"x\":0,\"y\":0,\"w\":32,\"h\":16,\"class_id\":"
         "7," +
         mask + "}]}\n";
}

TEST_F(ToolDetections, CompactMasksGiveTheBytesThatTheirTextsGive) {
  // The upper half of the frame, and its right quarter, in each form.
  const std::vector<std::vector<std::string>> forms{
      {"\"class_info\":\"SEG1|4|2|Dw==\"", "\"mask\":{\"size\":[2,4],\"counts\":[0,1,1,1,1,1,1,1,1]}",
       "\"mask\":{\"size\":[2,4],\"counts\":\"011000000\"}",
       "\"mask\":{\"size\":[1,1],\"counts\":\"01\",\"at\":[-1,-1,40,9]}",
       "\"mask\":{\"polygon\":[[0,0,32,0,32,8,0,8]]}",
       "\"mask\":{\"polygon\":[[0,0,20,0,20,8,0,8],[12,0,32,0,32,8,12,8]]}"},
      {"\"class_info\":\"SEG1|4|1|CA==\"", "\"mask\":{\"size\":[1,4],\"counts\":\"31\"}",
       "\"mask\":{\"size\":[1,2],\"counts\":[1,1],\"at\":[16,0,16,16]}",
       "\"mask\":{\"polygon\":[[24,0,99.5,0,99.5,77,24,77]]}"}};
  for (const std::vector<std::string>& plugin : {std::vector<std::string>{}, {"--fast"}}) {
    for (const std::vector<std::string>& ofOneMask : forms) {
      std::string expected;
      for (const std::string& mask : ofOneMask) {
        const ToolResult result = render(lineWith(mask), plugin);
        ASSERT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.err, "");
        const std::string frames = readFile(folder_.path("out.nv12"));
        if (expected.empty()) expected = frames;
        EXPECT_TRUE(frames == expected) << plugin.size() << ": " << mask;
        EXPECT_NE(frames, readFile(folder_.path("in.nv12")));
      }
    }
  }
}

TEST_F(ToolDetections, MayBePackedByGzip) {
  const std::string lines = fullMaskLine(1, "p") + fullMaskLine(2, "p");
  gzFile packed = gzopen(folder_.path("packed").c_str(), "wb");
  ASSERT_EQ(gzwrite(packed, lines.data(), static_cast<unsigned>(lines.size())),
            static_cast<int>(lines.size()));
  gzclose(packed);
  const ToolResult result = render(readFile(folder_.path("packed")));
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(paintedFrames(), (Frames{1, 2}));
}

TEST_F(ToolDetections, MayComeFromStandardInput) {
  const std::string lines = folder_.write("lines", fullMaskLine(1, "p") + "7\n");
  const auto renderFrom = [&](const std::string& file) {
    return runTool(
        {"render", "--input", folder_.write("in.nv12", flatFrames(kWidth, kHeight, kFrames)), "--size",
         "32x16", "--detections", "-", "--output", folder_.path("out.nv12"), "--config", "{\"alpha\": 1}"},
        [&file] { dup2(open(file.c_str(), O_RDONLY), STDIN_FILENO); });
  };
  EXPECT_EQ(renderFrom(folder_.write("good", fullMaskLine(1, "p"))).exitCode, 0);
  EXPECT_EQ(paintedFrames(), (Frames{1}));
  const ToolResult bad = renderFrom(lines);
  EXPECT_EQ(bad.exitCode, 2);
  EXPECT_EQ(bad.err, "segmask: standard input:2: not a JSON object\n");
}

}  // namespace
