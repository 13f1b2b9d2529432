#include <gtest/gtest.h>

#include <limits>
#include <utility>

#include "detection/class_color.h"

namespace seg_mask {

static bool operator==(const YuvColor& a, const YuvColor& b) {
  return a.y == b.y && a.u == b.u && a.v == b.v;
}

namespace {

TEST(ClassColor, ThePaletteHoldsItsTwentyColoursInOrder) {
  const int expected[20][3] = {{255, 56, 56},  {255, 157, 151}, {255, 112, 31},  {255, 178, 29},
                               {207, 210, 49}, {72, 249, 10},   {146, 204, 23},  {61, 219, 134},
                               {26, 147, 52},  {0, 212, 187},   {44, 153, 168},  {0, 194, 255},
                               {52, 69, 147},  {100, 115, 255}, {0, 24, 236},    {132, 56, 255},
                               {82, 0, 133},   {203, 56, 255},  {255, 149, 200}, {255, 55, 199}};
  ASSERT_EQ(kPalette.size(), 20U);
  for (std::size_t i = 0; i < 20; ++i) {
    EXPECT_EQ(kPalette[i].r, expected[i][0]) << i;
    EXPECT_EQ(kPalette[i].g, expected[i][1]) << i;
    EXPECT_EQ(kPalette[i].b, expected[i][2]) << i;
  }
}

TEST(ClassColor, Entry0IsY115U94V227) {
  // R 255, G 56, B 56: Y = 0.587*56 + 0.299*255 + 0.114*56 = 32.872 + 76.245 + 6.384 = 115.501 -> 115 U =
  // -43.095 - 18.536 + 28 + 128 = 94.369 -> 94 V = 127.5 - 23.464 - 4.536 + 128 = 227.5 -> 227
  EXPECT_EQ(classColor(0), (YuvColor{115, 94, 227}));
}

TEST(ClassColor, Entry14IsCutTowardZero) {
  // R 0, G 24, B 236: Y = 14.088 + 26.904 = 40.992 -> 40; U = -7.944 + 118 + 128 = 238.056 -> 238; V =
  // -10.056 - 19.116 + 128 = 98.828 -> 98
  EXPECT_EQ(classColor(14), (YuvColor{40, 238, 98}));
}

TEST(ClassColor, EveryProductAndEverySumIsRounded) {
  // R 8, G 80, B 32: 0.587*80 + 0.299*8 + 0.114*32 = 46.96 + 2.392 + 3.648 is 53, but 0.587, 0.299 and 0.114
  // are not exact in single precision. The rounded products are 46.9599991, 2.39199996 and 3.6480000, the
  // rounded sums 49.3519974 and 52.9999962. Fused multiply-adds, which 64-bit Arm always has, would leave out
  // roundings and give 53.
  EXPECT_EQ(toYuv({8, 80, 32}).y, 52);
}

TEST(ClassColor, TheLargestResultsAreCutTo255) {
  // Pure blue: U = 0.5*255 + 128 = 255.5 -> 255. Pure red: V = 255.5 -> 255.
  EXPECT_EQ(toYuv({0, 0, 255}).u, 255);
  EXPECT_EQ(toYuv({255, 0, 0}).v, 255);
  EXPECT_EQ(toYuv({0, 0, 0}), (YuvColor{0, 128, 128}));
}

TEST(ClassColor, AClassTakesTheEntryOfItsAbsoluteValueModulo20) {
  using Limits = std::numeric_limits<int32_t>;
  const std::pair<int32_t, std::size_t> cases[] = {
      {20, 0}, {41, 1}, {-3, 3}, {-23, 3}, {Limits::min(), 8}, {Limits::max(), 7}};
  for (const auto& [class_id, entry] : cases)
    EXPECT_EQ(classColor(class_id), toYuv(kPalette[entry])) << class_id;
}

}  // namespace
}  // namespace seg_mask
