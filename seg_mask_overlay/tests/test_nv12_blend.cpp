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

TEST(BlendByte, RoundsHalvesUpClampsToAByteAndMakesNoNumber0) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  const struct {
    unsigned char old;
    unsigned char color;
    float alpha;
    int blended;
  } cases[] = {
      {200, 16, 0.45F, 117},  // 7.2 + 110 + 0.5 = 117.7
      {1, 2, 0.5F, 2},        // 1 + 0.5 + 0.5
      {0, 1, 0.5F, 1},        // 0.5 + 0.5
      {0, 255, 2.0F, 255},
      {255, 0, 2.0F, 0},
      {0, 255, kInfinity, 0},  // 0 * -infinity
      {1, 1, kInfinity, 0},    // infinity - infinity
      {9, 9, std::numeric_limits<float>::quiet_NaN(), 0},
  };
  for (const auto& one : cases) EXPECT_EQ(blended(one.old, one.color, one.alpha), one.blended) << one.alpha;
}

TEST(BlendByte, Alpha0LeavesEveryByteAsItWasAndAlpha1WritesTheColourExactly) {
  for (int old = 0; old < 256; ++old) EXPECT_EQ(blended(static_cast<unsigned char>(old), 77, 0.0F), old);
  for (int color = 0; color < 256; ++color)
    EXPECT_EQ(blended(13, static_cast<unsigned char>(color), 1.0F), color);
}

TEST(SampleOffset, IsFormedIn64Bits) {
  constexpr int kMax = std::numeric_limits<int>::max();
  EXPECT_EQ(sampleOffset(65536, 65536, 3), 4294967299);
  EXPECT_EQ(sampleOffset(kMax, kMax, kMax), 4611686016279904256);  // (2^31 - 1) * 2^31
}

TEST(ChromaCovered, AnyOfTheFourPixelsCoversWhateverItsByte) {
  std::array<unsigned char, 4> mask{};
  EXPECT_FALSE(chromaCovered(mask.data(), 2, 2, 2, 0, 0));
  for (unsigned char& pixel : mask) {
    for (const int byte : {1, 255}) {
      pixel = static_cast<unsigned char>(byte);
      EXPECT_TRUE(chromaCovered(mask.data(), 2, 2, 2, 0, 0)) << &pixel - mask.data();
    }
    pixel = 0;
  }
}

TEST(ChromaCovered, OnOddSidesTheLastColumnsAndRowsTestsReadNothingBehindTheFrame) {
  // 3 x 2 pixels with a pitch of 4; the pitch's spare column is set and must not count.
  const std::vector<unsigned char> spare = {0, 0, 0, 255, 0, 0, 0, 255};
  EXPECT_FALSE(chromaCovered(spare.data(), 4, 3, 2, 1, 0));
  const std::vector<unsigned char> column = {0, 0, 0, 255, 0, 0, 1, 255};
  EXPECT_TRUE(chromaCovered(column.data(), 4, 3, 2, 1, 0));
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
