#include <gtest/gtest.h>

#include <limits>

#include "overlay_geometry.h"

namespace seg_mask_overlay {

static bool operator==(const LumaRect& a, const LumaRect& b) {
  return a.x0 == b.x0 && a.y0 == b.y0 && a.x1 == b.x1 && a.y1 == b.y1;
}
static bool operator==(const ChromaRect& a, const ChromaRect& b) {
  return a.x0 == b.x0 && a.y0 == b.y0 && a.x1 == b.x1 && a.y1 == b.y1;
}
static bool operator==(const GridSize& a, const GridSize& b) {
  return a.x == b.x && a.y == b.y;
}

namespace {

constexpr int kMin = std::numeric_limits<int>::min();
constexpr int kMax = std::numeric_limits<int>::max();

TEST(OverlayGeometry, ARectanglePastTheEdgesIsCutAtWidthMinus1AndHeightMinus1) {
  EXPECT_EQ(clampToFrame({-5, -6, 99, 98}, 20, 10), (LumaRect{0, 0, 19, 9}));
  EXPECT_EQ(clampToFrame({kMin, kMin, kMax, kMax}, kMax, kMax), (LumaRect{0, 0, kMax - 1, kMax - 1}));
  EXPECT_EQ(clampToFrame({2, 3, 4, 5}, 20, 10), (LumaRect{2, 3, 4, 5}));
}

TEST(OverlayGeometry, AFrameWithASideOf0OrLessIsEmpty) {
  EXPECT_FALSE((FrameSize{1, 1}.empty()));
  for (const int side : {0, -1, kMin}) {
    EXPECT_TRUE((FrameSize{side, 1}.empty()));
    EXPECT_TRUE((FrameSize{1, side}.empty()));
    EXPECT_TRUE((FrameSize{side, side}.empty()));
  }
}

TEST(OverlayGeometry, BytesOfAFramePast32And62BitsAreCounted) {
  EXPECT_EQ((FrameSize{65536, 65536}.bytes()), std::size_t{1} << 32);
  EXPECT_EQ((FrameSize{65536, 32768}.bytes()), std::size_t{1} << 31);
  EXPECT_EQ((FrameSize{kMax, kMax}.bytes()), 4611686014132420609U);  // 2^62 - 2^32 + 1
}

TEST(OverlayGeometry, ARectangleOverAllOfTheLargestFrameIsNotCut) {
  const LumaRect all = clampToFrame({kMin, kMin, kMax, kMax}, kMax, kMax);
  EXPECT_EQ(chromaRect(all), (ChromaRect{0, 0, 1073741823, 1073741823}));  // the last odd column has none
  EXPECT_EQ(lumaGrid(all), (GridSize{134217728, 134217728}));              // 2^31 / 16
}

TEST(OverlayGeometry, ARectangleOutsideOnAnySideComesOutEmpty) {
  EXPECT_TRUE(clampToFrame({-9, 0, -1, 5}, 20, 10).empty());  // left
  EXPECT_TRUE(clampToFrame({0, -9, 5, -1}, 20, 10).empty());  // above
  EXPECT_TRUE(clampToFrame({20, 0, 25, 5}, 20, 10).empty());  // right
  EXPECT_TRUE(clampToFrame({0, 10, 5, 15}, 20, 10).empty());  // below
  EXPECT_TRUE(clampToFrame({5, 5, 4, 6}, 20, 10).empty());    // inside out
  EXPECT_FALSE(clampToFrame({5, 5, 5, 5}, 20, 10).empty());   // one pixel
}

TEST(OverlayGeometry, OneColumnAtX10UpdatesNoChromaAndOneAtX11UpdatesColumn5) {
  EXPECT_TRUE(chromaRect({10, 0, 10, 9}).empty());
  EXPECT_EQ(chromaRect({11, 0, 11, 9}), (ChromaRect{5, 0, 6, 5}));
}

TEST(OverlayGeometry, OneRowAtAnEvenYUpdatesNoChromaAndOneAtAnOddYDoes) {
  EXPECT_TRUE(chromaRect({0, 10, 9, 10}).empty());
  EXPECT_EQ(chromaRect({0, 11, 9, 11}), (ChromaRect{0, 5, 5, 6}));
}

TEST(OverlayGeometry, TheLastColumnAndRowOfAnOddFrameAreNeverColoured) {
  EXPECT_EQ(chromaRect({0, 0, 4, 6}), (ChromaRect{0, 0, 2, 3}));  // a 5 x 7 frame has 3 x 4 samples
}

TEST(OverlayGeometry, LaunchGridsAreWholeBlocksOf16By16) {
  EXPECT_EQ(kBlockSide, 16);
  EXPECT_EQ(lumaGrid({0, 0, 0, 0}), (GridSize{1, 1}));
  EXPECT_EQ(lumaGrid({0, 0, 15, 16}), (GridSize{1, 2}));
  EXPECT_EQ(lumaGrid({100, 7, 131, 7}), (GridSize{2, 1}));
  EXPECT_EQ(chromaGrid({0, 0, 16, 17}), (GridSize{1, 2}));
  EXPECT_EQ(chromaGrid({5, 5, 6, 38}), (GridSize{1, 3}));
}

TEST(OverlayGeometry, AnUnusableArgumentDrawsNothing) {
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
