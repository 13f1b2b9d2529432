#include <gtest/gtest.h>

#include <string>

#include "mask/polygon.h"
#include "mask/run_lengths.h"

namespace seg_mask {
namespace {

/// The mask, row by row: "#" inside, "." outside, rows apart by "/".
std::string drawn(const std::vector<Polygon>& polygons, int width, int height) {
  const MaskBits mask = rasterizePolygons(polygons, width, height);
  std::string text;
  for (std::size_t i = 0; i < static_cast<std::size_t>(width) * static_cast<std::size_t>(height); ++i) {
    if (i > 0 && i % static_cast<std::size_t>(width) == 0) text += '/';
    text += mask.inside(i) ? '#' : '.';
  }
  return text;
}

Polygon rectangle(double left, double top, double right, double bottom) {
  return {{left, top}, {right, top}, {right, bottom}, {left, bottom}};
}

TEST(RasterizePolygons, ARectangleOnPixelBordersHasThePixelsWithin) {
  EXPECT_EQ(drawn({rectangle(1, 1, 4, 3)}, 5, 4), "...../.###./.###./.....");
  EXPECT_EQ(drawn({rectangle(0, 0, 5, 4)}, 5, 4), "#####/#####/#####/#####");
}

TEST(RasterizePolygons, APixelBelongsFromTheThirdFifthOn) {
  // The edge of column 1 lies between the grid points 7 and 8, and row 1 begins behind the grid point 7.
  EXPECT_EQ(drawn({rectangle(1.4, 0, 3, 1)}, 4, 1), ".##.") << "from grid point 7";
  EXPECT_EQ(drawn({rectangle(1.6, 0, 3, 1)}, 4, 1), "..#.") << "from grid point 8";
  EXPECT_EQ(drawn({rectangle(0, 1.4, 1, 3)}, 1, 4), "./#/#/.") << "from grid point 7";
  EXPECT_EQ(drawn({rectangle(0, 1.6, 1, 3)}, 1, 4), "././#/.") << "from grid point 8";
}

TEST(RasterizePolygons, PointsAreRoundedToFifths) {
  // 5 * 1.49 + 0.5 = 7.95, which is grid point 7; 5 * 1.5 + 0.5 is 8.
  EXPECT_EQ(drawn({rectangle(1.49, 0, 3, 1)}, 4, 1), ".##.");
  EXPECT_EQ(drawn({rectangle(1.5, 0, 3, 1)}, 4, 1), "..#.");
}

TEST(RasterizePolygons, FlatAndSteepSidesTakeTheUpperOfTwoGridPoints) {
  // The side from (0, 0) to (20, 20) passes (2, 2), (7, 7) and so on: each column begins at its own row.
  EXPECT_EQ(drawn({{{0, 0}, {4, 4}, {0, 4}}}, 4, 4), "#.../##../###./####");
  // From (0, 0) to (10, 20), the steep one: x is 2.5, rounded 3, at y = 5, so column 0's edge is at y = 4 and
  // its row is (4 - 2) / 5, rounded up, 1; x is 7.5, rounded 8, at y = 15, so column 1's edge is at 14, in
  // row 3.
  EXPECT_EQ(drawn({{{0, 0}, {2, 4}, {0, 4}}}, 2, 4), "../#./#./##");
  // From (0, 0) to (20, 10), the flat one: at x = 2 and 3, y is 1 (1.0) and 2 (1.5 rounded): row 0. At 7 and
  // 8: 4 and 4, row 1. At 12 and 13: 6 and 7, row 1. At 17 and 18: 9 and 9, row 2, which is below the
  // polygon.
  EXPECT_EQ(drawn({{{0, 0}, {4, 2}, {0, 2}}}, 4, 2), "#.../###.");
}

TEST(RasterizePolygons, ASteepSideIsAnEdgeAtTheLastGridPointBeforeIt) {
  // From (10, 2) to (0, 22) x falls by a half at each step: it is 3 at y = 17 and 2 at y = 18, and 8 at y = 7
  // and 7 at y = 8. The edges are at 17 and 7, the third fifths of the rows 3 and 1. The lower side, at y =
  // 22, is row 4.
  EXPECT_EQ(drawn({{{2, 0.4}, {2, 4.4}, {0, 4.4}}}, 2, 5), "../.#/.#/##/..");
}

TEST(RasterizePolygons, TheDirectionOfASideDoesNotMatter) {
  const Polygon polygon{{0.3, 5.1}, {7.7, 0.4}, {9.2, 6.6}, {4.5, 9.9}};
  const Polygon backwards(polygon.rbegin(), polygon.rend());
  EXPECT_EQ(drawn({polygon}, 11, 11), drawn({backwards}, 11, 11));
}

TEST(RasterizePolygons, WhatLiesOutsideIsCutOff) {
  EXPECT_EQ(drawn({rectangle(-3, -2, 2, 1)}, 3, 2), "##./...");
  EXPECT_EQ(drawn({rectangle(1, 1, 9, 9)}, 3, 2), ".../.##");
  EXPECT_EQ(drawn({rectangle(-9, -9, 9, 9)}, 3, 2), "###/###");
  EXPECT_EQ(drawn({rectangle(3, 0, 9, 2)}, 3, 2), ".../...");
  EXPECT_EQ(drawn({rectangle(0, -9, 3, -1)}, 3, 2), ".../...");
}

TEST(RasterizePolygons, TheFarthestPointsCutAsNearOnesDo) {
  const double far = kFarthestPolygonPoint;
  EXPECT_EQ(drawn({rectangle(-far, -far, far, far)}, 3, 2), "###/###");
  EXPECT_EQ(drawn({rectangle(1, -far, 2, far)}, 3, 2), ".#./.#.");
  // The diagonal of the whole plane, and all that is below it.
  EXPECT_EQ(drawn({{{-far, -far}, {far, far}, {-far, far}}}, 4, 4), "#.../##../###./####");
}

TEST(RasterizePolygons, SeveralAreJoined) {
  EXPECT_EQ(drawn({rectangle(0, 0, 2, 2), rectangle(1, 1, 3, 3)}, 3, 3), "##./###/.##");
  EXPECT_EQ(drawn({rectangle(0, 0, 2, 2), rectangle(0, 0, 2, 2)}, 2, 2), "##/##");
  EXPECT_EQ(drawn({}, 2, 1), "..");
}

TEST(RasterizePolygons, OneThatCoversAPixelTwiceIsOutsideThere) {
  const Polygon twice{{0, 0}, {3, 0}, {3, 3}, {0, 3}, {0, 0}, {2, 0}, {2, 2}, {0, 2}};
  EXPECT_EQ(drawn({twice}, 3, 3), "..#/..#/###");
}

TEST(RasterizePolygons, PointsAndLinesHaveNoPixel) {
  EXPECT_EQ(drawn({{{1, 1}, {1, 1}, {1, 1}}, {{0, 0}, {3, 3}, {0, 0}}, {}}, 3, 3), ".../.../...");
}

TEST(RasterizePolygons, AWideMaskIsWhatItsColumnsAre) {
  // Wider than a word, so that rows begin at any bit: a trapezium whose column x begins at row x / 10.
  RunLengthsFault fault{};
  const MaskBits mask = rasterizePolygons({{{0, 0}, {130, 13}, {0, 13}}}, 130, 13);
  std::vector<int64_t> runs{0};
  for (int x = 0; x < 130; ++x) {
    // At x + 0.4 of a pixel the grid's y is (5 * x + 2) / 10, rounded, and the row is that less two, by five.
    const int upper = (5 * x + 2 + 5) / 10;
    const int row = (upper - 2 + 4) / 5;
    if (x == 0) {
      runs = {row};
    } else {
      runs.push_back(row);
    }
    runs.push_back(13 - row);
  }
  EXPECT_EQ(mask.bits, decodeRunLengths(runs, 130, 13, fault)->bits);
}

}  // namespace
}  // namespace seg_mask
