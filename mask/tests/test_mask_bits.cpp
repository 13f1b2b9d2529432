#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "mask/mask_bits.h"
#include "mask/mask_text.h"

namespace seg_mask {
namespace {

TEST(PackMask, TheFirstPixelIsTheLowestBitAndAnyNonZeroByteIsInside) {
  const std::vector<unsigned char> pixels{1, 0, 255, 128, 0, 0, 0, 127, 2};
  const MaskBits mask = packMask(pixels.data(), 9, 1, 9);
  EXPECT_EQ(mask.width, 9);
  EXPECT_EQ(mask.height, 1);
  EXPECT_EQ(mask.bits, (std::vector<uint8_t>{0b10001101, 0b1}));
}

TEST(PackMask, RowsFollowEachOtherWithoutPaddingWhateverTheStrideEvenFromTheBottomUp) {
  const std::vector<unsigned char> pixels{1, 0, 1, 9, 9, 0, 1, 0, 9, 9, 1, 1, 1};
  EXPECT_EQ(packMask(pixels.data(), 3, 3, 5).bits, (std::vector<uint8_t>{0b11010101, 0b1}));
  EXPECT_EQ(packMask(pixels.data() + 10, 3, 3, -5).bits, (std::vector<uint8_t>{0b01010111, 0b1}));
}

TEST(PackMask, EveryWidthGivesWhatPackingPixelByPixelGives) {
  std::mt19937 random(1);
  for (int width = 1; width <= 70; ++width) {
    const int height = 5;
    std::vector<unsigned char> pixels(static_cast<std::size_t>(width) * height);
    for (unsigned char& pixel : pixels)
      pixel = static_cast<unsigned char>(random() % 3 == 0 ? random() & 255U : 0U);
    std::vector<uint8_t> expected((pixels.size() + 7) / 8);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
      if (pixels[i] != 0) expected[i / 8] = static_cast<uint8_t>(expected[i / 8] | (1U << (i % 8)));
    }
    ASSERT_EQ(packMask(pixels.data(), width, height, width).bits, expected) << width;
  }
}

TEST(EncodeMaskText, BitsRunOnFromRowToRowAndBytesBehindTheMaskAreLeftOut) {
  EXPECT_EQ(encodeMaskText(MaskBits{4, 2, {0x0F}}), "SEG1|4|2|Dw==");
  EXPECT_EQ(encodeMaskText(MaskBits{4, 2, {0x0F, 0xFF}}), "SEG1|4|2|Dw==");
  const std::vector<unsigned char> pixels{1, 0, 0, 0, 0, 255, 0, 0, 0, 7};  // bits 0, 5 and 9: bytes 21 02
  EXPECT_EQ(encodeMaskText(packMask(pixels.data(), 5, 2, 5)), "SEG1|5|2|IQI=");
}

TEST(EncodeMaskText, DecodingGivesTheMaskBackForEveryLengthOfData) {
  for (int width = 1; width <= 100; ++width) {
    MaskBits mask{width, 3, {}};
    for (int i = 0; i < (3 * width + 7) / 8; ++i) mask.bits.push_back(static_cast<uint8_t>(37 * i + width));
    const std::optional<MaskBits> decoded = decodeMaskText(encodeMaskText(mask));
    ASSERT_TRUE(decoded) << width;
    ASSERT_EQ(decoded->width, width);
    ASSERT_EQ(decoded->height, 3);
    ASSERT_EQ(decoded->bits, mask.bits) << width;
  }
}

}  // namespace
}  // namespace seg_mask
