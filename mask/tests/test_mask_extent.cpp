#include <gtest/gtest.h>

#include <random>

#include "mask/mask_extent.h"

namespace seg_mask {
namespace {

std::vector<uint64_t> numbers(const MaskExtent& extent) {
  const auto number = [](int value) { return static_cast<uint64_t>(value); };
  return {extent.pixels, number(extent.x), number(extent.y), number(extent.w), number(extent.h)};
}

TEST(MaskExtent, IsTheNumberOfPixelsAndTheSmallestBoxAroundThem) {
  const unsigned char pixels[] = {0, 0, 0, 0, 0,  //
                                  0, 0, 1, 0, 0,  //
                                  0, 0, 0, 1, 0,  //
                                  0, 0, 0, 0, 0};
  EXPECT_EQ(numbers(extentOf(packMask(pixels, 5, 4, 5))), (std::vector<uint64_t>{2, 2, 1, 2, 2}));
}

TEST(MaskExtent, OfAMaskWithoutPixelsIsAllZeroWhateverStandsBehindTheLastPixel) {
  const MaskBits mask{3, 3, {0, 0xFE}};
  EXPECT_EQ(numbers(extentOf(mask)), (std::vector<uint64_t>{0, 0, 0, 0, 0}));
}

TEST(MaskExtent, IsThatOfEachPixelLookedAtByItself) {
  std::mt19937 random(2);
  for (int width = 1; width <= 300; ++width) {
    const int height = 1 + static_cast<int>(random() % 9);
    std::vector<unsigned char> pixels(static_cast<std::size_t>(width * height));
    for (unsigned char& pixel : pixels) pixel = random() % (width < 20 ? 12U : 200U) == 0 ? 1 : 0;
    pixels[random() % pixels.size()] = 1;
    uint64_t count = 0;
    int left = width;
    int right = 0;
    int top = height;
    int bottom = 0;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        if (pixels[static_cast<std::size_t>(y * width + x)] == 0) continue;
        ++count;
        left = std::min(left, x);
        right = std::max(right, x);
        top = std::min(top, y);
        bottom = std::max(bottom, y);
      }
    }
    const MaskExtent extent = extentOf(packMask(pixels.data(), width, height, width));
    EXPECT_EQ(extent.pixels, count);
    EXPECT_EQ(extent.x, left);
    EXPECT_EQ(extent.y, top);
    EXPECT_EQ(extent.w, right - left + 1);
    EXPECT_EQ(extent.h, bottom - top + 1);
  }
}

}  // namespace
}  // namespace seg_mask
