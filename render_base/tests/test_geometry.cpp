#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <utility>

#include "render_base/geometry.h"

namespace render_base {
namespace {

constexpr int kMin = std::numeric_limits<int>::min();
constexpr int kMax = std::numeric_limits<int>::max();

std::string clipped(const Box& box, int width, int height) {
  const std::optional<LumaRect> rect = clipBox(box, {width, height});
  if (!rect) return "nothing";
  return std::to_string(rect->x0) + "," + std::to_string(rect->y0) + " to " + std::to_string(rect->x1) + "," +
         std::to_string(rect->y1);
}

TEST(Geometry, ARectanglePastTheEdgesIsCutAtWidthMinus1AndHeightMinus1) {
  EXPECT_EQ(clampToFrame({-5, -6, 99, 98}, 20, 10), (LumaRect{0, 0, 19, 9}));
  EXPECT_EQ(clampToFrame({kMin, kMin, kMax, kMax}, kMax, kMax), (LumaRect{0, 0, kMax - 1, kMax - 1}));
  EXPECT_EQ(clampToFrame({2, 3, 4, 5}, 20, 10), (LumaRect{2, 3, 4, 5}));
}

TEST(Geometry, AFrameWithADimensionOf0OrLessIsEmpty) {
  EXPECT_FALSE((FrameSize{1, 1}.empty()));
  for (const int dimension : {0, -1, kMin}) {
    EXPECT_TRUE((FrameSize{dimension, 1}.empty()));
    EXPECT_TRUE((FrameSize{1, dimension}.empty()));
    EXPECT_TRUE((FrameSize{dimension, dimension}.empty()));
  }
}

TEST(Geometry, PixelsOfAFramePast32And62BitsAreCounted) {
  EXPECT_EQ((FrameSize{65536, 65536}.pixels()), std::size_t{1} << 32);
  EXPECT_EQ((FrameSize{65536, 32768}.pixels()), std::size_t{1} << 31);
  EXPECT_EQ((FrameSize{kMax, kMax}.pixels()), 4611686014132420609U);  // 2^62 - 2^32 + 1
}

TEST(Geometry, RectanglesAreEqualWhenBothCornersAre) {
  const LumaRect rect{1, 2, 3, 4};
  EXPECT_TRUE((rect == LumaRect{1, 2, 3, 4}));
  for (const LumaRect& other :
       {LumaRect{9, 2, 3, 4}, LumaRect{1, 9, 3, 4}, LumaRect{1, 2, 9, 4}, LumaRect{1, 2, 3, 9}}) {
    EXPECT_FALSE(rect == other);
  }
}

TEST(Geometry, ARectangleOutsideOnAnySideComesOutEmpty) {
  EXPECT_TRUE(clampToFrame({-9, 0, -1, 5}, 20, 10).empty());  // left
  EXPECT_TRUE(clampToFrame({0, -9, 5, -1}, 20, 10).empty());  // above
  EXPECT_TRUE(clampToFrame({20, 0, 25, 5}, 20, 10).empty());  // right
  EXPECT_TRUE(clampToFrame({0, 10, 5, 15}, 20, 10).empty());  // below
  EXPECT_TRUE(clampToFrame({5, 5, 4, 6}, 20, 10).empty());    // inside out
  EXPECT_FALSE(clampToFrame({5, 5, 5, 5}, 20, 10).empty());   // one pixel
}

TEST(ClipBox, GivesThePartInTheFrameIfAny) {
  const std::pair<Box, const char*> cases[] = {
      {{2, 3, 4, 5}, "2,3 to 5,7"},         {{-10, -10, 1000, 1000}, "0,0 to 99,49"},
      {{90, 40, 10, 10}, "90,40 to 99,49"}, {{-10, 0, 10, 10}, "nothing"},
      {{0, -10, 10, 10}, "nothing"},        {{100, 0, 10, 10}, "nothing"},
      {{0, 50, 10, 10}, "nothing"},         {{5, 5, 0, 10}, "nothing"},
      {{5, 5, 10, 0}, "nothing"},           {{5, 5, -3, 10}, "nothing"},
      {{5, 5, kMin, kMin}, "nothing"}};
  for (const auto& [box, part] : cases) EXPECT_EQ(clipped(box, 100, 50), part);
}

TEST(ClipBox, XPlusWNeverWraps) {
  EXPECT_EQ(clipped({50, 20, kMax, kMax}, 100, 50), "50,20 to 99,49");
  EXPECT_EQ(clipped({kMax, kMax, kMax, kMax}, 100, 50), "nothing");
  EXPECT_EQ(clipped({kMin, kMin, kMin, kMin}, 100, 50), "nothing");
  EXPECT_EQ(clipped({kMin, kMin, kMax, kMax}, 100, 50), "nothing");  // ends at -1
  EXPECT_EQ(clipped({kMin + 1, 0, kMax, 9}, 100, 50), "nothing");    // at 0
  EXPECT_EQ(clipped({kMin + 4, kMin + 2, kMax, kMax}, 100, 50), "0,0 to 2,0");
  EXPECT_EQ(clipped({kMin, kMin, -1, -1}, 100, 50), "nothing");  // at 2^31 - 1 in 32 bits
  EXPECT_EQ(clipped({-1, -1, kMin, kMin}, 100, 50), "nothing");  // the same by another way
  EXPECT_EQ(clipped({-1, -1, kMax, kMax}, kMax, kMax), "0,0 to 2147483645,2147483645");
}

}  // namespace
}  // namespace render_base
