#include <gtest/gtest.h>

#include <string>

#include "mask/mask_placement.h"

namespace seg_mask {
namespace {

/// The placed mask, row by row: "#" inside, "." outside, rows apart by "/".
std::string placed(const MaskView& mask, const MaskPlacement& at, int width, int height) {
  const MaskBits result = placeMask(mask, at, width, height);
  EXPECT_EQ(result.width, width);
  EXPECT_EQ(result.height, height);
  std::string text;
  for (std::size_t i = 0; i < static_cast<std::size_t>(width) * static_cast<std::size_t>(height); ++i) {
    if (i > 0 && i % static_cast<std::size_t>(width) == 0) text += '/';
    text += result.inside(i) ? '#' : '.';
  }
  return text;
}

// "#." above ".#"
const MaskBits kDiagonal{2, 2, {0b1001}};

TEST(PlaceMask, ShowsTheMaskInItsRectangleAlone) {
  EXPECT_EQ(placed(kDiagonal, {1, 1, 2, 2}, 4, 4), "..../.#../..#./....");
  EXPECT_EQ(placed(MaskBits{1, 1, {1}}, {2, 0, 2, 3}, 4, 4), "..##/..##/..##/....");
}

TEST(PlaceMask, SamplesByWholeNumbers) {
  // Five columns show 0 * 2 / 5, 1 * 2 / 5, ...: 0 0 0 1 1; three rows show 0 0 1.
  EXPECT_EQ(placed(kDiagonal, {0, 0, 5, 3}, 5, 3), "###../###../...##");
  // A mask of four columns in three: 0, 4 / 3, 8 / 3 are the columns 0, 1 and 2.
  EXPECT_EQ(placed(MaskBits{4, 1, {0b1010}}, {0, 0, 3, 1}, 3, 1), ".#.");
}

TEST(PlaceMask, TheHalfOfAWidthThatBinaryFractionsMissIsExact) {
  // 49 * 2 / 98 is 1, while 49 * (1.0 / 49) is just below it.
  EXPECT_EQ(placed(MaskBits{2, 1, {0b10}}, {0, 0, 98, 1}, 98, 1),
            std::string(49, '.') + std::string(49, '#'));
}

TEST(PlaceMask, WhatReachesOutsideTheFrameIsCutOff) {
  // Columns -3 to 2 of six show 0 0 0 1 1 1; of them the frame has the last three.
  EXPECT_EQ(placed(kDiagonal, {-3, 0, 6, 2}, 4, 2), "..../###.");
  EXPECT_EQ(placed(kDiagonal, {0, -1, 2, 2}, 2, 2), ".#/..");
  EXPECT_EQ(placed(kDiagonal, {3, 3, 9, 9}, 4, 4), "..../..../..../...#");
}

TEST(PlaceMask, OneThatMissesTheFrameShowsNothing) {
  for (const MaskPlacement& at : {MaskPlacement{4, 0, 2, 2}, MaskPlacement{0, 4, 2, 2},
                                  MaskPlacement{-2, 0, 2, 2}, MaskPlacement{0, -2, 2, 2}}) {
    EXPECT_EQ(placed(kDiagonal, at, 4, 4), "..../..../..../....");
  }
}

TEST(PlaceMask, TheLargestNumbersDoNotWrap) {
  constexpr int kMost = 2147483647;
  EXPECT_EQ(placed(kDiagonal, {-kMost - 1, -kMost - 1, kMost, kMost}, 2, 2), "../..");
  EXPECT_EQ(placed(kDiagonal, {kMost, kMost, kMost, kMost}, 2, 2), "../..");
  EXPECT_EQ(placed(kDiagonal, {-kMost + 2, -kMost + 2, kMost, kMost}, 3, 3), "##./##./...");
}

TEST(PlaceMask, RowsBeginAtAnyBitOfTheirFrame) {
  const MaskBits wide{70, 1, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x3F}};
  const std::string row = std::string(3, '.') + std::string(70, '#') + std::string(6, '.');
  EXPECT_EQ(placed(wide, {3, 0, 70, 3}, 79, 3), row + "/" + row + "/" + row);
}

}  // namespace
}  // namespace seg_mask
