#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "mask/mask_bits.h"
#include "src/FramePacker.h"

namespace seg_mask_overlay {
namespace {

using seg_mask::MaskBits;
using seg_mask::OverlayItem;

// A mask whose byte i is i + 1.
MaskBits countingMask(int width, int height) {
  std::vector<uint8_t> bits(static_cast<std::size_t>((width * height + 7) / 8));
  for (std::size_t i = 0; i < bits.size(); ++i) bits[i] = static_cast<uint8_t>(i + 1);
  return {width, height, bits};
}

class Packer : public testing::Test {
 protected:
  static MappedFrame frameOf(int width, int height) {
    static IRenderBackend::MappedPlanes planes;
    static unsigned char plane;
    planes.y = &plane;
    planes.uv = &plane + 1;
    planes.yPitch = width + 3;
    planes.uvPitch = width + 5;
    return {planes, {width, height}};
  }

  // Packs the items; the addresses are the block's own.
  const FusedFrame& pack(const MappedFrame& frame, const std::vector<OverlayItem>& items,
                         float alpha = 0.5F) {
    bytes_ = packer_.plan(frame, items, alpha);
    EXPECT_EQ(bytes_ % FramePacker::kAlignment, 0U);
    block_.assign((bytes_ + sizeof(std::max_align_t) - 1) / sizeof(std::max_align_t), {});
    auto* const memory = reinterpret_cast<unsigned char*>(block_.data());
    packed_ = packer_.write(memory, memory, memory + bytes_);
    return packed_;
  }

  std::vector<uint8_t> bits() const { return {packed_.bits, packed_.bits + packed_.bitsSize}; }

  // The columns (or rows) that the item's map has for these frame pixels.
  std::vector<int> mapped(int32_t map, int from, int to) const {
    return {packed_.maps + map + from, packed_.maps + map + to + 1};
  }

  FramePacker packer_;
  FusedFrame packed_{};
  std::size_t bytes_ = 0;
  std::vector<std::max_align_t> block_;
};

TEST_F(Packer, TakesNothingForAFrameThatNoBoxMeets) {
  const MaskBits mask = countingMask(4, 4);
  EXPECT_EQ(packer_.plan(frameOf(8, 8), {}, 0.5F), 0U);
  EXPECT_EQ(packer_.plan(frameOf(8, 8), {{mask, {8, 0, 1, 1}, {}}, {mask, {0, 0, 0, 8}, {}}}, 0.5F), 0U);
}

TEST_F(Packer, WritesTheFrameFirstAndAllThatItPointsToBehindIt) {
  const MaskBits mask = countingMask(8, 4);
  const MappedFrame frame = frameOf(8, 4);
  const FusedFrame& packed =
      pack(frame, {{mask, {0, 0, 8, 4}, {1, 2, 3}}, {mask, {2, 2, 2, 2}, {4, 5, 6}}}, 0.25F);
  const auto* const block = reinterpret_cast<const unsigned char*>(block_.data());
  EXPECT_EQ(std::memcmp(block, &packed, sizeof packed), 0);
  EXPECT_EQ(packed.yPlane, frame.planes.y);
  EXPECT_EQ(packed.uvPlane, frame.planes.uv);
  EXPECT_EQ(packed.yPitch, 11);
  EXPECT_EQ(packed.uvPitch, 13);
  EXPECT_EQ(packed.size.width, 8);
  EXPECT_EQ(packed.size.height, 4);
  EXPECT_EQ(packed.alpha, 0.25F);
  EXPECT_EQ(packed.scratch, block + bytes_);
  ASSERT_EQ(packed.itemCount, 2U);
  const auto at = [&](const void* part) { return static_cast<const unsigned char*>(part) - block; };
  EXPECT_GE(at(packed.items), static_cast<std::ptrdiff_t>(sizeof(FusedFrame)));
  EXPECT_GE(at(packed.maps), at(packed.items + 2));
  EXPECT_GT(at(packed.bits), at(packed.maps));
  EXPECT_LE(at(packed.bits + packed.bitsSize), static_cast<std::ptrdiff_t>(bytes_));
  for (const void* part : {static_cast<const void*>(packed.items), static_cast<const void*>(packed.maps),
                           static_cast<const void*>(packed.bits)}) {
    EXPECT_EQ(at(part) % static_cast<std::ptrdiff_t>(FramePacker::kAlignment), 0);
  }
  EXPECT_EQ(packed.items[0].colorY, 1);
  EXPECT_EQ(packed.items[1].colorU, 5);
  EXPECT_EQ(packed.items[1].colorV, 6);
}

TEST_F(Packer, GivesAddressesOfTheCopyOnTheDevice) {
  const MaskBits mask = countingMask(8, 4);
  const FusedFrame here = pack(frameOf(8, 4), {{mask, {0, 0, 8, 4}, {}}});
  std::vector<std::max_align_t> copy(block_.size());
  auto* const device = reinterpret_cast<unsigned char*>(copy.data());
  auto* const block = reinterpret_cast<unsigned char*>(block_.data());
  const FusedFrame there = packer_.write(block, device, nullptr);
  EXPECT_EQ(there.bits - device, here.bits - block);
  EXPECT_EQ(reinterpret_cast<const unsigned char*>(there.items) - device,
            reinterpret_cast<const unsigned char*>(here.items) - block);
  EXPECT_EQ(there.scratch, nullptr);
}

TEST_F(Packer, CutsBoxesToTheFrameAndLeavesOutThoseBesideIt) {
  const MaskBits mask = countingMask(8, 4);
  pack(frameOf(8, 4),
       {{mask, {-3, 1, 6, 9}, {7, 0, 0}}, {mask, {9, 0, 2, 2}, {}}, {mask, {5, 2, 2, 1}, {8, 0, 0}}});
  ASSERT_EQ(packed_.itemCount, 2U);
  EXPECT_TRUE(packed_.items[0].luma == (LumaRect{0, 1, 2, 3}));
  EXPECT_EQ(packed_.items[0].chroma.x1, 1);
  EXPECT_EQ(packed_.items[0].chroma.y0, 0);
  EXPECT_EQ(packed_.items[0].chroma.y1, 2);
  EXPECT_TRUE(packed_.items[1].luma == (LumaRect{5, 2, 6, 2}));
  EXPECT_EQ(packed_.items[1].colorY, 8);
}

// Frame rows 4 and 5 show mask rows 2 (rows 8 to 12 of 2 bytes in a row of 16): bytes 4 and 5.
TEST_F(Packer, PacksOnlyTheMaskRowsThatTheBoxShows) {
  const MaskBits mask = countingMask(16, 8);
  pack(frameOf(16, 16), {{mask, {0, 4, 16, 2}, {}}});
  EXPECT_EQ(bits(), (std::vector<uint8_t>{5, 6}));
  EXPECT_EQ(packed_.items[0].firstBit, -32);  // of row 0, were it there
  EXPECT_EQ(mapped(packed_.items[0].rows, 4, 5), (std::vector<int>{2, 2}));
}

// The row above an odd edge is shown by chroma: mask row 3, then 4.
TEST_F(Packer, PacksTheRowAndTheColumnBesideAnOddEdge) {
  const MaskBits mask = countingMask(8, 8);
  pack(frameOf(8, 8), {{mask, {3, 3, 2, 2}, {}}});
  EXPECT_EQ(bits(), (std::vector<uint8_t>{3, 4, 5}));
  EXPECT_EQ(mapped(packed_.items[0].columns, 2, 4), (std::vector<int>{2, 3, 4}));
  EXPECT_EQ(mapped(packed_.items[0].rows, 2, 4), (std::vector<int>{2, 3, 4}));
}

// Rows of 5 bits: row 2 is bits 10 to 14, in byte 1; row 3 is bits 15 to 19, in bytes 1 and 2.
TEST_F(Packer, PacksWholeBytesOfRowsThatBeginAmidOne) {
  const MaskBits mask = countingMask(5, 8);
  pack(frameOf(5, 8), {{mask, {0, 2, 5, 1}, {}}, {mask, {0, 2, 5, 2}, {}}});
  EXPECT_EQ(bits(), (std::vector<uint8_t>{2, 2, 3}));
  EXPECT_EQ(packed_.items[0].firstBit, -8);
  EXPECT_EQ(packed_.items[1].firstBit, 0);
}

// A mask of 2048x8 on a frame of 8x8, rows of 256 bytes: of rows 2 and 3 the columns 512 (frame column 2,
// which chroma reads to the left of an odd edge) to 1024, bytes 64 to 128.
TEST_F(Packer, PacksOfAMuchLargerMaskTheShownColumnsOfTheShownRows) {
  const MaskBits mask = countingMask(2048, 8);
  pack(frameOf(8, 8), {{mask, {3, 2, 2, 2}, {}}});
  const FusedItem& item = packed_.items[0];
  ASSERT_EQ(packed_.bitsSize, 2U * 65);
  EXPECT_EQ(packed_.bits[0], 65);
  EXPECT_EQ(packed_.bits[64], 129);
  EXPECT_EQ(packed_.bits[65], 65);
  EXPECT_EQ(packed_.bits[129], 129);
  EXPECT_EQ(mapped(item.columns, 2, 4), (std::vector<int>{512, 768, 1024}));
  EXPECT_EQ(mapped(item.rows, 2, 3), (std::vector<int>{0, 8 * 65}));
  EXPECT_EQ(item.rowBits, 1);
  EXPECT_EQ(item.firstBit, -512);
}

// Rows of 513 bytes; a frame shows each of the four twice.
TEST_F(Packer, PacksARowThatSeveralFrameRowsShowOnce) {
  const MaskBits mask = countingMask(8 * 513, 4);
  pack(frameOf(8, 8), {{mask, {0, 0, 1, 8}, {}}});
  EXPECT_EQ(packed_.items[0].rowBits, 1);
  EXPECT_EQ(bits(), (std::vector<uint8_t>{1, 2, 3, 4}));
  EXPECT_EQ(mapped(packed_.items[0].rows, 0, 7), (std::vector<int>{0, 0, 8, 8, 16, 16, 24, 24}));
}

// Four items, two mask sizes: one map a size and direction, of the columns and rows that either item shows. A
// square mask on a square frame has one map for both.
TEST_F(Packer, SharesMapsAmongItemsOfTheSameMaskSize) {
  const MaskBits square = countingMask(8, 8);
  const MaskBits wide = countingMask(16, 4);
  pack(frameOf(16, 16), {{square, {8, 10, 4, 2}, {}},
                         {wide, {0, 0, 2, 2}, {}},
                         {square, {2, 4, 2, 2}, {}},
                         {wide, {6, 0, 2, 4}, {}}});
  const FusedItem* const items = packed_.items;
  EXPECT_EQ(items[0].columns, items[0].rows);
  EXPECT_EQ(items[0].columns, items[2].columns);
  EXPECT_EQ(items[1].columns, items[3].columns);
  EXPECT_EQ(items[1].rows, items[3].rows);
  EXPECT_NE(items[1].columns, items[1].rows);
  // 2 to 11 of the first, 0 to 7 and 0 to 3 of the others, each whole one by one.
  EXPECT_EQ(mapped(items[0].columns, 2, 11), (std::vector<int>{1, 1, 2, 2, 3, 3, 4, 4, 5, 5}));
  EXPECT_EQ(mapped(items[1].columns, 0, 7), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7}));
  EXPECT_EQ(mapped(items[1].rows, 0, 3), (std::vector<int>{0, 0, 0, 0}));
  const auto* const end = reinterpret_cast<const int32_t*>(
      fusedNeedsTiles() ? packed_.tiles.first : static_cast<const void*>(packed_.bits));
  EXPECT_LT(end - packed_.maps, 22 + 4) << "more maps than these";
}

TEST_F(Packer, ForgetsTheLastFrame) {
  const MaskBits mask = countingMask(8, 4);
  const OverlayItem item{mask, {0, 0, 8, 4}, {}};
  pack(frameOf(8, 4), {item});
  const std::size_t alone = bytes_;
  pack(frameOf(40, 30), {item, item, item});
  pack(frameOf(8, 4), {item});
  EXPECT_EQ(bytes_, alone);
  EXPECT_EQ(packed_.itemCount, 1U);
  EXPECT_EQ(packed_.bitsSize, 4U);
}

TEST_F(Packer, BringsTheTilesThatTheDeviceWants) {
  const MaskBits mask = countingMask(8, 4);
  pack(frameOf(70, 8), {{mask, {0, 0, 8, 4}, {}}, {mask, {40, 0, 30, 4}, {}}});
  if (!fusedNeedsTiles()) {
    EXPECT_EQ(packed_.tiles.columns, 0);
    return;
  }
  EXPECT_EQ(packed_.tiles.columns, 3);
  EXPECT_EQ(packed_.tiles.rows, 1);
  EXPECT_EQ((std::vector<uint32_t>{packed_.tiles.first, packed_.tiles.first + 4}),
            (std::vector<uint32_t>{0, 1, 2, 3}));
  EXPECT_EQ((std::vector<uint32_t>{packed_.tiles.items, packed_.tiles.items + 3}),
            (std::vector<uint32_t>{0, 1, 1}));
}

}  // namespace
}  // namespace seg_mask_overlay
