#include <gst/video/gstvideometa.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/SwJsonDocument.h"
#include "src/region_detections.h"
#include "tests/ElementHarness.h"

namespace segmask_gst {
namespace {

std::string textOf(const SwJsonObject& object) {
  SwString text;
  SwJsonDocument().generateJson(object, text, false, 0, {});
  return text.str();
}

class RegionDetections : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { startGStreamer(); }

  /// A region at 1, 2 of 3 x 4 pixels with this structure, if any.
  void add(const char* structure) {
    GstVideoRegionOfInterestMeta* const meta =
        gst_buffer_add_video_region_of_interest_meta(buffer_.get(), "person", 1, 2, 3, 4);
    if (structure) {
      gst_video_region_of_interest_meta_add_param(meta, gst_structure_new_from_string(structure));
    }
  }

  /// The payload as JSON; empty where the buffer has no detection.
  std::string payload() {
    const auto line =
        regionDetections(buffer_.get(), {8, 8}, [this](const std::string& why) { refused_.push_back(why); });
    if (!line) return "";
    EXPECT_EQ(line->producer, "buffer");
    EXPECT_EQ(line->detections, (*line->payload.object)["detections"].array()->size());
    return textOf(*line->payload.object);
  }

  BufferPtr buffer_{gst_buffer_new()};
  std::vector<std::string> refused_;
};

TEST_F(RegionDetections, ABoxIsTheRegionsAndTheRestIsTheStructures) {
  add(R"s(detection, class-id=(int)3, score=(double)0.5, mask=(string)"SEG1|4|2|Dw\=\=")s");
  EXPECT_EQ(
      payload(),
      R"({"detections": [{"class_id": 3,"class_info": "SEG1|4|2|Dw==","h": 4,"score": 0.5,"w": 3,"x": 1,"y": 2}]})");
}

TEST_F(RegionDetections, NumbersMayBeOfAnyTypeAndWhatIsMissingOrNoneIsLeftOut) {
  add("detection, class-id=(guint64)3, score=(float)0.5");
  add("detection, class-id=(string)three, score=(string)0.5, mask=(int)1");
  EXPECT_EQ(payload(), R"({"detections": [{"class_id": 3,"h": 4,"score": 0.5,"w": 3,"x": 1,"y": 2},)"
                       R"({"h": 4,"w": 3,"x": 1,"y": 2}]})");
}

// Two rows and four columns of which, column by column, 3 pixels are outside, 2 inside, 1 outside, 2 inside:
// of the packed bits 2, 3, 5 and 7 are set, which is 0xAC.
TEST_F(RegionDetections, AMaskMayBeRunLengthsOrAPolygonAsJson) {
  add(R"s(detection, mask=(string)"{\"size\": [2, 4], \"counts\": [3, 2, 1, 2]}")s");
  EXPECT_EQ(payload(), R"({"detections": [{"class_info": "SEG1|4|2|rA==","h": 4,"w": 3,"x": 1,"y": 2}]})");
}

TEST_F(RegionDetections, AMaskThatIsNoneCostsItsDetectionAlone) {
  add(R"s(detection, class-id=(int)1, mask=(string)"{\"size\": [2, 4], \"counts\": [3]}")s");
  add("detection, class-id=(int)2");
  add(R"s(detection, class-id=(int)3, mask=(string)"{")s");
  EXPECT_EQ(payload(), R"({"detections": [{"class_id": 2,"h": 4,"w": 3,"x": 1,"y": 2}]})");
  ASSERT_EQ(refused_.size(), 2U);
  EXPECT_EQ(refused_[0].rfind("detections[0]: \"counts\" ", 0), 0U) << refused_[0];
  EXPECT_EQ(refused_[1].rfind("mask: not JSON: ", 0), 0U) << refused_[1];
}

TEST_F(RegionDetections, TheMasksOfABufferHaveTogetherAsManyPixelsAsSixteenOfTheLargest) {
  for (int i = 0; i < 17; ++i) {
    add(R"s(detection, mask=(string)"{\"size\": [16384, 16384], \"counts\": [1]}")s");
  }
  EXPECT_EQ(payload(), R"({"detections": []})");
  ASSERT_EQ(refused_.size(), 17U);
  EXPECT_EQ(refused_[15].rfind("detections[0]: \"counts\" ", 0), 0U) << refused_[15];
  EXPECT_EQ(refused_[16], "detections[0]: the frame's masks have more than 4294967296 pixels together");
}

TEST_F(RegionDetections, ABufferWithoutSuchARegionHasNone) {
  EXPECT_EQ(payload(), "");
  add(nullptr);
  add("roi/face, class-id=(int)1");
  EXPECT_EQ(payload(), "");
}

}  // namespace
}  // namespace segmask_gst
