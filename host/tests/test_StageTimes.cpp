#include <gtest/gtest.h>

#include "host/StageTimes.h"

namespace segmask {
namespace {

using namespace std::chrono_literals;

TEST(StageTimes, NamesTheStageThatWasBusiestFirst) {
  const StageTimes writing{31ms, 4ms, 97ms, 100ms};
  EXPECT_EQ(writing.slowestStage(), "writing, busy 97 % of the time (reading 31 %, drawing 4 %)");
  const StageTimes drawing{3s, 8s, 6s, 8s};
  EXPECT_EQ(drawing.slowestStage(), "drawing, busy 100 % of the time (writing 75 %, reading 38 %)");
  const StageTimes reading{9ms, 0ms, 1ms, 10ms};
  EXPECT_EQ(reading.slowestStage(), "reading, busy 90 % of the time (writing 10 %, drawing 0 %)");
}

TEST(StageTimes, WithoutAnyTimeTheSharesAreZero) {
  EXPECT_EQ(StageTimes().slowestStage(), "reading, busy 0 % of the time (drawing 0 %, writing 0 %)");
}

}  // namespace
}  // namespace segmask
