// What a stream does besides running on: other sizes, seeks, segments, frames that come too late, long runs.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "test_support/TempFolder.h"
#include "test_support/frames.h"
#include "test_support/process_facts.h"
#include "tests/ElementHarness.h"

namespace {

using segmask::Nv12Layout;

/// A line for each of the first frames, of another class each.
std::string classPerFrame(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    const std::string number = std::to_string(i);
    text +=
        R"({"frame": )" + number +
        R"(, "producer": "p", "detections": [{"x": 0, "y": 0, "w": 99, "h": 99, "score": 1, "class_id": )" +
        number + R"(, "class_info": "SEG1|2|2|Bw=="}]})" + "\n";
  }
  return text;
}

class ElementStreams : public ::testing::Test {
 protected:
  /// One frame, as it is drawn with each number.
  std::vector<std::string> expected(const Nv12Layout& layout, int count) const {
    const std::string frame = noiseFrames(layout.width, layout.height, 1);
    std::string frames;
    for (int i = 0; i < count; ++i) frames += frame;
    const std::string drawn = renderedByTool(frames, layout, file_);
    std::vector<std::string> each;
    for (std::size_t i = 0; i < drawn.size(); i += frame.size())
      each.push_back(drawn.substr(i, frame.size()));
    return each;
  }

  static void seekTo(ElementHarness& harness, uint64_t frame) {
    gst_harness_push_event(harness.get(), gst_event_new_flush_start());
    gst_harness_push_event(harness.get(), gst_event_new_flush_stop(TRUE));
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_TIME);
    segment.start = segment.time = segment.position = timeOf(frame);
    gst_harness_push_event(harness.get(), gst_event_new_segment(&segment));
  }

  TempFolder folder_;
  const std::string file_ = folder_.write("d.jsonl", classPerFrame(12));
  const std::string location_ = "location=" + file_;
  const std::string frame_ = noiseFrames(kOdd.width, kOdd.height, 1);
};

TEST_F(ElementStreams, AfterASeekAFrameHasTheNumberOfItsPlace) {
  const std::vector<std::string> drawn = expected(kOdd, 12);
  ElementHarness harness(location_);
  harness.setFormat(kOdd);
  EXPECT_EQ(harness.drawn(frame_, {0}), drawn[0]);
  seekTo(harness, 10);
  EXPECT_EQ(harness.drawn(frame_, {10}), drawn[10]);
  seekTo(harness, 3);
  EXPECT_EQ(harness.drawn(frame_ + frame_, {3, 4}), drawn[3] + drawn[4]);
}

// The second file of a playlist: its time stamps go on, its stream time begins anew.
TEST_F(ElementStreams, ASegmentNumbersItsFramesByStreamTime) {
  const std::vector<std::string> drawn = expected(kOdd, 3);
  ElementHarness harness(location_);
  harness.setFormat(kOdd);
  EXPECT_EQ(harness.drawn(frame_ + frame_, {0, 1}), drawn[0] + drawn[1]);
  GstSegment segment;
  gst_segment_init(&segment, GST_FORMAT_TIME);
  segment.start = segment.position = timeOf(100);
  segment.base = timeOf(2);
  segment.time = 0;
  gst_harness_push_event(harness.get(), gst_event_new_segment(&segment));
  EXPECT_EQ(harness.drawn(frame_ + frame_, {100, 102}), drawn[0] + drawn[2]);
}

TEST_F(ElementStreams, OtherSizesAndBackAgain) {
  constexpr Nv12Layout kLarge{64, 34};
  ElementHarness harness(location_);
  harness.setFormat(kOdd);
  EXPECT_EQ(harness.drawn(frame_, {0}), expected(kOdd, 1)[0]);
  harness.setFormat(kLarge);
  EXPECT_EQ(harness.drawn(noiseFrames(64, 34, 1), {1}), expected(kLarge, 2)[1]);
  harness.setFormat(kOdd, "60/1");
  EXPECT_EQ(harness.drawn(frame_, {2}), expected(kOdd, 5)[4]) << "frame 2 of 30 a second is frame 4 of 60";
}

TEST_F(ElementStreams, FramesThatAreDroppedUpstreamTakeTheirDetectionsAlong) {
  const std::vector<std::string> drawn = expected(kOdd, 8);
  ElementHarness harness(location_);
  harness.setFormat(kOdd);
  EXPECT_EQ(harness.drawn(frame_ + frame_ + frame_, {0, 5, 7}), drawn[0] + drawn[5] + drawn[7]);
  EXPECT_EQ(harness.get<guint64>("detections-seen"), 3U);
}

TEST_F(ElementStreams, AFrameThatIsTooLateIsDroppedAndTheNextHasItsNumber) {
  const std::vector<std::string> drawn = expected(kOdd, 12);
  ElementHarness harness(location_);
  harness.setFormat(kOdd);
  EXPECT_EQ(harness.drawn(frame_, {0}), drawn[0]);
  // The sink says that the frame at 2/30 s came 5/30 s late, so what is before 7/30 s is of no use.
  gst_harness_push_upstream_event(
      harness.get(),
      gst_event_new_qos(GST_QOS_TYPE_UNDERFLOW, 2.0, static_cast<GstClockTimeDiff>(timeOf(5)), timeOf(2)));
  EXPECT_EQ(harness.push(harness.frame(3, frame_)), GST_FLOW_OK);
  EXPECT_EQ(gst_harness_buffers_in_queue(harness.get()), 0U);
  EXPECT_EQ(harness.drawn(frame_, {11}), drawn[11]);
  EXPECT_EQ(harness.get<guint64>("frames-drawn"), 2U);
}

TEST_F(ElementStreams, StartsAndStops200Times) {
  startGStreamer();
  ElementHarness harness(location_);
  for (int i = 0; i < 200; ++i) {
    const GstState state = i % 2 == 0 ? GST_STATE_NULL : GST_STATE_READY;
    ASSERT_TRUE(harness.change(state)) << i;
    ASSERT_TRUE(harness.change(GST_STATE_PLAYING)) << i;
  }
  EXPECT_EQ(harness.message(GST_MESSAGE_ERROR), "");
}

// Each cycle plays, in a harness of its own: plug-in, renderer and inputs come and go.
TEST_F(ElementStreams, ElementsThatPlayAndGoLeaveNothing) {
  const std::string drawn = expected(kOdd, 1)[0];
  const auto cycle = [&] {
    ElementHarness harness(location_);
    harness.setFormat(kOdd);
    ASSERT_EQ(harness.drawn(frame_, {0}), drawn);
  };
  for (int i = 0; i < 10; ++i) cycle();
  const std::size_t files = process_facts::openFiles();
  for (int i = 0; i < 40; ++i) cycle();
  EXPECT_EQ(process_facts::openFiles(), files);
}

TEST_F(ElementStreams, TenThousandBuffersKeepNoMemory) {
  constexpr uint64_t kBuffers = 10000;
  std::string lines;
  for (uint64_t i = 0; i < kBuffers; ++i) lines += fullMaskLine(static_cast<int>(i), "p");
  const std::string file = folder_.write("long.jsonl", lines);
  ElementHarness harness("location=" + file + " lookback=3");
  harness.setFormat(kOdd);
  std::size_t before = 0;
  for (uint64_t i = 0; i < kBuffers; ++i) {
    if (i == kBuffers / 10) before = process_facts::allocatedBytes();
    ASSERT_EQ(harness.push(harness.frame(i, frame_)), GST_FLOW_OK);
    ASSERT_NE(harness.pull(), nullptr);
  }
  EXPECT_EQ(harness.get<guint64>("frames-drawn"), kBuffers);
#ifndef SEG_MASK_SANITIZED
  EXPECT_LT(process_facts::allocatedBytes(), before + 64 * 1024);
#else
  static_cast<void>(before);
#endif
}

}  // namespace
