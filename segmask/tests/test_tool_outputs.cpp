#include <gtest/gtest.h>

#include <cstdio>

#include "test_support/TempFolder.h"
#include "test_support/frames.h"
#include "tests/run_tool.h"
#include "video/FrameReader.h"

namespace {

using segmask::Frame;
using segmask::FrameReader;

constexpr int kFrames = 12;

class ToolOutputs : public ::testing::Test {
 protected:
  std::string path(const std::string& name) const { return folder_.path(name); }

  /// Runs a render that has to succeed, with these warnings; returns the summary.
  std::string render(const std::vector<std::string>& arguments, const std::string& warnings = "") const {
    std::vector<std::string> all{"render"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    const ToolResult result = runTool(all);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, warnings);
    return result.out;
  }

  /// Writes raw frames of this size as in.nv12 and renders them, by default with nothing to draw.
  std::string renderRaw(int width, int height, const std::string& frames, const std::string& output,
                        const std::string& detections = kNothingFoundLine,
                        const std::string& warnings = "") const {
    const std::string size = std::to_string(width) + "x" + std::to_string(height);
    return render({"--input", folder_.write("in.nv12", frames), "--size", size, "--detections",
                   folder_.write("d.jsonl", detections), "--output", path(output)},
                  warnings);
  }

  std::unique_ptr<FrameReader> read(const std::string& name) const {
    return segmask::openFrameReader(path(name), std::nullopt);
  }

  static int countFrames(FrameReader& reader) {
    int count = 0;
    for (Frame frame; reader.next(frame);) ++count;
    return count;
  }

  TempFolder folder_;
};

TEST_F(ToolOutputs, WhatNothingIsDrawnOnLeavesByteForByte) {
  for (const auto& [width, height] :
       {std::pair(64, 48), std::pair(63, 47), std::pair(1, 1), std::pair(3, 2)}) {
    const std::string frames = noiseFrames(width, height, kFrames);
    const std::string lines =
        "{\"frame\":0,\"producer\":\"p\",\"detections\":[]}\n"
        "{\"frame\":2,\"producer\":\"p\",\"detections\":[{\"x\":0,\"y\":0,\"w\":9,\"h\":9,\"score\":1}]}\n";
    const std::string summary =
        renderRaw(width, height, frames, "out.nv12", lines,
                  "segmask: warning: nothing is visible: no pixel of any frame has changed, though there are "
                  "detections (see the summary)\n");
    EXPECT_TRUE(readFile(path("out.nv12")) == frames) << width << "x" << height;
    EXPECT_NE(summary.find("frames        12\nframes drawn  0\ndetections    1\n"), std::string::npos)
        << summary;
  }
}

TEST_F(ToolOutputs, NamesInTheSummaryHaveNoControlBytes) {
  const std::string summary = renderRaw(2, 2, flatFrames(2, 2, 1), "\x1B[2Jo.nv12");
  EXPECT_NE(summary.find("output        " + path(" [2Jo.nv12") + "\n"), std::string::npos) << summary;
  EXPECT_EQ(summary.find('\x1B'), std::string::npos);
}

TEST_F(ToolOutputs, NumbersOf63BitsAreTakenWhereNumbersAre) {
  const std::string most = "9223372036854775807";
  const std::string summary = render({"--input", folder_.write("in.nv12", flatFrames(2, 2, 3)), "--size",
                                      "2x2", "--detections", folder_.write("d.jsonl", fullMaskLine(0, "p")),
                                      "--output", path("out.nv12"), "--frames", most, "--lookback", most});
  EXPECT_NE(summary.find("frames drawn  3\n"), std::string::npos) << summary;
}

TEST_F(ToolOutputs, EitherPluginDrawsTheSameBytesAndIsNamed) {
  const std::string frames = noiseFrames(63, 47, kFrames);
  const std::string input = folder_.write("in.nv12", frames);
  const std::string detections = folder_.write(
      "d.jsonl",
      "{\"frame\":0,\"producer\":\"p\",\"detections\":[{\"x\":3,\"y\":5,\"w\":50,\"h\":40,\"score\":1,"
      "\"class_info\":\"SEG1|4|2|pQ==\"},{\"x\":-9,\"y\":1,\"w\":40,\"h\":99,\"score\":1,\"class_id\":3,"
      "\"class_info\":\"SEG1|2|2|Bw==\"}]}\n");
  const auto renderWith = [&](const std::vector<std::string>& more, const std::string& output) {
    std::vector<std::string> all{"--input",  input,      "--size",     "63x47",      "--detections",
                                 detections, "--output", path(output), "--lookback", "20"};
    all.insert(all.end(), more.begin(), more.end());
    return render(all);
  };
  const std::string plain = renderWith({}, "plain.nv12");
  const std::string fast = renderWith({"--fast"}, "fast.nv12");
  EXPECT_NE(plain.find("\nplug-in       " + libraryPath("libseg_mask_overlay.so") + "\n"), std::string::npos)
      << plain;
  EXPECT_NE(fast.find("\nplug-in       " + libraryPath("libseg_mask_overlay_fused.so") + "\n"),
            std::string::npos)
      << fast;
  EXPECT_TRUE(readFile(path("fast.nv12")) == readFile(path("plain.nv12")));
  EXPECT_FALSE(readFile(path("plain.nv12")) == frames);
}

TEST_F(ToolOutputs, PlanarInputLeavesByteForByteToo) {
  const std::string frames = noiseFrames(63, 47, kFrames);
  renderRaw(63, 47, frames, "planar.y4m");
  render({"--input", path("planar.y4m"), "--detections", path("d.jsonl"), "--output", path("back.nv12")});
  EXPECT_TRUE(readFile(path("back.nv12")) == frames);
}

TEST_F(ToolOutputs, Y4mHasItsHeaderAndItsSize) {
  renderRaw(5, 3, flatFrames(5, 3, 2), "out.y4m");
  const std::string file = readFile(path("out.y4m"));
  const std::string header = "YUV4MPEG2 W5 H3 F30:1 Ip A0:0 C420jpeg\n";
  EXPECT_EQ(file.substr(0, header.size()), header);
  EXPECT_EQ(file.size(), header.size() + 2 * (6 + frameBytes(5, 3)));
}

TEST_F(ToolOutputs, VideosDecodeToTheSameNumberOfFrames) {
  for (const char* name : {"out.mp4", "out.mkv", "out.MP4"}) {
    renderRaw(64, 48, flatFrames(64, 48, kFrames), name);
    const std::unique_ptr<FrameReader> reader = read(name);
    EXPECT_EQ(reader->format().width, 64);
    EXPECT_EQ(reader->format().height, 48);
    EXPECT_NEAR(av_q2d(reader->format().frameRate), 30.0, 0.01) << name;
    EXPECT_EQ(countFrames(*reader), kFrames) << name;
  }
}

TEST_F(ToolOutputs, PngSequencesAreNumberedByFrame) {
  renderRaw(63, 47, flatFrames(63, 47, kFrames), "f_%03d.png");
  std::vector<std::string> expected{"d.jsonl"};
  for (int frame = 0; frame < kFrames; ++frame) {
    char name[32];
    std::snprintf(name, sizeof name, "f_%03d.png", frame);
    expected.push_back(name);
    const std::unique_ptr<FrameReader> reader = read(name);
    EXPECT_EQ(reader->format().width, 63);
    EXPECT_EQ(reader->format().height, 47);
    Frame picture;
    ASSERT_TRUE(reader->next(picture));
    EXPECT_NEAR(picture.nv12[0], 40 + 4 * frame, 2);
    EXPECT_FALSE(reader->next(picture));
  }
  expected.push_back("in.nv12");
  EXPECT_EQ(folder_.names(), expected);
}

TEST_F(ToolOutputs, ContactSheetsHoldTwoByTwoFrames) {
  const std::string input = folder_.write("in.nv12", flatFrames(63, 47, kFrames));
  const std::string detections = folder_.write("d.jsonl", kNothingFoundLine);
  const std::string summary = render({"--input", input, "--size", "63x47", "--detections", detections,
                                      "--output", path("out.y4m"), "--contact-sheet", path("sheet.png")});
  EXPECT_NE(summary.find("contact sheet " + path("sheet.png") + "\n"), std::string::npos);
  const std::unique_ptr<FrameReader> reader = read("sheet.png");
  ASSERT_EQ(reader->format().width, 126);
  ASSERT_EQ(reader->format().height, 94);
  Frame sheet;
  ASSERT_TRUE(reader->next(sheet));
  // The first frame top left, a later one in each further tile.
  const int topLeft = sheet.nv12[0];
  const int topRight = sheet.nv12[125];
  const int bottomLeft = sheet.nv12[126 * 93];
  const int bottomRight = sheet.nv12[126 * 94 - 1];
  EXPECT_NEAR(topLeft, 40, 2);
  EXPECT_GT(topRight, topLeft + 4);
  EXPECT_GT(bottomLeft, topRight + 4);
  EXPECT_GT(bottomRight, bottomLeft + 4);
}

TEST_F(ToolOutputs, ContactSheetsPreferFramesThatWereDrawnOn) {
  const std::string input = folder_.write("in.nv12", flatFrames(64, 48, kFrames));
  std::string lines;
  for (const int frame : {2, 4, 5, 9}) lines += fullMaskLine(frame, "p");
  render({"--input", input, "--size", "64x48", "--detections", folder_.write("d.jsonl", lines), "--output",
          path("out.y4m"), "--contact-sheet", path("sheet.png"), "--config", "{\"alpha\": 1}"});
  const std::unique_ptr<FrameReader> reader = read("sheet.png");
  Frame sheet;
  ASSERT_TRUE(reader->next(sheet));
  // The colour of class 0 is lighter than any frame that was not drawn on.
  for (const std::size_t corner : {0U, 127U, 128U * 95, 128U * 96 - 1}) EXPECT_GT(sheet.nv12[corner], 100);
}

TEST_F(ToolOutputs, LargeFramesAreScaledOnTheContactSheet) {
  const std::string input = folder_.write("in.nv12", flatFrames(1920, 1080, 1));
  render({"--input", input, "--size", "1920x1080", "--detections",
          folder_.write("d.jsonl", kNothingFoundLine), "--output", path("out.nv12"), "--contact-sheet",
          path("sheet.png")});
  const std::unique_ptr<FrameReader> reader = read("sheet.png");
  EXPECT_EQ(reader->format().width, 1920);
  EXPECT_EQ(reader->format().height, 1080);
}

}  // namespace
