#include <gtest/gtest.h>

#include <cmath>

#include "src/render/RenderTimes.h"

namespace segmask {
namespace {

TEST(RenderTimes, HasNoPercentileWithoutTimesAndTakesThoseBeyondItsRange) {
  RenderTimes times;
  EXPECT_EQ(times.percentile(0.5), 0.0);
  times.add(0.0);
  EXPECT_NEAR(times.percentile(0.5), 0.001, 0.0001);
  times.add(1e12);
  EXPECT_GT(times.percentile(1.0), 3.6e6);
}

TEST(RenderTimes, ReadsOutWithinThreePercent) {
  for (const double milliseconds : {0.001, 0.0101, 0.5, 1.0, 7.3, 41.6, 1000.0, 3.5e6}) {
    RenderTimes times;
    times.add(milliseconds);
    EXPECT_NEAR(times.percentile(0.5), milliseconds, 0.03 * milliseconds);
    EXPECT_NEAR(times.percentile(1.0), milliseconds, 0.03 * milliseconds);
  }
}

TEST(RenderTimes, FindsRanksAmongManyTimes) {
  RenderTimes times;
  for (int i = 1; i <= 1000; ++i) times.add(i);
  EXPECT_EQ(times.count(), 1000U);
  EXPECT_NEAR(times.percentile(0.5), 500, 0.03 * 500);
  EXPECT_NEAR(times.percentile(0.99), 990, 0.03 * 990);
  EXPECT_NEAR(times.percentile(0.0), 1, 0.03);
}

TEST(RenderTimes, AFewSlowFramesDoNotMoveTheMedian) {
  RenderTimes times;
  for (int i = 0; i < 98; ++i) times.add(2.0);
  times.add(900.0);
  times.add(900.0);
  EXPECT_NEAR(times.percentile(0.5), 2.0, 0.06);
  EXPECT_NEAR(times.percentile(0.99), 900.0, 27.0);
}

TEST(RenderTimes, BarsHoldEachDurationOnceFromTheShortestToTheLongest) {
  RenderTimes times;
  EXPECT_TRUE(times.bars(8).empty());
  for (const double milliseconds : {1.0, 1.01, 2.5, 2.5, 2.5, 16.0}) times.add(milliseconds);
  // Four octaves and a bucket, of 16 buckets each: 9 buckets a bar.
  const std::vector<RenderTimes::Bar> bars = times.bars(8);
  ASSERT_EQ(bars.size(), 8U);
  EXPECT_LE(bars.front().from, 1.0);
  EXPECT_GE(bars.back().to, 16.0);
  uint64_t count = 0;
  for (std::size_t i = 0; i < bars.size(); ++i) {
    count += bars[i].count;
    EXPECT_NEAR(bars[i].to / bars[i].from, std::exp2(9.0 / 16), 1e-9);
    if (i > 0) {
      EXPECT_EQ(bars[i].from, bars[i - 1].to);
    }
    const bool holdsThree = bars[i].from <= 2.5 && 2.5 < bars[i].to;
    EXPECT_EQ(bars[i].count == 3, holdsThree) << i;
  }
  EXPECT_EQ(count, 6U);
}

TEST(RenderTimes, EqualDurationsAreOneBar) {
  RenderTimes times;
  for (int i = 0; i < 5; ++i) times.add(3.0);
  const std::vector<RenderTimes::Bar> bars = times.bars(40);
  ASSERT_EQ(bars.size(), 1U);
  EXPECT_EQ(bars[0].count, 5U);
  EXPECT_NEAR(bars[0].to / bars[0].from, std::exp2(1.0 / 16), 1e-9);
}

}  // namespace
}  // namespace segmask
