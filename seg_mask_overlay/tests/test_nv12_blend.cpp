#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <vector>

#include "blend/nv12_blend.h"

namespace seg_mask_overlay {
namespace {

// What is compared is what the processor does, and processors differ where a sum is no byte. A compiler that
// knew the weight would blend by itself.
unsigned char blended(unsigned char old, unsigned char color, float alpha) {
  const volatile float unknown = alpha;
  return blendByte(old, color, unknown);
}

TEST(BlendByte, Luma200Colour16Alpha045Gives117) {
  EXPECT_EQ(blended(200, 16, 0.45F), 117);  // 7.2 + 110 + 0.5 = 117.7
}

TEST(BlendByte, Alpha0LeavesEveryByteAsItWas) {
  for (int old = 0; old < 256; ++old) EXPECT_EQ(blended(static_cast<unsigned char>(old), 77, 0.0F), old);
}

TEST(BlendByte, Alpha1WritesTheColourExactly) {
  for (int color = 0; color < 256; ++color)
    EXPECT_EQ(blended(13, static_cast<unsigned char>(color), 1.0F), color);
}

TEST(BlendByte, HalvesRoundUp) {
  EXPECT_EQ(blended(1, 2, 0.5F), 2);  // 1 + 0.5 + 0.5
  EXPECT_EQ(blended(0, 1, 0.5F), 1);  // 0.5 + 0.5
}

TEST(BlendByte, ResultsOutsideAByteAreClamped) {
  EXPECT_EQ(blended(0, 255, 2.0F), 255);
  EXPECT_EQ(blended(255, 0, 2.0F), 0);
}

TEST(BlendByte, AnAlphaThatIsNoNumberOrInfiniteGives0) {
  const float infinity = std::numeric_limits<float>::infinity();
  EXPECT_EQ(blended(0, 255, infinity), 0);  // 0 * -infinity
  EXPECT_EQ(blended(1, 1, infinity), 0);    // infinity - infinity
  EXPECT_EQ(blended(9, 9, std::numeric_limits<float>::quiet_NaN()), 0);
}

TEST(SampleOffset, IsFormedIn64Bits) {
  constexpr int kMax = std::numeric_limits<int>::max();
  EXPECT_EQ(sampleOffset(65536, 65536, 3), 4294967299);
  EXPECT_EQ(sampleOffset(kMax, kMax, kMax), 4611686016279904256);  // (2^31 - 1) * 2^31
}

TEST(ChromaCovered, AnyOfTheFourPixelsCovers) {
  for (std::size_t set = 0; set < 4; ++set) {
    std::array<unsigned char, 4> mask{};
    mask[set] = 1;
    EXPECT_TRUE(chromaCovered(mask.data(), 2, 2, 2, 0, 0)) << set;
  }
  const std::array<unsigned char, 4> clear{};
  EXPECT_FALSE(chromaCovered(clear.data(), 2, 2, 2, 0, 0));
}

TEST(ChromaCovered, MaskBytes1And255CountTheSame) {
  const std::vector<unsigned char> one = {1, 0, 0, 0};
  const std::vector<unsigned char> full = {255, 0, 0, 0};
  EXPECT_TRUE(chromaCovered(one.data(), 2, 2, 2, 0, 0));
  EXPECT_TRUE(chromaCovered(full.data(), 2, 2, 2, 0, 0));
}

TEST(ChromaCovered, OnAnOddWidthTheLastColumnsTestReadsOnlyColumnWidthMinus1) {
  // 3 x 2 pixels with a pitch of 4; the pitch's spare column is set and must not count.
  const std::vector<unsigned char> spare = {0, 0, 0, 255, 0, 0, 0, 255};
  EXPECT_FALSE(chromaCovered(spare.data(), 4, 3, 2, 1, 0));
  const std::vector<unsigned char> column = {0, 0, 0, 255, 0, 0, 1, 255};
  EXPECT_TRUE(chromaCovered(column.data(), 4, 3, 2, 1, 0));
}

TEST(ChromaCovered, OnAnOddHeightTheLastRowsTestReadsOnlyRowHeightMinus1) {
  // 2 x 1 pixels; what follows in memory is set and must not count.
  const std::vector<unsigned char> mask = {0, 0, 255, 255};
  EXPECT_FALSE(chromaCovered(mask.data(), 2, 2, 1, 0, 0));
  const std::vector<unsigned char> row = {0, 1};
  EXPECT_TRUE(chromaCovered(row.data(), 2, 2, 1, 0, 0));
}

TEST(ChromaCovered, TheSampleIsFoundByTwiceItsPositionAndThePitch) {
  std::vector<unsigned char> mask(6 * 10, 0);
  mask[5 * 10 + 7] = 1;  // pixel (7, 5) belongs to sample (3, 2)
  for (int cy = 0; cy < 3; ++cy) {
    for (int cx = 0; cx < 4; ++cx)
      EXPECT_EQ(chromaCovered(mask.data(), 10, 8, 6, cx, cy), cx == 3 && cy == 2);
  }
}

}  // namespace
}  // namespace seg_mask_overlay
