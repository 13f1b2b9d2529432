#include <gtest/gtest.h>

#include <limits>

#include "blend/launch_geometry.h"

namespace seg_mask_overlay {

static bool operator==(const ChromaRect& a, const ChromaRect& b) {
  return a.x0 == b.x0 && a.y0 == b.y0 && a.x1 == b.x1 && a.y1 == b.y1;
}
static bool operator==(const GridSize& a, const GridSize& b) {
  return a.x == b.x && a.y == b.y;
}

namespace {

constexpr int kMin = std::numeric_limits<int>::min();
constexpr int kMax = std::numeric_limits<int>::max();

TEST(LaunchGeometry, ARectangleOverAllOfTheLargestFrameIsNotCut) {
  const LumaRect all = render_base::clampToFrame({kMin, kMin, kMax, kMax}, kMax, kMax);
  EXPECT_EQ(chromaRect(all), (ChromaRect{0, 0, 1073741823, 1073741823}));  // the last odd column has none
  EXPECT_EQ(lumaGrid(all), (GridSize{134217728, 134217728}));              // 2^31 / 16
}

TEST(LaunchGeometry, OneColumnOrRowAtAnEvenPlaceUpdatesNoChromaNorDoTheLastOnesOfAnOddFrame) {
  EXPECT_TRUE(chromaRect({10, 0, 10, 9}).empty());
  EXPECT_EQ(chromaRect({11, 0, 11, 9}), (ChromaRect{5, 0, 6, 5}));
  EXPECT_TRUE(chromaRect({0, 10, 9, 10}).empty());
  EXPECT_EQ(chromaRect({0, 11, 9, 11}), (ChromaRect{0, 5, 5, 6}));
  EXPECT_EQ(chromaRect({0, 0, 4, 6}), (ChromaRect{0, 0, 2, 3}));  // a 5 x 7 frame has 3 x 4 samples
}

TEST(LaunchGeometry, LaunchGridsAreWholeBlocksOf16By16) {
  EXPECT_EQ(kBlockSide, 16);
  EXPECT_EQ(lumaGrid({0, 0, 0, 0}), (GridSize{1, 1}));
  EXPECT_EQ(lumaGrid({0, 0, 15, 16}), (GridSize{1, 2}));
  EXPECT_EQ(lumaGrid({100, 7, 131, 7}), (GridSize{2, 1}));
  EXPECT_EQ(chromaGrid({0, 0, 16, 17}), (GridSize{1, 2}));
  EXPECT_EQ(chromaGrid({5, 5, 6, 38}), (GridSize{1, 3}));
}

TEST(LaunchGeometry, AnUnusableArgumentDrawsNothing) {
  const unsigned char byte = 0;
  const LumaRect rect{0, 0, 3, 3};
  EXPECT_EQ(launchRect(&byte, &byte, &byte, 4, 4, rect), rect);
  EXPECT_TRUE(launchRect(nullptr, &byte, &byte, 4, 4, rect).empty());
  EXPECT_TRUE(launchRect(&byte, nullptr, &byte, 4, 4, rect).empty());
  EXPECT_TRUE(launchRect(&byte, &byte, nullptr, 4, 4, rect).empty());
  EXPECT_TRUE(launchRect(&byte, &byte, &byte, 0, 4, rect).empty());
  EXPECT_TRUE(launchRect(&byte, &byte, &byte, 4, -1, rect).empty());
}

}  // namespace
}  // namespace seg_mask_overlay
