#include <gst/gst.h>
#include <gtest/gtest.h>

#include "src/FrameCounter.h"

namespace segmask_gst {
namespace {

constexpr GstClockTime kSecond = GST_SECOND;

GstSegment timeSegment(GstClockTime start, GstClockTime time) {
  GstSegment segment;
  gst_segment_init(&segment, GST_FORMAT_TIME);
  segment.start = start;
  segment.time = time;
  return segment;
}

uint64_t numberOf(FrameCounter& counter, const GstSegment& segment, GstClockTime timeStamp) {
  return counter.next(segment, timeStamp, GST_CLOCK_TIME_NONE);
}

TEST(FrameCounter, ANumberIsTheNearestOneByStreamTimeAndRate) {
  FrameCounter counter;
  counter.setRate(30000, 1001);  // a frame lasts 33.3667 ms
  const GstSegment segment = timeSegment(0, 0);
  EXPECT_EQ(numberOf(counter, segment, 0), 0U);
  EXPECT_EQ(numberOf(counter, segment, 33366666), 1U) << "cut to nanoseconds, as time stamps are";
  EXPECT_EQ(numberOf(counter, segment, 50000000), 1U) << "1.4985 frames";
  EXPECT_EQ(numberOf(counter, segment, 50100000), 2U) << "1.5015 frames";
  EXPECT_EQ(numberOf(counter, segment, 3600 * kSecond), 107892U) << "an hour: 107892.108 frames";
  EXPECT_EQ(numberOf(counter, segment, 0), 0U);
}

// A seek to second 2 gives the same frames other running times, and the same numbers.
TEST(FrameCounter, StreamTimeIsThePlaceInTheSegmentNotTheRunningTime) {
  FrameCounter counter;
  counter.setRate(25, 1);
  EXPECT_EQ(numberOf(counter, timeSegment(2 * kSecond, 2 * kSecond), 2 * kSecond), 50U);
  EXPECT_EQ(numberOf(counter, timeSegment(10 * kSecond, 2 * kSecond), 11 * kSecond), 75U);
}

TEST(FrameCounter, WithoutATimeStampFramesAreCountedFromTheLastOneOrTheSegment) {
  FrameCounter counter;
  counter.setRate(25, 1);
  const GstSegment segment = timeSegment(kSecond, kSecond);
  counter.begin(segment);
  EXPECT_EQ(numberOf(counter, segment, GST_CLOCK_TIME_NONE), 25U);
  EXPECT_EQ(numberOf(counter, segment, GST_CLOCK_TIME_NONE), 26U);
  EXPECT_EQ(numberOf(counter, segment, 2 * kSecond), 50U);
  EXPECT_EQ(numberOf(counter, segment, GST_CLOCK_TIME_NONE), 51U);
}

// Sources that cut nothing, as videotestsrc, begin with a frame that reaches into the segment.
TEST(FrameCounter, AFrameThatBeginsBeforeTheSegmentHasItsOwnNumber) {
  FrameCounter counter;
  counter.setRate(10, 1);
  const GstSegment segment = timeSegment(1060 * GST_MSECOND, 1060 * GST_MSECOND);
  counter.begin(segment);
  EXPECT_EQ(counter.next(segment, kSecond, 100 * GST_MSECOND), 10U);
}

// A seek to 1.06 s ends up in frame 10 of 10 a second, of which the decoder leaves 40 ms.
TEST(FrameCounter, AFrameThatADecoderHasCutAtTheSegmentsStartKeepsItsNumber) {
  FrameCounter counter;
  counter.setRate(10, 1);
  const GstSegment segment = timeSegment(1060 * GST_MSECOND, 1060 * GST_MSECOND);
  EXPECT_EQ(counter.next(segment, 1060 * GST_MSECOND, 40 * GST_MSECOND), 10U);
  EXPECT_EQ(counter.next(segment, 1100 * GST_MSECOND, 100 * GST_MSECOND), 11U);
  EXPECT_EQ(counter.next(segment, 1160 * GST_MSECOND, 40 * GST_MSECOND), 12U)
      << "a short one elsewhere is rounded";
}

TEST(FrameCounter, WithoutARateFramesAreCountedFromTheSegment) {
  FrameCounter counter;
  counter.setRate(0, 1);
  const GstSegment segment = timeSegment(kSecond, kSecond);
  counter.begin(segment);
  EXPECT_EQ(numberOf(counter, segment, 5 * kSecond), 0U);
  EXPECT_EQ(numberOf(counter, segment, 9 * kSecond), 1U);
  counter.begin(segment);
  EXPECT_EQ(numberOf(counter, segment, 9 * kSecond), 0U);
}

TEST(FrameCounter, InASegmentOfBytesFramesAreCounted) {
  FrameCounter counter;
  counter.setRate(30, 1);
  GstSegment segment;
  gst_segment_init(&segment, GST_FORMAT_BYTES);
  counter.begin(segment);
  EXPECT_EQ(numberOf(counter, segment, 5 * kSecond), 0U);
  EXPECT_EQ(numberOf(counter, segment, GST_CLOCK_TIME_NONE), 1U);
}

}  // namespace
}  // namespace segmask_gst
