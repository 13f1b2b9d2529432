#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "src/tile_lists.h"

namespace seg_mask_overlay {
namespace {

FusedItem boxOf(int x0, int y0, int x1, int y1) {
  FusedItem item{};
  item.luma = {x0, y0, x1, y1};
  item.chroma = chromaRect(item.luma);
  return item;
}

class Tiles : public testing::Test {
 protected:
  /// The list of the tile (column, row) of the grid.
  std::vector<uint32_t> listOf(int column, int row) const {
    const auto tile = static_cast<std::size_t>(row * builder_.grid().columns + column);
    return {builder_.items().begin() + builder_.first()[tile],
            builder_.items().begin() + builder_.first()[tile + 1]};
  }

  void expectGrid(int firstColumn, int firstRow, int columns, int rows, int shift) const {
    const TileLists& grid = builder_.grid();
    EXPECT_EQ(grid.firstColumn, firstColumn);
    EXPECT_EQ(grid.firstRow, firstRow);
    EXPECT_EQ(grid.columns, columns);
    EXPECT_EQ(grid.rows, rows);
    EXPECT_EQ(grid.shift, shift);
    EXPECT_EQ(grid.first, nullptr);
    EXPECT_EQ(grid.items, nullptr);
    EXPECT_EQ(builder_.first().size(), static_cast<std::size_t>(columns * rows + 1));
    EXPECT_EQ(builder_.first().back(), builder_.items().size());
  }

  TileListBuilder builder_;
};

using List = std::vector<uint32_t>;

// Tiles of 32 pixels: the first box lies in columns 1 and 2, the second in column 2, the third in all of
// three.
TEST_F(Tiles, ListTheirItemsInTheOrderOfDrawing) {
  builder_.build({boxOf(40, 0, 70, 31), boxOf(64, 10, 95, 12), boxOf(32, 31, 127, 32)});
  expectGrid(1, 0, 3, 2, 0);
  EXPECT_EQ(listOf(0, 0), (List{0, 2}));
  EXPECT_EQ(listOf(1, 0), (List{0, 1, 2}));
  EXPECT_EQ(listOf(2, 0), List{2});
  EXPECT_EQ(listOf(0, 1), List{2});
  EXPECT_EQ(listOf(1, 1), List{2});
  EXPECT_EQ(listOf(2, 1), List{2});
}

TEST_F(Tiles, BetweenBoxesThatLieApartAreEmpty) {
  builder_.build({boxOf(0, 0, 1, 1), boxOf(96, 64, 97, 65)});
  expectGrid(0, 0, 4, 3, 0);
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 4; ++column) {
      const List expected = row == 0 && column == 0 ? List{0} : row == 2 && column == 3 ? List{1} : List{};
      EXPECT_EQ(listOf(column, row), expected) << column << ' ' << row;
    }
  }
}

// Far from the frame's corner, and only as many as meet a box.
TEST_F(Tiles, LieOverTheUnionOfTheBoxesAlone) {
  builder_.build({boxOf(3800, 2000, 3801, 2001)});
  expectGrid(118, 62, 1, 1, 0);
  EXPECT_EQ(listOf(0, 0), List{0});
}

// An odd left or upper edge reads a column or a row further, which stays in its tile because tiles begin at
// even places.
TEST_F(Tiles, HoldAnOddEdgesNeighbour) {
  builder_.build({boxOf(33, 33, 40, 40)});
  expectGrid(1, 1, 1, 1, 0);
}

TEST_F(Tiles, OfOneFrameForgetThoseOfTheLast) {
  builder_.build({boxOf(0, 0, 100, 100), boxOf(0, 0, 100, 100)});
  builder_.build({boxOf(0, 0, 10, 10)});
  expectGrid(0, 0, 1, 1, 0);
  EXPECT_EQ(builder_.items(), List{0});
}

// 4K is 120 x 68 tiles: 32 frames of it take 261,120 entries, and 33 take more than 262,144.
TEST_F(Tiles, AreCoarserWhenTheirListsWouldPassAMebibyte) {
  static_assert(TileListBuilder::kMaxEntries == 262144);
  std::vector<FusedItem> items(32, boxOf(0, 0, 3839, 2159));
  builder_.build(items);
  expectGrid(0, 0, 120, 68, 0);
  items.push_back(boxOf(0, 0, 3839, 2159));
  builder_.build(items);
  expectGrid(0, 0, 60, 34, 1);
  EXPECT_EQ(builder_.items().size(), 33U * 60 * 34);
  EXPECT_EQ(listOf(59, 33).front(), 0U);
  EXPECT_EQ(listOf(59, 33).back(), 32U);
}

// 4,096 of them fit at 8 x 5 tiles of 512 pixels: 163,840.
TEST_F(Tiles, OfTheLargestCrowdKeepWithinIt) {
  builder_.build(std::vector<FusedItem>(4096, boxOf(0, 0, 3839, 2159)));
  expectGrid(0, 0, 8, 5, 4);
  EXPECT_EQ(builder_.items().size(), 163840U);
  for (uint32_t i = 0; i < 4096; ++i) ASSERT_EQ(listOf(7, 4)[i], i);
}

TEST_F(Tiles, StayAsSmallAsTheListsAllowToTheEntry) {
  builder_.build(std::vector<FusedItem>(TileListBuilder::kMaxEntries / 2, boxOf(0, 0, 40, 1)));
  expectGrid(0, 0, 2, 1, 0);
}

TEST_F(Tiles, EndAtOneWhenNothingHelps) {
  builder_.build(std::vector<FusedItem>(TileListBuilder::kMaxEntries + 1, boxOf(0, 0, 40, 1)));
  expectGrid(0, 0, 1, 1, 1);
  EXPECT_EQ(builder_.items().size(), TileListBuilder::kMaxEntries + 1);
}

}  // namespace
}  // namespace seg_mask_overlay
