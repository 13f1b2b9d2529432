#include <limits>
#include <set>
#include <stdexcept>

#include "tests/picture_fixture.h"
#include "zelvo/RenderTarget.h"

namespace {

using zelvo::ZelvoPicture;

class Picture : public DeviceTest {};

TEST_F(Picture, HasItsSizeAndPitchesLargerThanItsRows) {
  for (const Size& size : kSizes) {
    SCOPED_TRACE(size);
    const ZelvoPicture picture(size.width, size.height);
    EXPECT_EQ(picture.width(), size.width);
    EXPECT_EQ(picture.height(), size.height);
    EXPECT_GT(picture.yPitch(), size.width);
    EXPECT_GT(picture.uvPitch(), size.width + size.width % 2);
    EXPECT_NE(picture.yPitch(), picture.uvPitch());
    EXPECT_NE(picture.yPlane(), nullptr);
    EXPECT_NE(picture.uvPlane(), nullptr);
    EXPECT_TRUE(picture.metadata().values.empty());
  }
}

TEST_F(Picture, EverySampleOfEachPlaneCanBeWrittenByItself) {
  const ZelvoPicture picture(3, 5);  // chroma: 3 rows of 4 bytes
  std::set<unsigned char*> samples;
  for (int row = 0; row < 5; ++row) {
    for (int x = 0; x < 3; ++x) samples.insert(at(picture.yPlane(), picture.yPitch(), row, x));
  }
  for (int row = 0; row < 3; ++row) {
    for (int x = 0; x < 4; ++x) samples.insert(at(picture.uvPlane(), picture.uvPitch(), row, x));
  }
  ASSERT_EQ(samples.size(), 15u + 12u);
  unsigned char value = 0;
  for (unsigned char* sample : samples) poke(sample, ++value);
  value = 0;
  for (unsigned char* sample : samples) EXPECT_EQ(peek(sample), ++value);
}

TEST_F(Picture, TheEmptyPictureHasNothing) {
  ZelvoPicture picture;
  EXPECT_EQ(picture.width(), 0);
  EXPECT_EQ(picture.height(), 0);
  EXPECT_EQ(picture.yPitch(), 0);
  EXPECT_EQ(picture.uvPitch(), 0);
  EXPECT_EQ(picture.yPlane(), nullptr);
  EXPECT_EQ(picture.uvPlane(), nullptr);
  EXPECT_EQ(picture.makeRenderTarget(), nullptr);
}

TEST_F(Picture, SidesMustBePositiveAndPlanesFit32BitOffsets) {
  constexpr int kMost = std::numeric_limits<int>::max();
  for (const Size& size : {Size{0, 0}, Size{0, 4}, Size{4, 0}, Size{-1, 4}, Size{4, -1}, Size{kMost, kMost},
                           Size{1, kMost}, Size{kMost, 1}, Size{65536, 65536}}) {
    SCOPED_TRACE(size);
    EXPECT_THROW(ZelvoPicture(size.width, size.height), std::invalid_argument);
  }
}

TEST_F(Picture, ATargetOutlivesThePicture) {
  auto picture = std::make_unique<ZelvoPicture>(4, 4);
  const auto target = picture->makeRenderTarget();
  ASSERT_NE(target, nullptr);
  unsigned char* sample = picture->yPlane();
  picture.reset();
  poke(sample, 99);
  EXPECT_EQ(peek(sample), 99);
}

TEST_F(Picture, TargetsOfOnePictureShareItsSamples) {
  ZelvoPicture picture(4, 4);
  EXPECT_EQ(picture.makeRenderTarget()->storage(), picture.makeRenderTarget()->storage());
}

}  // namespace
