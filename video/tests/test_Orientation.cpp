#include <gtest/gtest.h>

#include "src/Orientation.h"

namespace segmask {
namespace {

using Bytes = std::vector<unsigned char>;

/// Three columns and two rows of luma, and two chroma pairs beside each other:
///
///   1 2 3    UV uv
///   4 5 6
const Bytes kStored{1, 2, 3, 4, 5, 6, 'U', 'V', 'u', 'v'};

Bytes turned(Orientation orientation) {
  Bytes shown;
  turn(kStored, {3, 2}, orientation, shown);
  return shown;
}

TEST(Orientation, ExifsEightValuesShowThePictureUpright) {
  const Bytes reversed{3, 2, 1, 6, 5, 4, 'u', 'v', 'U', 'V'};
  const Bytes upsideDown{6, 5, 4, 3, 2, 1, 'u', 'v', 'U', 'V'};
  const Bytes flipped{4, 5, 6, 1, 2, 3, 'U', 'V', 'u', 'v'};
  const Bytes transposed{1, 4, 2, 5, 3, 6, 'U', 'V', 'u', 'v'};
  const Bytes clockwise{4, 1, 5, 2, 6, 3, 'U', 'V', 'u', 'v'};
  const Bytes transverse{6, 3, 5, 2, 4, 1, 'u', 'v', 'U', 'V'};
  const Bytes counterclockwise{3, 6, 2, 5, 1, 4, 'u', 'v', 'U', 'V'};
  const std::vector<Bytes> expected{kStored,    reversed,  upsideDown, flipped,
                                    transposed, clockwise, transverse, counterclockwise};
  for (int value = 1; value <= 8; ++value) {
    EXPECT_EQ(turned(orientationOfExif(value)), expected[static_cast<std::size_t>(value) - 1]) << value;
  }
  EXPECT_EQ(turned(orientationOfExif(0)), kStored);
  EXPECT_EQ(turned(orientationOfExif(9)), kStored);
}

TEST(Orientation, PicturesLargerThanABlockToo) {
  constexpr int kWidth = 70;
  constexpr int kHeight = 45;
  const Nv12Layout layout{kWidth, kHeight};
  Bytes stored(layout.frameBytes());
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x)
      stored[static_cast<std::size_t>(y * kWidth + x)] = static_cast<unsigned char>(3 * x + 7 * y);
  }
  Bytes shown;
  turn(stored, layout, orientationOfExif(6), shown);
  for (int y = 0; y < kWidth; ++y) {
    for (int x = 0; x < kHeight; ++x) {
      const auto expected = static_cast<unsigned char>(3 * y + 7 * (kHeight - 1 - x));
      ASSERT_EQ(shown[static_cast<std::size_t>(y * kHeight + x)], expected) << x << ", " << y;
    }
  }
}

TEST(Orientation, OfADisplayMatrix) {
  constexpr int32_t kOne = 1 << 16;
  const auto shown = [](int32_t a, int32_t b, int32_t c, int32_t d) {
    const std::optional<Orientation> found = orientationOf({a, b, 0, c, d, 0, 0, 0, 1 << 30});
    return found ? turned(*found) : Bytes{};
  };
  EXPECT_EQ(shown(kOne, 0, 0, kOne), kStored);
  EXPECT_EQ(shown(-kOne, 0, 0, kOne), turned(orientationOfExif(2)));
  EXPECT_EQ(shown(-kOne, 0, 0, -kOne), turned(orientationOfExif(3)));
  EXPECT_EQ(shown(kOne, 0, 0, -kOne), turned(orientationOfExif(4)));
  EXPECT_EQ(shown(0, kOne, kOne, 0), turned(orientationOfExif(5)));
  // What a telephone that is held upright writes: the stored top row is the right column, going down.
  EXPECT_EQ(shown(0, kOne, -kOne, 0), turned(orientationOfExif(6)));
  EXPECT_EQ(shown(0, -kOne, -kOne, 0), turned(orientationOfExif(7)));
  EXPECT_EQ(shown(0, -kOne, kOne, 0), turned(orientationOfExif(8)));
  EXPECT_EQ(shown(46341, 46341, -46341, 46341), Bytes{}) << "an eighth of a turn";
  EXPECT_EQ(shown(0, 0, 0, 0), Bytes{});
}

}  // namespace
}  // namespace segmask
