#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "io/nv12.h"

namespace segmask {
namespace {

using Bytes = std::vector<unsigned char>;

TEST(Nv12Layout, OddSidesRoundUpInTheChromaPlaneAndTheLargestDoNotOverflow) {
  const Nv12Layout even{4, 2};
  EXPECT_EQ(even.lumaBytes(), 8U);
  EXPECT_EQ(even.chromaBytes(), 4U);
  const Nv12Layout odd{5, 3};
  EXPECT_EQ(odd.chromaColumns(), 3);
  EXPECT_EQ(odd.chromaRows(), 2);
  EXPECT_EQ(odd.chromaRowBytes(), 6U);
  EXPECT_EQ(odd.frameBytes(), 15U + 12U);
  EXPECT_EQ((Nv12Layout{1, 1}.frameBytes()), 3U);
  EXPECT_EQ((Nv12Layout{65535, 65535}.frameBytes()),
            std::size_t{65535} * 65535 + std::size_t{2} * 32768 * 32768);
}

TEST(CopyRows, ReadsRowsEvenFromTheBottomUpAndLeavesWhatLiesBetweenThem) {
  const Bytes from{1, 2, 9, 3, 4, 9};
  Bytes to(8, 0);
  copyRows({from.data(), 3}, {to.data(), 4}, 2, 2);
  EXPECT_EQ(to, (Bytes{1, 2, 0, 0, 3, 4, 0, 0}));
  copyRows({from.data() + 3, -3}, {to.data(), 4}, 2, 2);
  EXPECT_EQ(to, (Bytes{3, 4, 0, 0, 1, 2, 0, 0}));
}

TEST(InterleaveChroma, PairsUAndVAndDeinterleavingTakesThemApartAgain) {
  const Bytes u{1, 2, 3, 0, 4, 5, 6, 0};
  const Bytes v{11, 12, 13, 14, 15, 16};
  Bytes uv(16, 0);
  interleaveChroma({u.data(), 4}, {v.data(), 3}, {uv.data(), 8}, 3, 2);
  EXPECT_EQ(uv, (Bytes{1, 11, 2, 12, 3, 13, 0, 0, 4, 14, 5, 15, 6, 16, 0, 0}));
  Bytes uAgain(8, 0);
  Bytes vAgain(6, 0);
  deinterleaveChroma({uv.data(), 8}, {uAgain.data(), 4}, {vAgain.data(), 3}, 3, 2);
  EXPECT_EQ(uAgain, u);
  EXPECT_EQ(vAgain, v);
}

/// A frame of that size, all bytes 7, and the pixels of a part that differ after some of its bytes are
/// others.
uint64_t changedPixels(int width, int height, const std::vector<std::size_t>& bytes, const Nv12Part& part) {
  const Nv12Layout layout{width, height};
  const Bytes before(layout.frameBytes(), 7);
  Bytes after = before;
  for (const std::size_t byte : bytes) after[byte] = 8;
  return countChangedPixels(before.data(), after.data(), layout, part);
}

uint64_t changedPixels(int width, int height, const std::vector<std::size_t>& bytes) {
  return changedPixels(width, height, bytes, {0, 0, width, height});
}

TEST(CountChangedPixels, ALumaByteIsOnePixel) {
  EXPECT_EQ(changedPixels(6, 4, {}), 0U);
  EXPECT_EQ(changedPixels(6, 4, {0}), 1U);
  EXPECT_EQ(changedPixels(6, 4, {0, 5, 23}), 3U);
}

TEST(CountChangedPixels, EitherByteOfAChromaPairIsTheFourPixelsUnderIt) {
  EXPECT_EQ(changedPixels(6, 4, {24}), 4U);
  EXPECT_EQ(changedPixels(6, 4, {25}), 4U);
  EXPECT_EQ(changedPixels(6, 4, {24, 25, 35}), 8U);
  // Pixel 1 of row 0 lies under the first pair, pixel 2 does not.
  EXPECT_EQ(changedPixels(6, 4, {1, 25}), 4U);
  EXPECT_EQ(changedPixels(6, 4, {2, 25}), 5U);
}

TEST(CountChangedPixels, PairsOverTheEdgesOfOddFramesHaveFewer) {
  // 5 x 3 luma bytes, then two rows of three pairs.
  EXPECT_EQ(changedPixels(5, 3, {15}), 4U);
  EXPECT_EQ(changedPixels(5, 3, {19}), 2U);
  EXPECT_EQ(changedPixels(5, 3, {20}), 2U);
  EXPECT_EQ(changedPixels(5, 3, {21}), 2U);
  EXPECT_EQ(changedPixels(5, 3, {25, 26}), 1U);
}

TEST(CountChangedPixels, OnlyTheirPartCounts) {
  // 40 x 4 luma bytes; the part is columns 2 to 35 of rows 2 and 3, whose pairs begin at byte 160 + 40 + 2.
  const Nv12Part part{2, 2, 34, 2};
  EXPECT_EQ(changedPixels(40, 4, {81, 116, 42, 158, 160 + 40 + 1, 160 + 40 + 36, 160 + 2}, part), 0U);
  EXPECT_EQ(changedPixels(40, 4, {82, 155}, part), 2U);
  EXPECT_EQ(changedPixels(40, 4, {160 + 40 + 2, 160 + 40 + 35}, part), 8U);
}

TEST(CountChangedPixels, EveryPixelOfALongRowCounts) {
  constexpr std::size_t kWidth = 131;
  EXPECT_EQ(changedPixels(kWidth, 1, {63, 64, 127, 128, 130}), 5U);
  EXPECT_EQ(changedPixels(kWidth, 1, {kWidth + 64, kWidth + 130}), 3U);
  std::vector<std::size_t> all(kWidth * 3 + 2 * 132);
  std::iota(all.begin(), all.end(), std::size_t{0});
  EXPECT_EQ(changedPixels(kWidth, 3, all), kWidth * 3);
  all.resize(5'000);
  std::iota(all.begin(), all.end(), std::size_t{0});
  EXPECT_EQ(changedPixels(5'000, 1, all), 5'000U) << "more than a byte can count in one lane";
}

}  // namespace
}  // namespace segmask
