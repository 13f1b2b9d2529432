#include <gtest/gtest.h>

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

TEST(OverlayItem, AScoreEqualToTheThresholdIsDrawnAndOneBelowIsNot) {
  EXPECT_EQ(makeOverlayItems({detectionOf(0.3F)}, 0.3F).size(), 1U);
  EXPECT_TRUE(makeOverlayItems({detectionOf(0.2999F)}, 0.3F).empty());
}

TEST(OverlayItem, AScoreThatIsNoNumberIsNotFilteredOut) {
  EXPECT_EQ(makeOverlayItems({detectionOf(kNan)}, 1.0F).size(), 1U);
}

TEST(OverlayItem, ANegativeScoreIsBelowTheDefaultThreshold) {
  EXPECT_TRUE(makeOverlayItems({detectionOf(-0.1F)}, 0.0F).empty());
}

TEST(OverlayItem, AnEmptyOrInvalidMaskTextDropsTheDetectionAlone) {
  const std::vector<OverlayItem> items = makeOverlayItems(
      {detectionOf(1, ""), detectionOf(1, "null"), detectionOf(1), detectionOf(1, "SEG1|4|2")}, 0);
  ASSERT_EQ(items.size(), 1U);
  EXPECT_EQ(items[0].mask.width, 4);
  EXPECT_EQ(items[0].mask.height, 2);
}

TEST(OverlayItem, BoxAndClassColourAreTakenOverInOrder) {
  DetView first = detectionOf(1);
  first.x = 1;
  first.y = 2;
  first.w = 3;
  first.h = 4;
  first.class_id = 14;
  DetView second = detectionOf(1);
  second.class_id = -14;
  const std::vector<OverlayItem> items = makeOverlayItems({first, second}, 0);
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ(items[0].box.x, 1);
  EXPECT_EQ(items[0].box.y, 2);
  EXPECT_EQ(items[0].box.w, 3);
  EXPECT_EQ(items[0].box.h, 4);
  EXPECT_EQ(items[0].color.u, 238);
  EXPECT_EQ(items[1].color.u, 238);
}

}  // namespace
}  // namespace seg_mask
