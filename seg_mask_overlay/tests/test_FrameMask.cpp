#include <gtest/gtest.h>

#include <limits>
#include <new>
#include <string>

#include "FrameMask.h"

namespace seg_mask_overlay {
namespace {

std::string rows(const unsigned char* mask, int width, int height) {
  std::string text;
  for (int y = 0; y < height; ++y) {
    if (y > 0) text += '/';
    for (int x = 0; x < width; ++x) {
      const unsigned char byte = mask[y * width + x];
      text += byte == 255 ? '#' : byte == 0 ? '.' : '?';
    }
  }
  return text;
}

TEST(FrameMask, AMaskOfTheFramesOwnSizeKeepsItsPixels) {
  FrameMask frame;
  EXPECT_EQ(rows(frame.fill({3, 2, {0b101001}}, 3, 2), 3, 2), "#../#.#");
}

TEST(FrameMask, ATwoByOneMaskCoversTheLeftHalfOfAFullHdFrameWithItsLeftPixel) {
  FrameMask frame;
  const unsigned char* mask = frame.fill({2, 1, {0b01}}, 1920, 1080);
  for (int y = 0; y < 1080; ++y) {
    for (int x = 0; x < 1920; ++x) ASSERT_EQ(mask[y * 1920 + x], x < 960 ? 255 : 0) << x << ", " << y;
  }
}

TEST(FrameMask, ThreeColumnsBecomeFiveAndFiveBecomeThreeByNearestNeighbour) {
  FrameMask frame;
  // 3 columns to 5: floor(x * 3 / 5) = 0 0 1 1 2.
  EXPECT_EQ(rows(frame.fill({3, 1, {0b101}}, 5, 1), 5, 1), "##..#");
  // 5 columns to 3: floor(x * 5 / 3) = 0 1 3.
  EXPECT_EQ(rows(frame.fill({5, 1, {0b01010}}, 3, 1), 3, 1), ".##");
}

TEST(FrameMask, OneMaskAfterAnotherLeavesNothingOfTheFirst) {
  FrameMask frame;
  frame.fill({1, 1, {1}}, 8, 8);
  EXPECT_EQ(rows(frame.fill({1, 1, {0}}, 2, 2), 2, 2), "../..");
  frame.fill({2, 2, {0b1111}}, 2, 2);
  EXPECT_EQ(rows(frame.fill({2, 2, {0b0001}}, 2, 2), 2, 2), "#./..");
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kAllocationsMayFail = false;  // the sanitizers' allocators end the process instead
#else
constexpr bool kAllocationsMayFail = true;
#endif

TEST(FrameMask, LackOfMemoryIsBadAllocWhateverOpenCvCallsIt) {
  if (!kAllocationsMayFail) GTEST_SKIP() << "a failed allocation ends the process under this sanitizer";
  FrameMask frame;
  constexpr int kHuge = std::numeric_limits<int>::max();
  testing::internal::CaptureStderr();  // OpenCV reports it there as well
  EXPECT_THROW(frame.fill({1, 1, {1}}, kHuge, kHuge), std::bad_alloc);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(rows(frame.fill({1, 1, {1}}, 2, 1), 2, 1), "##");
}

}  // namespace
}  // namespace seg_mask_overlay
