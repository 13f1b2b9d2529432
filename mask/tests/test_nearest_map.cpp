#include <gtest/gtest.h>

#include <new>
#include <vector>

#include "mask/nearest_map.h"
#include "src/opencv_memory.h"

namespace seg_mask {
namespace {

TEST(NearestMap, ThreePixelsOnFiveShowFloorOfXTimesThreeFifths) {
  NearestMap map;
  map.prepare(3, 5);
  EXPECT_EQ(map.maskPixels(), (std::vector<int>{0, 0, 1, 1, 2}));
  EXPECT_FALSE(map.isIdentity());
  const int first[] = {0, 2, 4, 5};
  for (int pixel = 0; pixel < 4; ++pixel) EXPECT_EQ(map.firstFrom(pixel), first[pixel]);
  EXPECT_EQ(map.nextAfter(0), 2);
  EXPECT_EQ(map.nextAfter(3), 4);
  EXPECT_EQ(map.nextAfter(4), 5);
}

TEST(NearestMap, OneToOneIsTheIdentityAndAMapOfOtherDimensionsReplacesTheOneBefore) {
  NearestMap map;
  map.prepare(2, 4);
  map.prepare(4, 4);
  EXPECT_EQ(map.maskPixels(), (std::vector<int>{0, 1, 2, 3}));
  EXPECT_TRUE(map.isIdentity());
  map.prepare(4, 2);
  EXPECT_EQ(map.maskPixels(), (std::vector<int>{0, 2}));
}

TEST(WithBadAlloc, LackOfMemoryIsBadAllocWhateverOpenCvCallsItAndAllElsePassesThrough) {
  EXPECT_THROW(withBadAlloc([] { throw cv::Exception(cv::Error::StsNoMem, "none", "f", "f.cpp", 1); }),
               std::bad_alloc);
  EXPECT_THROW(withBadAlloc([] { throw std::bad_alloc(); }), std::bad_alloc);
  EXPECT_THROW(withBadAlloc([] { throw cv::Exception(cv::Error::StsBadSize, "bad", "f", "f.cpp", 1); }),
               cv::Exception);
  EXPECT_THROW(withBadAlloc([] { throw 42; }), int);
}

}  // namespace
}  // namespace seg_mask
