#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "core/SwJsonArray.h"
#include "core/SwJsonObject.h"
#include "detection/detections.h"
#include "host/DetectionPayload.h"
#include "io/UserError.h"
#include "src/FrameInputs.h"
#include "test_support/TempFolder.h"

namespace segmask_gst {
namespace {

constexpr render_base::FrameSize kSize{8, 8};

/// Three producers: "b" is first seen in frame 0, "a" in frame 2, "c" in frame 4.
const std::string kLines =
    R"({"frame": 0, "producer": "b", "detections": [{"class_id": 1}]})"
    "\n"
    R"({"frame": 2, "producer": "a", "detections": [{"class_id": 2}, {"class_id": 3}]})"
    "\n"
    R"({"frame": 4, "producer": "c", "detections": [{"class_id": 4}]})"
    "\n"
    R"({"frame": 4, "producer": "b", "detections": [{"class_id": 5}]})"
    "\n";

/// The producers and classes that a frame is drawn with, in order: "b:1 a:2 a:3".
std::string whatIsDrawn(const FrameInputs& inputs) {
  std::string text;
  const auto found = inputs.inputs().inputs().find(seg_mask::kDetectionType);
  if (found == inputs.inputs().inputs().end()) return text;
  for (const RenderInput& input : found->second) {
    const auto& payload = input.payload.get<segmask::DetectionPayload>();
    for (const SwJsonValue& detection : *(*payload.object)["detections"].array()) {
      text += (text.empty() ? "" : " ") + input.producer_name + ":" +
              std::to_string((*detection.object())["class_id"].integer());
    }
  }
  return text;
}

segmask::DetectionLine delivery(int classId) {
  SwJsonObject detection;
  detection.insert("class_id", classId);
  SwJsonArray detections;
  detections.append(std::move(detection));
  SwJsonObject payload;
  payload.insert("detections", std::move(detections));
  segmask::DetectionLine line;
  line.producer = "buffer";
  line.detections = 1;
  line.payload.object = std::make_shared<const SwJsonObject>(std::move(payload));
  return line;
}

class FrameInputsTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { segmask::registerDetectionPayload(); }

  /// After going to these frames in order.
  std::string after(const std::vector<uint64_t>& frames, uint64_t lookback = 2) {
    FrameInputs inputs(file_, lookback);
    for (const uint64_t frame : frames) inputs.advance(frame, kSize, {});
    return whatIsDrawn(inputs);
  }

  TempFolder folder_;
  const std::string file_ = folder_.write("d.jsonl", kLines);
};

TEST_F(FrameInputsTest, EachFrameHasItsLinesAndWhatLookBackKeeps) {
  EXPECT_EQ(after({0}), "b:1");
  EXPECT_EQ(after({0, 1}), "b:1");
  EXPECT_EQ(after({0, 1, 2}), "b:1 a:2 a:3") << "the order of first appearance";
  EXPECT_EQ(after({0, 1, 2, 3}), "a:2 a:3");
  EXPECT_EQ(after({0, 1, 2, 3, 4}), "b:5 a:2 a:3 c:4");
  EXPECT_EQ(after({0, 1, 2, 3, 4, 5, 6}), "b:5 c:4");
  EXPECT_EQ(after({0, 1, 2, 3, 4}, 0), "b:5 c:4");
}

TEST_F(FrameInputsTest, NeitherFramesLeftOutNorASeekChangeWhatAFrameIsDrawnWith) {
  for (const uint64_t frame : {0U, 1U, 2U, 3U, 4U, 5U, 6U}) {
    std::vector<uint64_t> played;
    for (uint64_t i = 0; i <= frame; ++i) played.push_back(i);
    const std::string expected = after(played);
    EXPECT_EQ(after({frame}), expected) << frame;
    EXPECT_EQ(after({9, frame}), expected) << frame << " after a seek back";
    EXPECT_EQ(after({4, 1, frame}), expected) << frame << " after two seeks";
  }
}

TEST_F(FrameInputsTest, WhatCameWithABufferIsDrawnAfterTheFileAndLooksBackToo) {
  FrameInputs inputs(file_, 1);
  inputs.advance(0, kSize, {delivery(7)});
  EXPECT_EQ(whatIsDrawn(inputs), "b:1 buffer:7");
  inputs.advance(1, kSize, {});
  EXPECT_EQ(whatIsDrawn(inputs), "b:1 buffer:7");
  inputs.advance(2, kSize, {delivery(8)});
  EXPECT_EQ(whatIsDrawn(inputs), "buffer:8 a:2 a:3");
  EXPECT_EQ(inputs.detectionsSeen(), 5U);
}

TEST_F(FrameInputsTest, TwoBuffersOfOneNumberHaveTheFilesLinesBothAndTheirOwnEach) {
  FrameInputs inputs(file_, 0);
  inputs.advance(2, kSize, {delivery(7)});
  EXPECT_EQ(whatIsDrawn(inputs), "a:2 a:3 buffer:7");
  inputs.advance(2, kSize, {delivery(8)});
  EXPECT_EQ(whatIsDrawn(inputs), "a:2 a:3 buffer:8");
  inputs.advance(2, kSize, {});
  EXPECT_EQ(whatIsDrawn(inputs), "a:2 a:3");
  inputs.advance(2, kSize, {});
  EXPECT_EQ(whatIsDrawn(inputs), "a:2 a:3");
  EXPECT_EQ(inputs.detectionsSeen(), 4U);
}

TEST_F(FrameInputsTest, OfTwoBuffersOfOneNumberTheSecondKeepsWhatLookBackHasOfEarlierFrames) {
  FrameInputs inputs(file_, 2);
  inputs.advance(0, kSize, {});
  inputs.advance(1, kSize, {delivery(7)});
  inputs.advance(1, kSize, {delivery(8)});
  EXPECT_EQ(whatIsDrawn(inputs), "b:1 buffer:8");
  inputs.advance(2, kSize, {});
  EXPECT_EQ(whatIsDrawn(inputs), "b:1 buffer:8 a:2 a:3");
}

TEST_F(FrameInputsTest, OneLongAheadOfTheFileHasNothingAndCountsNothing) {
  FrameInputs inputs(file_, 3);
  inputs.advance(1000, kSize, {});
  EXPECT_EQ(whatIsDrawn(inputs), "");
  EXPECT_EQ(inputs.detectionsSeen(), 0U);
}

TEST_F(FrameInputsTest, ALineThatIsNoneOrOutOfOrderIsAnErrorWithItsPlace) {
  const std::string disorder = folder_.write("disorder.jsonl",
                                             "{\"frame\": 3, \"producer\": \"p\"}\n"
                                             "{\"frame\": 2, \"producer\": \"p\"}\n");
  FrameInputs inputs(disorder, 0);
  try {
    inputs.advance(3, kSize, {});
    FAIL() << "accepted";
  } catch (const segmask::UserError& error) {
    EXPECT_EQ(error.what(), disorder + ":2: frame 2 comes after frame 3; lines must be in frame order");
  }
}

TEST_F(FrameInputsTest, WhatCannotBeReadTwiceIsRefused) {
  try {
    FrameInputs("/dev/null", 0);
    FAIL() << "accepted";
  } catch (const segmask::UserError& error) {
    EXPECT_STREQ(error.what(),
                 "/dev/null: not a regular file, which the element could read again after a seek");
  }
}

}  // namespace
}  // namespace segmask_gst
