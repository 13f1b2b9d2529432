#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "detection/overlay_item.h"

namespace seg_mask {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

DetView detectionOf(float score, std::string text = "SEG1|4|2|Dw==") {
  DetView detection;
  detection.score = score;
  detection.class_info = std::move(text);
  return detection;
}

struct OverlayItemTest : testing::Test {
  MaskArena arena;

  std::vector<OverlayItem> items(const std::vector<DetView>& detections, float minScore) {
    return makeOverlayItems(detections, minScore, arena);
  }

  Outcome outcome(const DetView& detection, float minScore = 0.0F, MaskTextFault* fault = nullptr) {
    arena.beginFrame(maskTextRoom(detection.class_info));
    OverlayItem item{};
    return makeOverlayItem(detection, minScore, arena, item, fault);
  }

  /// What is drawn on a 4 x 2 frame of a mask whose first row is inside.
  DrawnPixels drawnOf(const render_base::Box& box) {
    DetView detection = detectionOf(1);
    detection.x = box.x;
    detection.y = box.y;
    detection.w = box.w;
    detection.h = box.h;
    return DrawnPixelCounter().count(items({detection}, 0).at(0), {4, 2});
  }
};

TEST_F(OverlayItemTest, AScoreBelowTheThresholdIsNotDrawnAndOneThatIsNoNumberIs) {
  EXPECT_EQ(items({detectionOf(0.3F)}, 0.3F).size(), 1U);
  EXPECT_TRUE(items({detectionOf(std::nextafter(0.3F, 0.0F))}, 0.3F).empty());
  EXPECT_TRUE(items({detectionOf(-0.1F)}, 0.0F).empty());
  EXPECT_EQ(items({detectionOf(kNan)}, 1.0F).size(), 1U);
}

TEST_F(OverlayItemTest, AnEmptyOrInvalidMaskTextDropsTheDetectionAlone) {
  const std::vector<OverlayItem> drawn =
      items({detectionOf(1, ""), detectionOf(1, "null"), detectionOf(1), detectionOf(1, "SEG1|4|2")}, 0);
  ASSERT_EQ(drawn.size(), 1U);
  EXPECT_EQ(drawn[0].mask.width, 4);
  EXPECT_EQ(drawn[0].mask.height, 2);
}

TEST_F(OverlayItemTest, BoxAndClassColourAreTakenOverInOrder) {
  DetView first = detectionOf(1);
  first.x = 1;
  first.y = 2;
  first.w = 3;
  first.h = 4;
  first.class_id = 14;
  DetView second = detectionOf(1);
  second.class_id = -14;
  const std::vector<OverlayItem> drawn = items({first, second}, 0);
  ASSERT_EQ(drawn.size(), 2U);
  EXPECT_EQ(drawn[0].box.x, 1);
  EXPECT_EQ(drawn[0].box.y, 2);
  EXPECT_EQ(drawn[0].box.w, 3);
  EXPECT_EQ(drawn[0].box.h, 4);
  EXPECT_EQ(drawn[0].color.u, 238);
  EXPECT_EQ(drawn[1].color.u, 238);
}

TEST_F(OverlayItemTest, TheOutcomeNamesTheFirstRuleThatDropsADetection) {
  EXPECT_EQ(outcome(detectionOf(0.5F), 0.5F), Outcome::Drawn);
  EXPECT_EQ(outcome(detectionOf(0.4F, "no mask"), 0.5F), Outcome::LowScore);
  MaskTextFault fault;
  EXPECT_EQ(outcome(detectionOf(1, "SEG1|4|0|Dw=="), 0, &fault), Outcome::InvalidMask);
  EXPECT_EQ(fault.field, MaskTextFault::Field::Height);
  EXPECT_EQ(fault.problem, MaskTextFault::Problem::NotPositive);
}

TEST_F(OverlayItemTest, DrawnPixelsAreThoseOfTheMaskWithinBoxAndFrameAndWithoutAnyTheReasonIsTold) {
  const DrawnPixels whole = drawnOf({-5, -5, 100, 100});
  EXPECT_EQ(whole.outcome, Outcome::Drawn);
  EXPECT_EQ(whole.count, 4U);
  EXPECT_EQ(drawnOf({1, 0, 2, 1}).count, 2U);
  EXPECT_EQ(drawnOf({4, 0, 9, 9}).outcome, Outcome::BoxOutside);
  EXPECT_EQ(drawnOf({0, 0, 0, 2}).outcome, Outcome::BoxOutside);
  EXPECT_EQ(drawnOf({0, 1, 4, 1}).outcome, Outcome::NoPixelInBox);
  EXPECT_EQ(drawnOf({0, 1, 4, 1}).count, 0U);
}

TEST_F(OverlayItemTest, PixelsAreCountedOnTheScaledMask) {
  DetView detection = detectionOf(1, "SEG1|2|1|AQ==");
  detection.w = detection.h = 100;
  const std::vector<OverlayItem> drawn = items({detection}, 0);
  DrawnPixelCounter counter;
  EXPECT_EQ(counter.count(drawn.at(0), {10, 6}).count, 30U);  // the left half
  EXPECT_EQ(counter.count(drawn.at(0), {10, 6}, 1).count, 5U) << "the limit ends it with the first row";
  EXPECT_EQ(counter.count(drawn.at(0), {10, 6}, 6).count, 10U);
}

TEST_F(OverlayItemTest, PixelsOfAMaskLargerThanTheFrameAreThoseThatItShows) {
  // Eight columns on a frame of two: shown are columns 0 and 4. Column 1 is inside in the first row, column 4
  // in the second.
  DetView detection = detectionOf(1, "SEG1|8|2|AhA=");
  detection.w = 2;
  detection.h = 2;
  const std::vector<OverlayItem> drawn = items({detection}, 0);
  EXPECT_EQ(DrawnPixelCounter().count(drawn.at(0), {2, 1}).outcome, Outcome::NoPixelInBox);
  EXPECT_EQ(DrawnPixelCounter().count(drawn.at(0), {2, 2}).count, 1U);
}

TEST_F(OverlayItemTest, PixelsOfARowThatChangesAtEachColumnAreCountedOneByOne) {
  DetView detection = detectionOf(1, "SEG1|96|1|VVVVVVVVVVVVVVVV");  // 0x55: every other column
  detection.x = 1;
  detection.w = 95;
  detection.h = 1;
  EXPECT_EQ(DrawnPixelCounter().count(items({detection}, 0).at(0), {96, 1}).count, 47U);
}

TEST_F(OverlayItemTest, MasksOfOneFrameDoNotOverlapInTheArena) {
  const std::vector<OverlayItem> drawn = items(
      {detectionOf(1, "SEG1|8|1|/w=="), detectionOf(1, "SEG1|8|1|/"), detectionOf(1, "SEG1|8|1|AA==")}, 0);
  ASSERT_EQ(drawn.size(), 2U);
  EXPECT_EQ(drawn[0].mask.bits[0], 0xFF);
  EXPECT_EQ(drawn[1].mask.bits[0], 0x00);
}

}  // namespace
}  // namespace seg_mask
