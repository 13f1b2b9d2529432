#include <gtest/gtest.h>

#include "src/RenderTimes.h"

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

}  // namespace
}  // namespace segmask
