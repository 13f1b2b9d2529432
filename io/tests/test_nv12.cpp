#include <gtest/gtest.h>

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

}  // namespace
}  // namespace segmask
