#include <gtest/gtest.h>

#include <limits>

#include "overlay_item.h"

namespace seg_mask_overlay {
namespace {

constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

DetView detectionOf(float score, std::string text = "SEG1|4|2|Dw==") {
  DetView detection;
  detection.score = score;
  detection.class_info = std::move(text);
  return detection;
}

std::string clipped(const Box& box, int width, int height) {
  const std::optional<LumaRect> rect = clipBox(box, width, height);
  if (!rect) return "nothing";
  return std::to_string(rect->x0) + "," + std::to_string(rect->y0) + " to " + std::to_string(rect->x1) + "," +
         std::to_string(rect->y1);
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

TEST(ClipBox, ABoxInsideKeepsItsPixels) {
  EXPECT_EQ(clipped({2, 3, 4, 5}, 100, 50), "2,3 to 5,7");
}

TEST(ClipBox, ABoxLargerThanTheFrameIsClippedToIt) {
  EXPECT_EQ(clipped({-10, -10, 1000, 1000}, 100, 50), "0,0 to 99,49");
}

TEST(ClipBox, ABoxThatEndsAtTheEdgeIsWhole) {
  EXPECT_EQ(clipped({90, 40, 10, 10}, 100, 50), "90,40 to 99,49");
}

TEST(ClipBox, ABoxWhollyOutsideDrawsNothing) {
  EXPECT_EQ(clipped({-10, 0, 10, 10}, 100, 50), "nothing");
  EXPECT_EQ(clipped({0, -10, 10, 10}, 100, 50), "nothing");
  EXPECT_EQ(clipped({100, 0, 10, 10}, 100, 50), "nothing");
  EXPECT_EQ(clipped({0, 50, 10, 10}, 100, 50), "nothing");
}

TEST(ClipBox, ASideOf0OrLessDrawsNothing) {
  EXPECT_EQ(clipped({5, 5, 0, 10}, 100, 50), "nothing");
  EXPECT_EQ(clipped({5, 5, 10, 0}, 100, 50), "nothing");
  EXPECT_EQ(clipped({5, 5, -3, 10}, 100, 50), "nothing");
  EXPECT_EQ(clipped({5, 5, kMin, kMin}, 100, 50), "nothing");
}

TEST(ClipBox, XPlusWNeverWraps) {
  EXPECT_EQ(clipped({50, 20, kMax, kMax}, 100, 50), "50,20 to 99,49");
  EXPECT_EQ(clipped({kMax, kMax, kMax, kMax}, 100, 50), "nothing");
  EXPECT_EQ(clipped({kMin, kMin, kMin, kMin}, 100, 50), "nothing");
  EXPECT_EQ(clipped({kMin, kMin, kMax, kMax}, 100, 50), "nothing");  // ends at -1
  EXPECT_EQ(clipped({-1, -1, kMax, kMax}, kMax, kMax), "0,0 to 2147483645,2147483645");
}

}  // namespace
}  // namespace seg_mask_overlay
